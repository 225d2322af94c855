#include "SavedNetworks.h"

#include <algorithm>
#include <memory>

#include <json/reader.h>
#include <json/value.h>

#include "Setting.h"
#include "vconf_keys.h"

namespace saved_networks {
namespace {

constexpr int kLast24GHz = 2484;
constexpr int kFirst6GHz = 5945;

bool Parse(const std::string& text, Json::Value& document) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string error;
  try {
    return reader->parse(text.data(), text.data() + text.size(), &document, &error);
  } catch (const Json::Exception&) {  // nested too deep
    return false;
  }
}

std::optional<int> Int(const Json::Value& value) {
  return value.isInt() ? std::optional(value.asInt()) : std::nullopt;
}

/// @return nullopt for what the daemon does not publish
std::optional<Network> NetworkOf(const Json::Value& item) {
  if (!item.isObject() || !item["SSID"].isString()) {
    return std::nullopt;
  }
  Network network;
  network.ssid = item["SSID"].asString();
  network.signal = Int(item["SIGNAL_STRENGTH"]);
  if (network.signal == kNotMeasured) {
    network.signal.reset();
  }
  network.frequency = Int(item["FREQUENCY"]);
  if (network.frequency && *network.frequency <= 0) {
    network.frequency.reset();  // the TV was never connected to it
  }
  network.status = item["STATUS"].isString() ? item["STATUS"].asString() : "";
  return network;
}

List Damaged(const std::string& key) {
  return {{}, Fault{key + " holds no list of networks (pelorusctl get " + key + " shows it)"}};
}

List Read(const std::string& key) {
  const Setting setting = ReadSetting(key);
  if (const auto complaint = Complaint(key, setting)) {
    return {{}, Fault{*complaint}};
  }
  const std::string text = PlainText(setting.value.get());
  if (text.empty()) {
    return {{}, Fault{key + " was emptied by a factory reset, and not published since"}};
  }
  Json::Value document;
  if (!Parse(text, document) || !document.isObject()) {
    return Damaged(key);
  }
  const Json::Value& values = document["values"];
  const auto count = Int(document["count"]);
  const bool is_list = values.isArray() || (values.isNull() && count == 0);
  if (!is_list || count != static_cast<int>(values.size())) {
    return Damaged(key);
  }
  List list;
  for (const Json::Value& item : values) {
    const auto network = NetworkOf(item);
    if (!network) {
      return Damaged(key);
    }
    list.networks.push_back(*network);
  }
  return list;
}

}  // namespace

List All() {
  List all = Read(vconf_keys::kSavedAPList);
  const List top = Top();
  for (Network& network : all.networks) {
    if (const Network* shown = Find(top, network.ssid)) {
      network.status = shown->status;
    }
  }
  return all;
}

List Top() {
  return Read(vconf_keys::kTopSavedAP);
}

const Network* Find(const List& list, const std::string& ssid) {
  const auto found = std::ranges::find(list.networks, ssid, &Network::ssid);
  return found == list.networks.end() ? nullptr : &*found;
}

const char* BandOf(int frequency) {
  if (frequency <= kLast24GHz) {
    return "2.4 GHz";
  }
  return frequency < kFirst6GHz ? "5 GHz" : "6 GHz";
}

std::string SignalText(const Network& network) {
  return network.signal ? std::to_string(*network.signal) + " dBm" : "not measured";
}

}  // namespace saved_networks
