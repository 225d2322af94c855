#include <optional>

#include "WifiContract.h"

namespace {

struct Verdict {
  int result;
  bool is_captive;
  std::optional<std::string> url;
  bool operator==(const Verdict&) const = default;
};
using Verdicts = std::vector<Verdict>;

class WifiPortalTest : public WifiContract {
 protected:
  static void Note(wifi_manager_error_e result, bool is_captive, char* url, void* verdicts) {
    static_cast<Verdicts*>(verdicts)->push_back(
        {result, is_captive, url == nullptr ? std::nullopt : std::optional<std::string>(url)});
  }
  void WaitForVerdicts(std::size_t count) {
    RunLoopUntil([&] { return m_verdicts.size() >= count; }, m_room->LongestRequest());
    Settle();
  }
  Verdicts m_verdicts;
};
using WifiPortal = WifiPortalTest;

}  // namespace

// Without a connection there is nothing to ask; a missing callback is refused.
// Fails: a backend that asks whatever network it finds.
TEST_F(WifiPortal, NeedsAConnection) {
  EXPECT_EQ(wifi_ap_is_captive_portal_network(nullptr, nullptr), WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NO_CONNECTION);
  Settle();
  EXPECT_EQ(m_verdicts, Verdicts{});
}

// Each question is answered once, after the call: no portal, or the portal's own page.
// Fails: a backend that tells where its own probe went in place of where it was led.
TEST_F(WifiPortal, IsToldByItsPage) {
  const std::string page = "http://192.168.0.1/welcome?room=12&back=%2F";
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(m_verdicts, Verdicts{});
  WaitForVerdicts(1);
  m_room->SetPortal(m_cafe.bssid, page);
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  WaitForVerdicts(3);
  EXPECT_EQ(m_verdicts, (Verdicts{{WIFI_MANAGER_ERROR_NONE, false, std::nullopt},
                                  {WIFI_MANAGER_ERROR_NONE, true, page},
                                  {WIFI_MANAGER_ERROR_NONE, true, page}}));
}

// A question whose connection is lost on the way is answered, and with no portal.
// Fails: a backend that lets it wait for the next connection.
TEST_F(WifiPortal, IsAnsweredWhenTheConnectionWasLost) {
  m_room->PutOnAir(m_cafe);
  m_room->SetPortal(m_cafe.bssid, "http://192.168.0.1/");
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  m_room->TakeOffAir(m_cafe.bssid);
  WaitForVerdicts(1);
  ASSERT_EQ(m_verdicts.size(), 1U);
  EXPECT_NE(m_verdicts.front().result, WIFI_MANAGER_ERROR_NONE);
  EXPECT_FALSE(m_verdicts.front().is_captive);
  EXPECT_EQ(m_verdicts.front().url, std::nullopt);
}

// After the platform stopped, nothing is answered.
// Fails: a backend that forgets the probe which is under way.
TEST_F(WifiPortal, IsNotAnsweredAfterTheStop) {
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  platform_stop();
  RunLoopFor(m_room->LongestRequest());
  EXPECT_EQ(m_verdicts, Verdicts{});
}
