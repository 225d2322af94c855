// New certificates: copied to where they are read, and the network joined anew.

#include "EAPCertUpdate.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include <sys/mount.h>

#include "CFileSystem.h"
#include "EapRoom.h"
#include "StaticObjects.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr char kCopyFailed[] = "fail to copy certificate ";
constexpr char kInProgress[] = "cannot reconnect , it is already in progress";
constexpr char kConnect[] = "wifi_connect";

void Install(const std::string& directory, const std::string& name, const std::string& content = "new") {
  fs::create_directories(directory);
  std::ofstream(directory + name, std::ios::binary) << content;
}

std::string Installed(const std::string& name) {
  std::ifstream file(MW_CERT_PATH + name, std::ios::binary);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

class EapCertUpdate : public EapRoom {
 protected:
  EapCertUpdate() { m_update.emplace().Init(); }

  static void Announce(const char* status = "installed") {
    ASSERT_EQ(vconf_set_str(vconf_keys::kEapCertificateStatus, status), VCONF_OK);
    RunLoopOnce();
  }

  std::optional<CEAPCertUpdate> m_update;
};

TEST_F(EapCertUpdate, CopiesBothKindsAndReconnects) {
  Install(ROOT_CERT_PATH, "ca.pem", "root");
  Install(CLIENT_CERT_PATH, "tv.p12", "client");
  Announce();
  EXPECT_TRUE(test_log::Has("{EAP}launchns status installed"));
  EXPECT_EQ(Installed("ca.pem"), "root");
  EXPECT_EQ(Installed("tv.p12"), "client");
  Settle();
  EXPECT_EQ(Calls(kConnect), 1U);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kOffice);
  EXPECT_TRUE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, IsDoneByTheDaemonsOwnObject) {
  m_update.reset();
  Install(ROOT_CERT_PATH, "ca.pem");
  g_oEAPCertUpdate.Init();
  Announce();
  Settle();
  EXPECT_TRUE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, OneKindIsEnough) {
  Install(CLIENT_CERT_PATH, "tv.p12");
  Announce();
  EXPECT_EQ(test_log::Count("frompath = [/home/owner/share/Root/] , topath = "
                            "[/home/owner/share/connmancertpath/]"),
            1U);
  EXPECT_EQ(test_log::Count("frompath = [/home/owner/share/Client/] , topath = "
                            "[/home/owner/share/connmancertpath/]"),
            1U);
  EXPECT_FALSE(test_log::Has(kCopyFailed));
  EXPECT_EQ(Calls("wifi_disconnect"), 1U);
}

TEST_F(EapCertUpdate, WithoutCertificatesThereIsNoReconnection) {
  Announce();
  EXPECT_TRUE(test_log::Has(kCopyFailed));
  EXPECT_FALSE(fs::exists(MW_CERT_PATH));
  Settle();
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
}

TEST_F(EapCertUpdate, ACertificateThatIsTooLargeIsNone) {
  Install(ROOT_CERT_PATH, "ca.pem", std::string(1'048'577, 'x'));
  Announce();
  EXPECT_TRUE(test_log::Has("Error: Certificate file is greater than 1 MB"));
  EXPECT_TRUE(test_log::Has(kCopyFailed));
  EXPECT_EQ(Installed("ca.pem"), "(none)");
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
}

TEST_F(EapCertUpdate, ThatDoesNotFitOnTheDiskIsDoneWhenThereIsRoom) {
  fs::create_directories(MW_CERT_PATH);
  ASSERT_EQ(mount("tmpfs", MW_CERT_PATH.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
  Install(MW_CERT_PATH, "ca.pem", "old");
  Install(MW_CERT_PATH, "other", std::string(32'768, 'x'));
  Install(ROOT_CERT_PATH, "ca.pem", std::string(40'000, 'x'));
  Announce();
  EXPECT_TRUE(test_log::Has(kCopyFailed));
  EXPECT_EQ(Installed("ca.pem"), "old");
  Settle();
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
  fs::remove(MW_CERT_PATH + "other");
  Announce();
  Settle();
  EXPECT_EQ(Installed("ca.pem"), std::string(40'000, 'x'));
  EXPECT_TRUE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, HearsNothingButTheExactWord) {
  Install(ROOT_CERT_PATH, "ca.pem");
  for (const char* status : {"", "Installed", "installed ", "removed"}) {
    Announce(status);
  }
  ASSERT_EQ(vconf_set_int(vconf_keys::kEapCertificateStatus, 1), VCONF_OK);
  RunLoopOnce();
  EXPECT_FALSE(fs::exists(MW_CERT_PATH));
  EXPECT_FALSE(CEAPCertUpdate::IsNewCertificate());
}

TEST_F(EapCertUpdate, IsRepeatedWhenTheWordIsWrittenAgain) {
  Install(ROOT_CERT_PATH, "ca.pem", "first");
  Announce();
  Settle();
  Install(ROOT_CERT_PATH, "ca.pem", "second");
  Announce();
  Settle();
  EXPECT_EQ(Installed("ca.pem"), "second");
  EXPECT_EQ(Calls(kConnect), 2U);
  EXPECT_EQ(m_tv.Calls("vconf_set_str").size(), 3U) << "by this test; the word is never written back";
}

TEST_F(EapCertUpdate, DuringAReconnectionOnlyCopies) {
  Install(ROOT_CERT_PATH, "ca.pem", "first");
  Announce();
  Install(ROOT_CERT_PATH, "ca.pem", "second");
  Announce();
  EXPECT_TRUE(test_log::Has(kInProgress));
  EXPECT_EQ(Installed("ca.pem"), "second");
  Settle();
  EXPECT_EQ(Calls("wifi_disconnect"), 1U);
  EXPECT_EQ(Calls(kConnect), 1U);
  Announce();
  EXPECT_EQ(test_log::Count(kInProgress), 1U) << "the next one is taken again";
}

TEST_F(EapCertUpdate, AReconnectionThatIsNotBegunIsForgotten) {
  Install(ROOT_CERT_PATH, "ca.pem");
  ASSERT_TRUE(m_wifi.Join(kGuests));
  Announce();
  EXPECT_TRUE(test_log::Has("fail to reconnect"));
  ASSERT_TRUE(m_wifi.Join(kOffice));
  Announce();
  Settle();
  EXPECT_FALSE(test_log::Has(kInProgress));
  EXPECT_TRUE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, AReconnectionThatFailsIsLoggedAndForgotten) {
  Install(ROOT_CERT_PATH, "ca.pem");
  m_wifi.FindRadio(kOffice)->passphrase = "other than before";
  Announce();
  Settle();
  EXPECT_TRUE(test_log::Has("{EAP} result =>>0"));
  Announce();
  EXPECT_FALSE(test_log::Has(kInProgress));
}

TEST_F(EapCertUpdate, AReconnectionThatNeverEndsKeepsLaterOnesAway) {
  Install(ROOT_CERT_PATH, "ca.pem");
  SetNetworkType("Cellular");
  Announce();
  RunLoopFor(24h);
  SetNetworkType("Wireless");
  Announce();
  Settle();
  EXPECT_TRUE(test_log::Has(kInProgress));
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
}

TEST_F(EapCertUpdate, ReopensTheCable) {
  Install(ROOT_CERT_PATH, "ca.pem");
  PlugIn();
  Announce();
  Settle();
  EXPECT_EQ(Calls("connection_close_profile"), 1U);
  EXPECT_EQ(Calls("connection_open_profile"), 1U);
  EXPECT_TRUE(m_tv.GetCable().IsInNetwork());
  EXPECT_TRUE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, MayEndWithAReconnectionUnderWay) {
  Install(ROOT_CERT_PATH, "ca.pem");
  Announce();
  RunLoopFor(2500ms);
  ASSERT_EQ(vconf_ignore_key_changed(vconf_keys::kEapCertificateStatus,
                                     CEAPCertUpdate::On_EAP_New_Certificate),
            VCONF_OK);
  m_update.reset();
  Settle();
  EXPECT_FALSE(test_log::Has("{EAP} result =>>1"));
}

TEST_F(EapCertUpdate, FailsWithTheSettings) {
  Install(ROOT_CERT_PATH, "ca.pem");
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  Announce();
  EXPECT_FALSE(fs::exists(MW_CERT_PATH));
  Announce();
  EXPECT_TRUE(fs::exists(MW_CERT_PATH));
}

TEST_F(EapCertUpdate, IsNotHeardOfWhenItCouldNotBeWatched) {
  m_update.reset();
  ASSERT_EQ(vconf_ignore_key_changed(vconf_keys::kEapCertificateStatus,
                                     CEAPCertUpdate::On_EAP_New_Certificate),
            VCONF_OK);
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  m_update.emplace().Init();
  Install(ROOT_CERT_PATH, "ca.pem");
  Announce();
  EXPECT_FALSE(fs::exists(MW_CERT_PATH));
}

}  // namespace
