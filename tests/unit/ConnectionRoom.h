#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "KpiRoom.h"
#include "MainLoop.h"
#include "NW_Common.h"
#include "NetworkWirelessLog.h"
#include "TestLog.h"
#include "WirelessKPILogger.h"
#include "call_guarded.h"

/// KpiRoom with a neighbour, whose network goes by no other radio. The user agreed to the collection of
/// data, and the log of connections is not registered yet.
class ConnectionRoom : public KpiRoom {
 protected:
  static constexpr char kNeighbour[] = "02:33:44:55:66:77";
  static constexpr char kEnv[] = "WIFI_ENV";
  static constexpr char kRssi[] = "WIFI_RSSI";

  void SetUp() override {
    KpiRoom::SetUp();
    m_wifi.AddRadio(
        {.bssid = kNeighbour, .essid = "neighbour", .frequency = 2462, .rssi = -80, .ipv6 = "fe80::2"});
    m_wifi.SeeAll();
    ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 1), VCONF_OK);
  }

  void TearDown() override { deRegisterWifiEvents(); }

  static WirelessLog& Log() { return *CNetworkWirelessLogSingleton<WirelessLog>::Get(); }

  /// Registers on a TV that is connected to nothing, and waits until all is quiet.
  void RegisterOnAnIdleTv() {
    m_wifi.Drop();
    registerWifiEvents();
    Settle();
    m_tv.ClearCalls();
    test_log::Clear();
  }

  /// Asks for a radio and waits until it has come to an end, measurements included.
  void Connect(const char* bssid) {
    AskFor(bssid);
    Settle();
  }
  void AskFor(const char* bssid) {
    const Radio& radio = *m_wifi.FindRadio(bssid);
    const wifi_target_s target{radio.essid.c_str(), radio.bssid.c_str(), radio.frequency, radio.security,
                               radio.passphrase.c_str()};
    EXPECT_EQ(wifi_connect_target(
                  &target, [](wifi_error_e, void*) {}, nullptr),
              WIFI_ERROR_NONE);
  }
  /// Leaves the access point, as by the user's wish, and comes back to it.
  void Reconnect(const char* bssid) {
    m_wifi.Drop();
    Settle();
    Connect(bssid);
  }

  /// More than a connection takes, and what it brings about.
  static void Settle() { RunLoopFor(std::chrono::seconds(10)); }
  static std::size_t Count(std::string_view message) { return test_log::Count(message); }

  /// Joins a radio without a word to the log.
  /// @return its access point, for the caller to end
  wifi_ap_h TakeConnected(const char* bssid) {
    EXPECT_TRUE(m_wifi.Join(bssid));
    wifi_ap_h ap = nullptr;
    EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
    return ap;
  }
  /// As the platform does, but at this very moment.
  static void Tell(wifi_connection_state_e state, wifi_ap_h ap) {
    WirelessLog::connection_state_callback(state, ap, &Log());
  }
  /// A connection to a new network whose measurement is not done yet.
  static void BeginMeasurement(wifi_ap_h ap) {
    Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);
    ASSERT_EQ(Count("[Previous connected  AP =>  , New Ap => home ]"), 1U);
  }

  struct Sent {
    std::string service;
    std::string event;
    std::string code;
    std::string description;
    bool operator==(const Sent&) const = default;
  };
  friend void PrintTo(const Sent& sent, std::ostream* out) {
    *out << sent.service << " " << sent.event << " " << sent.code << " " << sent.description;
  }
  /// What was handed to the KPI logger since the calls were cleared.
  std::vector<Sent> Records() {
    std::vector<Sent> records;
    for (const auto& call : m_tv.Calls("AddEventLogSync")) {
      records.push_back(
          {call.arguments.at(0), call.arguments.at(1), call.arguments.at(2), call.arguments.at(3)});
    }
    return records;
  }
  std::vector<std::string> Events() {
    std::vector<std::string> events;
    for (const Sent& record : Records()) {
      events.push_back(record.event);
    }
    return events;
  }

  static std::string Stored(const char* key) {
    const HeapString value(vconf_get_str(key));
    return value == nullptr ? "(none)" : value.get();
  }
};
