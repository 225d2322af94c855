#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/if_arp.h>
#include <linux/seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "Network.h"
#include "net_connection.h"

namespace {

/// What the Linux backend reads from the kernel's tables. "wall" is a cable, "modem" a link of the kind
/// that a modem makes.
class ConnectionQueries : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    network::AddTunnel("modem", ARPHRD_PPP);
    RunLoopUntil([] { return network::HasCarrier("wall"); });
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
  }

  /// @return -1 without one
  int CurrentType() {
    connection_profile_h profile = nullptr;
    const int result = connection_get_current_profile(m_connection, &profile);
    if (result != CONNECTION_ERROR_NONE) {
      EXPECT_EQ(result, CONNECTION_ERROR_NO_CONNECTION);
      return -1;
    }
    connection_profile_type_e type{};
    EXPECT_EQ(connection_profile_get_type(profile, &type), CONNECTION_ERROR_NONE);
    EXPECT_EQ(connection_profile_destroy(profile), CONNECTION_ERROR_NONE);
    return type;
  }
  static bool HasGateway() {
    bool has_gateway = false;
    EXPECT_EQ(connection_profile_check_default_gateway(&has_gateway), CONNECTION_ERROR_NONE);
    return has_gateway;
  }
  std::string Address(connection_address_family_e family) {
    char* text = nullptr;
    const int result = connection_get_ip_address(m_connection, family, &text);
    EXPECT_EQ(result, text == nullptr ? CONNECTION_ERROR_NO_CONNECTION : CONNECTION_ERROR_NONE);
    const HeapString owned(text);
    return text == nullptr ? "" : text;
  }
  std::string HardwareAddress(connection_type_e type) {
    char* text = nullptr;
    const int result = connection_get_mac_address(m_connection, type, &text);
    EXPECT_EQ(result, text == nullptr ? CONNECTION_ERROR_OPERATION_FAILED : CONNECTION_ERROR_NONE);
    const HeapString owned(text);
    return text == nullptr ? "" : text;
  }

  connection_h m_connection = nullptr;
};

/// There is no radio here: this stands a description of one where the kernel describes the interface.
void CallWlan(const std::string& name) {
  ASSERT_EQ(mount("tmpfs", "/sys/class/net", "tmpfs", 0, nullptr), 0);
  std::filesystem::create_directories("/sys/class/net/" + name);
  std::ofstream("/sys/class/net/" + name + "/uevent")
      << "DEVTYPE=wlan\nINTERFACE=" << name << "\nIFINDEX=" << if_nametoindex(name.c_str()) << "\n";
}

/// For the rest of this process's life.
void RefuseNetlinkSockets() {
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{std::size(rules), rules};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

}  // namespace

TEST_F(ConnectionQueries, TheRouteOfTheLowestMetricCarriesTheTraffic) {
  network::AddAddress("wall", "192.0.2.10/24");
  network::AddAddress("modem", "198.51.100.7/32");
  EXPECT_EQ(CurrentType(), -1) << "an address alone carries nothing";
  network::AddDefaultRoute("modem", AF_INET, 700);
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_CELLULAR);
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "198.51.100.7");
  network::AddDefaultRoute("wall", AF_INET, 100);
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_ETHERNET);
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "192.0.2.10");
  network::RemoveDefaultRoute("wall", AF_INET, 100);
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_CELLULAR);
}

TEST_F(ConnectionQueries, AnInterfaceThatTheKernelCallsWlanIsWifi) {
  CallWlan("wall");
  network::AddDefaultRoute("wall", AF_INET, 100);
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_WIFI);
}

TEST_F(ConnectionQueries, ARouteOfTheNewerProtocolIsAGatewayToo) {
  EXPECT_FALSE(HasGateway());
  network::AddDefaultRoute("wall", AF_INET6, 100);
  EXPECT_TRUE(HasGateway());
}

/// The kernel keeps the route of a cable that is pulled, and sends the traffic into nothing.
TEST_F(ConnectionQueries, ARouteOverAPulledCableCarriesNothing) {
  network::AddAddress("wall", "192.0.2.10/24");
  network::AddDefaultRoute("wall", AF_INET, 100);
  EXPECT_TRUE(HasGateway());
  network::SetUp("far", false);
  RunLoopUntil([] { return !network::HasCarrier("wall"); });
  EXPECT_FALSE(HasGateway());
  EXPECT_EQ(CurrentType(), -1);
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "");
}

TEST_F(ConnectionQueries, AnAddressThatReachesFurtherIsPreferred) {
  network::AddDefaultRoute("wall", AF_INET6, 100);
  RunLoopUntil([this] { return Address(CONNECTION_ADDRESS_FAMILY_IPV6).starts_with("fe80:"); });
  network::AddAddress("wall", "fd00::10/64");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "fd00::10");
  network::AddAddress("wall", "2001:db8::10/64");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "2001:db8::10");
  network::AddAddress("wall", "fd00::11/64");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "2001:db8::10");

  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "");
  network::AddAddress("wall", "169.254.3.4/16");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "169.254.3.4");
  network::AddAddress("wall", "192.0.2.10/24");
  network::AddAddress("wall", "192.0.2.11/24");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), "192.0.2.10");
}

TEST_F(ConnectionQueries, TheHardwareAddressIsThatOfTheCablesInterface) {
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_ETHERNET), network::HardwareAddress("wall"));
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_WIFI), "");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_CELLULAR), "");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_DISCONNECTED), "");

  network::AddCable("usb", "usb-far");
  RunLoopUntil([] { return network::HasCarrier("usb"); });
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_ETHERNET), network::HardwareAddress("wall")) << "the first";
  network::SetUp("far", false);
  RunLoopUntil([] { return !network::HasCarrier("wall"); });
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_ETHERNET), network::HardwareAddress("usb"))
      << "the one with a carrier";
}

TEST_F(ConnectionQueries, AWifiInterfacesHardwareAddressIsItsOwn) {
  network::AddTunnel("radio", ARPHRD_ETHER);
  CallWlan("radio");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_WIFI), network::HardwareAddress("radio"));
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_ETHERNET), network::HardwareAddress("wall"));
}

/// No socket to the kernel can be had: that is a failure, and not "no network".
TEST_F(ConnectionQueries, AKernelThatDoesNotAnswerIsAFailure) {
  network::AddDefaultRoute("wall", AF_INET, 100);
  RefuseNetlinkSockets();
  bool has_gateway = false;
  connection_profile_h profile = nullptr;
  char* text = nullptr;
  const int results[] = {
      connection_profile_check_default_gateway(&has_gateway),
      connection_get_current_profile(m_connection, &profile),
      connection_get_ip_address(m_connection, CONNECTION_ADDRESS_FAMILY_IPV4, &text),
      connection_get_mac_address(m_connection, CONNECTION_TYPE_ETHERNET, &text),
  };
  for (const int result : results) {
    EXPECT_EQ(result, CONNECTION_ERROR_OPERATION_FAILED);
  }
  EXPECT_FALSE(has_gateway);
  EXPECT_EQ(profile, nullptr);
  EXPECT_EQ(text, nullptr);
}

/// A question leaves nothing behind that could wake the program or fill its table of files.
TEST_F(ConnectionQueries, AQuestionLeavesNothingBehind) {
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
  };
  network::AddDefaultRoute("wall", AF_INET, 100);
  const auto before = open_files();
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(HasGateway());
    CurrentType();
    Address(CONNECTION_ADDRESS_FAMILY_IPV6);
    HardwareAddress(CONNECTION_TYPE_ETHERNET);
  }
  EXPECT_EQ(open_files(), before);
}
