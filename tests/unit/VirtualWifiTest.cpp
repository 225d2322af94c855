#include "Wifi.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "platform.h"

using std::chrono::milliseconds;
using EventKind = VirtualTv::EventKind;

namespace {

constexpr char kLow[] = "02:00:00:00:10:00";
constexpr char kHigh[] = "02:00:00:00:10:04";
constexpr char kOther[] = "02:00:00:00:20:00";
constexpr char kSecret[] = "fourteen geese";

using Answers = std::vector<int>;

void Record(wifi_error_e result, void* answers) {
  static_cast<Answers*>(answers)->push_back(result);
}

struct Seen {
  std::string essid;
  std::string bssid;
  int rssi;
  bool operator==(const Seen&) const = default;
};

std::string TextOf(int (*read)(wifi_ap_h, char**), wifi_ap_h ap) {
  char* text = nullptr;
  EXPECT_EQ(read(ap, &text), WIFI_ERROR_NONE);
  std::string copy = text == nullptr ? "" : text;
  std::free(text);
  return copy;
}

std::vector<Seen> Found() {
  std::vector<Seen> found;
  const auto record = [](wifi_ap_h ap, void* list) {
    int rssi = 0;
    EXPECT_EQ(wifi_ap_get_rssi(ap, &rssi), WIFI_ERROR_NONE);
    static_cast<std::vector<Seen>*>(list)->push_back(
        {TextOf(wifi_ap_get_essid, ap), TextOf(wifi_ap_get_bssid, ap), rssi});
    return true;
  };
  EXPECT_EQ(wifi_foreach_found_aps(record, &found), WIFI_ERROR_NONE);
  return found;
}

/// A router with a radio on each band, and the TV of one who knows its passphrase.
class VirtualWifi : public testing::Test {
 protected:
  VirtualWifi() {
    m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .frequency = 2437, .passphrase = kSecret});
    m_wifi.AddRadio(
        {.bssid = kHigh, .essid = "Den", .frequency = 5180, .passphrase = kSecret, .rssi = -60});
    m_wifi.Save({"Den", WIFI_SECURITY_TYPE_WPA2_PSK, kSecret});
    EXPECT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  }

  static wifi_target_s To(const char* bssid, int frequency = 0, const char* passphrase = nullptr) {
    return {"Den", bssid, frequency, WIFI_SECURITY_TYPE_WPA2_PSK, passphrase};
  }
  int Connect(const wifi_target_s& target) { return wifi_connect_target(&target, Record, &m_answers); }

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
  Answers m_answers;
};

TEST_F(VirtualWifi, ConnectionTakesALookAnAnswerAndAnAddress) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(98));
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
  RunLoopFor(milliseconds(4));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  EXPECT_EQ(m_wifi.ConnectedBssid(), "");
  RunLoopFor(milliseconds(700));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONFIGURATION);
  RunLoopFor(milliseconds(290));
  EXPECT_EQ(m_answers, Answers{});
  RunLoopFor(milliseconds(10));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONNECTED);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifi, ScanTellsAfterItsLatencyWhatIsOnTheAirThen) {
  ASSERT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NOW_IN_PROGRESS);
  RunLoopFor(milliseconds(1000));
  m_wifi.SetOn(kLow, false);
  RunLoopFor(milliseconds(999));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(Found(), std::vector<Seen>{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(Found(), (std::vector<Seen>{{"Den", kHigh, -60}}));
}

}  // namespace
