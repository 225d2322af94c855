#include <cstdlib>
#include <string>

#include "Contract.h"
#include "net_connection.h"

namespace {

std::string Taken(char* text) {
  const std::string copy = text == nullptr ? "" : text;
  std::free(text);
  return copy;
}

/// What the interface answers at once.
class NetworkFacts : public Contract {
 protected:
  void SetUp() override {
    Contract::SetUp();
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
  }

  static bool HasGateway() {
    bool has_gateway = false;
    EXPECT_EQ(connection_profile_check_default_gateway(&has_gateway), CONNECTION_ERROR_NONE);
    return has_gateway;
  }
  void WaitForGateway(bool expected) {
    RunLoopUntil([=] { return HasGateway() == expected; });
  }
  Room::WiredNetwork JoinWiredNetwork() {
    const Room::WiredNetwork network = m_room->JoinWiredNetwork();
    WaitForGateway(true);
    return network;
  }
  std::string Address(connection_address_family_e family) {
    char* text = nullptr;
    EXPECT_EQ(connection_get_ip_address(m_connection, family, &text), CONNECTION_ERROR_NONE);
    return Taken(text);
  }

  connection_h m_connection = nullptr;
  connection_profile_h m_profile = nullptr;
};

}  // namespace

// Null arguments and handles are refused, and nothing is written.
// Fails: a backend that fills in an out parameter before it looks at the handle.
TEST_F(NetworkFacts, WrongArgumentsAreRefused) {
  JoinWiredNetwork();
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_DETACHED;
  EXPECT_EQ(connection_get_ethernet_cable_state(nullptr, &state), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_ethernet_cable_state(m_connection, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(state, CONNECTION_ETHERNET_CABLE_DETACHED);

  EXPECT_EQ(connection_get_current_profile(nullptr, &m_profile), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_current_profile(m_connection, nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(m_profile, nullptr);
  EXPECT_EQ(connection_profile_destroy(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_profile_check_default_gateway(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);

  char* text = nullptr;
  EXPECT_EQ(connection_get_mac_address(nullptr, CONNECTION_TYPE_ETHERNET, &text),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_mac_address(m_connection, CONNECTION_TYPE_ETHERNET, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_ip_address(nullptr, CONNECTION_ADDRESS_FAMILY_IPV4, &text),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_ip_address(m_connection, CONNECTION_ADDRESS_FAMILY_IPV4, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(text, nullptr);

  int number = 7;
  EXPECT_EQ(connection_check_hotspot(nullptr, &number), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_check_hotspot(m_connection, nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(number, 7);
}

// What was answered for a handle is refused once it is destroyed.
// Fails: a backend that keeps no account of its handles, and reads what it has freed.
TEST_F(NetworkFacts, ADestroyedHandleIsRefused) {
  JoinWiredNetwork();
  ASSERT_EQ(connection_destroy(m_connection), CONNECTION_ERROR_NONE);
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_DETACHED;
  EXPECT_EQ(connection_get_ethernet_cable_state(m_connection, &state),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_current_profile(m_connection, &m_profile),
            CONNECTION_ERROR_INVALID_PARAMETER);
  char* text = nullptr;
  EXPECT_EQ(connection_get_mac_address(m_connection, CONNECTION_TYPE_ETHERNET, &text),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_get_ip_address(m_connection, CONNECTION_ADDRESS_FAMILY_IPV4, &text),
            CONNECTION_ERROR_INVALID_PARAMETER);
  int status = 7;
  EXPECT_EQ(connection_check_hotspot(m_connection, &status), CONNECTION_ERROR_INVALID_PARAMETER);
}

// The cable's state can be read at any time, and is what was told last.
// Fails: a backend that learns of the cable only through a callback that somebody has set.
TEST_F(NetworkFacts, TheCableIsAttachedWhileItIsIn) {
  const auto is_attached = [this] {
    connection_ethernet_cable_state_e state{};
    EXPECT_EQ(connection_get_ethernet_cable_state(m_connection, &state), CONNECTION_ERROR_NONE);
    return state == CONNECTION_ETHERNET_CABLE_ATTACHED;
  };
  EXPECT_FALSE(is_attached());
  m_room->PlugCable();
  RunLoopUntil(is_attached);
  m_room->UnplugCable();
  RunLoopUntil([&] { return !is_attached(); });
}

// A callback that asks for the state is answered what it was just told.
// Fails: a backend that calls back first and writes the state down afterwards.
TEST_F(NetworkFacts, TheCablesStateAgreesWithTheCallback) {
  struct Answers {
    connection_h connection;
    int count = 0;
  } answers{m_connection};
  const auto on_cable = [](connection_ethernet_cable_state_e told, void* data) {
    auto* to = static_cast<Answers*>(data);
    connection_ethernet_cable_state_e read{};
    EXPECT_EQ(connection_get_ethernet_cable_state(to->connection, &read), CONNECTION_ERROR_NONE);
    EXPECT_EQ(read, told);
    ++to->count;
  };
  ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(m_connection, on_cable, &answers),
            CONNECTION_ERROR_NONE);
  m_room->PlugCable();
  RunLoopUntil([&] { return answers.count == 1; });
  m_room->UnplugCable();
  RunLoopUntil([&] { return answers.count == 2; });
}

// Without a network there is no profile, no address and no gateway, and that is said as such.
// Fails: a backend that answers with the loopback interface, or with what it remembers.
TEST_F(NetworkFacts, WithoutANetworkThereIsNothingToTell) {
  EXPECT_EQ(connection_get_current_profile(m_connection, &m_profile), CONNECTION_ERROR_NO_CONNECTION);
  EXPECT_EQ(m_profile, nullptr);
  for (const auto family : {CONNECTION_ADDRESS_FAMILY_IPV4, CONNECTION_ADDRESS_FAMILY_IPV6}) {
    char* text = nullptr;
    EXPECT_EQ(connection_get_ip_address(m_connection, family, &text), CONNECTION_ERROR_NO_CONNECTION);
    EXPECT_EQ(text, nullptr);
  }
  EXPECT_FALSE(HasGateway());
}

// A wired network that carries the traffic is the current profile, of the wired type.
// Fails: a backend that takes the first interface it finds for the current one.
TEST_F(NetworkFacts, TheWiredNetworkIsTheCurrentProfile) {
  JoinWiredNetwork();
  ASSERT_EQ(connection_get_current_profile(m_connection, &m_profile), CONNECTION_ERROR_NONE);
  connection_profile_type_e type = CONNECTION_PROFILE_TYPE_CELLULAR;
  EXPECT_EQ(connection_profile_get_type(nullptr, &type), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_profile_get_type(m_profile, nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(type, CONNECTION_PROFILE_TYPE_CELLULAR);
  EXPECT_EQ(connection_profile_get_type(m_profile, &type), CONNECTION_ERROR_NONE);
  EXPECT_EQ(type, CONNECTION_PROFILE_TYPE_ETHERNET);

  EXPECT_EQ(connection_profile_destroy(m_profile), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_profile_destroy(m_profile), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_profile_get_type(m_profile, &type), CONNECTION_ERROR_INVALID_PARAMETER);
}

// A profile says what was true when it was taken, also when its network and its handle are gone.
// Fails: a backend whose profiles point into its table of networks.
TEST_F(NetworkFacts, AProfileOutlivesItsNetwork) {
  JoinWiredNetwork();
  ASSERT_EQ(connection_get_current_profile(m_connection, &m_profile), CONNECTION_ERROR_NONE);
  m_room->UnplugCable();
  WaitForGateway(false);
  connection_profile_h none = nullptr;
  EXPECT_EQ(connection_get_current_profile(m_connection, &none), CONNECTION_ERROR_NO_CONNECTION);
  ASSERT_EQ(connection_destroy(m_connection), CONNECTION_ERROR_NONE);
  connection_profile_type_e type{};
  EXPECT_EQ(connection_profile_get_type(m_profile, &type), CONNECTION_ERROR_NONE);
  EXPECT_EQ(type, CONNECTION_PROFILE_TYPE_ETHERNET);
  EXPECT_EQ(connection_profile_destroy(m_profile), CONNECTION_ERROR_NONE);
}

// A lease is a time, or it is said that there is none or that this platform does not know.
// Fails: a backend that answers success and 0 s for an address that nobody lent.
TEST_F(NetworkFacts, ALeaseIsATimeOrIsNotKnown) {
  JoinWiredNetwork();
  ASSERT_EQ(connection_get_current_profile(m_connection, &m_profile), CONNECTION_ERROR_NONE);
  int seconds = -7;
  EXPECT_EQ(
      connection_profile_get_dhcp_lease_duration(nullptr, CONNECTION_ADDRESS_FAMILY_IPV4, &seconds),
      CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(
      connection_profile_get_dhcp_lease_duration(m_profile, CONNECTION_ADDRESS_FAMILY_IPV4, nullptr),
      CONNECTION_ERROR_INVALID_PARAMETER);
  for (const auto family : {CONNECTION_ADDRESS_FAMILY_IPV4, CONNECTION_ADDRESS_FAMILY_IPV6}) {
    seconds = -7;
    const int result = connection_profile_get_dhcp_lease_duration(m_profile, family, &seconds);
    if (result == CONNECTION_ERROR_NONE) {
      EXPECT_GT(seconds, 0);
    } else {
      EXPECT_TRUE(result == CONNECTION_ERROR_NO_CONNECTION || result == CONNECTION_ERROR_NOT_SUPPORTED)
          << result;
      EXPECT_EQ(seconds, -7);
    }
  }
}

// The gateway is there while a network with a router carries the traffic.
// Fails: a backend that asks only whether there is a cable.
TEST_F(NetworkFacts, TheGatewayComesAndGoesWithTheRouter) {
  JoinWiredNetwork();
  m_room->SetRouter(false);
  WaitForGateway(false);
  m_room->SetRouter(true);
  WaitForGateway(true);
  m_room->UnplugCable();
  WaitForGateway(false);
}

// The hardware address is that of the hardware, in capitals, with and without a network.
// Fails: a backend that answers with the address of a bridge, or in small letters.
TEST_F(NetworkFacts, TheHardwareAddressIsToldInCapitals) {
  const Room::WiredNetwork network = JoinWiredNetwork();
  EXPECT_EQ(network.mac_address.size(), std::string("AA:BB:CC:DD:EE:FF").size());
  const auto address = [this] {
    char* text = nullptr;
    EXPECT_EQ(connection_get_mac_address(m_connection, CONNECTION_TYPE_ETHERNET, &text),
              CONNECTION_ERROR_NONE);
    return Taken(text);
  };
  EXPECT_EQ(address(), network.mac_address);
  m_room->UnplugCable();
  WaitForGateway(false);
  EXPECT_EQ(address(), network.mac_address);
}

// Hardware that is not there has no address.
// Fails: a backend that answers "00:00:00:00:00:00".
TEST_F(NetworkFacts, HardwareThatIsNotThereHasNoAddress) {
  for (const auto type : {CONNECTION_TYPE_DISCONNECTED, CONNECTION_TYPE_CELLULAR}) {
    char* text = nullptr;
    EXPECT_EQ(connection_get_mac_address(m_connection, type, &text), CONNECTION_ERROR_OPERATION_FAILED);
    EXPECT_EQ(text, nullptr);
  }
}

// The addresses are those of the network that carries the traffic.
// Fails: a backend that tells a link-local IPv6 address although there is a global one.
TEST_F(NetworkFacts, TheAddressesAreThoseOfTheNetwork) {
  const Room::WiredNetwork network = JoinWiredNetwork();
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV4), network.ipv4);
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), network.ipv6);
  m_room->UnplugCable();
  WaitForGateway(false);
  char* text = nullptr;
  EXPECT_EQ(connection_get_ip_address(m_connection, CONNECTION_ADDRESS_FAMILY_IPV4, &text),
            CONNECTION_ERROR_NO_CONNECTION);
  EXPECT_EQ(text, nullptr);
}

// Without an access point there is none that could be a telephone.
// Fails: a backend that answers success and "no" for a wired TV.
TEST_F(NetworkFacts, WithoutAnAccessPointThereIsNoHotspot) {
  JoinWiredNetwork();
  int status = 7;
  const int result = connection_check_hotspot(m_connection, &status);
  EXPECT_TRUE(result == CONNECTION_ERROR_NO_CONNECTION || result == CONNECTION_ERROR_NOT_SUPPORTED)
      << result;
  EXPECT_EQ(status, 7);
}
