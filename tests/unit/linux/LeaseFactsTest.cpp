#include "LeaseFacts.h"

#include <gtest/gtest.h>

TEST(LeaseFacts, TelephonesAreKnownByTheAddressesThatTheyGiveThemselves) {
  EXPECT_TRUE(lease_facts::IsAddressOfTelephones("172.20.10.1"));
  EXPECT_TRUE(lease_facts::IsAddressOfTelephones("192.168.43.1"));
  for (const char* address : {"", "192.168.43.10", "192.168.1.1", "172.20.10.2", "fe80::1"}) {
    EXPECT_FALSE(lease_facts::IsAddressOfTelephones(address)) << address;
  }
}
