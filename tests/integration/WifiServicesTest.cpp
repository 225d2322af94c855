#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "NetworkService.h"
#include "Supplicant.h"
#include "WifiStub.h"
#include "platform.h"
#include "wifi.h"
#include "wifi_manager.h"

using namespace std::chrono_literals;

namespace {

using Answers = std::vector<int>;

constexpr auto kPatience = 40s;  // longer than the bus lets a call wait for its answer

const WifiStub::Radio kCafe{.bssid = "02:00:00:00:20:00", .ssid = "Cafe", .frequency = 2462};
const WifiStub::Radio kDen{
    .bssid = "02:00:00:00:10:00", .ssid = "Den", .security = "wpa2", .passphrase = "fourteen geese"};

void Record(wifi_error_e result, void* answers) {
  static_cast<Answers*>(answers)->push_back(result);
}
void RecordManager(wifi_manager_error_e result, void* answers) {
  static_cast<Answers*>(answers)->push_back(result);
}

class WifiServices : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    m_stub.emplace();
  }
  void TearDown() override { platform_stop(); }

  void StartServices() {
    m_bus.StartBus();
    m_stub->StartBoth();
  }
  /// A platform that has found its Wi-Fi, and two networks.
  void StartWhole() {
    StartServices();
    m_stub->PutOnAir(kCafe);
    m_stub->PutOnAir(kDen);
    ASSERT_EQ(platform_start(), 0);
    WaitForWifi();
  }
  static bool IsWifiThere() {
    wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
    return NetworkService::Instance().WifiDevice() != nullptr && Supplicant::Instance().IsReady() &&
           wifi_initialize() == WIFI_ERROR_NONE && wifi_get_connection_state(&state) == WIFI_ERROR_NONE;
  }
  static void WaitForWifi() { RunLoopUntil(IsWifiThere); }

  void Listen() {
    const auto note = [](wifi_connection_state_e state, wifi_ap_h, void* states) {
      static_cast<std::vector<int>*>(states)->push_back(state);
    };
    ASSERT_EQ(wifi_set_connection_state_changed_cb(note, &m_states), WIFI_ERROR_NONE);
  }
  static wifi_connection_state_e State() {
    wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
    wifi_get_connection_state(&state);
    return state;
  }
  static int Connect(const WifiStub::Radio& radio, Answers& answers) {
    const wifi_target_s target{
        radio.ssid.c_str(), radio.bssid.c_str(), radio.frequency,
        radio.security == "none" ? WIFI_SECURITY_TYPE_NONE : WIFI_SECURITY_TYPE_WPA2_PSK,
        radio.passphrase.empty() ? nullptr : radio.passphrase.c_str()};
    return wifi_connect_target(&target, Record, &answers);
  }
  static int Disconnect(Answers& answers) {
    wifi_ap_h ap = nullptr;
    int result = wifi_get_connected_ap(&ap);
    if (result == WIFI_ERROR_NONE) {
      result = wifi_disconnect(ap, Record, &answers);
      EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
    }
    return result;
  }
  static void WaitForOne(const Answers& answers) {
    RunLoopUntil([&] { return !answers.empty(); }, kPatience);
    RunLoopFor(200ms);
    EXPECT_EQ(answers.size(), 1U);
  }
  /// Everything that a TV asks of its Wi-Fi works.
  static void ExpectItWorks() {
    WaitForWifi();
    Answers scanned;
    ASSERT_EQ(wifi_scan(Record, &scanned), WIFI_ERROR_NONE);
    WaitForOne(scanned);
    EXPECT_EQ(scanned, Answers{WIFI_ERROR_NONE});
    EXPECT_GE(FoundNames().size(), 2U);
    Answers connected;
    const int begun = Connect(kCafe, connected);
    if (begun != WIFI_ERROR_ALREADY_EXISTS) {
      ASSERT_EQ(begun, WIFI_ERROR_NONE);
      WaitForOne(connected);
      EXPECT_EQ(connected, Answers{WIFI_ERROR_NONE});
    }
    EXPECT_EQ(State(), WIFI_CONNECTION_STATE_CONNECTED);
  }
  static std::vector<std::string> FoundNames() {
    std::vector<std::string> names;
    const auto step = [](wifi_ap_h ap, void* list) {
      char* name = nullptr;
      if (wifi_ap_get_essid(ap, &name) == WIFI_ERROR_NONE) {
        static_cast<std::vector<std::string>*>(list)->emplace_back(name);
        std::free(name);
      }
      return true;
    };
    EXPECT_EQ(wifi_foreach_found_aps(step, &names), WIFI_ERROR_NONE);
    return names;
  }

  BusRoom m_bus;
  std::optional<WifiStub> m_stub;
  std::vector<int> m_states;
};

/// A request of the platform: what is called, and how the TV is before.
struct Request {
  const char* name;
  bool is_connected_before;
  std::function<int(Answers&)> make;
};

int ScanChannel(Answers& answers) {
  static wifi_manager_h manager = nullptr;
  if (manager == nullptr) {
    EXPECT_EQ(wifi_manager_initialize(&manager), WIFI_MANAGER_ERROR_NONE);
  }
  wifi_manager_specific_scan_h scan = nullptr;
  EXPECT_EQ(wifi_manager_specific_scan_create(manager, &scan), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_manager_specific_scan_set_freq(scan, kCafe.frequency), WIFI_MANAGER_ERROR_NONE);
  return wifi_manager_specific_ap_start_multi_scan(manager, scan, RecordManager, &answers);
}

/// Which service misbehaves, and how.
struct Fault {
  const char* service;
  const char* how;
};
[[maybe_unused]] void PrintTo(const Fault& fault, std::ostream* out) {
  *out << fault.service << ' ' << fault.how;
}
std::string NameOf(const testing::TestParamInfo<Fault>& fault) {
  std::string name = std::string(fault.param.service) + "_" + fault.param.how;
  std::erase_if(name, [](char letter) { return !std::isalnum(letter) && letter != '_'; });
  return name;
}

class WifiFaults : public WifiServices, public testing::WithParamInterface<Fault> {
 protected:
  static const std::vector<Request>& Requests() {
    static const std::vector<Request> requests{
        {"scan", false, [](Answers& answers) { return wifi_scan(Record, &answers); }},
        {"scan of a channel", true, ScanChannel},
        {"connect", false, [](Answers& answers) { return Connect(kDen, answers); }},
        {"move", true, [](Answers& answers) { return Connect(kDen, answers); }},
        {"disconnect", true, Disconnect},
    };
    return requests;
  }
  void Prepare(const Request& request) {
    ExpectItWorks();
    if (!request.is_connected_before) {
      Answers left;
      ASSERT_EQ(Disconnect(left), WIFI_ERROR_NONE);
      WaitForOne(left);
    }
  }
};

}  // namespace

// Each request is answered once or refused, whatever the service behind it says, and all works again
// when the service does.
TEST_P(WifiFaults, CostTheRequestsThatMeetThemOnly) {
  const Fault fault = GetParam();
  StartWhole();
  for (const Request& request : Requests()) {
    SCOPED_TRACE(request.name);
    Prepare(request);
    m_stub->Answer(fault.service, fault.how);
    Answers answers;
    const int begun = request.make(answers);
    EXPECT_EQ(answers, Answers{});
    // What is never answered has to end with the service.
    RunLoopFor(500ms);
    EXPECT_LE(answers.size(), 1U);
    m_stub->Stop(fault.service);
    if (begun == WIFI_ERROR_NONE) {
      WaitForOne(answers);
    } else {
      RunLoopFor(300ms);
      EXPECT_EQ(answers, Answers{});
    }
    m_stub->Start(fault.service);
  }
  ExpectItWorks();
}

INSTANTIATE_TEST_SUITE_P(Of, WifiFaults,
                         testing::Values(Fault{"nm", "late 300"}, Fault{"nm", "error"},
                                         Fault{"nm", "nonsense"}, Fault{"nm", "never"},
                                         Fault{"nm", "death"}, Fault{"supplicant", "late 300"},
                                         Fault{"supplicant", "error"}, Fault{"supplicant", "nonsense"},
                                         Fault{"supplicant", "never"}, Fault{"supplicant", "death"}),
                         NameOf);

TEST_F(WifiServices, WithoutABusTheyAreNotThere) {
  ASSERT_EQ(platform_start(), 0);
  RunLoopFor(200ms);
  Answers answers;
  wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
  EXPECT_NE(wifi_get_connection_state(&state), WIFI_ERROR_NONE);
  EXPECT_NE(wifi_scan(Record, &answers), WIFI_ERROR_NONE);
  EXPECT_NE(Connect(kCafe, answers), WIFI_ERROR_NONE);
  RunLoopFor(200ms);
  EXPECT_EQ(answers, Answers{});
}

TEST_F(WifiServices, AreFoundWhenTheBusAppears) {
  ASSERT_EQ(platform_start(), 0);
  RunLoopFor(200ms);
  StartServices();
  m_stub->PutOnAir(kCafe);
  m_stub->PutOnAir(kDen);
  ExpectItWorks();
}

TEST_F(WifiServices, AreFoundInEitherOrder) {
  m_bus.StartBus();
  m_stub->PutOnAir(kCafe);
  m_stub->PutOnAir(kDen);
  ASSERT_EQ(platform_start(), 0);
  for (const char* first : {WifiStub::kNetworkManager, WifiStub::kSupplicant}) {
    const char* second =
        first == WifiStub::kNetworkManager ? WifiStub::kSupplicant : WifiStub::kNetworkManager;
    m_stub->Start(first);
    RunLoopFor(200ms);
    m_stub->Start(second);
    ExpectItWorks();
    m_stub->Stop(first);
    m_stub->Stop(second);
    RunLoopUntil([] { return !IsWifiThere(); });
  }
}

TEST_F(WifiServices, AnswerNothingWhenTheBusIsKilled) {
  StartWhole();
  ExpectItWorks();
  Answers answers;
  ASSERT_EQ(Connect(kDen, answers), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_scan(Record, &answers), WIFI_ERROR_NONE);
  m_bus.CrashBus();
  RunLoopUntil([&] { return answers.size() == 2; }, kPatience);
  RunLoopFor(200ms);
  EXPECT_EQ(answers.size(), 2U);
  m_stub->Stop(WifiStub::kNetworkManager);
  m_stub->Stop(WifiStub::kSupplicant);
  StartServices();
  ExpectItWorks();
}

// A link whose supplicant has gone is none.
TEST_F(WifiServices, TakeTheConnectionAlongWhenTheSupplicantDies) {
  StartWhole();
  ExpectItWorks();
  Listen();
  m_stub->Stop(WifiStub::kSupplicant);
  RunLoopUntil([&] { return !m_states.empty(); });
  EXPECT_EQ(m_states, std::vector<int>{WIFI_CONNECTION_STATE_DISCONNECTED});
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  m_stub->Start(WifiStub::kSupplicant);
  ExpectItWorks();
  EXPECT_EQ(m_states.back(), WIFI_CONNECTION_STATE_CONNECTED);
}

// The link stands without its manager, who says what has become of it when it is back.
TEST_F(WifiServices, SayNothingOfTheConnectionWhileTheirManagerIsAway) {
  StartWhole();
  ExpectItWorks();
  Listen();
  m_stub->Stop(WifiStub::kNetworkManager);
  RunLoopUntil([] { return !IsWifiThere(); });
  wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
  EXPECT_EQ(wifi_get_connection_state(&state), WIFI_ERROR_OPERATION_FAILED);
  RunLoopFor(300ms);
  EXPECT_EQ(m_states, std::vector<int>{});
  m_stub->Start(WifiStub::kNetworkManager);
  RunLoopUntil([&] { return !m_states.empty(); });
  EXPECT_EQ(m_states, std::vector<int>{WIFI_CONNECTION_STATE_DISCONNECTED});
  ExpectItWorks();
  EXPECT_EQ(m_states.back(), WIFI_CONNECTION_STATE_CONNECTED);
}

TEST_F(WifiServices, LoseAndFindTheAdapter) {
  StartWhole();
  ExpectItWorks();
  Answers answers;
  ASSERT_EQ(Connect(kDen, answers), WIFI_ERROR_NONE);
  m_stub->Ask("adapter out");
  WaitForOne(answers);
  EXPECT_NE(answers.front(), WIFI_ERROR_NONE);
  RunLoopUntil([] { return !IsWifiThere(); });
  m_stub->Ask("adapter in");
  ExpectItWorks();
}

// Properties of wrong types, and objects without the properties that every one has.
TEST_F(WifiServices, MayTellNonsenseOfWhatTheyHeard) {
  StartWhole();
  ExpectItWorks();
  const std::string bss = "/fi/w1/wpa_supplicant1/Interfaces/0/BSSs/0 fi.w1.wpa_supplicant1.BSS ";
  for (const char* value :
       {"SSID <'text'>", "BSSID @ay [0x01]", "Frequency <'far'>", "Signal @u 70000", "IEs 5",
        "IEs @ay [0x00, 0xff, 0x41]", "RSN @as ['x']", "WPA {'KeyMgmt': <5>}"}) {
    m_stub->Ask("property supplicant " + bss + value);
    Answers scanned;
    if (wifi_scan(Record, &scanned) == WIFI_ERROR_NONE) {
      WaitForOne(scanned);
    }
    FoundNames();
  }
  const std::string device = "/org/freedesktop/NetworkManager/Devices/1 ";
  const std::string wireless = device + "org.freedesktop.NetworkManager.Device.Wireless ";
  for (const char* value : {"AccessPoints 'none'", "ActiveAccessPoint objectpath '/nowhere'",
                            "ActiveAccessPoint 7", "Bitrate 'fast'"}) {
    m_stub->Ask("property nm " + wireless + value);
    RunLoopFor(20ms);
    State();
    FoundNames();
  }
  for (const char* value :
       {"State 'up'", "State @u 7777", "ActiveConnection objectpath '/nowhere'", "StateReason 5"}) {
    m_stub->Ask("property nm " + device + "org.freedesktop.NetworkManager.Device " + value);
    RunLoopFor(20ms);
    State();
    Answers answers;
    if (Disconnect(answers) == WIFI_ERROR_NONE) {
      WaitForOne(answers);
    }
  }
  for (const char* service : {WifiStub::kSupplicant, WifiStub::kNetworkManager}) {
    m_stub->Stop(service);
  }
  RunLoopUntil([] { return !IsWifiThere(); });
  m_stub.emplace();  // with objects that have never been damaged
  m_stub->StartBoth();
  m_stub->PutOnAir(kCafe);
  m_stub->PutOnAir(kDen);
  ExpectItWorks();
}

// The names of networks are bytes, and every one of them comes through.
TEST_F(WifiServices, TellNamesOfAnyBytes) {
  StartWhole();
  std::string control;
  std::string high;
  for (int i = 0; i < 32; ++i) {
    control += static_cast<char>(i);
    high += static_cast<char>(0xFF - i);
  }
  const std::vector<std::string> names{control, high, std::string(32, '\''), "a\"b\\c\n\t,{}[]"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    m_stub->PutOnAir({.bssid = "02:00:00:00:30:0" + std::to_string(i), .ssid = names[i]});
  }
  Answers scanned;
  ASSERT_EQ(wifi_scan(Record, &scanned), WIFI_ERROR_NONE);
  WaitForOne(scanned);
  const std::vector<std::string> found = FoundNames();
  ASSERT_EQ(found.size(), names.size() + 2);
  for (const std::string& name : found) {
    EXPECT_TRUE(g_utf8_validate(name.c_str(), -1, nullptr)) << name;
    if (name == "Cafe" || name == "Den") {
      continue;
    }
    const wifi_target_s target{name.c_str(), nullptr, 0, WIFI_SECURITY_TYPE_NONE, nullptr};
    Answers answers;
    ASSERT_EQ(wifi_connect_target(&target, Record, &answers), WIFI_ERROR_NONE);
    WaitForOne(answers);
    EXPECT_EQ(answers, Answers{WIFI_ERROR_NONE}) << name;
    wifi_ap_h ap = nullptr;
    ASSERT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
    char* connected = nullptr;
    EXPECT_EQ(wifi_ap_get_essid(ap, &connected), WIFI_ERROR_NONE);
    EXPECT_EQ(connected, name);
    std::free(connected);
    wifi_ap_destroy(ap);
  }
}

TEST_F(WifiServices, TellOfFiveHundredAccessPoints) {
  StartWhole();
  m_stub->Ask("crowd 500");
  Answers scanned;
  ASSERT_EQ(wifi_scan(Record, &scanned), WIFI_ERROR_NONE);
  WaitForOne(scanned);
  EXPECT_EQ(FoundNames().size(), 502U);
  ExpectItWorks();
}
