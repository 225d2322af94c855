#include "WifiCommands.h"

#include <string>
#include <string_view>

#include <glib.h>

#include "CommandRequest.h"
#include "VirtualTv.h"

namespace tv_commands {
namespace {

constexpr Word<wifi_security_type_e> kSecurities[] = {
    {"open", WIFI_SECURITY_TYPE_NONE},      {"wep", WIFI_SECURITY_TYPE_WEP},
    {"wpa", WIFI_SECURITY_TYPE_WPA_PSK},    {"wpa2", WIFI_SECURITY_TYPE_WPA2_PSK},
    {"wpa3", WIFI_SECURITY_TYPE_SAE},       {"wpa-ft", WIFI_SECURITY_TYPE_WPA_FT_PSK},
    {"enterprise", WIFI_SECURITY_TYPE_EAP},
};

constexpr Word<wifi_manager_connection_mode_e> kModes[] = {
    {"b", WIFI_MANAGER_CONNECTION_MODE_80211B},        {"g", WIFI_MANAGER_CONNECTION_MODE_80211G},
    {"n", WIFI_MANAGER_CONNECTION_MODE_80211N},        {"a", WIFI_MANAGER_CONNECTION_MODE_80211A},
    {"ac", WIFI_MANAGER_CONNECTION_MODE_80211AC},      {"ax", WIFI_MANAGER_CONNECTION_MODE_80211AX},
    {"unknown", WIFI_MANAGER_CONNECTION_MODE_UNKNOWN},
};

constexpr Word<Radio::Temper> kTempers[] = {
    {"accepts", Radio::Temper::kAccepts},      {"refuses", Radio::Temper::kRefuses},
    {"silent", Radio::Temper::kSilent},        {"answers-twice", Radio::Temper::kAnswersTwice},
    {"no-address", Radio::Temper::kNoAddress},
};

constexpr Word<wifi_connection_state_e> kStates[] = {
    {"failure", WIFI_CONNECTION_STATE_FAILURE},
    {"disconnected", WIFI_CONNECTION_STATE_DISCONNECTED},
    {"association", WIFI_CONNECTION_STATE_ASSOCIATION},
    {"configuration", WIFI_CONNECTION_STATE_CONFIGURATION},
    {"connected", WIFI_CONNECTION_STATE_CONNECTED},
};

constexpr Word<WifiRequest> kRequests[] = {
    {"scan", WifiRequest::kScan},
    {"channel-scan", WifiRequest::kChannelScan},
    {"name-scan", WifiRequest::kNameScan},
    {"connect", WifiRequest::kConnect},
    {"disconnect", WifiRequest::kDisconnect},
    {"portal", WifiRequest::kPortal},
};

constexpr int kWeakestRssi = -120;
constexpr int kStrongestRssi = -1;
constexpr int kLowestFrequency = 2400;
constexpr int kHighestFrequency = 7200;
constexpr int kWidestBandwidth = 320;
constexpr int kGreatestSnr = 120;
constexpr std::size_t kLongestEssid = 32;
constexpr std::size_t kLongestPassphrase = 64;
constexpr std::size_t kLongestUrl = 2048;

/// @return in capitals, as access points are named throughout
std::string Bssid(const Json::Value& request) {
  const std::string text = Text(request, "bssid");
  std::string bssid;
  bool is_one = text.size() == 17;
  for (std::size_t i = 0; is_one && i < text.size(); ++i) {
    is_one = i % 3 == 2 ? text[i] == ':' : g_ascii_isxdigit(text[i]);
    bssid += g_ascii_toupper(text[i]);
  }
  if (!is_one) {
    throw Refused("not a BSSID, such as AA:BB:CC:DD:EE:01: \"" + text + "\"");
  }
  return bssid;
}

std::string Essid(const Json::Value& request) {
  std::string essid = Text(request, "essid");
  if (essid.empty() || essid.size() > kLongestEssid || essid.find('\0') != std::string::npos) {
    throw Refused("a network's name has 1 to 32 bytes");
  }
  return essid;
}

std::string Passphrase(const Json::Value& request) {
  if (!request.isMember("passphrase")) {
    return "";
  }
  std::string passphrase = Text(request, "passphrase");
  if (passphrase.size() > kLongestPassphrase || passphrase.find('\0') != std::string::npos) {
    throw Refused("a passphrase has at most 64 bytes");
  }
  return passphrase;
}

/// @return empty for none
std::string PortalUrl(const Json::Value& request) {
  std::string url = Text(request, "portal");
  if (url.size() > kLongestUrl || url.find('\0') != std::string::npos) {
    throw Refused("the address of a portal has at most 2048 bytes");
  }
  return url;
}

/// @return 0 when the request does not say
int SavedFrequency(const Json::Value& request) {
  return request.isMember("frequency")
             ? Number(request, "frequency", kLowestFrequency, kHighestFrequency)
             : 0;
}

/// @param usual  when the request does not say
wifi_security_type_e Security(const Json::Value& request, wifi_security_type_e usual) {
  return request.isMember("security") ? FromWord(kSecurities, "security", Text(request, "security"))
                                      : usual;
}

Radio RadioOf(const Json::Value& request) {
  Radio radio;
  radio.bssid = Bssid(request);
  radio.essid = Essid(request);
  radio.passphrase = Passphrase(request);
  radio.security = Security(request, radio.security);
  if (request.isMember("hidden")) {
    radio.is_hidden = Flag(request, "hidden");
  }
  if (request.isMember("on")) {
    radio.is_on = Flag(request, "on");
  }
  if (request.isMember("frequency")) {
    radio.frequency = Number(request, "frequency", kLowestFrequency, kHighestFrequency);
  }
  if (request.isMember("rssi")) {
    radio.rssi = Number(request, "rssi", kWeakestRssi, kStrongestRssi);
  }
  if (request.isMember("bandwidth")) {
    radio.bandwidth = Number(request, "bandwidth", 0, kWidestBandwidth);
  }
  if (request.isMember("mode")) {
    radio.mode = FromWord(kModes, "mode", Text(request, "mode"));
  }
  if (request.isMember("temper")) {
    radio.temper = FromWord(kTempers, "temper", Text(request, "temper"));
  }
  if (request.isMember("ipv4")) {
    radio.ipv4 = Address(request, "ipv4", G_SOCKET_FAMILY_IPV4);
  }
  if (request.isMember("ipv6")) {
    radio.ipv6 = Address(request, "ipv6", G_SOCKET_FAMILY_IPV6);
  }
  if (request.isMember("portal")) {
    radio.portal_url = PortalUrl(request);
  }
  return radio;
}

/// A radio that is in the room.
Radio& Known(Wifi& wifi, const std::string& bssid) {
  Radio* const radio = wifi.FindRadio(bssid);
  if (radio == nullptr) {
    throw Refused("there is no radio " + bssid);
  }
  return *radio;
}

void Save(Wifi& wifi, const Json::Value& request) {
  SavedNetwork network;
  network.essid = Essid(request);
  network.security = Security(request, WIFI_SECURITY_TYPE_WPA2_PSK);
  network.passphrase = Passphrase(request);
  network.frequency = SavedFrequency(request);
  wifi.Save(network);
}

/// The viewer picks a network in a list and types its passphrase.
void Connect(Wifi& wifi, const Json::Value& request) {
  const std::string bssid = Bssid(request);
  const Radio* const radio = wifi.FindRadio(bssid);
  if (radio == nullptr || !radio->is_on) {
    throw Refused("there is no radio " + bssid + " on the air");
  }
  const std::string passphrase =
      request.isMember("passphrase") ? Passphrase(request) : radio->passphrase;
  const WifiTarget target(
      {radio->essid.c_str(), bssid.c_str(), radio->frequency, radio->security, passphrase.c_str()});
  // The settings save what they connected to; an open network is not saved by the request itself.
  const SavedNetwork network{radio->essid, radio->security, passphrase, radio->frequency};
  const wifi_error_e error = wifi.Requests().Connect(target, [&wifi, network](int result) {
    if (result == WIFI_ERROR_NONE) {
      wifi.Save(network);
    }
  });
  if (error != WIFI_ERROR_NONE) {
    throw Refused(error == WIFI_ERROR_ALREADY_EXISTS ? "the TV is connected to it already"
                                                     : "Wi-Fi is switched off");
  }
}

void FailNext(Wifi& wifi, const Json::Value& request) {
  const WifiRequest kind = FromWord(kRequests, "request", Text(request, "request"));
  wifi.FailNext(kind, Number(request, "code"));
}

}  // namespace

void DoRadio(VirtualTv& tv, const Json::Value& request) {
  Wifi& wifi = tv.GetWifi();
  const std::string action = Text(request, "action");
  if (action == "add") {
    wifi.AddRadio(RadioOf(request));
    return;
  }
  if (action != "remove" && action != "on" && action != "off" && action != "signal" &&
      action != "temper" && action != "portal") {
    RefuseAction("radio", action);
  }
  const std::string bssid = Bssid(request);
  Radio& radio = Known(wifi, bssid);
  if (action == "remove") {
    wifi.RemoveRadio(bssid);
  } else if (action == "signal") {
    radio.rssi = Number(request, "rssi", kWeakestRssi, kStrongestRssi);
  } else if (action == "temper") {
    radio.temper = FromWord(kTempers, "temper", Text(request, "temper"));
  } else if (action == "portal") {
    radio.portal_url = PortalUrl(request);
  } else {
    wifi.SetOn(bssid, action == "on");
  }
}

void DoWifi(VirtualTv& tv, const Json::Value& request) {
  Wifi& wifi = tv.GetWifi();
  const std::string action = Text(request, "action");
  if (action == "join") {
    const std::string bssid = Bssid(request);
    if (!wifi.Join(bssid)) {
      throw Refused("there is no radio " + bssid + " on the air");
    }
  } else if (action == "connect") {
    Connect(wifi, request);
  } else if (action == "drop") {
    wifi.Drop();
  } else if (action == "see-all") {
    wifi.SeeAll();
  } else if (action == "save") {
    Save(wifi, request);
  } else if (action == "forget") {
    if (!wifi.Forget(Essid(request))) {
      throw Refused("there is no such saved network");
    }
  } else if (action == "fail-next") {
    FailNext(wifi, request);
  } else if (action == "snr") {
    wifi.SetSnr(Number(request, "snr", -kGreatestSnr, kGreatestSnr));
  } else {
    RefuseAction("wifi", action);
  }
}

Json::Value RadiosStatus(VirtualTv& tv) {
  Json::Value radios = Json::arrayValue;
  for (const Radio& radio : tv.GetWifi().Radios()) {
    Json::Value& status = radios.append(Json::objectValue);
    status["bssid"] = radio.bssid;
    status["essid"] = radio.essid;
    status["hidden"] = radio.is_hidden;
    status["on"] = radio.is_on;
    status["frequency"] = radio.frequency;
    status["security"] = ToWord(kSecurities, radio.security);
    status["rssi"] = radio.rssi;
    status["bandwidth"] = radio.bandwidth;
    status["mode"] = ToWord(kModes, radio.mode);
    status["temper"] = ToWord(kTempers, radio.temper);
    status["ipv4"] = radio.ipv4;
    status["ipv6"] = radio.ipv6;
    status["portal"] = radio.portal_url;
  }
  return radios;
}

Json::Value WifiStatus(VirtualTv& tv) {
  Wifi& wifi = tv.GetWifi();
  Json::Value status;
  status["state"] = ToWord(kStates, wifi.State());
  status["bssid"] = wifi.ConnectedBssid();
  status["snr"] = wifi.Snr();
  status["saved"] = Json::arrayValue;
  for (const SavedNetwork& network : wifi.Saved()) {
    Json::Value& saved = status["saved"].append(Json::objectValue);
    saved["essid"] = network.essid;
    saved["security"] = ToWord(kSecurities, network.security);
    saved["frequency"] = network.frequency;
  }
  status["failing-next"] = Json::objectValue;
  for (const auto& [request, code] : wifi.Failures().Ordered()) {
    if (code != 0) {
      status["failing-next"][ToWord(kRequests, request)] = code;
    }
  }
  return status;
}

}  // namespace tv_commands
