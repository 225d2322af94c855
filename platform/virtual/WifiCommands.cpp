#include "WifiCommands.h"

#include <string>
#include <string_view>

#include <gio/gio.h>

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

constexpr int kWeakestRssi = -120;
constexpr int kStrongestRssi = -1;
constexpr int kLowestFrequency = 2400;
constexpr int kHighestFrequency = 7200;
constexpr int kWidestBandwidth = 320;
constexpr int kGreatestSnr = 120;
constexpr std::size_t kLongestEssid = 32;
constexpr std::size_t kLongestPassphrase = 64;

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

/// @param usual  when the request does not say
wifi_security_type_e Security(const Json::Value& request, wifi_security_type_e usual) {
  return request.isMember("security") ? FromWord(kSecurities, "security", Text(request, "security"))
                                      : usual;
}

/// @return empty for none
std::string Address(const Json::Value& request, const char* member, GSocketFamily family) {
  std::string text = Text(request, member);
  if (!text.empty()) {
    g_autoptr(GInetAddress) address = g_inet_address_new_from_string(text.c_str());
    if (address == nullptr || g_inet_address_get_family(address) != family) {
      throw Refused(std::string("\"") + member + "\" must be an address of its kind, or empty");
    }
  }
  return text;
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
  wifi.Save(network);
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
      action != "temper") {
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
  }
  return radios;
}

Json::Value WifiStatus(VirtualTv& tv) {
  const Wifi& wifi = tv.GetWifi();
  Json::Value status;
  status["state"] = ToWord(kStates, wifi.State());
  status["bssid"] = wifi.ConnectedBssid();
  status["snr"] = wifi.Snr();
  status["saved"] = Json::arrayValue;
  for (const SavedNetwork& network : wifi.Saved()) {
    Json::Value& saved = status["saved"].append(Json::objectValue);
    saved["essid"] = network.essid;
    saved["security"] = ToWord(kSecurities, network.security);
  }
  return status;
}

}  // namespace tv_commands
