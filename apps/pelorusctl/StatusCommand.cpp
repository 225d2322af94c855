#include "StatusCommand.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <json/value.h>

#include "ExitCodes.h"
#include "Message.h"
#include "SavedNetworks.h"
#include "Setting.h"
#include "vconf_keys.h"

namespace {

constexpr int kNameWidth = 16;
constexpr int kValueWidth = 30;

/// A line of the page: what a setting means to somebody who wonders how the TV is.
struct Line {
  const char* name;
  const char* member;  ///< of the JSON document
  const char* key;
  /// What the value means; null when it speaks for itself. An empty answer: it means nothing.
  std::string (*meaning)(const std::string& value);
};

std::string ConsentMeaning(const std::string& value) {
  return value == "0" ? "no: no record is handed over" : "yes: records are handed over";
}

std::string CaptureMeaning(const std::string& value) {
  return value == "0" ? "not running" : "running";
}

std::string SwitchMeaning(const std::string& value) {
  return value == "1" ? "the TV may move to 5 GHz by itself" : "only when the viewer asks";
}

std::string ExchangeMeaning(const std::string& value) {
  static const struct {
    const char* word;
    const char* meaning;
  } words[] = {
      {"START5GHZCONNECTION", "the viewer asked for 5 GHz"},
      {"STOP5GHZCONNECTION", "the viewer left the page"},
      {"SHOWPOPUP", "the daemon asks whether to stay on 5 GHz"},
      {"CONNECTPRESSED", "the viewer stays on 5 GHz"},
      {"CANCELPRESSED", "the viewer goes back"},
      {"PAGECHANGED", "the daemon says that the request came to nothing"},
      {"LaunchNS", "the settings screen was asked for"},
  };
  for (const auto& entry : words) {
    if (value == entry.word) {
      return entry.meaning;
    }
  }
  return "";
}

std::string ScreenMeaning(const std::string& value) {
  return value == "1" ? "open" : "closed";
}

std::string WizardMeaning(const std::string& value) {
  for (const char* step :
       {"PNP_SETUP", "INITIAL_SETUP", "MARQUEE_SETUP", "HOTPLUG_SETUP", "TERMS_SETUP"}) {
    if (value == step) {
      return "setup runs: no cable popup";
    }
  }
  return "";
}

std::string NameMeaning(const std::string& /*value*/) {
  return "name at the start, or of the last new network";
}

std::string BssidMeaning(const std::string& /*value*/) {
  return "of the connection that was measured last";
}

constexpr Line kNetwork[] = {
    {"network", "network_type", vconf_keys::kNetworkType, nullptr},
    {"internet", "internet", vconf_keys::kInternetStatus, nullptr},
};

/// Not written at each connection: they may speak of another access point than the one in use.
constexpr Line kEntered[] = {
    {"BSSID", "bssid", vconf_keys::kConnectedApBssid, BssidMeaning},
    {"ap_name", "ap_name", vconf_keys::kApName, NameMeaning},
};

constexpr Line kRest[] = {
    {"5 GHz by itself", "auto_switch", vconf_keys::kAuto5GhzSwitchSettings, SwitchMeaning},
    {"5 GHz exchange", "switch_exchange", vconf_keys::kLaunchNS, ExchangeMeaning},
    {"settings screen", "settings_screen", vconf_keys::kNetworkAppStatus, ScreenMeaning},
    {"consent", "consent", vconf_keys::kDisclaimerAgree, ConsentMeaning},
    {"capture", "capture", vconf_keys::kTcpDumpRunningStatus, CaptureMeaning},
    {"wizard", "wizard", vconf_keys::kWizardMode, WizardMeaning},
};

/// A value of the catalogue's type, as text; nullopt for none and for one that cannot be used.
std::optional<std::string> TextOf(const char* key) {
  const Setting setting = ReadSetting(key);
  return Complaint(key, setting) ? std::nullopt : std::optional(PlainText(setting.value.get()));
}

/// No key names the access point in use at all times; the daemon keeps the tile's statuses up to date.
/// @return its record in the list of saved networks, which has the frequency at which the TV was
///         connected to it last; null when none is connected
const saved_networks::Network* AccessPoint(const saved_networks::List& saved) {
  const auto connected =
      std::ranges::find(saved.networks, "Connected", &saved_networks::Network::status);
  return connected == saved.networks.end() ? nullptr : &*connected;
}

void PrintRow(const std::string& name, const std::string& value, const std::string& meaning) {
  const int width = meaning.empty() ? 0 : kValueWidth;
  std::printf("%-*s  %-*s%s\n", kNameWidth, name.c_str(), width, value.c_str(),
              meaning.empty() ? "" : ("  " + meaning).c_str());
}

void Print(const Line& line) {
  const auto value = TextOf(line.key);
  const std::string meaning = value && line.meaning != nullptr ? line.meaning(*value) : "";
  const std::string cell = Cell(line.key, ReadSetting(line.key));
  PrintRow(line.name, cell == "-" ? "not set" : cell, meaning);
}

void PrintNetworks(const saved_networks::List& top, const saved_networks::List& saved) {
  if (top.fault || saved.fault) {
    const auto& fault = top.fault ? top.fault : saved.fault;
    PrintRow("saved networks", "not known", fault->complaint);
    return;
  }
  PrintRow("saved networks", std::to_string(saved.networks.size()), "");
  for (const auto& network : top.networks) {
    PrintRow("  on the tile", "\"" + network.ssid + "\"",
             network.status + ", " + saved_networks::SignalText(network));
  }
}

void PrintPage() {
  const saved_networks::List saved = saved_networks::All();
  for (const Line& line : kNetwork) {
    Print(line);
  }
  const auto* const ap = AccessPoint(saved);
  if (ap != nullptr) {
    PrintRow("access point", "\"" + ap->ssid + "\"", "connected, says the tile");
  } else {
    PrintRow("access point", "not known", "none on the tile is connected");
  }
  if (ap != nullptr && ap->frequency) {
    PrintRow("band", saved_networks::BandOf(*ap->frequency),
             std::to_string(*ap->frequency) + " MHz, from the list of saved networks");
  } else {
    PrintRow("band", "not known", "the list of saved networks does not tell");
  }
  for (const Line& line : kEntered) {
    Print(line);
  }
  PrintNetworks(saved_networks::Top(), saved);
  for (const Line& line : kRest) {
    Print(line);
  }
}

void Append(const Line& line, Json::Value& document) {
  const Setting setting = ReadSetting(line.key);
  document[line.member] = Complaint(line.key, setting) ? Json::Value() : ToJson(setting.value.get());
}

void PrintJson() {
  Json::Value document;
  for (const Line& line : kNetwork) {
    Append(line, document);
  }
  for (const Line& line : kEntered) {
    Append(line, document);
  }
  for (const Line& line : kRest) {
    Append(line, document);
  }
  const saved_networks::List saved = saved_networks::All();
  const auto* const ap = AccessPoint(saved);
  const bool is_known = ap != nullptr && ap->frequency;
  document["access_point"] = ap != nullptr ? Json::Value(ap->ssid) : Json::Value();
  document["band"] = is_known ? Json::Value(saved_networks::BandOf(*ap->frequency)) : Json::Value();
  document["frequency"] = is_known ? Json::Value(*ap->frequency) : Json::Value();
  document["saved_networks"] =
      saved.fault ? Json::Value() : Json::Value(static_cast<Json::UInt64>(saved.networks.size()));
  const saved_networks::List top = saved_networks::Top();
  document["top"] = top.fault ? Json::Value() : Json::Value(Json::arrayValue);
  for (const auto& network : top.networks) {
    Json::Value& entry = document["top"].append(Json::objectValue);
    entry["ssid"] = network.ssid;
    entry["status"] = network.status;
    entry["signal"] = network.signal ? Json::Value(*network.signal) : Json::Value();
  }
  std::puts(ToLine(document).c_str());
}

int Status(bool as_json) {
  if (const auto fault = StoreFault(false)) {
    Complain(*fault);
    return exit_codes::kUnreachable;
  }
  as_json ? PrintJson() : PrintPage();
  return exit_codes::kDone;
}

}  // namespace

void AddStatusCommand(CLI::App& app, int& exit_code) {
  const auto as_json = std::make_shared<bool>(false);
  CLI::App* status = app.add_subcommand("status", "Show on one page what the settings tell of the TV");
  status->add_flag("--json", *as_json, "Print a JSON object; what is not known is null");
  status->callback([as_json, &exit_code] { exit_code = Status(*as_json); });
}
