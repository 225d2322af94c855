#include "NewKPI2017.h"

#include <cstdio>
#include <cstring>
#include <exception>

#include <unistd.h>

#include "C5GhzSwitchHandler.h"
#include "Log.h"
#include "NW_Common.h"
#include "WifiOnOffInfo.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kModuleIdFile[] = "/sys/class/net/wlan0/device/idProduct";

struct FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};

std::string ReadModuleId() {
  constexpr char kFallback[] = "0";
  if (access(kModuleIdFile, F_OK) != 0) {
    NW_LOG("Failed to access %s", kModuleIdFile);
    return kFallback;
  }
  const std::unique_ptr<FILE, FileCloser> file(std::fopen(kModuleIdFile, "re"));
  if (file == nullptr) {
    NW_LOG("Failed to open file %s\n", kModuleIdFile);
    return kFallback;
  }
  char line[128];
  if (std::fgets(line, sizeof line, file.get()) == nullptr) {
    NW_LOG("Failed to read moduleid info from  %s\n", kModuleIdFile);
    return kFallback;
  }
  NW_LOG("ModuleID =>%s", line);
  return line;
}

std::string PairList(const std::string& key, const std::string& first, const std::string& second) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  return key + "=" + first + "/" + std::to_string(handler.GetOriginalWiFiData().frequency) + "|" +
         second + "/" + std::to_string(handler.GetSimilarWiFiData().frequency);
}

}  // namespace

std::string CDiffMacEV001::GetResult(WifiWPSScan& scan) {
  return "diffmac=" + std::to_string(scan.GetDiffMac());
}

std::string CDualFreq::GetResult(WifiWPSScan& scan) {
  return "dualfreq=" + std::to_string(scan.GetFrequency());
}

std::string CDualRSSI::GetResult(WifiWPSScan& scan) {
  return "dualrssi=" + std::to_string(scan.GetRSSI());
}

std::string CDualProtocol::GetResult(WifiWPSScan& scan) {
  return "dualprot=" + scan.GetMaxProtocol();
}

std::string CDualBand::GetResult(WifiWPSScan& scan) {
  return scan.IsDualBand() ? "dualap=1" : "dualap=0";
}

std::string CDualBandCachedValue::GetResult(MWHandler& mw, WifiWPSScan& scan) {
  return mw.GetAP() != nullptr && scan.IsDualBandCached(mw.GetAP()) ? "dualap=1" : "dualap=0";
}

std::string CAppid::GetResult() {
  const HeapString id(vconf_get_str(vconf_keys::kCurrentFullscreenAppId));
  return std::string("appid=") + (id != nullptr ? id.get() : "NONE");
}

std::string CModuleID::GetResult() {
  return "moduleid=" + ReadModuleId();
}

std::string NetworkType::GetResult() {
  return std::string("ntype=") + static_cast<char>('0' + GetCurrentNetworkType());
}

std::string COOBEStep::GetResult() {
  const HeapString step(vconf_get_str(vconf_keys::kWizardMode));
  return step != nullptr && std::strcmp(step.get(), "PNP_SETUP") == 0 ? "oobe=1" : "oobe=0";
}

std::string CChannelInterferenceAWM::GetResult() {
  int interference = 0;
  if (vconf_get_int(vconf_keys::kNetInterfer, &interference) != VCONF_OK) {
    NW_LOG("Interferene failed");
    interference = 0;
  } else {
    NW_LOG("awm channel intereference =>%d", interference);
  }
  return "interfer=" + std::to_string(interference);
}

std::string CRSSIAWM::GetResult() {
  int rssi = 0;
  if (vconf_get_int(vconf_keys::kNetRssi, &rssi) != VCONF_OK) {
    NW_LOG("rssi failed");
    rssi = 0;
  } else {
    NW_LOG("awm rssi =>%d", rssi);
  }
  return "rssi=" + std::to_string(rssi);
}

std::string LinkSpeedEV006::GetResult() {
  int speed = 54;
  vconf_get_int(vconf_keys::kNetLinkSpeed, &speed);
  return "linkspeed=" + std::to_string(speed);
}

std::string CRssiApsEv005::GetResult() {
  return PairList("rssis", std::to_string(GetPOCInstance()->GetOriginalWiFiData().rssi),
                  std::to_string(GetPOCInstance()->GetSimilarWiFiData().rssi));
}

std::string CInterferencesDualEv005::GetResult() {
  return PairList("interferences",
                  std::to_string(GetPOCInstance()->GetOriginalWiFiData().channelInterference),
                  std::to_string(GetPOCInstance()->GetSimilarWiFiData().channelInterference));
}

std::string CProtocolsEv005::GetResult() {
  return PairList("protocols", GetPOCInstance()->GetOriginalWiFiData().protocol,
                  GetPOCInstance()->GetSimilarWiFiData().protocol);
}

std::string C5ghzSwitchReason::GetResult() {
  return GetPOCInstance()->GetRequestType() != eUserRequest ? "swreason=1" : "swreason=0";
}

std::string CUserSelection::GetResult() {
  return "select=" + std::to_string(GetPOCInstance()->GetUserSelection());
}

std::string CDiffMacEV005::GetResult() {
  int diff = 0;
  try {
    diff = GetPOCInstance()->GetMacDiff();
  } catch (const std::exception& e) {
    NW_LOG("exception %s", e.what());
  }
  return "diffmac=" + std::to_string(diff);
}

std::string CEV001Protocol::GetResult() {
  return "prot=" + GetPOCInstance()->GetProtocol();
}

std::string CEV002Protocol::GetResult() {
  return "protocol=" + GetPOCInstance()->GetProtocol();
}

std::string CWifiIconClickReason::GetResult() {
  return "click_reason=" + std::to_string(GetWifiOnOffInstance()->GetPopupReason());
}

std::string CWifiOffPopupSelection::GetResult() {
  return "select=" + std::to_string(GetWifiOnOffInstance()->GetPopupSelection());
}

std::string CMarqueeConnectionTestExecutionMethod::GetResult() {
  return "execution_method=" + GetWifiOnOffInstance()->GetExecutionMethod();
}

std::string CMarqueeConnectionTestResult::GetResult() {
  return "marquee_test_result=" + GetWifiOnOffInstance()->GetTestResult();
}

std::string LinkSpeed::Format(int speed) {
  constexpr int kFirstOfTwoDigits = 10;
  return (speed < kFirstOfTwoDigits ? "linkspeed=0" : "linkspeed=") + std::to_string(speed);
}

std::string LinkSpeed::GetResult(std::shared_ptr<WifiMonHandler> monitor) {
  return Format(monitor->GetLinkSpeed());
}

std::string ChannelInterference::GetResult(std::shared_ptr<WifiMonHandler> monitor) {
  return "interfer=" + std::to_string(monitor->GetChannelInterferance());
}
