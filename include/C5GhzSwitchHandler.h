#pragma once

#include <memory>
#include <string>
#include <vector>

#include "IState.h"
#include "setwell/NetworkWifi.h"
#include "vconf.h"

class CWifiEventListener;

/// Who asked for a move to 5 GHz, and why.
enum eSwitchRequestType : int {
  eUserRequest = 0,             ///< the network settings application
  eStreamingBuffering = 1,      ///< the player had to wait for data
  eStreamingLowResolution = 2,  ///< the player fell back to a low resolution
};

/// An access point, with what was measured in its network while the TV was in it.
struct sExtendedWiFiData : Setwell::WIFIData {
  std::string protocol;  ///< as GetProtocol()
  int channelInterference = 0;
};

/// Moves a TV that sits on the 2.4 GHz radio of a router to the 5 GHz radio of the same router, and back
/// when that fails or the user declines. It decides whether a request may begin and holds the data of
/// the present one; what happens then is the states' business (see IState), how networks are found and
/// joined the network-setup library's. docs/flows/band-switch.md has the picture.
///
/// One object a process, main-loop thread only.
class C5GhzSwitchHandler {
 public:
  C5GhzSwitchHandler() = default;
  ~C5GhzSwitchHandler();
  C5GhzSwitchHandler(const C5GhzSwitchHandler&) = delete;
  C5GhzSwitchHandler& operator=(const C5GhzSwitchHandler&) = delete;

  /// Starts and stops listening for requests, where the model can do it at all. The network-setup
  /// library is made ready on every model, and given back only on those.
  void Init();
  void DeInit();

  /// Begins a move, also in place of one that still looks for an access point.
  /// @return false when it was refused; the log says why
  bool StartConnection(eSwitchRequestType type);

  /// @return false on models whose Wi-Fi chip cannot do it
  bool m_IsFeatureAllowed();

  /// @return the setting, 0 when it cannot be read
  int GetVconfInt(const char* key);

  /// Ends the current state and enters another; a number that is none changes nothing. See IState for
  /// what that means to a state that calls it.
  void m_TransitState(OPERATIONSTATE operation);
  /// Sets the number alone.
  void m_SetState(OPERATIONSTATE state);
  void m_ProcessEvent(const IEvents& event);

  /// What the network-setup library's answers come to.
  void m_OnScanDone();
  void _OnConnected(bool isConnected);

  /// What states ask for. The first four need a request that was accepted.
  /// @return Setwell::NetworkWifi::kFound, and then GetSimilarWiFiData() is that access point;
  ///         Setwell::NetworkWifi::kNotAllowed or another number
  int m_FindSimilarAP();
  void m_ScanRequest();
  void m_ConnectRequest(sExtendedWiFiData& accessPoint);
  void m_DisconnectRequest(sExtendedWiFiData& accessPoint);
  /// Tells the network settings application that its request has come to nothing; automatic requests
  /// tell nobody.
  void m_NotifyFailToUI();
  void m_SetUserSelection(int selection) { m_userSelection = selection; }

  /// Reports the decision about a move, with the measurements of now as those of the similar access
  /// point.
  /// @throw std::out_of_range, std::invalid_argument  as GetMacDiff()
  void m_SendEV005Event();
  /// Reports the player's trouble, when the TV is connected to an access point.
  void m_SendEV006Event(eSwitchRequestType type);

  /// The access point that the TV was connected to when the request was accepted.
  sExtendedWiFiData& GetOriginalWiFiData() { return m_originalAP; }
  /// The 5 GHz access point of the last request that found one.
  sExtendedWiFiData& GetSimilarWiFiData() { return m_similarAP; }
  /// @return by how much the last octets of the two BSSIDs differ
  /// @throw std::out_of_range, std::invalid_argument  when a BSSID does not end in two hexadecimal
  /// digits
  ///                                                  from its 16th character on
  int GetMacDiff();
  /// @return the generation of the standard on the present connection, such as "802.11ac", or "unknown"
  std::string GetProtocol();
  /// @return 1 when the new connection was kept, 0 when the user declined it, -1 before that
  [[nodiscard]] int GetUserSelection() const { return m_userSelection; }
  [[nodiscard]] eSwitchRequestType GetRequestType() const { return m_requestType; }
  [[nodiscard]] OPERATIONSTATE GetState() const { return m_state; }

 private:
  static void vconf_on_change_5ghz(keynode_t* node, void* handler);
  static void vconf_on_change_memory_buffer(keynode_t* node, void* handler);
  static void vconf_on_change_lowres(keynode_t* node, void* handler);

  void _Init();
  bool m_IsValidToStart(eSwitchRequestType type);
  void m_OnStreamingTrouble(const char* key, eSwitchRequestType type);
  void m_clearvector();

  int m_userSelection = -1;
  eSwitchRequestType m_requestType = eStreamingBuffering;
  OPERATIONSTATE m_state = STATE_IDLE;
  sExtendedWiFiData m_similarAP;
  sExtendedWiFiData m_originalAP;
  std::shared_ptr<Setwell::NetworkWifi> m_wifi;  // null until the first request
  std::shared_ptr<CWifiEventListener> m_listener;
  std::vector<std::shared_ptr<IState>> m_states;  // the current one, or none
};

C5GhzSwitchHandler* GetPOCInstance();
