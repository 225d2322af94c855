#include "ConnectionSteps.h"

#include <gtest/gtest.h>

namespace {

constexpr wifi_connection_state_e kLeft = WIFI_CONNECTION_STATE_DISCONNECTED;
constexpr wifi_connection_state_e kAssociation = WIFI_CONNECTION_STATE_ASSOCIATION;
constexpr wifi_connection_state_e kConfiguration = WIFI_CONNECTION_STATE_CONFIGURATION;
constexpr wifi_connection_state_e kConnected = WIFI_CONNECTION_STATE_CONNECTED;

const Radio kLow{.ssid = "Den", .bssid = "02:00:00:00:10:00", .frequency = 2437};
const Radio kHigh{.ssid = "Den", .bssid = "02:00:00:00:20:00", .frequency = 5180};
const Radio kUnknown;

/// Such as "1 of 10:00, ".
std::string Told(const std::vector<ConnectionSteps::Step>& steps) {
  std::string text;
  for (const auto& [state, radio] : steps) {
    text += std::to_string(state) + " of " + radio.bssid.substr(12) + ", ";
  }
  return text;
}

std::string WayTo(const Radio& radio) {
  return Told({{kAssociation, radio}, {kConfiguration, radio}, {kConnected, radio}});
}

}  // namespace

TEST(ConnectionSteps, EachStateIsOneStep) {
  ConnectionSteps steps;
  EXPECT_EQ(Told(steps.Become(kLeft, kUnknown)), "");
  EXPECT_EQ(Told(steps.Become(kAssociation, kLow)), Told({{kAssociation, kLow}}));
  EXPECT_EQ(Told(steps.Become(kAssociation, kLow)), "");
  EXPECT_EQ(Told(steps.Become(kConfiguration, kLow)), Told({{kConfiguration, kLow}}));
  EXPECT_EQ(Told(steps.Become(kConnected, kLow)), Told({{kConnected, kLow}}));
  EXPECT_EQ(Told(steps.Become(kConnected, kLow)), "");
  EXPECT_EQ(Told(steps.Become(kLeft, kUnknown)), Told({{kLeft, kLow}}));
  EXPECT_EQ(Told(steps.Become(kLeft, kUnknown)), "");
}

TEST(ConnectionSteps, NoneIsLeftOut) {
  ConnectionSteps steps;
  EXPECT_EQ(Told(steps.Become(kConnected, kLow)), WayTo(kLow));
  EXPECT_EQ(steps.State(), kConnected);
}

TEST(ConnectionSteps, AStateWaitsUntilItsRadioIsKnown) {
  ConnectionSteps steps;
  EXPECT_EQ(Told(steps.Become(kAssociation, kUnknown)), "");
  EXPECT_EQ(Told(steps.Become(kConfiguration, kLow)),
            Told({{kAssociation, kLow}, {kConfiguration, kLow}}));
}

TEST(ConnectionSteps, AWayThatEndsBeforeItsRadioWasKnownIsNone) {
  ConnectionSteps steps;
  EXPECT_EQ(Told(steps.Become(kAssociation, kUnknown)), "");
  EXPECT_EQ(Told(steps.Become(kLeft, kUnknown)), "");
}

TEST(ConnectionSteps, AMoveWhileConnectedLeavesTheFirstRadio) {
  ConnectionSteps steps;
  steps.Become(kConnected, kLow);
  EXPECT_EQ(Told(steps.Become(kConnected, kUnknown)), "");  // in between
  EXPECT_EQ(Told(steps.Become(kConnected, kHigh)), Told({{kLeft, kLow}}) + WayTo(kHigh));
}

TEST(ConnectionSteps, ANewAttemptWhileConnectedLeavesTheRadio) {
  ConnectionSteps steps;
  steps.Become(kConnected, kLow);
  EXPECT_EQ(Told(steps.Become(kAssociation, kUnknown)), Told({{kLeft, kLow}}));
  EXPECT_EQ(Told(steps.Become(kAssociation, kHigh)), Told({{kAssociation, kHigh}}));
}

TEST(ConnectionSteps, AnotherRadioMayBeChosenOnTheWay) {
  ConnectionSteps steps;
  steps.Become(kAssociation, kLow);
  EXPECT_EQ(Told(steps.Become(kAssociation, kHigh)), "");
  EXPECT_EQ(Told(steps.Become(kConfiguration, kHigh)), Told({{kConfiguration, kHigh}}));
  EXPECT_EQ(Told(steps.Become(kLeft, kUnknown)), Told({{kLeft, kHigh}}));
}

TEST(ConnectionSteps, StatesOfNetworkManagerAreThoseOfTheInterface) {
  for (const auto& [device, state] :
       {std::pair(NM_DEVICE_STATE_UNAVAILABLE, kLeft), std::pair(NM_DEVICE_STATE_DISCONNECTED, kLeft),
        std::pair(NM_DEVICE_STATE_PREPARE, kAssociation),
        std::pair(NM_DEVICE_STATE_CONFIG, kAssociation),
        std::pair(NM_DEVICE_STATE_NEED_AUTH, kAssociation),
        std::pair(NM_DEVICE_STATE_IP_CONFIG, kConfiguration),
        std::pair(NM_DEVICE_STATE_IP_CHECK, kConfiguration),
        std::pair(NM_DEVICE_STATE_SECONDARIES, kConfiguration),
        std::pair(NM_DEVICE_STATE_ACTIVATED, kConnected), std::pair(NM_DEVICE_STATE_DEACTIVATING, kLeft),
        std::pair(NM_DEVICE_STATE_FAILED, kLeft), std::pair(static_cast<NMDeviceState>(77), kLeft)}) {
    EXPECT_EQ(ConnectionSteps::StateOf(device), state) << device;
  }
}
