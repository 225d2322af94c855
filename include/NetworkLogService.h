#pragma once

#include <ctime>
#include <string>
#include <vector>

#include <glib.h>

#include "vconf.h"

namespace Ledgerline {
class CLogger;
}

/// One measurement record, as it waits to be handed over.
struct KPIDataMemberInfo_S {
  std::string eventName;    ///< what happened: "ETHERNET", "WIFI_RSSI", ...
  std::string startTime;    ///< local time when the record was queued, 2025-04-29T13:05:07+0900
  std::string category;     ///< the event's code, "EV001" to "EV011"
  std::string serviceName;  ///< the logger's stream: "21_wireless" or "21_wireless_environment"
  std::string description;  ///< "{key=value...}"
};

/// For whom the service is made ready; all are treated alike.
enum KPIFOR {
  KPIFOR_WIRELESS = 0,
};

/// The way of measurement records to the platform's KPI logger. It keeps the newest 25 of them and hands
/// them over, oldest first, when it is told to and three gates are open: the user agreed to the
/// collection of data, the logger is taken to be ready (four seconds after an agreement), and there is a
/// default gateway. Consent that was never given, or that cannot be read, is no consent. Main-loop
/// thread only.
class CNetworkLogService {
 public:
  /// Listens for the user's agreement from here on.
  CNetworkLogService();
  virtual ~CNetworkLogService();
  CNetworkLogService(const CNetworkLogService&) = delete;
  CNetworkLogService& operator=(const CNetworkLogService&) = delete;

  bool m_IsDefaultDisclaimerAgreed();
  static time_t GetCurrentTime();
  void InitialiseLogService();
  void InitialiseLogerService(KPIFOR user);

  /// The current time as a record carries it; makes it the start time.
  /// @param epochTime  ignored
  std::string m_ConvertToFormatTime(unsigned long epochTime);
  /// The current time as a record carries it.
  static std::string CurrentTimeFormat();
  /// From the start time to the end time, in seconds.
  [[nodiscard]] long FindTimeDuration() const;

  static KPIDataMemberInfo_S AddDataToContainer(const std::string& eventName,
                                                const std::string& startTime,
                                                const std::string& category,
                                                const std::string& serviceName,
                                                const std::string& description);

  /// Queues a record. It drops the oldest when there are 25 already, and sends nothing.
  /// @param epochTime  for the log only
  void WriteDataFile(const std::string& eventName, unsigned long epochTime, const std::string& category,
                     const std::string& serviceName, const std::string& description);

  /// Hands one record to the logger.
  /// @return whether the logger took it
  bool m_AddEventLog(const std::string& eventName, const std::string& startTime,
                     const std::string& category, const std::string& serviceName,
                     const std::string& description);

  /// Hands over every queued record, and stops at the first that the logger does not take. Keeps the
  /// queue.
  /// @return whether all were taken
  bool SendDataLoggerQueue();

  /// Hands over the queue when all gates are open, and empties it when all of it was taken. When a
  /// record is refused all stay, so that those before it are handed over again.
  /// @return whether the logger was taken to be ready
  bool SendKPIData();

  /// As SendKPIData(), for a caller who knows that the logger is ready.
  void SendKPIDataInternal();

  /// The version of the product's software; empty when the platform does not say.
  static std::string GetProductSWVersion();

  /// Timer callback: the logger has had its time. Runs once.
  static gboolean __WaitLoggerReady(gpointer service);
  /// Settings callback: the user agreed, or no longer does.
  static void DUIDReadyCb(keynode_t* node, void* service);

 protected:
  time_t m_StartTime = 0;
  time_t m_EndTime = 0;
  Ledgerline::CLogger* m_pLogger;  // lives as long as the process
  std::string m_EventName;
  std::string m_StartTimeText;
  std::string m_Spare;
  std::string m_Category;
  std::string m_LogService;
  std::string m_Description;
  std::vector<KPIDataMemberInfo_S> m_Queue;  // oldest first
  guint m_WaitTimerId = 0;                   // stays set when the timer has run
  bool m_IsReady = false;
};

/// The process's one service of a kind: made when first asked for, never destroyed.
template <class Service>
class CNetworkLogServiceSingleton {
 public:
  static Service* Get() {
    if (m_pInstance == nullptr) {
      m_pInstance = new Service;
    }
    return m_pInstance;
  }

 private:
  static inline Service* m_pInstance = nullptr;
};
