#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <NetworkManager.h>

#include "ActivationWatch.h"
#include "Neighbours.h"
#include "ProfileUpdates.h"
#include "WifiProfile.h"

/// One attempt to connect the Wi-Fi interface to a network that was heard, up to the verdict: takes the
/// network's profile, pins it where one radio is named, or makes one that vanishes with its connection
/// until it has proved its worth; activates it, and listens to NetworkManager and to the supplicant. To
/// another radio of the network that it is connected to, the supplicant moves without any of that, in a
/// tenth of the time, and the connection stands meanwhile.
/// After a failure the interface may still be trying; to leave is the owner's part. A profile that it
/// pinned is put right when the attempt ends, in whichever way. Main-loop thread only.
class WifiAttempt : public std::enable_shared_from_this<WifiAttempt> {
 public:
  using Ended = std::function<void(wifi_error_e result)>;
  struct Goal {
    wifi_profile::Network network;
    bool has_passphrase = false;  ///< otherwise what is saved opens the network
  };

  /// @param ended  called once, unless the object ends before, and after this returned
  static std::shared_ptr<WifiAttempt> Begin(NMClient* client, NMDeviceWifi* device, Goal goal,
                                            Ended ended);
  ~WifiAttempt();
  WifiAttempt(const WifiAttempt&) = delete;
  WifiAttempt& operator=(const WifiAttempt&) = delete;

  [[nodiscard]] bool IsOn(NMDevice* device) const { return m_device == device; }

 private:
  WifiAttempt(NMClient* client, NMDeviceWifi* device, Goal goal, Ended ended);
  void ListenToTheSupplicant();
  void Open();
  [[nodiscard]] bool IsInUse(NMRemoteConnection* profile) const;
  void Move();
  static gboolean OnMoveTakesTooLong(gpointer self);
  void ConnectAnew(const char* reason);
  void OnSupplicantState(const std::string& state);
  void OpenProfile();
  void OnSecrets(wifi_profile::Profile full);
  void MakeProfile();
  void Activate();
  void AddAndActivate(wifi_profile::Profile profile);
  void Watch(NMActiveConnection* active, GError* error);
  static void OnDeviceState(NMDevice* device, guint state, guint old_state, guint reason, gpointer self);
  static void OnActiveState(NMActiveConnection* active, guint state, guint reason, gpointer self);
  static gboolean OnReasonDoesNotCome(gpointer self);
  void Judge();
  void Save();
  void End(wifi_error_e result);
  void EndLater(wifi_error_e result);

  NMClient* m_client;
  NMDevice* m_device;
  Goal m_goal;
  Ended m_ended;
  ActivationWatch m_watch;
  bool m_is_begun = false;   // the activation, or the move, was asked for
  bool m_is_moving = false;  // within the network
  guint m_move_limit = 0;
  Neighbours m_neighbours;                              // before the move
  NMRemoteConnection* m_profile = nullptr;              // that saves the network; null: none
  std::optional<profile_updates::Original> m_original;  // of m_profile, while this has it pinned
  wifi_profile::Profile m_new;                          // on trial in place of it, with its secrets
  bool m_is_saving = false;
  NMActiveConnection* m_active = nullptr;
  guint m_grace = 0;
};
