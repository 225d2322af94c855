#pragma once

#include <cstdint>
#include <string>

/// What other components have told of their Wi-Fi popups and of the connection test, kept for the KPI
/// records about them. The values stay until they are overwritten. One object a process, main-loop
/// thread only.
class CWifiOnOffInfo {
 public:
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
