#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KPICreator2017.h"
#include "KpiRoom.h"
#include "MainLoop.h"
#include "TestLog.h"

namespace {

using Results = std::vector<int>;

class KpiCreatorLife : public KpiRoom {
 protected:
  IKPICreator::OnDone Note() {
    return [this](int result) { m_results.push_back(result); };
  }
  /// Until as many were told, and those too who should not have been.
  void RunPass(std::size_t told) {
    RunLoopUntil([&] { return m_results.size() >= told; });
    RunLoopFor(std::chrono::seconds(1));
  }
  void RunUnheardPass() {
    const std::size_t before = test_log::Count("Inside _TimerCB =>");
    RunLoopUntil([&] { return test_log::Count("Inside _TimerCB =>") > before; });
    RunLoopOnce();
  }
  void LoseTheOtherBand() {
    m_wifi.RemoveRadio(kHigh);
    m_wifi.SeeAll();
  }

  Results m_results;
};

TEST_F(KpiCreatorLife, RunsUntilTheMonitorIsDone) {
  CKPIWIFIRSSI creator;
  EXPECT_FALSE(creator.IsRunning());
  EXPECT_TRUE(creator.Create(Note()));
  EXPECT_TRUE(creator.IsRunning());
  EXPECT_TRUE(m_results.empty());
  RunPass(1);
  EXPECT_FALSE(creator.IsRunning());
  EXPECT_EQ(m_results, Results{1});
  EXPECT_EQ(test_log::Count("[OnDone received => 1]"), 1U);
}

TEST_F(KpiCreatorLife, SecondRequestIsRefusedWhileOneRuns) {
  CKPIWIFIRSSI creator;
  EXPECT_TRUE(creator.Create(Note()));
  EXPECT_FALSE(creator.Create([](int) { FAIL() << "the first callback stays"; }));
  EXPECT_TRUE(creator.IsRunning());
  RunPass(1);
  EXPECT_EQ(m_results, Results{1});
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 1U);
}

TEST_F(KpiCreatorLife, MayBeUsedAgainWhenDone) {
  CKPIWIFIRSSI creator;
  ASSERT_TRUE(creator.Create(Note()));
  RunPass(1);
  ASSERT_TRUE(creator.Create(Note()));
  RunPass(2);
  EXPECT_EQ(m_results, (Results{1, 1}));
}

TEST_F(KpiCreatorLife, WithoutACallbackItNeverRuns) {
  CKPIWIFIRSSI creator;
  EXPECT_TRUE(creator.Create(nullptr));
  EXPECT_FALSE(creator.IsRunning());
  EXPECT_TRUE(creator.Create(Note())) << "and can be asked again";
  RunPass(1);
  EXPECT_EQ(m_results, Results{1});
}

TEST_F(KpiCreatorLife, EventWithoutAMeasurementKeepsItsCallback) {
  CKPIEthernetEV004 creator;
  EXPECT_TRUE(creator.Create(Note()));
  EXPECT_TRUE(creator.IsRunning());
  creator.NotifyOnDone(7);
  creator.NotifyOnDone(8);
  EXPECT_EQ(m_results, Results{7}) << "once";
  EXPECT_FALSE(creator.IsRunning());
}

TEST_F(KpiCreatorLife, ThreeCreatorsShareOnePass) {
  CKPIWIFIENV env;
  CKPIWIFIRSSI rssi;
  CKPIWirelessEnvironmentEV008 environment;
  std::string order;
  EXPECT_TRUE(env.Create([&](int) { order += "a"; }));
  EXPECT_TRUE(rssi.Create([&](int) { order += "b"; }));
  EXPECT_TRUE(environment.Create([&](int) { order += "c"; }));
  RunLoopUntil([&] { return order.size() >= 3; });
  EXPECT_EQ(order, "abc");
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 1U);
}

TEST_F(KpiCreatorLife, MayBeDestroyedInsideItsCallback) {
  auto creator = std::make_unique<CKPIWirelessEnvironmentEV008>();
  std::string description;
  ASSERT_TRUE(creator->Create([&, padding = std::string(64, 'x')](int result) {
    description = creator->GetResult();
    creator.reset();
    m_results.push_back(result + static_cast<int>(padding.size()));
  }));
  RunPass(1);
  EXPECT_EQ(m_results, Results{65});
  EXPECT_TRUE(description.starts_with("ntype=2;rssi=-47;")) << description;
}

TEST_F(KpiCreatorLife, CallbackMayOwnTheCreator) {
  auto creator = std::make_shared<CKPIWIFIRSSI>();
  const std::weak_ptr<CKPIWIFIRSSI> watch = creator;
  IKPICreator& borrowed = *creator;
  ASSERT_TRUE(borrowed.Create([this, owned = std::move(creator)](int result) { Note()(result); }));
  RunPass(1);
  EXPECT_TRUE(watch.expired());
}

TEST_F(KpiCreatorLife, CallbackMayDestroyAnotherThatWaitsForTheSamePass) {
  auto second = std::make_unique<CKPIWIFIRSSI>();
  CKPIWIFIRSSI first;
  CKPIWIFIRSSI third;
  ASSERT_TRUE(first.Create([&](int result) {
    second.reset();
    Note()(result);
  }));
  ASSERT_TRUE(second->Create([](int) { FAIL() << "destroyed"; }));
  ASSERT_TRUE(third.Create(Note()));
  RunPass(2);
  EXPECT_EQ(m_results, (Results{1, 1}));
}

TEST_F(KpiCreatorLife, CallbackMayReplaceItsCreatorByAnotherThatMeasures) {
  std::unique_ptr<IKPICreator> creator = std::make_unique<CKPIWIFIRSSI>();
  ASSERT_TRUE(creator->Create([&](int result) {
    Note()(result);
    creator = std::make_unique<CKPIWIFIENV>();
    EXPECT_TRUE(creator->Create(Note()));
  }));
  RunPass(2);
  EXPECT_EQ(m_results, (Results{1, 1}));
}

TEST_F(KpiCreatorLife, DestroyedWithAPassPendingHearsNothing) {
  CKPIWIFIRSSI other;
  auto creator = std::make_unique<CKPIWIFIRSSI>();
  ASSERT_TRUE(creator->Create([](int) { FAIL() << "destroyed"; }));
  ASSERT_TRUE(other.Create(Note()));
  creator.reset();
  RunPass(1);
  EXPECT_EQ(m_results, Results{1}) << "the others are told";
}

TEST_F(KpiCreatorLife, LastOneTakesTheMonitorAlong) {
  auto creator = std::make_unique<CKPIWIFIRSSI>();
  ASSERT_TRUE(creator->Create([](int) { FAIL() << "destroyed"; }));
  creator.reset();
  RunLoopFor(std::chrono::seconds(1));
  EXPECT_FALSE(test_log::Has("Inside _TimerCB =>"));
}

TEST_F(KpiCreatorLife, DoneCreatorThatEndsLeavesThePassOfOthersAlone) {
  auto done = std::make_unique<CKPIWIFIRSSI>();
  CKPIWIFIRSSI waiting;
  CKPIWIFIRSSI late;
  ASSERT_TRUE(done->Create(Note()));
  RunPass(1);
  ASSERT_TRUE(waiting.Create(Note()));
  done.reset();
  ASSERT_TRUE(late.Create(Note()));
  RunPass(3);
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 2U) << "one for each pass";
}

TEST_F(KpiCreatorLife, EnvironmentOfASingleBandRouterMakesNoEvent) {
  LoseTheOtherBand();
  CKPIWIFIENV creator;
  EXPECT_FALSE(creator.Create([](int) { FAIL() << "no event"; }));
  EXPECT_FALSE(creator.IsRunning());
  EXPECT_TRUE(test_log::Has("WPS Scan fail"));
  RunUnheardPass();
  EXPECT_TRUE(test_log::Has("[OnDone received => 1]")) << "the pass was started all the same";
}

TEST_F(KpiCreatorLife, EnvironmentMayBeDestroyedAfterItsScanFailed) {
  LoseTheOtherBand();
  auto creator = std::make_unique<CKPIWIFIENV>();
  EXPECT_FALSE(creator->Create(Note()));
  creator.reset();
  RunLoopFor(std::chrono::seconds(1));
  EXPECT_FALSE(test_log::Has("[OnDone received => 1]"));
}

TEST_F(KpiCreatorLife, EnvironmentMayBeAskedAgainAfterItsScanFailed) {
  m_tv.Fail("wifi_foreach_found_aps", WIFI_ERROR_OPERATION_FAILED, 1);
  CKPIWIFIENV creator;
  EXPECT_FALSE(creator.Create(Note()));
  EXPECT_TRUE(creator.Create(Note()));
  RunPass(1);
  EXPECT_EQ(m_results, Results{1});
  EXPECT_EQ(test_log::Count("[OnDone received => 1]"), 1U) << "the first pass was given up";
}

TEST_F(KpiCreatorLife, LogsHowItBegins) {
  CKPIWIFIENV creator;
  ASSERT_TRUE(creator.Create(Note()));
  std::vector<std::string> messages = test_log::Messages();
  // The worker of the pass logs whenever it runs.
  std::erase_if(messages, [](const std::string& message) {
    return message == "Run Wifi Mon =>" || message == "Inside m_notifyCb =>";
  });
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.front(), "START");
  EXPECT_EQ(messages.back(), "END");
}

struct Starting {
  std::unique_ptr<IKPICreator> (*make)();
  const char* refusal;
};

class KpiCreatorWithoutAp : public KpiCreatorLife, public testing::WithParamInterface<Starting> {};

TEST_P(KpiCreatorWithoutAp, DoesNotStart) {
  m_wifi.Drop();
  const auto creator = GetParam().make();
  EXPECT_FALSE(creator->Create([](int) { FAIL() << "no event"; }));
  EXPECT_FALSE(creator->IsRunning());
  EXPECT_TRUE(test_log::Has(GetParam().refusal));
  EXPECT_FALSE(test_log::Has("Start => ")) << "no pass";
}

TEST_P(KpiCreatorWithoutAp, StartsOnceThereIsOne) {
  m_tv.Fail("wifi_get_connected_ap", WIFI_ERROR_OPERATION_FAILED, 1);
  const auto creator = GetParam().make();
  EXPECT_FALSE(creator->Create(Note()));
  EXPECT_TRUE(creator->Create(Note()));
  RunPass(1);
  EXPECT_EQ(m_results, Results{1});
}

INSTANTIATE_TEST_SUITE_P(Events, KpiCreatorWithoutAp,
                         testing::Values(Starting{[]() -> std::unique_ptr<IKPICreator> {
                                                    return std::make_unique<CKPIWIFIENV>();
                                                  },
                                                  "[Cannot start CKPIWIFIENV ,no ap connected =>]"},
                                         Starting{[]() -> std::unique_ptr<IKPICreator> {
                                                    return std::make_unique<CKPIWIFIRSSI>();
                                                  },
                                                  "[Cannot start CKPIWIFIENV ,no ap connected =>]"},
                                         Starting{
                                             []() -> std::unique_ptr<IKPICreator> {
                                               return std::make_unique<CKPIWirelessEnvironmentEV008>();
                                             },
                                             "[Cannot start EV008 ,no ap connected =>]"}),
                         [](const auto& info) { return "Event" + std::to_string(info.index); });

class OneFieldCreator : public IKPICreator {
 public:
  explicit OneFieldCreator(std::function<std::string()> field) { m_fields.push_back(std::move(field)); }
  bool CreateKPI() override { return true; }
};

TEST(KpiCreatorFields, OneFieldStandsWithoutASeparator) {
  EXPECT_EQ(OneFieldCreator([] { return std::string("key=value"); }).GetResult(), "key=value");
}

TEST(KpiCreatorFields, EmptyFieldIsAProgrammingError) {
  EXPECT_THROW(OneFieldCreator(nullptr).GetResult(), std::bad_function_call);
}

}  // namespace
