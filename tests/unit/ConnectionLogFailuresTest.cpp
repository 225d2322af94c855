// Each platform function fails, once and for good, while the TV connects.

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ConnectionRoom.h"
#include "PlatformFunctions.h"

namespace {

/// How a connection comes about.
struct Evening {
  const char* name;
  bool is_connected_at_start;
  bool is_saved;
  const char* ending;  ///< the records, then the keys: name, BSSID, whether the TV may move
};

void PrintTo(const Evening& evening, std::ostream* out) {
  *out << evening.name;
}

constexpr Evening kEvenings[] = {
    {"StartsConnected", true, true, "WIFI_RSSI home - -"},
    {"NewNetwork", false, false, "WIFI_ENV home AA:BB:CC:DD:EE:01 1"},
    {"KnownNetwork", false, true, "WIFI_RSSI - - 1"},
};

constexpr char kNothing[] = "- - -";
constexpr std::string_view kStart = "StartsConnected";
constexpr std::string_view kNew = "NewNetwork";
constexpr std::string_view kKnown = "KnownNetwork";

enum Times : unsigned { kOnce = 1, kForGood = 2, kAlways = kOnce | kForGood };

/// Where an evening ends otherwise than undisturbed.
struct Deviation {
  std::string_view function;
  unsigned times;
  std::string_view evening;
  const char* ending;
};

constexpr Deviation kDeviations[] = {
    // Nothing is listened for, and nothing reported.
    {"connection_create", kAlways, kStart, kNothing},
    {"connection_create", kAlways, kNew, kNothing},
    {"connection_create", kAlways, kKnown, kNothing},
    {"wifi_set_connection_state_changed_cb", kAlways, kNew, kNothing},
    {"wifi_set_connection_state_changed_cb", kAlways, kKnown, kNothing},
    // There is no connection.
    {"wifi_connect_target", kAlways, kNew, kNothing},
    {"wifi_connect_target", kAlways, kKnown, kNothing},
    // It is not known to have an address, and passes for one with IPv6 only.
    {"wifi_ap_get_ip_address", kAlways, kNew, kNothing},
    {"wifi_ap_get_ip_address", kAlways, kKnown, kNothing},
    // The record is queued and waits for a gateway.
    {"connection_profile_check_default_gateway", kAlways, kStart, "home - -"},
    {"connection_profile_check_default_gateway", kAlways, kNew, "home AA:BB:CC:DD:EE:01 1"},
    {"connection_profile_check_default_gateway", kAlways, kKnown, "- - 1"},
    // Nothing can be measured. At the start, the first call is for the name.
    {"wifi_get_connected_ap", kOnce, kStart, "WIFI_RSSI - - -"},
    {"wifi_get_connected_ap", kForGood, kStart, kNothing},
    {"wifi_get_connected_ap", kForGood, kNew, "home AA:BB:CC:DD:EE:01 1"},
    {"wifi_get_connected_ap", kForGood, kKnown, "- - 1"},
    // The second band is not seen.
    {"wifi_foreach_found_aps", kAlways, kNew, "home AA:BB:CC:DD:EE:01 1"},
    // Whether the access point is another one is not known, so what was settled stays.
    {"wifi_ap_get_bssid", kOnce, kNew, "WIFI_ENV home AA:BB:CC:DD:EE:01 -"},
    {"wifi_ap_get_bssid", kForGood, kNew, "home - -"},
    {"wifi_ap_get_bssid", kAlways, kKnown, "WIFI_RSSI - - -"},
    // A network without a name is none that is new; one that was not known as saved is.
    {"wifi_ap_get_essid", kAlways, kStart, "WIFI_RSSI - - -"},
    {"wifi_ap_get_essid", kForGood, kNew, "WIFI_RSSI - - 1"},
    {"wifi_ap_get_essid", kOnce, kKnown, "WIFI_ENV home AA:BB:CC:DD:EE:01 1"},
    {"wifi_ap_is_favorite", kAlways, kKnown, "WIFI_ENV home AA:BB:CC:DD:EE:01 1"},
    // The keys cannot be written.
    {"vconf_set_str", kAlways, kStart, "WIFI_RSSI - - -"},
    {"vconf_set_str", kForGood, kNew, "WIFI_ENV - - -"},
    {"vconf_set_str", kForGood, kKnown, "WIFI_RSSI - - -"},
};

std::string Expected(const Evening& evening, std::string_view function, Times times) {
  const auto* const deviation = std::ranges::find_if(kDeviations, [&](const Deviation& each) {
    return each.function == function && (each.times & times) != 0 && each.evening == evening.name;
  });
  return deviation == std::end(kDeviations) ? evening.ending : deviation->ending;
}

class ConnectionLogFailures : public ConnectionRoom, public testing::WithParamInterface<Evening> {
 protected:
  static std::string Key(const char* key) {
    const std::string value = Stored(key);
    return value == "(none)" || value.empty() ? "-" : value;
  }

  /// @param function  empty: none fails
  std::string Play(const std::string& function, Times times) {
    for (const char* key : {vconf_keys::kApName, vconf_keys::kConnectedApBssid,
                            vconf_keys::kAuto5GhzSwitchSettings, vconf_keys::kDualBandApMac}) {
      vconf_set_str(key, "");
    }
    m_wifi.Join(kLow);
    if (!GetParam().is_connected_at_start) {
      m_wifi.Drop();
    }
    if (!GetParam().is_saved) {
      m_wifi.Forget("home");
    }
    Settle();
    m_tv.ClearCalls();
    test_log::Clear();
    if (!function.empty()) {
      m_tv.Fail(function, function.starts_with("wifi_") ? WIFI_ERROR_OPERATION_FAILED : -1,
                times == kOnce ? 1 : VirtualTv::kForGood);
    }
    registerWifiEvents();
    Settle();
    if (!GetParam().is_connected_at_start) {
      AskForHome();
      Settle();
    }
    m_tv.StopFailing(function);
    std::string ending;
    for (const std::string& event : Events()) {
      ending += event + " ";
    }
    ending += Key(vconf_keys::kApName) + " " + Key(vconf_keys::kConnectedApBssid) + " " +
              Key(vconf_keys::kAuto5GhzSwitchSettings);
    deRegisterWifiEvents();
    CNetworkLogServiceSingleton<CWirelessKPILogger>::Get()->SendKPIData();
    Settle();
    return ending;
  }

  /// The viewer connects the TV; that itself does not fail.
  static void AskForHome() {
    const wifi_target_s target{"home", kLow, 2437, WIFI_SECURITY_TYPE_WPA2_PSK, ""};
    wifi_connect_target(
        &target, [](wifi_error_e, void*) {}, nullptr);
  }
};

TEST_P(ConnectionLogFailures, OfEachPlatformFunctionEndWhereTheyShould) {
  ASSERT_EQ(Play("", kOnce), GetParam().ending);
  for (const std::string_view function : kPlatformFunctions) {
    for (const Times times : {kOnce, kForGood}) {
      SCOPED_TRACE(std::string(function) + (times == kOnce ? " once" : " for good"));
      EXPECT_EQ(Play(std::string(function), times), Expected(GetParam(), function, times));
      EXPECT_FALSE(std::ranges::any_of(test_log::Messages(), [](const std::string& message) {
        return message.starts_with("exception ");
      }));
    }
  }
  EXPECT_EQ(Play("", kOnce), GetParam().ending) << "nothing of it stays";
}

INSTANTIATE_TEST_SUITE_P(Evenings, ConnectionLogFailures, testing::ValuesIn(kEvenings),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

}  // namespace
