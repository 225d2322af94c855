#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <linux/if_arp.h>
#include <sys/mount.h>
#include <sys/socket.h>

#include "MainLoop.h"
#include "Network.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

std::string Stored() {
  char* value = vconf_get_str(vconf_keys::kNetworkType);
  const std::string text = value == nullptr ? "(none)" : value;
  free(value);
  return text;
}

void WaitFor(const std::string& type) {
  RunLoopUntil([&] { return Stored() == type; });
}

void Settle() {
  RunLoopFor(300ms);
}

/// "wall" is a cable, "modem" a link of the kind that a modem makes.
class NetworkTypeKey : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    network::AddTunnel("modem", ARPHRD_PPP);
    vconf_notify_key_changed(
        vconf_keys::kNetworkType, [](keynode_t*, void* count) { ++*static_cast<int*>(count); },
        &m_writes);
  }
  void TearDown() override { platform_stop(); }

  int m_writes = 0;
};

}  // namespace

TEST_F(NetworkTypeKey, TheRouteFoundAtTheStartIsWritten) {
  network::AddDefaultRoute("modem", AF_INET, 100);
  platform_start();
  EXPECT_EQ(Stored(), "Cellular");
}

TEST_F(NetworkTypeKey, WithoutADefaultRouteTheLastValueStays) {
  vconf_set_str(vconf_keys::kNetworkType, "Wireless");
  Settle();
  m_writes = 0;
  platform_start();
  Settle();
  EXPECT_EQ(Stored(), "Wireless");
  network::AddDefaultRoute("wall", AF_INET, 100);
  WaitFor("Wired");
  network::RemoveDefaultRoute("wall", AF_INET, 100);
  Settle();
  EXPECT_EQ(Stored(), "Wired");
  EXPECT_EQ(m_writes, 1);
}

TEST_F(NetworkTypeKey, TheLowestMetricWins) {
  platform_start();
  network::AddDefaultRoute("modem", AF_INET, 700);
  WaitFor("Cellular");
  network::AddDefaultRoute("wall", AF_INET, 100);
  WaitFor("Wired");
  network::RemoveDefaultRoute("wall", AF_INET, 100);
  WaitFor("Cellular");
}

TEST_F(NetworkTypeKey, ARouteOfTheNewerProtocolCountsToo) {
  platform_start();
  network::AddDefaultRoute("modem", AF_INET6, 50);
  WaitFor("Cellular");
  network::AddDefaultRoute("wall", AF_INET6, 20);
  WaitFor("Wired");
}

TEST_F(NetworkTypeKey, AReplacedRouteIsSeen) {
  platform_start();
  network::AddDefaultRoute("wall", AF_INET, 100);
  WaitFor("Wired");
  network::ReplaceDefaultRoute("modem", AF_INET, 100);
  WaitFor("Cellular");
}

TEST_F(NetworkTypeKey, AnInterfaceThatGoesDownTakesItsRouteAlong) {
  platform_start();
  network::AddDefaultRoute("modem", AF_INET, 700);
  network::AddDefaultRoute("wall", AF_INET, 100);
  WaitFor("Wired");
  network::SetUp("wall", false);
  WaitFor("Cellular");
}

TEST_F(NetworkTypeKey, TheSameTypeIsNotWrittenAgain) {
  network::AddDefaultRoute("wall", AF_INET, 100);
  platform_start();
  Settle();
  network::AddCable("usb", "usb-far");
  network::AddDefaultRoute("usb", AF_INET, 50);
  network::RemoveDefaultRoute("wall", AF_INET, 100);
  Settle();
  EXPECT_EQ(m_writes, 1);
}

/// There is no radio here: this stands a description of one where the kernel describes the interface.
TEST_F(NetworkTypeKey, AnInterfaceThatTheKernelCallsWlanIsWireless) {
  ASSERT_EQ(mount("tmpfs", "/sys/class/net", "tmpfs", 0, nullptr), 0);
  std::filesystem::create_directories("/sys/class/net/wall");
  std::ofstream("/sys/class/net/wall/uevent")
      << "DEVTYPE=wlan\nINTERFACE=wall\nIFINDEX=" << if_nametoindex("wall") << "\n";
  network::AddDefaultRoute("wall", AF_INET, 100);
  platform_start();
  EXPECT_EQ(Stored(), "Wireless");
}
