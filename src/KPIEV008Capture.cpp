#include "KPIEV008Capture.h"

#include "KPICreator2017.h"
#include "Log.h"
#include "NW_Common.h"
#include "NetworkLogService.h"
#include "WirelessKPILogger.h"
#include "setwell/NetworkUtil.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr guint kPeriodSeconds = 10800;

}  // namespace

CKPIEV008Capture::CKPIEV008Capture() = default;

CKPIEV008Capture::~CKPIEV008Capture() {
  Stop();
}

bool CKPIEV008Capture::Start() {
  m_timerId = g_timeout_add_seconds(kPeriodSeconds, _OnTimeout, this);
  return true;
}

void CKPIEV008Capture::Stop() {
  if (m_timerId != 0) {
    g_source_remove(m_timerId);
    m_timerId = 0;
  }
}

gboolean CKPIEV008Capture::_OnTimeout(gpointer capture) {
  NW_LOG("EV008 _OnTimeout");
  auto* self = static_cast<CKPIEV008Capture*>(capture);
  if (Setwell::NetworkUtil::GetNetworkType() == Setwell::NETWORK_TYPE_WIRELESS) {
    self->m_creator = std::make_unique<CKPIWirelessEnvironmentEV008>();
    self->m_creator->Create([self](int result) { self->_OnComplete(result); });
  }
  return G_SOURCE_CONTINUE;
}

void CKPIEV008Capture::_OnComplete(int /*result*/) {
  if (Setwell::NetworkUtil::GetNetworkType() == Setwell::NETWORK_TYPE_WIRELESS) {
    const HeapString name(vconf_get_str(vconf_keys::kApName));
    NW_LOG("Sending EV008 of  ssid => %s", name.get());
    CWirelessKPILogger* logger = CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
    logger->AddEventLogToFile("EV008", "WIRELESS_ENVIRONMENT", m_creator->GetResult(),
                              "21_wireless_environment");
    logger->SendKPIData();
  }
  m_creator.reset();
}
