#include "WifiOnOffInfo.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include <json/reader.h>
#include <json/value.h>

#include "KPICreator2017.h"
#include "Log.h"
#include "NW_Common.h"
#include "WirelessKPILogger.h"
#include "vconf_keys.h"

namespace {

constexpr char kTestDocument[] = "EV011";

std::string Describe(IKPICreator& creator) {
  creator.Create(nullptr);
  return creator.GetResult();
}

void Send(const char* code, const char* eventName, const std::string& description) {
  CWirelessKPILogger* const logger = CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
  logger->AddEventLogToFile(code, eventName, description, "21_wireless");
  logger->SendKPIData();
}

void SendIconClick() {
  CKPIWirelessEV008 creator;
  const std::string description = Describe(creator);
  NW_LOG("EV008=>%s", description.c_str());
  Send("EV008", "WIFI_ICON_CLICK", description);
}

void SendPopupSelection() {
  CKPIWirelessEV009 creator;
  const std::string description = Describe(creator);
  NW_LOG("EV009=>%s", description.c_str());
  Send("EV009", "WIFI_POP_UP_SELECT", description);
}

void SendTestResult() {
  CKPIWirelessEV011 creator;
  const std::string description = Describe(creator);
  NW_LOG("EV011=>%s", description.c_str());
  Send("EV011", "MARQUEE_TEST_RESULT", description);
}

struct Keyword {
  const char* text;
  void (CWifiOnOffInfo::*set)(std::int32_t);
  std::int32_t value;
  void (*send)();
};

constexpr Keyword kKeywords[] = {
    {"no_network_connect_popup_shown_kpi", &CWifiOnOffInfo::SetPopupReason, 0, SendIconClick},
    {"wifi_on_off_popup_shown_kpi", &CWifiOnOffInfo::SetPopupReason, 1, SendIconClick},
    {"wifi_reconnection_kpi", &CWifiOnOffInfo::SetPopupReason, 2, SendIconClick},
    {"wifi_on_off_popup_yespressed_kpi", &CWifiOnOffInfo::SetPopupSelection, 0, SendPopupSelection},
    {"wifi_on_off_popup_nopressed_kpi", &CWifiOnOffInfo::SetPopupSelection, 1, SendPopupSelection},
    {"wifi_on_off_popup_exit_others_kpi", &CWifiOnOffInfo::SetPopupSelection, 2, SendPopupSelection},
};

/// By the library's default rules: comments, a key twice and text behind the document are let through.
bool Read(const std::string& text, Json::Value& document) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  std::string errors;
  const bool is_read = reader->parse(text.data(), text.data() + text.size(), &document, &errors);
  NW_LOG("rawJson [%s] bRet[%d] err[%s]", text.c_str(), is_read, errors.c_str());
  return is_read;
}

}  // namespace

CWifiOnOffInfo* GetWifiOnOffInstance() {
  static CWifiOnOffInfo info;
  return &info;
}

void CWifiOnOffInfo::Init() {
  vconf_notify_key_changed(vconf_keys::kPelorusCommand, _VconfIPCMsgReceived, this);
  vconf_notify_key_changed(vconf_keys::kWirelessKpiInfo, _VConfSendOtherModulesKPI, this);
}

void CWifiOnOffInfo::DeInit() {
  vconf_ignore_key_changed(vconf_keys::kPelorusCommand, _VconfIPCMsgReceived);
  vconf_ignore_key_changed(vconf_keys::kWirelessKpiInfo, _VConfSendOtherModulesKPI);
}

void CWifiOnOffInfo::_VconfIPCMsgReceived(keynode_t* /*node*/, void* self) {
  const HeapString keyword(vconf_get_str(vconf_keys::kPelorusCommand));
  if (keyword != nullptr) {
    NW_LOG("command =>%s", keyword.get());
    static_cast<CWifiOnOffInfo*>(self)->Execute(keyword.get());
  }
}

void CWifiOnOffInfo::_VConfSendOtherModulesKPI(keynode_t* /*node*/, void* self) {
  const HeapString text(vconf_get_str(vconf_keys::kWirelessKpiInfo));
  if (text != nullptr) {
    NW_LOG("command =>%s", text.get());
    static_cast<CWifiOnOffInfo*>(self)->ParseOtherKPIModuleData(text.get());
  }
}

void CWifiOnOffInfo::Execute(const std::string& keyword) {
  const auto* const found = std::ranges::find(kKeywords, keyword, &Keyword::text);
  if (found != std::end(kKeywords)) {
    (this->*found->set)(found->value);
    found->send();
  }
}

void CWifiOnOffInfo::ParseOtherKPIModuleData(const std::string& text) {
  try {
    Json::Value document;
    if (!Read(text, document) || document["id"].asString() != kTestDocument) {
      return;
    }
    // Both are read before either is kept: a document that makes the library throw changes nothing.
    const std::string method = document["execution_method"].asString();
    const std::string result = document["marquee_test_result"].asString();
    SetExecutionMethod(method);
    SetTestResult(result);
    SendTestResult();
  } catch (const Json::Exception& e) {
    NW_LOG("Exception caught %s", e.what());
  }
}
