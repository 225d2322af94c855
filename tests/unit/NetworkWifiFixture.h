#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "VirtualTv.h"
#include "setwell/NetworkUtil.h"
#include "setwell/NetworkWifi.h"

using Setwell::NetworkWifi;
using Setwell::WIFIData;

inline constexpr char kLow[] = "02:00:00:00:10:00";
inline constexpr char kHigh[] = "02:00:00:00:10:04";
inline constexpr char kSecret[] = "fourteen geese";

using Heard = std::vector<std::string>;

/// Writes down what it hears, and then does what the test says.
class Listener : public Setwell::WifiEventListner {
 public:
  explicit Listener(Heard& heard, std::string name = "") : m_heard(heard), m_name(std::move(name)) {}

  void OnDisconnected() override { Hear("disconnected"); }
  void OnConnectionError(const Setwell::NetworkError& error) override {
    EXPECT_NE(error.text, "");
    Hear("error " + std::to_string(error.code));
  }
  void OnConnected() override { Hear("connected"); }
  void OnInternetOnline() override { Hear("online"); }
  void OnWifiScanComplete() override { Hear("scanned"); }
  void OnAPConnected(bool connected) override { Hear(connected ? "let in" : "kept out"); }
  void OnWifiConnectSuccess() override { Hear("success"); }

  std::function<void(const std::string&)> on_heard;

 private:
  void Hear(const std::string& event) {
    m_heard.push_back(m_name + event);
    if (const auto reaction = on_heard) {  // copied: it may end the listener
      reaction(event);
    }
  }

  Heard& m_heard;
  std::string m_name;
};

/// A router with a radio on each band, and the TV of one who knows its passphrase, on the lower band.
class NetworkWifiObject : public testing::Test {
 protected:
  NetworkWifiObject() {
    m_room.AddRadio({.bssid = kLow, .essid = "Den", .frequency = 2437, .passphrase = kSecret});
    m_room.AddRadio(
        {.bssid = kHigh, .essid = "Den", .frequency = 5180, .passphrase = kSecret, .rssi = -60});
    EXPECT_TRUE(m_room.Join(kLow));
    m_room.SeeAll();
    EXPECT_TRUE(m_wifi->InitWifi());
    m_wifi->AddListner(m_listener);
  }

  WIFIData Similar() {
    WIFIData similar;
    EXPECT_EQ(m_wifi->Is5GhzSimilarAPExist(similar, Setwell::DUAL_AP_MODE_USER), NetworkWifi::kFound);
    return similar;
  }
  WIFIData Connected() {
    WIFIData connected;
    EXPECT_TRUE(m_wifi->GetConnectedAPDetails(connected));
    return connected;
  }

  static Setwell::WifiParameters ParametersFor(const WIFIData& data) {
    Setwell::WifiParameters parameters;
    parameters.ssid = data.ssid;
    parameters.securityType = Setwell::NetworkUtil::convert_security_type_enum(data.securityType);
    parameters.key = data.key;
    parameters.connectionOption = data.connectionOption;
    return parameters;
  }
  void ConnectTo(const WIFIData& data) {
    m_wifi->SetParameters(ParametersFor(data));
    m_wifi->Connect();
  }

  void RunUntilQuiet() { RunLoopFor(std::chrono::seconds(30)); }
  Heard Take() { return std::exchange(m_heard, {}); }
  static Heard Failure(int code) { return {"kept out", "error " + std::to_string(code)}; }

  const Heard m_success{"let in", "success"};
  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_room = m_tv.GetWifi();
  Heard m_heard;
  std::shared_ptr<Listener> m_listener = std::make_shared<Listener>(m_heard);
  std::unique_ptr<NetworkWifi> m_wifi = std::make_unique<NetworkWifi>();
};
