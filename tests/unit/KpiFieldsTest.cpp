#include "NewKPI2017.h"

#include <filesystem>
#include <ostream>
#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "C5GhzSwitchHandler.h"
#include "KpiRoom.h"
#include "MacPrefix.h"
#include "TestLog.h"
#include "WifiOnOffInfo.h"

namespace {

class KpiFields : public KpiRoom {};

TEST_F(KpiFields, ConstantOneHasItsKeyAndValue) {
  EXPECT_EQ(DummyValue::GetDummyValue("slist", ""), "slist=");
  EXPECT_EQ(DummyValue::GetDummyValue("num", "7"), "num=7");
}

TEST_F(KpiFields, HardwareAddressShowsItsMakerOnly) {
  EXPECT_EQ(GetMacPrefix("AA:BB:CC:DD:EE:FF"), "AA-BB-CC");
  EXPECT_EQ(GetMacPrefix("AA:BB:CC"), "AA-BB-CC");
  EXPECT_EQ(GetMacPrefix("AA:BB:C"), "ff-ff-ff");
  EXPECT_EQ(GetMacPrefix(""), "ff-ff-ff");
}

TEST_F(KpiFields, ApplicationIsTheOneInTheForeground) {
  EXPECT_EQ(CAppid::GetResult(), "appid=org.orvik.player");
}

TEST_F(KpiFields, ApplicationIsNoneWhenNobodySays) {
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  EXPECT_EQ(CAppid::GetResult(), "appid=NONE");
  EXPECT_EQ(CAppid::GetResult(), "appid=org.orvik.player");
}

TEST_F(KpiFields, ModuleIdKeepsTheEndOfItsLine) {
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=7663\n");
  EXPECT_TRUE(test_log::Has("ModuleID =>7663 ")) << "the log writes a line end as a space";
}

TEST_F(KpiFields, ModuleIdIsTheFirstLineAlone) {
  SetModuleId("first\nsecond\n");
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=first\n");
  SetModuleId("no line end");
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=no line end");
  SetModuleId(std::string(200, 'x'));
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=" + std::string(127, 'x'));
}

TEST_F(KpiFields, ModuleIdIsZeroWithoutItsFile) {
  std::filesystem::remove(kModuleIdFile);
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=0");
  EXPECT_TRUE(test_log::Has(std::string("Failed to access ") + kModuleIdFile));
}

TEST_F(KpiFields, ModuleIdIsZeroWhenItsFileCannotBeOpened) {
  std::filesystem::remove(kModuleIdFile);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string(kModuleIdFile).copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=0");
  EXPECT_TRUE(test_log::Has(std::string("Failed to open file ") + kModuleIdFile + " "));
  close(listener);
}

TEST_F(KpiFields, ModuleIdIsZeroWhenItsFileIsEmpty) {
  SetModuleId("");
  EXPECT_EQ(CModuleID::GetResult(), "moduleid=0");
  EXPECT_TRUE(test_log::Has(std::string("Failed to read moduleid info from  ") + kModuleIdFile + " "));
}

TEST_F(KpiFields, NetworkTypeIsOneDigit) {
  EXPECT_EQ(NetworkType::GetResult(), "ntype=2");
  vconf_set_str(vconf_keys::kNetworkType, "Cellular");
  EXPECT_EQ(NetworkType::GetResult(), "ntype=3");
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  EXPECT_EQ(NetworkType::GetResult(), "ntype=1");
}

TEST_F(KpiFields, SetupIsReportedInItsFirstStepOnly) {
  EXPECT_EQ(COOBEStep::GetResult(), "oobe=0");
  vconf_set_str(vconf_keys::kWizardMode, "PNP_SETUP");
  EXPECT_EQ(COOBEStep::GetResult(), "oobe=1");
  vconf_set_str(vconf_keys::kWizardMode, "PNP_SETUP2");
  EXPECT_EQ(COOBEStep::GetResult(), "oobe=0");
}

struct PlayerField {
  const char* name;
  const char* key;
  std::string (*read)();
  std::string before;  // the player has said anything
  std::string after;   // it has said -61
  std::string log_before;
  std::string log_after;
};

void PrintTo(const PlayerField& field, std::ostream* out) {
  *out << field.name;
}

class KpiPlayerFields : public KpiRoom, public testing::WithParamInterface<PlayerField> {};

TEST_P(KpiPlayerFields, SayWhatThePlayerMeasured) {
  const PlayerField& field = GetParam();
  EXPECT_EQ(field.read(), field.before);
  EXPECT_TRUE(field.log_before.empty() || test_log::Has(field.log_before));
  vconf_set_int(field.key, -61);
  EXPECT_EQ(field.read(), field.after);
  EXPECT_TRUE(field.log_after.empty() || test_log::Has(field.log_after));
  m_tv.Fail("vconf_get_int", VCONF_ERROR);
  EXPECT_EQ(field.read(), field.before);
  EXPECT_EQ(field.read(), field.before);
}

INSTANTIATE_TEST_SUITE_P(
    Values, KpiPlayerFields,
    testing::Values(PlayerField{"Interference", vconf_keys::kNetInterfer,
                                CChannelInterferenceAWM::GetResult, "interfer=0", "interfer=-61",
                                "Interferene failed", "awm channel intereference =>-61"},
                    PlayerField{"Rssi", vconf_keys::kNetRssi, CRSSIAWM::GetResult, "rssi=0", "rssi=-61",
                                "rssi failed", "awm rssi =>-61"},
                    PlayerField{"LinkSpeed", vconf_keys::kNetLinkSpeed, LinkSpeedEV006::GetResult,
                                "linkspeed=54", "linkspeed=-61", "", ""}),
    [](const auto& info) { return info.param.name; });

TEST_F(KpiFields, LinkSpeedHasTwoDigitsAtLeast) {
  EXPECT_EQ(LinkSpeed::Format(0), "linkspeed=00");
  EXPECT_EQ(LinkSpeed::Format(6), "linkspeed=06");
  EXPECT_EQ(LinkSpeed::Format(9), "linkspeed=09");
  EXPECT_EQ(LinkSpeed::Format(10), "linkspeed=10");
  EXPECT_EQ(LinkSpeed::Format(54), "linkspeed=54");
  EXPECT_EQ(LinkSpeed::Format(866), "linkspeed=866");
}

TEST_F(KpiFields, MonitorMeasuresNothingYet) {
  const auto monitor = CNWSingleton<WifiMonHandler>::GetInstance();
  EXPECT_EQ(LinkSpeed::GetResult(monitor), "linkspeed=00");
  EXPECT_EQ(ChannelInterference::GetResult(monitor), "interfer=0");
}

TEST_F(KpiFields, ScanIsReadAsItStands) {
  WifiWPSScan scan;
  MWHandler mw;
  EXPECT_EQ(CDiffMacEV001::GetResult(scan), "diffmac=0");
  EXPECT_EQ(CDualFreq::GetResult(scan), "dualfreq=0");
  EXPECT_EQ(CDualRSSI::GetResult(scan), "dualrssi=0");
  EXPECT_EQ(CDualProtocol::GetResult(scan), "dualprot=NOTFOUND");
  EXPECT_EQ(CDualBand::GetResult(scan), "dualap=0");
  ASSERT_TRUE(mw.TakeConnectedAP());
  ASSERT_TRUE(scan.Init(mw.GetAP()));
  EXPECT_EQ(CDiffMacEV001::GetResult(scan), "diffmac=4");
  EXPECT_EQ(CDualFreq::GetResult(scan), "dualfreq=5180");
  EXPECT_EQ(CDualRSSI::GetResult(scan), "dualrssi=-55");
  EXPECT_EQ(CDualProtocol::GetResult(scan), "dualprot=802.11ac");
  EXPECT_EQ(CDualBand::GetResult(scan), "dualap=1");
}

TEST_F(KpiFields, SecondBandIsLookedForOnlyWhenThereIsAnAccessPoint) {
  WifiWPSScan scan;
  MWHandler mw;
  EXPECT_EQ(CDualBandCachedValue::GetResult(mw, scan), "dualap=0");
  ASSERT_TRUE(mw.TakeConnectedAP());
  EXPECT_EQ(CDualBandCachedValue::GetResult(mw, scan), "dualap=1");
  m_wifi.RemoveRadio(kHigh);
  m_wifi.SeeAll();
  EXPECT_EQ(CDualBandCachedValue::GetResult(mw, scan), "dualap=1") << "cached by then";
  vconf_set_str(vconf_keys::kDualBandApMac, "");
  EXPECT_EQ(CDualBandCachedValue::GetResult(mw, scan), "dualap=0");
}

TEST_F(KpiFields, BandSwitchIsToldInPairs) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  sExtendedWiFiData& original = handler.GetOriginalWiFiData();
  original.rssi = -62;
  original.frequency = 2427;
  original.protocol = "11n";
  original.channelInterference = 35;
  sExtendedWiFiData& similar = handler.GetSimilarWiFiData();
  similar.rssi = -65;
  similar.frequency = 5220;
  similar.protocol = "11ac";
  similar.channelInterference = 5;
  EXPECT_EQ(CRssiApsEv005::GetResult(), "rssis=-62/2427|-65/5220");
  EXPECT_EQ(CInterferencesDualEv005::GetResult(), "interferences=35/2427|5/5220");
  EXPECT_EQ(CProtocolsEv005::GetResult(), "protocols=11n/2427|11ac/5220");
}

TEST_F(KpiFields, BandSwitchHasAReasonAndASelection) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  EXPECT_EQ(C5ghzSwitchReason::GetResult(), "swreason=1");
  EXPECT_EQ(CUserSelection::GetResult(), "select=-1");
  handler.m_SetUserSelection(1);
  EXPECT_EQ(CUserSelection::GetResult(), "select=1");
}

TEST_F(KpiFields, BandSwitchTellsTheDifferenceOfTheAddresses) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  handler.GetOriginalWiFiData().bssid = kLow;
  handler.GetSimilarWiFiData().bssid = kHigh;
  EXPECT_EQ(CDiffMacEV005::GetResult(), "diffmac=4");
}

TEST_F(KpiFields, MalformedAddressHasNoDifference) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  handler.GetOriginalWiFiData().bssid = kLow;
  for (const char* bssid : {"", "AA:BB", "AA:BB:CC:DD:EE:xy"}) {
    handler.GetSimilarWiFiData().bssid = bssid;
    EXPECT_EQ(CDiffMacEV005::GetResult(), "diffmac=0") << bssid;
  }
}

TEST_F(KpiFields, ProtocolIsThatOfThePresentConnection) {
  EXPECT_EQ(CEV001Protocol::GetResult(), "prot=802.11n");
  EXPECT_EQ(CEV002Protocol::GetResult(), "protocol=802.11n");
  m_wifi.Drop();
  EXPECT_EQ(CEV001Protocol::GetResult(), "prot=unknown");
}

TEST_F(KpiFields, WhatOtherComponentsToldIsPassedOn) {
  EXPECT_EQ(CWifiIconClickReason::GetResult(), "click_reason=-1");
  EXPECT_EQ(CWifiOffPopupSelection::GetResult(), "select=-1");
  EXPECT_EQ(CMarqueeConnectionTestExecutionMethod::GetResult(), "execution_method=");
  EXPECT_EQ(CMarqueeConnectionTestResult::GetResult(), "marquee_test_result=");
  CWifiOnOffInfo& info = *GetWifiOnOffInstance();
  info.SetPopupReason(2);
  info.SetPopupSelection(1);
  info.SetExecutionMethod("manual");
  info.SetTestResult("success");
  EXPECT_EQ(CWifiIconClickReason::GetResult(), "click_reason=2");
  EXPECT_EQ(CWifiOffPopupSelection::GetResult(), "select=1");
  EXPECT_EQ(CMarqueeConnectionTestExecutionMethod::GetResult(), "execution_method=manual");
  EXPECT_EQ(CMarqueeConnectionTestResult::GetResult(), "marquee_test_result=success");
}

struct Address {
  const char* text;
  bool is_private;
  const char* log;
};

class PrivateIp : public testing::TestWithParam<Address> {};

void PrintTo(const Address& address, std::ostream* out) {
  *out << '"' << address.text << '"';
}

TEST_P(PrivateIp, IsToldByItsNumbers) {
  EXPECT_EQ(IPType::IsPrivateIP(GetParam().text), GetParam().is_private);
  EXPECT_TRUE(test_log::Has(GetParam().log)) << GetParam().log;
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, PrivateIp,
    testing::Values(Address{"10.0.0.1", true, "[IP =>10  0 0 1  is public true ]"},
                    Address{"11.0.0.1", false, "[IP =>11  0 0 1  is public false ]"},
                    Address{"172.15.0.1", false, "[IP =>172  15 0 1  is public false ]"},
                    Address{"172.16.0.1", true, "[IP =>172  16 0 1  is public true ]"},
                    Address{"172.99.0.1", true, "[IP =>172  99 0 1  is public true ]"},
                    Address{"172.200.3.4", true, "[IP =>172  200 3 4  is public true ]"},
                    Address{"192.168.1.1", true, "[IP =>192  168 1 1  is public true ]"},
                    Address{"192.169.1.1", false, "[IP =>192  169 1 1  is public false ]"},
                    Address{"8.8.8.8", false, "[IP =>8  8 8 8  is public false ]"},
                    Address{"", false, "[IP =>0  0 0 0  is public false ]"},
                    Address{"10", true, "[IP =>10  0 0 0  is public true ]"},
                    Address{"192.168", true, "[IP =>192  168 0 0  is public true ]"},
                    Address{"192/168/1/1", true, "[IP =>192  168 1 1  is public true ]"},
                    Address{"10.x.1.2", true, "[IP =>10  0 0 0  is public true ]"},
                    Address{"99999999999.1.1.1", false, "[IP =>0  0 0 0  is public false ]"},
                    Address{"fe80::1", false, "[IP =>0  0 0 0  is public false ]"}));

}  // namespace
