#include <list>
#include <memory>
#include <string>

#include <NetworkManager.h>

#include "CallGate.h"
#include "Connections.h"
#include "InternetProbe.h"
#include "MainLoopSource.h"
#include "NetworkService.h"
#include "ProbeConfig.h"
#include "WifiLink.h"
#include "call_guarded.h"
#include "wifi_manager.h"

// The question for a portal: one look along the way over Wi-Fi, which a portal ends with its own page.

namespace {

class Question {
 public:
  Question(const WayOut& way, ProbeConfig config, wifi_ap_captive_portal_cb callback, void* user_data);
  ~Question();
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

 private:
  static void OnDeviceState(NMDevice* device, guint state, guint old_state, guint reason, gpointer self);
  void OnProbed(const InternetProbe::Result& result);
  void Answer(wifi_manager_error_e result, bool is_captive, std::string page);

  wifi_ap_captive_portal_cb m_callback;
  void* m_user_data;
  NMDevice* m_device = nullptr;  // with a reference; null where NetworkManager manages no Wi-Fi
  std::unique_ptr<InternetProbe> m_probe;
  MainLoopSource m_no_way;
};

std::list<Question>& Questions() {
  static auto* const questions = new std::list<Question>;
  return *questions;
}

Question::Question(const WayOut& way, ProbeConfig config, wifi_ap_captive_portal_cb callback,
                   void* user_data)
    : m_callback(callback), m_user_data(user_data) {
  if (NMDeviceWifi* const wifi = NetworkService::Instance().WifiDevice(); wifi != nullptr) {
    m_device = NM_DEVICE(g_object_ref(wifi));
    g_signal_connect(m_device, "state-changed", G_CALLBACK(OnDeviceState), this);
  }
  if (way.link == 0) {
    m_no_way.After(std::chrono::milliseconds(0),
                   [this] { Answer(WIFI_MANAGER_ERROR_OPERATION_FAILED, false, ""); });
    return;
  }
  m_probe = std::make_unique<InternetProbe>(
      way, std::move(config), [this](const InternetProbe::Result& result) { OnProbed(result); });
}

Question::~Question() {
  if (m_device != nullptr) {
    g_signal_handlers_disconnect_by_data(m_device, this);
    g_object_unref(m_device);
  }
}

void Question::OnDeviceState(NMDevice* /*device*/, guint state, guint /*old_state*/, guint /*reason*/,
                             gpointer self) {
  if (state != NM_DEVICE_STATE_ACTIVATED) {
    static_cast<Question*>(self)->Answer(WIFI_MANAGER_ERROR_NO_CONNECTION, false, "");
  }
}

void Question::OnProbed(const InternetProbe::Result& result) {
  if (!FindWifiLink()) {
    Answer(WIFI_MANAGER_ERROR_NO_CONNECTION, false, "");
  } else if (result.finding.failed && !result.is_portal) {
    Answer(WIFI_MANAGER_ERROR_OPERATION_FAILED, false, "");
  } else {
    Answer(WIFI_MANAGER_ERROR_NONE, result.is_portal, result.page);
  }
}

void Question::Answer(wifi_manager_error_e result, bool is_captive, std::string page) {
  const auto callback = m_callback;
  void* const user_data = m_user_data;
  Questions().remove_if([this](const Question& question) { return &question == this; });
  CallGuarded([&] { callback(result, is_captive, page.empty() ? nullptr : page.data(), user_data); });
}

}  // namespace

void ForgetPortalQuestions() {
  Questions().clear();
}

int wifi_ap_is_captive_portal_network(wifi_ap_captive_portal_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_ap_is_captive_portal_network")) {
    return *refusal;
  }
  if (callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const auto way = FindWifiLink();
  if (!way) {
    return WIFI_MANAGER_ERROR_NO_CONNECTION;
  }
  ProbeConfig config = ProbeConfig::Read();
  if (!config.is_on) {
    return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
  }
  Questions().emplace_back(*way, std::move(config), callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}
