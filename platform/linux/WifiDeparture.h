#pragma once

#include <functional>
#include <memory>

#include <NetworkManager.h>

/// The way out of whatever the Wi-Fi interface is connected to, or tries to be. NetworkManager does not
/// connect it by itself again until it is told to connect, or allowed to. Main-loop thread only.
class WifiDeparture : public std::enable_shared_from_this<WifiDeparture> {
 public:
  using Left = std::function<void(bool has_left)>;

  /// @param left  called once, unless the object ends before, and after this returned
  static std::shared_ptr<WifiDeparture> Begin(NMDevice* device, Left left);
  ~WifiDeparture();
  WifiDeparture(const WifiDeparture&) = delete;
  WifiDeparture& operator=(const WifiDeparture&) = delete;

 private:
  WifiDeparture(NMDevice* device, Left left);
  void Ask();
  [[nodiscard]] bool HasLeft() const;
  static void OnState(NMDevice* device, guint state, guint old_state, guint reason, gpointer self);
  static gboolean OnLimit(gpointer self);
  void End();

  NMDevice* m_device;
  Left m_left;
  guint m_limit = 0;
};
