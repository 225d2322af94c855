#include <chrono>
#include <list>
#include <string>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "Popups.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "sound_manager.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

// The two networks that are published, and the Wi-Fi speaker.

namespace {

class SavedNetworkTile : public testing::Test, protected SavedNetworksRoom {
 protected:
  SavedNetworkTile() {
    m_handler.RegisterVconf();
    Forget();
  }
  ~SavedNetworkTile() override {
    vconf_ignore_key_changed(vconf_keys::kCommand, SavedAPConnHander::_VconfSavedAPCommandChnage);
    delete &m_handler;
    EXPECT_EQ(wifi.Handles().Count(), 0U);
    EXPECT_EQ(wifi.Managers().Count(), 0U);
  }

  static SavedAPData Network(const std::string& name, int signal = 100, int frequency = 2412) {
    return {name, "", signal, frequency, ""};
  }
  static std::string TopSignals() { return Brief(Stored(vconf_keys::kTopSavedAP), "SIGNAL_STRENGTH"); }

  SavedAPConnHander& m_handler = *SavedAPConnHander::GetInstance();
};

TEST_F(SavedNetworkTile, HoldsTheFirstTwo) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Office", -61), Network("Attic", -74)});
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP),
            Texts{R"({"count":2,"values":[{"SIGNAL_STRENGTH":-48,"SSID":"Home","STATUS":"Connected"},)"
                  R"({"SIGNAL_STRENGTH":-61,"SSID":"Office","STATUS":"DisConnected"}]})"});
}

TEST_F(SavedNetworkTile, MayBeEmptyOrHoldOne) {
  m_handler.UpdateTopItems({});
  EXPECT_EQ(Stored(vconf_keys::kTopSavedAP), R"({"count":0})");
  m_handler.UpdateTopItems({Network("Office")});
  EXPECT_EQ(Stored(vconf_keys::kTopSavedAP),
            R"({"count":1,"values":[{"SIGNAL_STRENGTH":100,"SSID":"Office","STATUS":"DisConnected"}]})");
}

TEST_F(SavedNetworkTile, KeepsItsOrderWhenTheTwoChangePlaces) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Office", -61)});
  m_handler.UpdateTopItems({Network("Office", -60), Network("Home", -47), Network("Attic")});
  EXPECT_EQ(TopSignals(), "Home:-47 Office:-60");
}

TEST_F(SavedNetworkTile, IsMadeAnewWhenAnotherComesIn) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Office", -61)});
  m_handler.UpdateTopItems({Network("Attic", -74), Network("Home", -48), Network("Office", -61)});
  EXPECT_EQ(TopSignals(), "Attic:-74 Home:-48");
}

TEST_F(SavedNetworkTile, FollowsTheListWhenItHasOnlyOne) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Office", -61)});
  m_handler.UpdateTopItems({Network("Office", -60)});
  EXPECT_EQ(TopSignals(), "Office:-60");
  m_handler.UpdateTopItems({});
  EXPECT_EQ(TopSignals(), "");
}

TEST_F(SavedNetworkTile, TakesTheLastSignalOfNetworksOfOneName) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Office", -61)});
  m_handler.UpdateTopItems({Network("Home", -40), Network("Office", -61), Network("Home", -90)});
  EXPECT_EQ(TopSignals(), "Home:-90 Office:-61");
}

TEST_F(SavedNetworkTile, MayHoldOneNameTwice) {
  m_handler.UpdateTopItems({Network("Home", -48), Network("Home", -61)});
  EXPECT_EQ(TopSignals(), "Home:-48 Home:-61");
  EXPECT_EQ(TopStatuses(), "Home:Connected Home:Connected");
  wifi.SetOn(kHome, false);
  Connect("Home");
  RunLoopFor(10s);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Home:DisConnected");
  EXPECT_EQ(PopupsAsked(), 2U) << "one for each record";
}

TEST_F(SavedNetworkTile, ShowsTheConnectionThatThereIs) {
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  wifi.Drop();
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:DisConnected");
  wifi.Join(kOffice);
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected");
}

TEST_F(SavedNetworkTile, KeepsItsStatusesWhenTheConnectionHasNoName) {
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  wifi.Join(kOffice);
  tv.Fail("wifi_ap_get_essid", WIFI_ERROR_OPERATION_FAILED);
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  EXPECT_TRUE(test_log::Has("Fail to get AP name"));
  EXPECT_EQ(TopStatuses(), "Home:Connected Office:DisConnected");
}

TEST_F(SavedNetworkTile, DoesNotTakeNoNameForTheNameOfNoConnection) {
  wifi.Drop();
  m_handler.UpdateTopItems({Network(""), Network("Office")});
  EXPECT_EQ(TopStatuses(), ":DisConnected Office:DisConnected");
}

TEST_F(SavedNetworkTile, LivesOnWhenItCannotBeWritten) {
  tv.Fail("vconf_set_str", VCONF_ERROR);
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  tv.StopFailing("vconf_set_str");
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  EXPECT_EQ(TopStatuses(), "Home:Connected Office:DisConnected");
}

TEST_F(SavedNetworkTile, NamesEachErrorOfTheWifiManager) {
  const std::pair<int, const char*> names[] = {
      {0, "NONE"},
      {-12, "OUT_OF_MEMORY"},
      {-22, "INVALID_PARAMETER"},
      {-38, "INVALID_OPERATION"},
      {-97, "ADDRESS_FAMILY_NOT_SUPPORTED"},
      {-115, "NOW_IN_PROGRESS"},
      {static_cast<int>(0xFE320001), "OPERATION_FAILED"},
      {static_cast<int>(0xFE320002), "NO_CONNECTION"},
      {static_cast<int>(0xFE320003), "ALREADY_EXISTS"},
      {static_cast<int>(0xFE320004), "OPERATION_ABORTED"},
      {static_cast<int>(0xFE320005), "DHCP_FAILED"},
      {static_cast<int>(0xFE320006), "INVALID_KEY"},
      {static_cast<int>(0xFE320007), "NO_REPLY"},
      {static_cast<int>(0xFE320008), "SECURITY_RESTRICTED"},
      {static_cast<int>(0xFE320009), "DEFAULT"},
      {static_cast<int>(0xFE32000E), "DEFAULT"},
      {static_cast<int>(0xFE32000F), "WPS_OVERLAP"},
      {static_cast<int>(0xFE320010), "WPS_TIMEOUT"},
      {static_cast<int>(0xFE320011), "WPS_WEP_PROHIBITED"},
      {static_cast<int>(0xFE320012), "WIFI_OFFLINE"},
      {static_cast<int>(0xFE320013), "INVALID_GATEWAY"},
      {static_cast<int>(0xFE320014), "DEFAULT"},
      {-95, "DEFAULT"},
      {1, "DEFAULT"},
  };
  for (const auto& [code, name] : names) {
    EXPECT_STREQ(SavedAPConnHander::convert_wifi_error_to_string(code), name) << code;
  }
}

TEST_F(SavedNetworkTile, KnowsAWifiSpeakerByItsSelectionAndItsAudio) {
  for (const int selection : {0, 3, 4, 5}) {
    for (const int status : {1, 2, 3}) {
      tv.SetSpeakerSelection(selection);
      vconf_set_int(vconf_keys::kNetworkSpeakerStatus, status);
      test_log::Clear();
      const bool is_speaker = selection == 4 && status == 2;
      EXPECT_EQ(m_handler.IsWifiSpeakerConnected(), is_speaker) << selection << " " << status;
      EXPECT_EQ(test_log::Messages(),
                (Texts{"SelectedSpeaker=[" + std::to_string(selection) + "]",
                       "isWifiSpeakerConnected[" + std::to_string(is_speaker) + "]"}));
    }
  }
}

TEST_F(SavedNetworkTile, TakesASpeakerThatIsNotKnownForNone) {
  tv.SetSpeakerSelection(4);
  EXPECT_FALSE(m_handler.IsWifiSpeakerConnected());
  EXPECT_TRUE(test_log::Has("failed")) << "the status has no value";
  vconf_set_int(vconf_keys::kNetworkSpeakerStatus, 2);
  EXPECT_TRUE(m_handler.IsWifiSpeakerConnected());
  tv.Fail("sound_manager_get_speaker_selection", SOUND_MANAGER_ERROR_INTERNAL);
  EXPECT_FALSE(m_handler.IsWifiSpeakerConnected());
}

TEST_F(SavedNetworkTile, ConnectsWhenTheSpeakerPopupSaysSo) {
  m_handler.UpdateTopItems({Network("Home"), Network("Office")});
  wifi.FindRadio(kOffice)->is_on = false;
  Connect("Office");
  RunLoopFor(10s);
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  wifi.FindRadio(kOffice)->is_on = true;

  settings::Write(vconf_keys::kSwitchNetwork, g_variant_new_int32(1));
  RunLoopFor(10s);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome) << "nobody listens yet";

  m_handler.SetWiFiSpeakerButtonCB();
  popups::WaitForStarted(2);
  EXPECT_EQ(popups::Keywords(), (Texts{"cannot_connect", "ShowWifiSpeakerPopup"}));
  EXPECT_EQ(popups::All().at(1).arguments.size(), 1U);
  Forget();
  for (const int answer : {0, 2, -1}) {
    settings::Write(vconf_keys::kSwitchNetwork, g_variant_new_int32(answer));
    RunLoopOnce();
  }
  EXPECT_TRUE(test_log::Messages().empty());
  settings::Write(vconf_keys::kSwitchNetwork, g_variant_new_int32(1));
  RunLoopFor(10s);
  EXPECT_TRUE(test_log::Has("command value = 1"));
  EXPECT_EQ(wifi.ConnectedBssid(), kOffice) << "where the last command wanted to go";
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected");
}

TEST_F(SavedNetworkTile, SaysWhenTheSpeakerPopupsAnswerCannotBeHeardOrRead) {
  tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  m_handler.SetWiFiSpeakerButtonCB();
  EXPECT_TRUE(test_log::Has("Failed To Register memory/Pelorus/SwitchNetwork"));
  popups::WaitForStarted(1);
  Forget();
  SavedAPConnHander::OnSwitchNetwork(nullptr, &m_handler);
  SavedAPConnHander::OnSwitchNetwork(nullptr, nullptr);
  EXPECT_EQ(test_log::Messages(),
            (Texts{"memory/Pelorus/SwitchNetwork failed!!", "memory/Pelorus/SwitchNetwork failed!!"}));
}

TEST_F(SavedNetworkTile, EndsTheWatchOnTheSpeakerPopupWithItself) {
  SavedAPConnHander& handler = m_handler;
  handler.SetWiFiSpeakerButtonCB();
  popups::WaitForStarted(1);
  Forget();
  SavedAPConnHander::_VconfSavedAPCommandChnage(nullptr, nullptr);
  EXPECT_EQ(test_log::Messages(), (Texts{"START", "END"}));
}

}  // namespace
