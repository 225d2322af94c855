#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "Popups.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

std::string Stored(const char* key) {
  const HeapString value(vconf_get_str(key));
  return value == nullptr ? "(none)" : value.get();
}

struct TypeCase {
  const char* stored;
  eNetworkType type;
};

void PrintTo(const TypeCase& type_case, std::ostream* out) {
  *out << '"' << type_case.stored << '"';
}

class NetworkType : public testing::TestWithParam<TypeCase> {};

TEST_P(NetworkType, ComparesTheWholeValue) {
  vconf_set_str(vconf_keys::kNetworkType, GetParam().stored);
  EXPECT_EQ(GetCurrentNetworkType(), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    Values, NetworkType,
    testing::Values(TypeCase{"Wired", eNetworkTypeWired}, TypeCase{"Wireless", eNetworkTypeWireless},
                    TypeCase{"Cellular", eNetworkTypeCellular}, TypeCase{"wireless", eNetworkTypeWired},
                    TypeCase{"Wireless ", eNetworkTypeWired}, TypeCase{"Cellular2", eNetworkTypeWired},
                    TypeCase{"", eNetworkTypeWired}));

TEST(NetworkTypeDefault, IsWiredWhenNothingIsStored) {
  EXPECT_EQ(GetCurrentNetworkType(), eNetworkTypeWired);
}

TEST(NetworkTypeDefault, IsWiredWhenTheValueIsNoString) {
  vconf_set_int(vconf_keys::kNetworkType, 2);
  EXPECT_EQ(GetCurrentNetworkType(), eNetworkTypeWired);
}

TEST(AutoSwitching, IsForbiddenWhenNothingIsStored) {
  EXPECT_FALSE(IsAutoSwitchingAllowed());
  EXPECT_TRUE(test_log::Has("Auto switching allowed =>0"));
}

TEST(AutoSwitching, IsAllowedByExactlyOneCharacter) {
  for (const char* forbidden : {"10", "1 ", "", "0", "true"}) {
    vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, forbidden);
    EXPECT_FALSE(IsAutoSwitchingAllowed()) << '"' << forbidden << '"';
  }
  vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, "1");
  EXPECT_TRUE(IsAutoSwitchingAllowed());
  EXPECT_TRUE(test_log::Has("Auto switching allowed =>1"));
}

TEST(AutoSwitching, ModeIsStoredAsZeroOrOne) {
  SetAutoSwitchingMode(5);
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "1");
  SetAutoSwitchingMode(0);
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "0");
  SetAutoSwitchingMode(-1);
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "1");
  EXPECT_TRUE(test_log::Has("Set Auto switching mode =5"));
}

TEST(AutoSwitching, AFailedWriteIsIgnored) {
  VirtualTv::Instance().Fail("vconf_set_str", VCONF_ERROR, 1);
  SetAutoSwitchingMode(1);
  EXPECT_FALSE(IsAutoSwitchingAllowed());
}

TEST(LaunchNetworkSettings, OpensTheSettingsScreenInAnotherProcess) {
  register_NSLaunchVconf();
  vconf_set_str(vconf_keys::kLaunchNS, "LaunchNS");
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"vesta_networksettings"});
  EXPECT_TRUE(test_log::Has(" Vconf [LaunchNS]"));
  EXPECT_TRUE(
      test_log::Has("start : going to launch NETWORK_SETUP, will not work , move it in a new process"));
}

TEST(LaunchNetworkSettings, LeavesEveryOtherValueAlone) {
  register_NSLaunchVconf();
  for (const char* other : {"launchns", "LaunchNS ", "", "START", "5GHZ_YES"}) {
    vconf_set_str(vconf_keys::kLaunchNS, other);
    RunLoopOnce();
    EXPECT_TRUE(test_log::Has(std::string(" Vconf [") + other + "]"));
  }
  EXPECT_FALSE(test_log::Has("data=="));
  EXPECT_TRUE(popups::All().empty());
}

TEST(LaunchNetworkSettings, IgnoresAValueThatIsNoString) {
  register_NSLaunchVconf();
  vconf_set_int(vconf_keys::kLaunchNS, 1);
  RunLoopOnce();
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST(LaunchNetworkSettings, IsNotHeardAfterDeregistration) {
  register_NSLaunchVconf();
  deregister_NSLaunchVconf();
  vconf_set_str(vconf_keys::kLaunchNS, "LaunchNS");
  RunLoopOnce();
  EXPECT_TRUE(test_log::Messages().empty());
}

}  // namespace
