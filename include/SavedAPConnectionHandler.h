#pragma once

#include <list>
#include <map>
#include <string>

#include <glib.h>

#include "NetworkCaptiveAP.h"
#include "SavedAPData.h"
#include "WifiManagerHelper.h"
#include "vconf.h"
#include "vconf_keys.h"

inline constexpr const char* VCONF_NW_SPEAKER_STATUS = vconf_keys::kNetworkSpeakerStatus;

/// The settings screen's tile of top saved networks: publishes the two saved networks of highest
/// priority with their status in "db/menu/network/TopSavedAP", and connects to a saved network when the
/// settings application says so in "memory/Pelorus/Command". Which networks are saved, and in which
/// order, it is told by SavedAPPriorityHandler; keys and passphrases are the Wi-Fi manager's affair.
/// Made when first asked for, never destroyed by the daemon. Main-loop thread only.
///
/// A connection attempt looks on the channel where the network was seen last, then for the name on all
/// channels, which a hidden network answers to, and has 35 s. An attempt begun while another is under
/// way takes its place; what the older one still reports is then taken for the newer one's.
class SavedAPConnHander {
 public:
  static SavedAPConnHander* GetInstance();
  ~SavedAPConnHander();
  SavedAPConnHander(const SavedAPConnHander&) = delete;
  SavedAPConnHander& operator=(const SavedAPConnHander&) = delete;

  /// Listens for commands from here on, for as long as the process lives.
  void RegisterVconf();
  void CreateHandler();

  /// Takes over the first two networks, and publishes. The order of two that are published already stays
  /// what it is.
  /// @param priorityList  all saved networks, highest priority first; borrowed for the call
  void UpdateTopItems(const std::list<SavedAPData>& priorityList);

  /// @throws Json::Exception for a "COMMAND" or "SSID" that is no text, and for a document that is no
  ///         object
  void ParseCommandJson(const std::string& text);
  /// @param command  1 connects to the selected network; anything else does nothing
  void OnCommand1(int command);

  /// Asks the user about the Wi-Fi speaker, and listens for the answer in
  /// "memory/Pelorus/SwitchNetwork".
  void SetWiFiSpeakerButtonCB();
  /// @return whether the TV's sound goes to a speaker in the network
  bool IsWifiSpeakerConnected();
  bool IsNetworkSpeakerAudioConnected();

  /// The name of a Wi-Fi manager's error, for the log.
  static const char* convert_wifi_error_to_string(int code);

  static void _VconfSavedAPCommandChnage(keynode_t* node, void* handler);
  static void OnSwitchNetwork(keynode_t* node, void* handler);

 private:
  SavedAPConnHander();

  /// Null for a handler that has ended, which the watch on the commands outlives.
  static SavedAPConnHander* Living(void* handler) { return handler == Instance ? Instance : nullptr; }

  /// Begins an attempt.
  /// @return whether it is under way; then ChangeStatusToConnected() ends it
  bool ConnectToAp();
  void UpdateList();
  void _WifiForeachFoundAp();
  void ConnectCall();

  void ChangeStatusToConnecting();
  void ChangeStatusToConnected(bool ok);
  void UpdateConnectedAPInList();
  void WritetoJson();

  bool IsAPExistInTopTwo(const std::string& name) const;
  void UpdateExistingList(const std::list<SavedAPData>& priorityList);
  void InsertTopTwoItem(const std::list<SavedAPData>& priorityList);

  static bool _get_wifi_stored_profiles(wifi_manager_config_h config, void* handler);
  static void _ApScanDoneCb(wifi_manager_error_e error, void* handler);
  static bool _WifiForeachFoundApCb(wifi_manager_ap_h ap, void* handler);
  static void WifiForEachHiddenAPCB(wifi_manager_error_e error, void* handler);
  static bool FindHiddenAP_CB(wifi_manager_ap_h ap, void* handler);
  static void ConnectedCB(wifi_manager_error_e error, void* handler);
  static gboolean ConnectionTimeCb(gpointer handler);

  std::list<SavedAPData> m_TopList;    // what is published, at most two
  std::list<SavedAPData> m_SpareList;  // nothing fills it
  WifiManagerHandle m_Manager;
  WifiManagerAp m_FoundAP;               // of the last search
  std::string m_SelectedSSID;            // of the last command to connect
  std::map<std::string, int> m_FreqMap;  // MHz by SSID
  bool m_IsConnecting = false;
  NetworkCaptiveAP m_CaptiveAP;  // asks for a portal when a network has been connected to

  static inline SavedAPConnHander* Instance = nullptr;
  static inline guint ConnTimer = 0;  // the limit of an attempt; stays set when it runs out unheard
};
