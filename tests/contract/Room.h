#pragma once

#include <chrono>
#include <memory>
#include <string>

/// The place that a backend's TV stands in, and the hands that plug and pull there. A porter writes one
/// for their own backend; the tests know nothing else of it. One a process. When it is built there is no
/// cable, no dongle, no telephony service and no application, and the platform is not started.
class Room {
 public:
  static std::unique_ptr<Room> Enter();
  virtual ~Room() = default;

  virtual void PlugCable() = 0;
  virtual void UnplugCable() = 0;

  /// What the TV is in the wired network.
  struct WiredNetwork {
    std::string mac_address;  ///< "AA:BB:CC:DD:EE:FF"
    std::string ipv4;
    std::string ipv6;
  };
  /// Plugs the cable into a network with a router. The TV has addresses there, and its traffic leaves
  /// through it until the cable is pulled.
  virtual WiredNetwork JoinWiredNetwork() = 0;
  /// Takes that router away, and puts it back; the cable stays in.
  virtual void SetRouter(bool is_there) = 0;

  /// Where networks are joined and left by a service beside the platform, that starts, with a profile
  /// for the wired network. It joins that network by itself when the cable is plugged in.
  virtual void StartNetworkService() = 0;

  /// The service is up when "memory/telephony/telephony_ready" says so.
  virtual void StartTelephony() = 0;
  virtual void StopTelephony() = 0;

  /// While the service is up.
  virtual void InsertDongle() = 0;
  virtual void RemoveDongle() = 0;

  /// Installs an application, and takes it away.
  /// @param id  of its package, such as "org.example.viewer"
  virtual void InstallApplication(const std::string& id) = 0;
  virtual void RemoveApplication(const std::string& id) = 0;

  /// The longest that an event takes from the hand to the callback, and so how long a test waits to see
  /// that none comes.
  [[nodiscard]] virtual std::chrono::milliseconds Settling() const = 0;
};
