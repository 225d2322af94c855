#include "DnsMessage.h"

#include <gtest/gtest.h>

using namespace dns_message;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kId = 0x1234;

/// The answer to a question, as a server makes it.
Bytes AnswerTo(const Bytes& question, std::uint8_t code, const Bytes& records = {},
               std::uint8_t record_count = 0) {
  Bytes answer = question;
  answer[2] |= 0x80;
  answer[3] = static_cast<std::uint8_t>(0x80 | code);
  answer[7] = record_count;
  answer.insert(answer.end(), records.begin(), records.end());
  return answer;
}

const Bytes kAddressRecord{0xc0, 12, 0, 1, 0, 1, 0, 0, 0, 60, 0, 4, 192, 0, 2, 7};
const Bytes kAliasRecord{0xc0, 12, 0, 5, 0, 1, 0, 0, 0, 60, 0, 4, 1, 'a', 0xc0, 12};

}  // namespace

TEST(DnsMessage, AQuestionHasItsNumberAndItsName) {
  const Bytes question = Question("probe.test", Type::kIpv4, kId);
  const Bytes expected{0x12, 0x34, 1,   0,   0, 1,   0,   0,   0,   0, 0, 0, 5, 'p',
                       'r',  'o',  'b', 'e', 4, 't', 'e', 's', 't', 0, 0, 1, 0, 1};
  EXPECT_EQ(question, expected);
  EXPECT_EQ(Question("probe.test", Type::kIpv6, kId)[25], 28);
}

TEST(DnsMessage, WhatIsNoNameIsNoQuestion) {
  EXPECT_TRUE(Question(std::string(300, 'a'), Type::kIpv4, kId).empty());
  EXPECT_TRUE(Question("a..b", Type::kIpv4, kId).empty());
}

TEST(DnsMessage, AddressesAreRead) {
  const Bytes question = Question("probe.test", Type::kIpv4, kId);
  Bytes records = kAliasRecord;
  records.insert(records.end(), kAddressRecord.begin(), kAddressRecord.end());
  const auto answer = Parse(AnswerTo(question, 0, records, 2), kId);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->outcome, Outcome::kAddresses);
  EXPECT_EQ(answer->addresses, std::vector<std::string>{"192.0.2.7"});
}

TEST(DnsMessage, ServersSayWhyThereAreNone) {
  const Bytes question = Question("probe.test", Type::kIpv4, kId);
  EXPECT_EQ(Parse(AnswerTo(question, 3), kId)->outcome, Outcome::kNoSuchName);
  EXPECT_EQ(Parse(AnswerTo(question, 0), kId)->outcome, Outcome::kNoSuchName);
  EXPECT_EQ(Parse(AnswerTo(question, 2), kId)->outcome, Outcome::kFailure);
  EXPECT_EQ(Parse(AnswerTo(question, 5), kId)->outcome, Outcome::kFailure);
}

TEST(DnsMessage, WhatAnswersAnotherQuestionIsNone) {
  const Bytes question = Question("probe.test", Type::kIpv4, kId);
  EXPECT_FALSE(Parse(AnswerTo(question, 0), kId + 1));
  EXPECT_FALSE(Parse(question, kId)) << "a question is no answer";
}

TEST(DnsMessage, ADamagedMessageIsNone) {
  const Bytes question = Question("probe.test", Type::kIpv4, kId);
  const Bytes whole = AnswerTo(question, 0, kAddressRecord, 1);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(Parse(std::span(whole).first(length), kId)) << length;
  }
  Bytes loop = AnswerTo(question, 0, {0xc0, 28, 0, 1, 0, 1, 0, 0, 0, 60, 0, 4, 192, 0, 2, 7}, 1);
  EXPECT_FALSE(Parse(loop, kId)) << "a name that leads to itself";
}
