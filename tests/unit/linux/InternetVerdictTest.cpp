#include "InternetVerdict.h"

#include <gtest/gtest.h>

namespace {

using Reports = std::vector<InternetVerdict::Report>;

constexpr WayFinding kWorks{};
constexpr WayFinding kNoLink{WayStep::kPhy, true};
constexpr WayFinding kPortal{WayStep::kHttp, true};
constexpr WayFinding kSilentRouter{WayStep::kGateway, false};
constexpr WayFinding kSilentDns{WayStep::kDns, false};
constexpr WayFinding kSilentServer{WayStep::kHttp, false};
const Reports kOnline{{true, WayStep::kHttp}};

}  // namespace

TEST(InternetVerdict, TellsTheFirstFindingAndThenChangesOnly) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Last(), std::nullopt);
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  EXPECT_EQ(verdict.Take(kWorks), Reports{});
  EXPECT_EQ(verdict.Last(), kOnline.front());
  EXPECT_EQ(verdict.Take(kNoLink), (Reports{{false, WayStep::kPhy}}));
  EXPECT_EQ(verdict.Take(kNoLink), Reports{});
}

TEST(InternetVerdict, DoubtsASilenceUntilASecondLookFindsTheSame) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  EXPECT_EQ(verdict.Take(kSilentDns), Reports{});
  EXPECT_TRUE(verdict.IsDoubted());
  EXPECT_EQ(verdict.Last(), kOnline.front());
  EXPECT_EQ(verdict.Take(kSilentDns), (Reports{{false, WayStep::kDns}}));
  EXPECT_FALSE(verdict.IsDoubted());
}

TEST(InternetVerdict, ForgetsAFailureThatWasChance) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(verdict.Take(kSilentRouter), Reports{});
    EXPECT_EQ(verdict.Take(kWorks), Reports{});
    EXPECT_FALSE(verdict.IsDoubted());
  }
}

TEST(InternetVerdict, DoubtsTheFirstFindingToo) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kSilentServer), Reports{});
  EXPECT_EQ(verdict.Last(), std::nullopt);
  EXPECT_EQ(verdict.Take(kSilentServer), (Reports{{false, WayStep::kHttp}}));
}

TEST(InternetVerdict, BelievesAtOnceWhatIsNoChance) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kPortal), (Reports{{false, WayStep::kHttp}}));
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
}

TEST(InternetVerdict, BelievesTheThirdFailureWhicheverItIs) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  EXPECT_EQ(verdict.Take(kSilentDns), Reports{});
  EXPECT_EQ(verdict.Take(kSilentServer), Reports{});
  EXPECT_EQ(verdict.Take(kSilentDns), (Reports{{false, WayStep::kDns}}));
}

TEST(InternetVerdict, TellsThatAStepWorksAgainBeforeTheOneThatFailsNow) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kNoLink), (Reports{{false, WayStep::kPhy}}));
  EXPECT_EQ(verdict.Take(kPortal), (Reports{{true, WayStep::kPhy}, {false, WayStep::kHttp}}));
  EXPECT_EQ(verdict.Take(kWorks), kOnline) << "the step itself works again: said once";
  EXPECT_EQ(verdict.Take(kNoLink), (Reports{{false, WayStep::kPhy}}));
  EXPECT_EQ(verdict.Take(kWorks), (Reports{{true, WayStep::kPhy}, {true, WayStep::kHttp}}));
}

TEST(InternetVerdict, ANearerFailureSaysNothingOfTheOneBehindIt) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kPortal), (Reports{{false, WayStep::kHttp}}));
  EXPECT_EQ(verdict.Take(kNoLink), (Reports{{false, WayStep::kPhy}}));
}

TEST(InternetVerdict, OverAnotherWayTheSameIsNewsOnce) {
  InternetVerdict verdict;
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  verdict.Renew();
  EXPECT_EQ(verdict.Take(kWorks), kOnline);
  EXPECT_EQ(verdict.Take(kWorks), Reports{});
  EXPECT_EQ(verdict.Take(kPortal), (Reports{{false, WayStep::kHttp}}));
  verdict.Renew();
  EXPECT_EQ(verdict.Take(kPortal), (Reports{{false, WayStep::kHttp}}));
}
