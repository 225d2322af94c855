#pragma once

#include <functional>
#include <string>

#include <gio/gio.h>

#include "ListenerList.h"
#include "SystemBus.h"

/// The supplicant (wpa_supplicant) on the system bus: its object of one Wi-Fi interface, which comes and
/// goes with the interface, with the service and with the bus. It is never started from here: who
/// manages the network starts it. Knows why a connection failed long before who manages the network
/// does. Main-loop thread only; one object for the life of the process, because answers of the bus may
/// still come when it is stopped.
class Supplicant {
 public:
  /// What a listener hears; a handler that is empty is not called. None is called inside a call to here.
  struct Listener {
    const void* owner = nullptr;  ///< whom it belongs to: RemoveListener() takes it back
    /// The object came or went; IsReady() tells which.
    std::function<void()> on_presence = {};
    /// Whoever asked for the scan.
    std::function<void(bool is_success)> on_scan_done = {};
    /// A property of the object has a new value: "State" (text), "AuthStatusCode" and "AssocStatusCode"
    /// (int32, above 0: refused), "DisconnectReason" (int32, negative when the TV itself left),
    /// "CurrentBSS" and others.
    std::function<void(const std::string& name, GVariant* value)> on_property = {};
    /// A step of an authentication by 802.1X, such as ("completion", "failure").
    std::function<void(const std::string& status, const std::string& parameter)> on_eap = {};
  };
  /// @param reply  borrowed; null when the call failed, and `error` tells why then
  using Reply = std::function<void(GVariant* reply, const GError* error)>;

  static Supplicant& Instance();

  void Start();
  /// No handler and no reply comes after this.
  void Stop();

  /// Which interface it is about from now on.
  /// @param name  such as "wlan0"; empty: none
  void UseInterface(const std::string& name);
  [[nodiscard]] bool IsReady() const { return !m_path.empty(); }
  /// @return the object's path; empty while there is none
  [[nodiscard]] const std::string& Path() const { return m_path; }
  /// @return borrowed; null while there is no bus
  [[nodiscard]] GDBusConnection* Connection() const { return m_connection; }

  void AddListener(Listener listener) { m_listeners.Add(std::move(listener)); }
  void RemoveListener(const void* owner);

  /// Calls a method of the interface's object.
  /// @param arguments  a tuple, taken over when it is floating; null: none
  /// @param reply      called once, after this returned, also when there is no object; may be empty
  void Call(const char* method, GVariant* arguments, Reply reply);
  /// Stops whatever scan runs; on_scan_done follows. Fails harmlessly when none runs.
  void AbortScan(Reply reply) { Call("AbortScan", nullptr, std::move(reply)); }
  /// @param options  a{sv} as the service's Scan takes it; taken over when it is floating
  void Scan(GVariant* options, Reply reply) {
    Call("Scan", g_variant_new_tuple(&options, 1), std::move(reply));
  }
  /// Moves to another radio of the network that it is connected to, without leaving the network, and
  /// stays with that radio until whoever manages the network connects anew.
  /// @param bssid  one that the last scans heard
  /// @param reply  called once, after this returned. Where it has begun, the states tell how it goes;
  ///               where it has not, the connection is as it was.
  void MoveTo(const std::string& bssid, std::function<void(bool has_begun, const char* why_not)> reply);
  /// Asks the driver for the signal: the reply is (v) of a{sv} with "rssi", "noise" (9999: not known),
  /// "frequency", "width" and others.
  void SignalPoll(Reply reply) { Call("SignalPoll", nullptr, std::move(reply)); }

 private:
  Supplicant() = default;
  void OnBus(GDBusConnection* connection);
  static void OnAppeared(GDBusConnection* connection, const char* name, const char* owner,
                         gpointer self);
  static void OnVanished(GDBusConnection* connection, const char* name, gpointer self);
  static void OnService(GDBusConnection* connection, const char* sender, const char* path,
                        const char* interface, const char* signal, GVariant* parameters, gpointer self);
  static void OnInterface(GDBusConnection* connection, const char* sender, const char* path,
                          const char* interface, const char* signal, GVariant* parameters,
                          gpointer self);
  void OnInterfaceAdded(const char* path, GVariant* properties);
  void OnPropertiesChanged(GVariant* parameters);
  void LookForInterface();
  void Adopt(const char* path);
  void Drop();
  void Unsubscribe(guint& subscription);
  void CallObject(const char* path, const char* interface, const char* method, GVariant* arguments,
                  Reply reply);
  void TellPresence() const;

  SystemBus m_bus;
  GDBusConnection* m_connection = nullptr;  // of m_bus; kept until its signals are given up
  GCancellable* m_calls = nullptr;          // ends the calls when this is stopped
  guint m_name_watch = 0;
  guint m_service_signals = 0;
  guint m_interface_signals = 0;
  guint m_property_signals = 0;
  bool m_is_running = false;  // the service
  std::string m_interface;
  std::string m_path;
  ListenerList<Listener> m_listeners;
};
