#pragma once

#include <functional>

#include <NetworkManager.h>

#include "ListenerList.h"
#include "SystemBus.h"

/// NetworkManager on the system bus, through the one client object of libnm that this process has. It is
/// never started from here: when it runs, it is used. The client is made without waiting once there is a
/// bus; it follows NetworkManager's own restarts, and is made anew when the bus goes and comes.
/// Main-loop thread only; one object for the life of the process, because answers of the bus may still
/// come when it is stopped.
class NetworkService {
 public:
  using Handler = std::function<void()>;

  static NetworkService& Instance();

  void Start();
  /// No handler is called after this.
  void Stop();

  /// @return borrowed, for no longer than the main loop's present turn; null while NetworkManager is not
  ///         there, or not known yet
  [[nodiscard]] NMClient* Client() const;

  /// Whether it has been started and could not find out yet if NetworkManager is there.
  [[nodiscard]] bool IsBeginning() const { return m_is_beginning; }

  /// The Wi-Fi interface that the TV uses: the one that it used before as long as that is managed, else
  /// the first that is.
  /// @return borrowed as the client is; null while there is none
  [[nodiscard]] NMDeviceWifi* WifiDevice() const { return m_wifi; }

  /// @param owner    whom it belongs to: RemoveListener() takes it back
  /// @param handler  called after NetworkManager, the Wi-Fi interface, its name or a profile came or
  ///                 went, by the main loop and once for all that came together
  void AddListener(const void* owner, Handler handler) { m_listeners.Add({owner, std::move(handler)}); }
  void RemoveListener(const void* owner);

 private:
  struct Listener {
    const void* owner;
    Handler handler;
  };

  NetworkService() = default;
  void OnBus(GDBusConnection* connection);
  void MakeClient(GDBusConnection* connection);
  static void OnClient(GObject* source, GAsyncResult* result, gpointer self);
  static void OnRunning(NetworkService* self);
  static void OnRead(GObject* client, GAsyncResult* result, gpointer self);
  static void OnDeviceAdded(NMClient* client, NMDevice* device, gpointer self);
  static void OnChanged(NetworkService* self);
  void EndAttempt();
  void Drop();
  void WatchDevice(NMDevice* device);
  void Unwatch();
  void ChooseWifi();
  static gboolean Tell(gpointer self);

  SystemBus m_bus;
  bool m_is_beginning = false;
  GCancellable* m_attempt = nullptr;  // while the client is made, or reads
  NMClient* m_client = nullptr;
  NMDeviceWifi* m_wifi = nullptr;  // one of the client's, with a reference
  guint m_tell = 0;                // source of the call to Tell() that is due
  ListenerList<Listener> m_listeners;
};
