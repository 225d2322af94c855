#pragma once

#include <functional>
#include <memory>
#include <string>

#include <NetworkManager.h>

#include "MainLoopSource.h"
#include "net_connection.h"

/// One request to leave or to join the network of a cable, through NetworkManager. It is done when the
/// kernel says so too: no address any more, or one. Main-loop thread only; ending it gives up waiting,
/// and leaves what NetworkManager was asked for as it is.
class WiredRequest : public std::enable_shared_from_this<WiredRequest> {
 public:
  /// It may end the request.
  using Handler = std::function<void(connection_error_e result)>;

  /// @param device   of the cable
  /// @param profile  the UUID of what to join with; empty, or gone: as NetworkManager chooses
  /// @param done     called once, after this returned
  static std::shared_ptr<WiredRequest> Begin(NMDevice* device, bool is_open, std::string profile,
                                             Handler done);
  ~WiredRequest();
  WiredRequest(const WiredRequest&) = delete;
  WiredRequest& operator=(const WiredRequest&) = delete;

 private:
  WiredRequest(NMDevice* device, bool is_open, std::string profile, Handler done);
  void Ask();
  void AskToLeave();
  void AskToJoin();
  void OnRefused(const GError* error);
  void Follow(NMActiveConnection* active);
  static void OnChange(WiredRequest* self);
  void Look();
  [[nodiscard]] bool IsSo() const;
  [[nodiscard]] bool HasEnded() const;
  void Finish(connection_error_e result);

  NMDevice* const m_device;
  const bool m_is_open;
  const std::string m_profile;
  Handler m_done;
  NMActiveConnection* m_active = nullptr;  // that was asked for
  MainLoopSource m_step;
  MainLoopSource m_limit;
};

/// The wired network as NetworkManager has it now.
/// @return borrowed, for the main loop's present turn; null when NetworkManager manages no cable that is
/// in
[[nodiscard]] NMDevice* FindCable();

/// @param device  one of a cable's
/// @return whether that is in
[[nodiscard]] bool HasCable(NMDevice* device);
