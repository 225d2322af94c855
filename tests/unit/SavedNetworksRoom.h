#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#include "MainLoop.h"
#include "SavedAPConnectionHandler.h"
#include "SavedNetworkPriorityHandler.h"
#include "SettingsFile.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A living room with four saved networks: "Home", that the TV is on, "Office", "Attic", which is
/// hidden, and "Garden", which is out of range. The settings application is another process: what fails
/// for the daemon does not for it.
class SavedNetworksRoom {
 public:
  using Texts = std::vector<std::string>;

  static constexpr char kHome[] = "AA:BB:CC:DD:EE:01";
  static constexpr char kOffice[] = "AA:BB:CC:DD:EE:02";
  static constexpr char kAttic[] = "AA:BB:CC:DD:EE:03";
  static constexpr char kGarden[] = "AA:BB:CC:DD:EE:04";

  SavedNetworksRoom() {
    // The daemon has initialised the interface before anything here happens.
    wifi_initialize();
    while (!wifi.Radios().empty()) {
      wifi.RemoveRadio(std::string(wifi.Radios().front().bssid));
    }
    while (!wifi.Saved().empty()) {
      wifi.Forget(std::string(wifi.Saved().front().essid));
    }
    wifi.SeeAll();
    wifi.AddRadio({.bssid = kHome, .essid = "Home", .frequency = 5180, .passphrase = "h", .rssi = -48});
    wifi.AddRadio(
        {.bssid = kOffice, .essid = "Office", .frequency = 2437, .passphrase = "o", .rssi = -61});
    wifi.AddRadio({.bssid = kAttic,
                   .essid = "Attic",
                   .is_hidden = true,
                   .frequency = 2462,
                   .passphrase = "a",
                   .rssi = -74});
    wifi.AddRadio({.bssid = kGarden,
                   .essid = "Garden",
                   .frequency = 2412,
                   .passphrase = "g",
                   .rssi = -80,
                   .is_on = false});
    wifi.Save({"Home", WIFI_SECURITY_TYPE_WPA2_PSK, "h", 5180});
    wifi.Save({"Office", WIFI_SECURITY_TYPE_WPA2_PSK, "o", 2437});
    wifi.Save({"Attic", WIFI_SECURITY_TYPE_WPA2_PSK, "a", 2462});
    wifi.Save({"Garden", WIFI_SECURITY_TYPE_WPA2_PSK, "g", 2412});
    wifi.Join(kHome);
    Forget();
  }

  /// What the daemon's start does for these two.
  static void Start() {
    SavedAPConnHander::GetInstance()->RegisterVconf();
    SavedAPPriorityHandler::GetInstance()->RegisterWifiEvents();
  }

  /// Ends both, as the process does. Their watches on the commands would live on.
  static void End() {
    vconf_ignore_key_changed(vconf_keys::kCommand, SavedAPConnHander::_VconfSavedAPCommandChnage);
    vconf_ignore_key_changed(vconf_keys::kCommand, SavedAPPriorityHandler::_VconfSavedAPCommandChnage);
    delete SavedAPPriorityHandler::GetInstance();
    delete SavedAPConnHander::GetInstance();
  }

  /// Neither calls nor log lines so far count.
  void Forget() {
    tv.ClearCalls();
    test_log::Clear();
  }

  /// The settings application, or whoever else has access to the store, writes.
  static void Write(const char* key, const std::string& text) {
    settings::Write(key, settings::FromText(text.c_str()));
  }
  static void Command(const std::string& document) {
    Write(vconf_keys::kCommand, document);
    RunLoopOnce();
  }
  static void Connect(const std::string& ssid) {
    Command(R"({"COMMAND":"1","SSID":")" + ssid + R"("})");
  }

  /// The list that a former life of the daemon has stored.
  static void Store(const std::vector<std::pair<std::string, int>>& names_with_frequency) {
    Json::Value list;
    list["count"] = static_cast<int>(names_with_frequency.size());
    for (const auto& [name, frequency] : names_with_frequency) {
      Json::Value item;
      item["SSID"] = name;
      item["SIGNAL_STRENGTH"] = -50;
      item["FREQUENCY"] = frequency;
      list["values"].append(item);
    }
    Write(vconf_keys::kSavedAPList, Json::writeString(Json::StreamWriterBuilder(), list));
  }

  /// The document of a string key, without white space; "(none)" when there is none.
  static std::string Stored(const char* key) {
    const auto text = settings::ReadText(key);
    return text ? Compact(*text) : "(none)";
  }

  /// What the daemon has written to a key since Forget(), each without white space.
  Texts Published(const char* key) {
    Texts documents;
    for (const auto& call : tv.Calls("vconf_set_str")) {
      if (call.arguments.at(0) == key) {
        documents.push_back(Compact(call.arguments.at(1)));
      }
    }
    return documents;
  }

  /// The names and one member of a document's records: "Home:-48 Office:100".
  static std::string Brief(const std::string& document, const char* member) {
    const Json::Value parsed = Parse(document);
    std::string brief;
    for (const Json::Value& item : parsed["values"]) {
      brief += (brief.empty() ? "" : " ") + item["SSID"].asString() + ":" + item[member].asString();
    }
    return brief;
  }
  Texts PublishedStatuses() { return Briefs(vconf_keys::kTopSavedAP, "STATUS"); }
  Texts PublishedLists() { return Briefs(vconf_keys::kSavedAPList, "SIGNAL_STRENGTH"); }
  static std::string TopStatuses() { return Brief(Stored(vconf_keys::kTopSavedAP), "STATUS"); }
  static std::string SavedList() { return Brief(Stored(vconf_keys::kSavedAPList), "SIGNAL_STRENGTH"); }

  /// How often the user was told that the network cannot be connected, by a program that was started or
  /// by a word to the one that is up.
  std::size_t PopupsAsked() {
    const auto forwarded = std::ranges::count_if(
        tv.Calls("vconf_set_str"),
        [](const VirtualTv::Call& call) { return call.arguments.at(0) == vconf_keys::kPelorusCommand; });
    return test_log::Count("data==") + static_cast<std::size_t>(forwarded);
  }

  /// The calls of the Wi-Fi manager's that ask something of the air, in their order.
  Texts Requests() {
    Texts requests;
    for (const auto& call : tv.Calls()) {
      if (call.function == "wifi_manager_specific_scan_set_freq" ||
          call.function == "wifi_manager_scan_specific_ap" || call.function == "wifi_manager_connect") {
        requests.push_back(call.function.substr(std::string_view("wifi_manager_").size()) + " " +
                           call.arguments.at(0));
      }
    }
    return requests;
  }

  static std::string Compact(const std::string& document) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, Parse(document));
  }

  static Json::Value Parse(const std::string& document) {
    Json::Value value;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!document.empty()) {
      EXPECT_TRUE(reader->parse(document.data(), document.data() + document.size(), &value, &errors))
          << document << "\n"
          << errors;
    }
    return value;
  }

  VirtualTv& tv = VirtualTv::Instance();
  Wifi& wifi = tv.GetWifi();

 private:
  Texts Briefs(const char* key, const char* member) {
    Texts briefs = Published(key);
    for (std::string& document : briefs) {
      document = Brief(document, member);
    }
    return briefs;
  }
};

/// The access point that the TV is on, as the connection log hands it over.
class ConnectedAp {
 public:
  ConnectedAp() { EXPECT_EQ(wifi_get_connected_ap(&m_ap), WIFI_ERROR_NONE); }
  ~ConnectedAp() { wifi_ap_destroy(m_ap); }
  ConnectedAp(const ConnectedAp&) = delete;
  ConnectedAp& operator=(const ConnectedAp&) = delete;
  [[nodiscard]] wifi_ap_h Get() const { return m_ap; }

 private:
  wifi_ap_h m_ap = nullptr;
};
