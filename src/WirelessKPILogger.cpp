#include "WirelessKPILogger.h"

#include <sstream>

#include "Log.h"
#include "MacPrefix.h"

namespace {

constexpr char kWirelessService[] = "21_wireless";
constexpr unsigned long kNoEpochTime = 100;  // shows in the log that the caller gave none

std::string InBraces(const std::string& desc) {
  std::ostringstream text;
  text << "{" << desc << "}";
  return text.str();
}

}  // namespace

CWirelessKPILogger::~CWirelessKPILogger() = default;

std::string CWirelessKPILogger::GetEventDescInfo(const std::string& desc) {
  m_Description = InBraces(desc);
  return m_Description;
}

bool CWirelessKPILogger::AddEventLogToFile(const std::string& category, const std::string& eventName,
                                           const std::string& desc, const std::string& serviceName) {
  m_Description = InBraces(desc);
  WriteDataFile(eventName, kNoEpochTime, category, serviceName, m_Description);
  return true;
}

void CWirelessKPILogger::AddEventLogWirelessApConnected(const std::string& desc) {
  StartRecord("WIFI_RSSI", "EV002");
  GetEventDescInfo(desc);
  QueueRecord();
}

void CWirelessKPILogger::AddEventLogWirelessSettingsChanged(const char* mac, int freq, const char* prot,
                                                            int bw, int num, const std::string& slist,
                                                            const std::string& rest) {
  StartRecord("WIFI_ENV", "EV001");
  m_Description = GetEventDescInfoAP(mac, freq, prot, bw, num, slist, rest);
  QueueRecord();
}

void CWirelessKPILogger::StartRecord(const char* eventName, const char* category) {
  NW_LOG(" PNP KPI: AddEventLogExitStandby invoked");
  m_EndTime = GetCurrentTime();
  m_EventName = eventName;
  m_StartTimeText = m_ConvertToFormatTime(static_cast<unsigned long>(m_EndTime));
  m_Category = category;
}

void CWirelessKPILogger::QueueRecord() {
  NW_LOG(
      " PNP KPI: AddEventLogExitWirelessPage StartTime: %ld, EndEventTime: %ld, TimeDuration: %ld, %s",
      static_cast<long>(m_StartTime), static_cast<long>(m_EndTime), FindTimeDuration(),
      m_Description.c_str());
  WriteDataFile(m_EventName, static_cast<unsigned long>(m_EndTime), m_Category, kWirelessService,
                m_Description);
}

std::string CWirelessKPILogger::GetEventDescInfoAP(const char* mac, int freq, const char* prot, int bw,
                                                   int num, const std::string& slist,
                                                   const std::string& rest) {
  if (mac == nullptr || prot == nullptr) {
    NW_LOG("NULL mac or NULL prot");
    return "";
  }
  NW_LOG("ENTRY");
  std::ostringstream text;
  text << "{mac=" << GetMacPrefix(mac) << ";freq=" << freq << ";prot=" << prot << ";bw=" << bw
       << ";num=" << num << ";slist=" << slist << ";" << rest << "}";
  NW_LOG("EXIT");
  return text.str();
}
