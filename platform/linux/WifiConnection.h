#pragma once

#include <functional>
#include <optional>
#include <string>

#include <NetworkManager.h>

#include "AccessPointHandle.h"
#include "ConnectionSteps.h"

/// The TV's own Wi-Fi connection, as NetworkManager keeps it. While NetworkManager is away nothing is
/// known of it and nothing told; when it is back, what has changed meanwhile is told. Main-loop thread
/// only; one object for the life of the process.
class WifiConnection {
 public:
  using Handler = std::function<void(wifi_connection_state_e state, const AccessPoint& ap)>;

  static WifiConnection& Instance();

  /// @param on_step  called by the main loop for each step of the state, in their order
  void Start(Handler on_step);
  void Stop();

  /// As it is now, which the last steps may not have told yet.
  /// @return nullopt while NetworkManager is not there
  [[nodiscard]] std::optional<wifi_connection_state_e> State() const;

  /// What it is connected to now.
  /// @return nullopt while it is connected to none
  [[nodiscard]] std::optional<AccessPoint> Connected() const;
  /// The address of that; empty while it is connected to none.
  [[nodiscard]] std::string ConnectedBssid() const;

  /// The uuid of the profile in use; empty while there is none.
  [[nodiscard]] std::string ProfileInUse() const;

  /// The TV goes to another radio of its network without leaving the network, which NetworkManager says
  /// it has reached when it has only asked there. Nothing is told until it has, or is connected no more.
  void BeginMove() { m_is_moving = true; }
  void EndMove();

  /// Lets the saved networks know where the TV is connected now, before the step is told.
  void NoteInUse() const;

 private:
  WifiConnection() = default;
  void OnService();
  void Use(NMDeviceWifi* device);
  static void OnChanged(WifiConnection* self);
  void Look();
  [[nodiscard]] Radio RadioInUse() const;

  Handler m_on_step;
  ConnectionSteps m_steps;
  bool m_is_moving = false;
  NMDeviceWifi* m_device = nullptr;  // with a reference; its signals come here
};

/// What the daemon is told of a radio: with the profile that opens it, and with the TV's own addresses
/// when it is connected to it.
[[nodiscard]] AccessPoint Describe(const Radio& radio);
