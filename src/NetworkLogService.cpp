#include "NetworkLogService.h"

#include "Log.h"
#include "NW_Common.h"
#include "TimerHelper.h"
#include "kpi_logger.h"
#include "net_connection.h"
#include "system_info.h"
#include "vconf_keys.h"

namespace {

constexpr std::size_t kMostRecords = 25;
constexpr unsigned kLoggerReadySeconds = 4;

std::string FormatLocalTime(time_t time) {
  struct tm local {};
  char text[64] = {};
  localtime_r(&time, &local);
  std::strftime(text, sizeof text, "%FT%T%z", &local);
  return text;
}

}  // namespace

CNetworkLogService::CNetworkLogService() : m_pLogger(Ledgerline::CLogger::GetInstance()) {
  vconf_notify_key_changed(vconf_keys::kDisclaimerAgree, DUIDReadyCb, this);
  m_IsReady = m_IsDefaultDisclaimerAgreed();
}

CNetworkLogService::~CNetworkLogService() {
  vconf_ignore_key_changed(vconf_keys::kDisclaimerAgree, DUIDReadyCb);
  remove_timer(&m_WaitTimerId);
}

bool CNetworkLogService::m_IsDefaultDisclaimerAgreed() {
  int agreed = 0;
  const int r = vconf_get_int(vconf_keys::kDisclaimerAgree, &agreed);
  if (r != VCONF_OK) {
    NW_LOG("(r = %d) get defaultdisclaimeragree failed", r);
    return false;
  }
  NW_LOG("defaultdisclaimeragree = %d", agreed);
  return agreed != 0;
}

time_t CNetworkLogService::GetCurrentTime() {
  return time(nullptr);
}

void CNetworkLogService::InitialiseLogService() {
  NW_LOG(" KPI module initialised");
  m_LogService.clear();
}

void CNetworkLogService::InitialiseLogerService(KPIFOR /*user*/) {
  m_LogService.clear();
}

std::string CNetworkLogService::m_ConvertToFormatTime(unsigned long /*epochTime*/) {
  m_StartTime = time(nullptr);
  return FormatLocalTime(m_StartTime);
}

std::string CNetworkLogService::CurrentTimeFormat() {
  return FormatLocalTime(time(nullptr));
}

long CNetworkLogService::FindTimeDuration() const {
  return static_cast<long>(m_EndTime - m_StartTime);
}

KPIDataMemberInfo_S CNetworkLogService::AddDataToContainer(const std::string& eventName,
                                                           const std::string& startTime,
                                                           const std::string& category,
                                                           const std::string& serviceName,
                                                           const std::string& description) {
  static KPIDataMemberInfo_S record;
  record.eventName = eventName;
  record.startTime = startTime;
  record.category = category;
  record.serviceName = serviceName;
  record.description = description;
  return record;
}

void CNetworkLogService::WriteDataFile(const std::string& eventName, unsigned long epochTime,
                                       const std::string& category, const std::string& serviceName,
                                       const std::string& description) {
  m_StartTimeText = m_ConvertToFormatTime(epochTime);
  NW_LOG(
      "PNP KPI: WriteDataFile() invoked-> EVTName: %s,Stime:%s,EpochTime: %ld, Cat:%s, mVal:%s, sDec: "
      "%s",
      eventName.c_str(), m_StartTimeText.c_str(), static_cast<long>(epochTime), category.c_str(),
      serviceName.c_str(), description.c_str());
  KPIDataMemberInfo_S record =
      AddDataToContainer(eventName, m_StartTimeText, category, serviceName, description);
  if (m_Queue.size() >= kMostRecords) {
    m_Queue.erase(m_Queue.begin());
  }
  m_Queue.push_back(std::move(record));
}

bool CNetworkLogService::m_AddEventLog(const std::string& eventName, const std::string& startTime,
                                       const std::string& category, const std::string& serviceName,
                                       const std::string& description) {
  NW_LOG(
      " PNP KPI: KPI Data Added in QUEUE: EventName: %s,StartTime: %s, Catagory: %s, servicename : %s, "
      "Desc: %s",
      eventName.c_str(), startTime.c_str(), category.c_str(), serviceName.c_str(), description.c_str());
  const int result = m_pLogger->AddEventLogSync(serviceName, eventName, category, description);
  if (result != Ledgerline::CLogger::kSuccess) {
    NW_LOG("AddEventLog failed,errorcode %d", result);
    return false;
  }
  return true;
}

bool CNetworkLogService::SendDataLoggerQueue() {
  NW_LOG(" PNP KPI: SendDataLoggerQueue is invoked ");
  if (m_Queue.empty()) {
    NW_LOG(" PNP KPI: No Data found for sending SendDataLoggerQueue");
    return true;
  }
  for (const KPIDataMemberInfo_S& record : m_Queue) {
    if (!m_AddEventLog(record.eventName, record.startTime, record.category, record.serviceName,
                       record.description)) {
      return false;
    }
  }
  return true;
}

bool CNetworkLogService::SendKPIData() {
  NW_LOG("SendKPIData() is invoked !!");
  if (!m_IsReady) {
    NW_LOG("[Logger is not ready => ]");
    return false;
  }
  bool hasGateway = false;
  const int error = connection_profile_check_default_gateway(&hasGateway);
  if (error != CONNECTION_ERROR_NONE) {
    NW_LOG("connection_profile_check_default_gateway %d", error);
  }
  if (hasGateway && SendDataLoggerQueue()) {
    m_Queue.clear();
  }
  return true;
}

void CNetworkLogService::SendKPIDataInternal() {
  m_IsReady = true;
  SendKPIData();
}

std::string CNetworkLogService::GetProductSWVersion() {
  const HeapString owned = ReadText(system_info_get_value_string, SYSTEM_INFO_KEY_PRODUCT_SW_VERSION);
  if (owned == nullptr) {
    NW_LOG("PNP KPI: GetProductSWVersion Failed");
    return "";
  }
  NW_LOG("PNP KPI: GetProductSWVersion: %s", owned.get());
  std::string version = owned.get();
  NW_LOG(" PNP KPI: Software Version: %s", version.c_str());
  return version;
}

gboolean CNetworkLogService::__WaitLoggerReady(gpointer service) {
  NW_LOG("__WaitLoggerReady <<<<<");
  if (service != nullptr) {
    static_cast<CNetworkLogService*>(service)->SendKPIDataInternal();
  }
  return G_SOURCE_REMOVE;
}

void CNetworkLogService::DUIDReadyCb(keynode_t* /*node*/, void* service) {
  NW_LOG("DUIDReadyCb <<<<<");
  if (service == nullptr) {
    return;
  }
  auto* self = static_cast<CNetworkLogService*>(service);
  // Each word of the user's ends the wait of the one before: nothing is sent after a withdrawal, and
  // one wait at most is under way.
  remove_timer(&self->m_WaitTimerId);
  if (!self->m_IsDefaultDisclaimerAgreed()) {
    self->m_IsReady = false;
  } else {
    self->m_WaitTimerId = g_timeout_add_seconds(kLoggerReadySeconds, __WaitLoggerReady, self);
    if (self->m_WaitTimerId == 0) {
      self->SendKPIDataInternal();
    }
  }
  NW_LOG("DUIDReadyCb >>>>>");
}
