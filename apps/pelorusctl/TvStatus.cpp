#include "TvStatus.h"

#include <cstdio>
#include <string>

namespace {

constexpr int kKindWidth = 14;

void PrintLine(const char* kind, const std::string& text) {
  std::printf("%-*s%s\n", kKindWidth, kind, text.c_str());
}

std::string Text(const Json::Value& value) {
  return value.asString();
}

std::string Quoted(const Json::Value& text) {
  return "\"" + text.asString() + "\"";
}

/// @return the words of the members that are true, each after a comma
std::string Marks(const Json::Value& thing, std::initializer_list<const char*> members) {
  std::string marks;
  for (const char* member : members) {
    marks += thing[member].asBool() ? std::string(", ") + member : "";
  }
  return marks;
}

std::string PortalText(const Json::Value& url) {
  return Text(url).empty() ? "" : ", portal " + Text(url);
}

void PrintWifi(const Json::Value& tv) {
  const Json::Value& wifi = tv["wifi"];
  const std::string bssid = Text(wifi["bssid"]);
  PrintLine("wifi", Text(wifi["state"]) + (bssid.empty() ? "" : " to " + bssid));
  for (const Json::Value& network : wifi["saved"]) {
    const int frequency = network["frequency"].asInt();
    PrintLine("saved", Quoted(network["essid"]) + " " + Text(network["security"]) +
                           (frequency == 0 ? "" : ", " + std::to_string(frequency) + " MHz"));
  }
  for (const Json::Value& radio : tv["radios"]) {
    PrintLine("radio", Text(radio["bssid"]) + " " + Quoted(radio["essid"]) + " " +
                           Text(radio["security"]) + ", " + Text(radio["frequency"]) + " MHz, " +
                           Text(radio["bandwidth"]) + " MHz wide, 802.11" + Text(radio["mode"]) + ", " +
                           Text(radio["rssi"]) + " dBm, " + Text(radio["temper"]) +
                           Marks(radio, {"hidden"}) + (radio["on"].asBool() ? "" : ", off") +
                           PortalText(radio["portal"]));
  }
}

void PrintInternet(const Json::Value& internet) {
  std::string steps;
  for (const char* step : {"gateway", "dns", "http"}) {
    steps += std::string(", ") + step + (internet[step].asBool() ? " on" : " off");
  }
  PrintLine("internet", "through " + Text(internet["carrier"]) + steps + ", hotspot " +
                            Text(internet["hotspot"]) + ", lease " + Text(internet["lease"]) + " s");
}

void PrintAddresses(const Json::Value& addresses) {
  for (const std::string& network : addresses.getMemberNames()) {
    std::string text;
    for (const char* family : {"ipv4", "ipv6"}) {
      const std::string address = Text(addresses[network][family]);
      text += address.empty() ? "" : " " + address;
    }
    PrintLine("addresses", network + (text.empty() ? " none" : text));
  }
}

void PrintSettingsApp(const Json::Value& app) {
  const std::string answer = Text(app["answer"]);
  PrintLine(
      "settings-app",
      (app["open"].asBool() ? "open" : "closed") +
          (answer == "none" ? std::string(", questions stay")
                            : ", questions: " + answer + " after " + Text(app["answer-ms"]) + " ms") +
          (app["question"].asBool() ? ", a question is up" : "") +
          (app["page-changed"].asBool() ? ", told that the request came to nothing" : ""));
}

}  // namespace

void PrintTvStatus(const Json::Value& tv) {
  for (const char* thing : {"cable", "dongle", "telephony"}) {
    PrintLine(thing, Text(tv[thing]));
  }
  PrintWifi(tv);
  PrintInternet(tv["internet"]);
  PrintAddresses(tv["internet"]["addresses"]);
  PrintSettingsApp(tv["settings-app"]);
  for (const Json::Value& package : tv["packages"]) {
    PrintLine("package", Text(package));
  }
  for (const Json::Value& stick : tv["sticks"]) {
    PrintLine("stick",
              Quoted(stick["name"]) + ", " +
                  (stick["mounted"].asBool() ? "on " + Text(stick["directory"]) : "not mounted") +
                  Marks(stick, {"broken"}));
  }
  const Json::Value& capture = tv["capture"];
  PrintLine("capture", std::string(capture["running"].asBool() ? "running" : "not running") +
                           ", files of " + Text(capture["bytes"]) + " bytes");
  PrintLine("speaker", Text(tv["speaker"]));
  for (const std::string& kind : tv["latency"].getMemberNames()) {
    PrintLine("latency", kind + " " + Text(tv["latency"][kind]) + " ms");
  }
  for (const std::string& key : tv["features"].getMemberNames()) {
    PrintLine("feature", key + " = " + Text(tv["features"][key]));
  }
  const Json::Value& next = tv["wifi"]["failing-next"];
  for (const std::string& request : next.getMemberNames()) {
    PrintLine("failing-next", request + " with " + Text(next[request]));
  }
  for (const std::string& function : tv["failing"].getMemberNames()) {
    const Json::Value& failure = tv["failing"][function];
    const int times = failure["times"].asInt();
    PrintLine("failing", function + " with " + Text(failure["code"]) + ", " +
                             (times < 0 ? "for good" : std::to_string(times) + " more times"));
  }
}
