#include "NeighbourMessage.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

using namespace neighbour_message;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr HardwareAddress kHere{2, 0, 0, 0, 0, 9};

in_addr Ipv4(const char* text) {
  in_addr address{};
  EXPECT_EQ(inet_pton(AF_INET, text, &address), 1);
  return address;
}

in6_addr Ipv6(const char* text) {
  in6_addr address{};
  EXPECT_EQ(inet_pton(AF_INET6, text, &address), 1);
  return address;
}

}  // namespace

TEST(NeighbourMessage, AsksWhoHasTheAddress) {
  const Bytes expected{0,   1, 8, 0,  6, 4, 0, 1, 2, 0, 0,   0, 0, 9,
                       192, 0, 2, 10, 0, 0, 0, 0, 0, 0, 192, 0, 2, 1};
  EXPECT_EQ(Question(Ipv4("192.0.2.1"), Ipv4("192.0.2.10"), kHere), expected);
}

TEST(NeighbourMessage, AsksInTheNewerProtocolToo) {
  const Bytes expected{135, 0, 0, 0, 0, 0, 0, 0, 0xfe, 0x80, 0, 0, 0, 0, 0, 0,
                       0,   0, 0, 0, 0, 1, 2, 3, 1,    1,    2, 0, 0, 0, 0, 9};
  EXPECT_EQ(Question(Ipv6("fe80::1:203"), kHere), expected);
  const in6_addr group = GroupOf(Ipv6("fe80::1:203"));
  const in6_addr expected_group = Ipv6("ff02::1:ff01:203");
  EXPECT_TRUE(IN6_ARE_ADDR_EQUAL(&group, &expected_group));
}

TEST(NeighbourMessage, TheAnswerComesFromTheAddress) {
  Bytes answer = Question(Ipv4("192.0.2.10"), Ipv4("192.0.2.1"), kHere);
  EXPECT_FALSE(IsAnswer(answer, Ipv4("192.0.2.1"))) << "a question of the router's own";
  answer[7] = 2;
  EXPECT_TRUE(IsAnswer(answer, Ipv4("192.0.2.1")));
  EXPECT_FALSE(IsAnswer(answer, Ipv4("192.0.2.2")));
  answer.pop_back();
  EXPECT_FALSE(IsAnswer(answer, Ipv4("192.0.2.1"))) << "cut";
}

TEST(NeighbourMessage, TheAnswerInTheNewerProtocolToo) {
  Bytes answer = Question(Ipv6("fe80::1"), kHere);
  EXPECT_FALSE(IsAnswer(answer, Ipv6("fe80::1")));
  answer[0] = 136;
  EXPECT_TRUE(IsAnswer(answer, Ipv6("fe80::1")));
  EXPECT_FALSE(IsAnswer(answer, Ipv6("fe80::2")));
  EXPECT_FALSE(IsAnswer(std::span(answer).first(20), Ipv6("fe80::1")));
}
