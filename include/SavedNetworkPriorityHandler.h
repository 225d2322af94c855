#pragma once

#include <list>
#include <string>

#include <glib.h>

#include "SavedAPData.h"
#include "WifiManagerHelper.h"
#include "vconf.h"
#include "wifi.h"

/// The list of all saved Wi-Fi networks, the most recently connected first, published in
/// "db/menu/network/SavedAPList" and read back from there at the next start. A second after each
/// publication it is handed to SavedAPConnHander. A network gets into the list when it connects, or when
/// the list is made anew because there was none; it leaves the list when it is no longer saved, which is
/// looked at when the settings application says that networks were forgotten and when the TV
/// disconnects. Made when first asked for, never destroyed by the daemon. Main-loop thread only.
class SavedAPPriorityHandler {
 public:
  /// Reads the stored list when it makes the object. A damaged one throws out of this call, once: the
  /// object is there then, with what was read before the damage.
  static SavedAPPriorityHandler* GetInstance();
  ~SavedAPPriorityHandler();
  SavedAPPriorityHandler(const SavedAPPriorityHandler&) = delete;
  SavedAPPriorityHandler& operator=(const SavedAPPriorityHandler&) = delete;

  /// Makes the Wi-Fi interface ready.
  /// @return what wifi_initialize() answered
  int RegisterWifiEvents();

  /// The TV has connected: the network goes to the front. Nothing happens when it has no name.
  /// @param ap  borrowed for the call
  void UpdateListOnAPConnect(wifi_ap_h ap);
  /// The TV has disconnected: looks which networks are still saved.
  /// @param ap  borrowed for the call
  void UpdateListOnAPDisConnect(wifi_ap_h ap);

  /// The same as a callback of the Wi-Fi interface; `user_data` is the handler.
  static void connection_state_callback(wifi_connection_state_e state, wifi_ap_h ap, void* user_data);

  static void _VconfSavedAPCommandChnage(keynode_t* node, void* handler);
  /// @throws Json::Exception for a "COMMAND" that is no text, and for a document that is no object
  void ParseCommandJson(const std::string& text);

  /// Networks that are no longer saved leave the list. It stays as it is when the Wi-Fi manager does not
  /// say which are.
  void UpdateAPListOnForget();
  void ResetNetwork();

  void CreateHandler();
  /// Takes over the stored list, or makes it anew when there is none that can be read.
  /// @throws Json::Exception when a number is missing or something is of a wrong type; what was read
  ///         before that stays in the list
  void ReadVconf();
  void AddNewSavedAPS();
  /// Walks the saved configurations, and does with each what the refresh mode says; then measures and
  /// publishes.
  /// @return whether the walk worked; without it nothing is published
  bool UpdateList();
  /// Scans the channel of the first network; the list is published when the scan has ended.
  void UpdateSignalStrength();
  /// Publishes the list, and hands it over a second later.
  void UpdateVconf(bool omitStatus);
  static gboolean UpdateVconfCb(gpointer handler);
  void RemoveForgetAPsFromList();
  void updateFreqInList(const std::string& name, int frequency);
  void updatesignalStrengthInList(const std::string& name, int signal);

 private:
  /// What is done with each saved configuration.
  enum RefreshMode {
    eRefreshFrequency = 0,  ///< networks in the list get its frequency
    eRefreshLoad = 1,       ///< it is appended to the list
    eRefreshForget = 2,     ///< it is noted as one that is still saved
  };

  SavedAPPriorityHandler();

  /// Null for a handler that has ended, which the watch on the commands outlives.
  static SavedAPPriorityHandler* Living(void* handler) {
    return handler == Instance ? Instance : nullptr;
  }

  void RestartHandOver();
  void _WifiForeachFoundAp();
  static bool _get_wifi_stored_profiles(wifi_manager_config_h config, void* handler);
  static void _ApScanDoneCb(wifi_manager_error_e error, void* handler);
  static bool _WifiForeachFoundApCb(wifi_manager_ap_h ap, void* handler);

  std::list<SavedAPData> m_SavedList;   // highest priority first
  std::list<SavedAPData> m_ConfigList;  // what is still saved; of the last look
  WifiManagerHandle m_Manager;
  int m_RefreshMode = eRefreshLoad;

  static inline SavedAPPriorityHandler* Instance = nullptr;
  static inline guint VconfUpdateTimer = 0;  // until the hand-over; stays set when it has happened
};
