#pragma once

#include <cstdint>
#include <string>

#include "vconf.h"

/// What other components tell of their Wi-Fi popups and of the connection test, relayed as KPI records:
/// they write a keyword or a JSON document to a settings key, and each write that means something is
/// kept and sent as a record at once. The values stay until they are overwritten; records read them
/// through the fields of NewKPI2017.h. One object a process, main-loop thread only.
///
/// The daemon itself writes to the key of the keywords, for the notification program. It hears that and,
/// as with all text that is none of the keywords, does nothing.
class CWifiOnOffInfo {
 public:
  /// Listens to both keys from here to DeInit(). A key that cannot be watched is not heard.
  void Init();
  void DeInit();

  /// Settings callbacks: `self` is the CWifiOnOffInfo that listens.
  static void _VconfIPCMsgReceived(keynode_t* node, void* self);
  static void _VConfSendOtherModulesKPI(keynode_t* node, void* self);

  /// Keeps what a keyword tells of a popup, and sends its record.
  /// @param keyword  any text; one that is no keyword, to the letter, does nothing
  void Execute(const std::string& keyword);

  /// Keeps how a connection test went, and sends its record.
  /// @param text  any text; one that is no document of such a test, or holds anything but plain values
  ///              where texts belong, does nothing
  void ParseOtherKPIModuleData(const std::string& text);

  /// Why a Wi-Fi popup or a reconnection came up; -1 before the first.
  [[nodiscard]] std::int32_t GetPopupReason() const { return m_popupReason; }
  void SetPopupReason(std::int32_t reason) { m_popupReason = reason; }

  /// What the user chose in the Wi-Fi popup; -1 before the first choice.
  [[nodiscard]] std::int32_t GetPopupSelection() const { return m_popupSelection; }
  void SetPopupSelection(std::int32_t selection) { m_popupSelection = selection; }

  /// How the connection test was started, in its own words; empty before the first test.
  [[nodiscard]] const std::string& GetExecutionMethod() const { return m_executionMethod; }
  void SetExecutionMethod(const std::string& method) { m_executionMethod = method; }

  /// How the connection test ended, in its own words; empty before the first test.
  [[nodiscard]] const std::string& GetTestResult() const { return m_testResult; }
  void SetTestResult(const std::string& result) { m_testResult = result; }

 private:
  std::int32_t m_popupReason = -1;
  std::int32_t m_popupSelection = -1;
  std::string m_executionMethod;
  std::string m_testResult;
};

CWifiOnOffInfo* GetWifiOnOffInstance();
