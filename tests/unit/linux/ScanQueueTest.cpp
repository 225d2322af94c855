#include "ScanQueue.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"

namespace {

using namespace std::chrono_literals;
using End = Scanner::End;
using Words = std::vector<std::string>;

/// An antenna that does what the test says.
class Antenna final : public Scanner {
 public:
  void Begin(const ScanRequest& request, std::function<void(End)> ended) override {
    said.push_back("scan " + (request.names.empty() ? "" : request.names.front()));
    m_ended = std::move(ended);
    if (busy_for > 0) {
      --busy_for;
      Finish(End::kBusy);
    }
  }
  void Abort() override {
    said.emplace_back("abort");
    if (is_obeying) {
      Finish(End::kAborted);
    }
  }
  void Forget() override {
    said.emplace_back("forget");
    m_ended = nullptr;
  }
  void Finish(End end) {
    if (const auto ended = std::exchange(m_ended, nullptr)) {
      ended(end);
    }
  }
  [[nodiscard]] bool IsScanning() const { return m_ended != nullptr; }

  int busy_for = 0;
  bool is_obeying = true;
  Words said;

 private:
  std::function<void(End)> m_ended;
};

class ScanQueueTest : public testing::Test {
 protected:
  ScanQueue::Answer Note(const std::string& name) {
    return [this, name](bool is_done) { answers.push_back(name + (is_done ? " done" : " failed")); };
  }
  void Scan(const std::string& name) { queue.Scan({{}, {name}}, Note(name)); }
  void Look(const std::string& name) { queue.Look({{5180}, {name}}, Note(name)); }
  /// On the virtual clock, which stands still in RunLoopUntil().
  template <class Fact>
  static void Until(Fact fact) {
    constexpr int kSteps = 10'000;
    for (int step = 0; step < kSteps && !fact(); ++step) {
      RunLoopFor(10ms);
    }
    ASSERT_TRUE(fact());
  }
  void UntilScanning() {
    Until([this] { return antenna.IsScanning(); });
  }

  Antenna antenna;
  Words answers;
  Words scanned;
  ScanQueue queue{
      antenna, [this](const ScanRequest& request, gint64) { scanned.push_back(request.names.front()); }};
};
using ScanQueues = ScanQueueTest;

}  // namespace

TEST_F(ScanQueues, ScansRunOneAfterTheOther) {
  Scan("a");
  Scan("b");
  EXPECT_EQ(antenna.said, Words{});
  UntilScanning();
  EXPECT_EQ(antenna.said, Words{"scan a"});
  antenna.Finish(End::kDone);
  UntilScanning();
  EXPECT_EQ(answers, Words{"a done"});
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, (Words{"a done", "b done"}));
  EXPECT_EQ(scanned, (Words{"a", "b"}));
}

TEST_F(ScanQueues, ALookEndsTheScanThatRunsWhichBeginsAnew) {
  Scan("slow");
  Scan("later");
  UntilScanning();
  Look("now");
  EXPECT_EQ(antenna.said, (Words{"scan slow", "abort"}));
  UntilScanning();
  EXPECT_EQ(antenna.said.back(), "scan now");
  antenna.Finish(End::kDone);
  UntilScanning();
  EXPECT_EQ(antenna.said.back(), "scan slow");
  antenna.Finish(End::kDone);
  UntilScanning();
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, (Words{"now done", "slow done", "later done"}));
}

TEST_F(ScanQueues, AScanIsHeldBackWhileTheAntennaJoinsSomebodyAndALookIsNot) {
  Scan("held");
  queue.Hold();
  RunLoopFor(1s);
  EXPECT_EQ(antenna.said, Words{});
  Look("now");
  UntilScanning();
  antenna.Finish(End::kDone);
  RunLoopFor(1s);
  EXPECT_EQ(antenna.said, Words{"scan now"});
  queue.Release();
  UntilScanning();
  EXPECT_EQ(antenna.said.back(), "scan held");
}

TEST_F(ScanQueues, AScanIsNotHeldBackForLong) {
  queue.Hold();
  Scan("held");
  RunLoopFor(4s);
  EXPECT_EQ(antenna.said, Words{});
  RunLoopFor(2s);
  EXPECT_EQ(antenna.said, Words{"scan held"});
}

TEST_F(ScanQueues, ALookDoesNotEndAnotherLook) {
  Look("first");
  UntilScanning();
  Look("second");
  EXPECT_EQ(antenna.said, Words{"scan first"});
  antenna.Finish(End::kDone);
  UntilScanning();
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, (Words{"first done", "second done"}));
}

TEST_F(ScanQueues, AScanThatWasDoneBeforeItCouldBeEndedIsAnswered) {
  antenna.is_obeying = false;
  Scan("quick");
  UntilScanning();
  Look("now");
  antenna.Finish(End::kDone);
  UntilScanning();
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, (Words{"quick done", "now done"}));
}

TEST_F(ScanQueues, ALookEndsWhateverScanSomebodyElseRuns) {
  antenna.busy_for = 2;
  Look("now");
  UntilScanning();
  EXPECT_EQ(antenna.said, (Words{"scan now", "abort", "scan now", "abort", "scan now"}));
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, Words{"now done"});
}

TEST_F(ScanQueues, AScanIsPatientWithTheScansOfOthers) {
  antenna.busy_for = 3;
  Scan("a");
  UntilScanning();
  EXPECT_EQ(antenna.said, (Words{"scan a", "scan a", "scan a", "scan a"}));
}

TEST_F(ScanQueues, AScanOfAChannelEndsTheScansThatOthersRunWithoutAPause) {
  antenna.busy_for = 10;
  queue.Scan({{5180}, {"a"}}, Note("a"));
  RunLoopFor(4'400ms);
  EXPECT_EQ(antenna.said, Words(9, "scan a"));
  Until([this] { return antenna.said.back() == "abort"; });
  RunLoopFor(200ms);
  EXPECT_TRUE(antenna.IsScanning()) << "before the others begin the next one";
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, Words{"a done"});
}

TEST_F(ScanQueues, AScanOutlastsAScanOfOthersThatCannotBeEnded) {
  constexpr int kTriesInFortySeconds = 10 + 233;
  antenna.busy_for = kTriesInFortySeconds;
  queue.Scan({{5180}, {"a"}}, Note("a"));
  RunLoopFor(37s);
  EXPECT_FALSE(antenna.IsScanning());
  UntilScanning();
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, Words{"a done"});
}

TEST_F(ScanQueues, TheTimeOfAScanBeginsWhenItDoes) {
  constexpr int kTriesInFourSeconds = 9;
  antenna.busy_for = kTriesInFourSeconds;
  queue.Scan({{5180}, {"a"}}, Note("a"));
  UntilScanning();
  RunLoopFor(4s);
  EXPECT_TRUE(antenna.IsScanning());
  EXPECT_EQ(answers, Words{});
  RunLoopFor(1s);
  EXPECT_EQ(answers, Words{"a failed"});
}

TEST_F(ScanQueues, ALookComesBeforeAScanThatWaitsForSomebodyElse) {
  antenna.busy_for = 1;
  Scan("a");
  Until([this] { return !antenna.said.empty(); });
  Look("now");
  UntilScanning();
  EXPECT_EQ(antenna.said, (Words{"scan a", "scan now"}));
  antenna.Finish(End::kDone);
  UntilScanning();
  EXPECT_EQ(antenna.said.back(), "scan a");
}

TEST_F(ScanQueues, AnAntennaThatIsAlwaysBusyIsAFailure) {
  antenna.busy_for = 1'000'000;
  Look("now");
  Until([this] { return !answers.empty(); });
  EXPECT_EQ(answers, Words{"now failed"});
  Scan("a");
  Until([this] { return answers.size() == 2; });
  EXPECT_EQ(answers.back(), "a failed");
}

TEST_F(ScanQueues, AScanThatSomebodyElseEndsBeginsAnewAFewTimes) {
  Scan("a");
  for (int i = 0; i < 3; ++i) {
    UntilScanning();
    EXPECT_EQ(answers, Words{});
    antenna.Finish(End::kAborted);
  }
  EXPECT_EQ(answers, Words{"a failed"});
}

TEST_F(ScanQueues, AnAntennaThatNeverAnswersIsAFailureAfterItsTime) {
  antenna.is_obeying = false;
  Look("now");
  Scan("next");
  UntilScanning();
  Until([this] { return !answers.empty(); });
  EXPECT_EQ(answers, Words{"now failed"});
  UntilScanning();
  EXPECT_EQ(antenna.said, (Words{"scan now", "forget", "abort", "scan next"}));
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, (Words{"now failed", "next done"}));
}

TEST_F(ScanQueues, AnEndThatComesTooLateIsNotTheNextOnes) {
  std::function<void(End)> late;
  class Late final : public Scanner {
   public:
    explicit Late(std::function<void(End)>& kept) : m_kept(kept) {}
    void Begin(const ScanRequest&, std::function<void(End)> ended) override {
      m_kept = m_kept ? m_kept : std::move(ended);
    }
    void Abort() override {}
    void Forget() override {}

   private:
    std::function<void(End)>& m_kept;
  } scanner(late);
  ScanQueue slow(scanner, [](const ScanRequest&, gint64) {});
  slow.Look({{5180}, {""}}, Note("first"));
  Until([this] { return !answers.empty(); });
  slow.Look({{5180}, {""}}, Note("second"));
  RunLoopFor(1s);
  late(End::kDone);
  EXPECT_EQ(answers, Words{"first failed"});
}

TEST_F(ScanQueues, NothingIsAnsweredAfterItWasCleared) {
  Scan("a");
  Look("b");
  UntilScanning();
  queue.Clear();
  EXPECT_EQ(antenna.said, (Words{"scan b", "forget"}));
  antenna.Finish(End::kDone);
  RunLoopFor(100s);
  EXPECT_EQ(answers, Words{});
  Scan("c");
  UntilScanning();
  antenna.Finish(End::kDone);
  EXPECT_EQ(answers, Words{"c done"});
}

TEST_F(ScanQueues, AnAnswerMayAskForTheNextOrClearAll) {
  queue.Scan({{}, {"a"}}, [this](bool) {
    Scan("b");
    Look("c");
  });
  UntilScanning();
  antenna.Finish(End::kDone);
  UntilScanning();
  EXPECT_EQ(antenna.said.back(), "scan c");
  queue.Look({{5180}, {"d"}}, [this](bool) { queue.Clear(); });
  antenna.Finish(End::kDone);
  UntilScanning();
  antenna.Finish(End::kDone);
  RunLoopFor(10s);
  EXPECT_EQ(answers, Words{"c done"});
  EXPECT_FALSE(antenna.IsScanning());
}
