#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>

#include "DaemonProgram.h"
#include "MainLoop.h"
#include "ModemRoom.h"
#include "Popups.h"
#include "platform.h"
#include "tapi.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

using Changes = std::vector<int>;

int Ready() {
  int is_ready = -1;
  vconf_get_bool(vconf_keys::kTelephonyReady, &is_ready);
  return is_ready;
}

void WaitForReady(bool is_ready) {
  RunLoopUntil([=] { return Ready() == static_cast<int>(is_ready); });
}

int Status(TapiHandle* handle) {
  int status = -1;
  EXPECT_EQ(tel_get_property_int(handle, TAPI_PROP_MODEM_DONGLE_STATUS, &status), TAPI_API_SUCCESS);
  return status;
}

class Telephony : public testing::Test {
 protected:
  void TearDown() override {
    tel_deinit(m_handle);
    platform_stop();
  }

  void Listen() {
    m_handle = tel_init(nullptr);
    ASSERT_NE(m_handle, nullptr);
    const auto callback = [](TapiHandle*, const char*, void* data, void* self) {
      static_cast<Telephony*>(self)->m_changes.push_back(*static_cast<int*>(data));
    };
    ASSERT_EQ(tel_register_noti_event(m_handle, TAPI_PROP_MODEM_DONGLE_STATUS, callback, this),
              TAPI_API_SUCCESS);
  }
  void WaitForChanges(std::size_t count) {
    RunLoopUntil([&] { return m_changes.size() >= count; });
  }
  static void Settle() { RunLoopFor(300ms); }

  ModemRoom m_room;
  TapiHandle* m_handle = nullptr;
  Changes m_changes;
};

class TelephonyProgram : public daemon_program::In<Telephony> {
 protected:
  void StartDaemon() { In::StartDaemon(PELORUS_PROGRAM); }
};

}  // namespace

TEST_F(Telephony, WithoutABusThereIsNoService) {
  EXPECT_EQ(platform_start(), 0);
  EXPECT_EQ(Ready(), 0);
  EXPECT_EQ(tel_init(nullptr), nullptr);
}

TEST_F(Telephony, WhatAKilledDaemonLeftBehindIsPutRightAtTheStart) {
  vconf_set_bool(vconf_keys::kTelephonyReady, 1);
  platform_start();
  EXPECT_EQ(Ready(), 0);
}

TEST_F(Telephony, ABusThatAppearsLaterIsTakenUp) {
  ASSERT_FALSE(fs::exists(fs::path(ModemRoom::kSocket).parent_path()));
  platform_start();
  Settle();
  m_room.StartBus();
  m_room.StartService();
  WaitForReady(true);
  Listen();
  EXPECT_EQ(Status(m_handle), 0);
}

TEST_F(Telephony, AServiceThatAppearsLaterIsTakenUpAndNeverStarted) {
  m_room.StartBus();
  platform_start();
  Settle();
  EXPECT_EQ(Ready(), 0);
  EXPECT_EQ(tel_init(nullptr), nullptr);
  EXPECT_FALSE(fs::exists(BusRoom::ActivationMark(BusRoom::kModems)));
  m_room.StartService();
  WaitForReady(true);
}

TEST_F(Telephony, EachDongleIsToldWhenItComesAndGoes) {
  m_room.StartBus();
  m_room.StartService();
  platform_start();
  WaitForReady(true);
  Listen();
  for (std::size_t i = 0; i < 20; ++i) {
    m_room.InsertDongle();
    WaitForChanges(2 * i + 1);
    EXPECT_EQ(Status(m_handle), 1);
    m_room.RemoveDongle();
    WaitForChanges(2 * i + 2);
    EXPECT_EQ(Status(m_handle), 0);
  }
  Settle();
  ASSERT_EQ(m_changes.size(), 40u);
  for (std::size_t i = 0; i < m_changes.size(); ++i) {
    EXPECT_EQ(m_changes[i], static_cast<int>((i + 1) % 2));
  }
}

TEST_F(Telephony, ADongleFoundAtTheStartIsKnownAndNoEvent) {
  m_room.StartBus();
  m_room.StartService();
  m_room.InsertDongle();
  platform_start();
  WaitForReady(true);
  Listen();
  EXPECT_EQ(Status(m_handle), 1);
  Settle();
  EXPECT_EQ(m_changes, Changes{});
}

TEST_F(Telephony, AServiceThatDiesSaysNothingAboutTheDongleAndIsTakenUpAgain) {
  m_room.StartBus();
  m_room.StartService();
  m_room.InsertDongle();
  platform_start();
  WaitForReady(true);
  Listen();
  m_room.StopService();
  WaitForReady(false);
  Settle();
  EXPECT_EQ(m_changes, Changes{});
  int status = -1;
  EXPECT_EQ(tel_get_property_int(m_handle, TAPI_PROP_MODEM_DONGLE_STATUS, &status),
            TAPI_API_OPERATION_FAILED);
  EXPECT_EQ(status, -1);
  EXPECT_FALSE(fs::exists(BusRoom::ActivationMark(BusRoom::kModems)));

  m_room.StartService();  // and the dongle was taken out meanwhile
  WaitForReady(true);
  EXPECT_EQ(m_changes, Changes{0});
  m_room.InsertDongle();
  WaitForChanges(2);
  EXPECT_EQ(m_changes, (Changes{0, 1}));
}

TEST_F(Telephony, ABusThatDiesIsAStateAndItsSuccessorIsTakenUp) {
  m_room.StartBus();
  m_room.StartService();
  platform_start();
  WaitForReady(true);
  for (int i = 0; i < 10; ++i) {
    m_room.CrashBus();
    WaitForReady(false);
    EXPECT_EQ(tel_init(nullptr), nullptr);
    m_room.StartBus();
    m_room.StartService();
    WaitForReady(true);
  }
  Listen();
  m_room.InsertDongle();
  WaitForChanges(1);
  EXPECT_EQ(m_changes, Changes{1});
}

TEST_F(Telephony, AServiceThatAnswersLateIsWaitedForWithoutStandingStill) {
  m_room.StartBus();
  m_room.StartService();
  m_room.InsertDongle();
  m_room.Answer("late");
  platform_start();
  int turns = 0;
  const guint timer = g_timeout_add(
      10,
      [](gpointer count) -> gboolean {
        ++*static_cast<int*>(count);
        return G_SOURCE_CONTINUE;
      },
      &turns);
  RunLoopFor(500ms);
  EXPECT_GE(turns, 25);
  g_source_remove(timer);
  EXPECT_EQ(Ready(), 0);
  EXPECT_EQ(tel_init(nullptr), nullptr);
  WaitForReady(true);
  Listen();
  EXPECT_EQ(Status(m_handle), 1);
}

TEST_F(Telephony, AServiceThatErrsTalksNonsenseOrSaysNothingIsNotReadyUntilItIsStartedAnew) {
  m_room.StartBus();
  m_room.StartService();
  for (const char* how : {"error", "nonsense", "never"}) {
    m_room.Answer(how);
    platform_start();
    Settle();
    EXPECT_EQ(Ready(), 0) << how;
    EXPECT_EQ(tel_init(nullptr), nullptr) << how;
    m_room.StopService();
    m_room.StartService();
    WaitForReady(true);
    platform_stop();
  }
}

TEST_F(Telephony, AServiceThatDiesInTheMiddleOfAQuestionIsTakenUpAgain) {
  m_room.StartBus();
  platform_start();
  for (int i = 0; i < 10; ++i) {
    m_room.StartService();
    WaitForReady(true);
    m_room.StopService();
    WaitForReady(false);
    m_room.StartServiceThat("death");
    Settle();
    EXPECT_EQ(Ready(), 0);
  }
  m_room.StartService();
  WaitForReady(true);
}

TEST_F(Telephony, APlatformThatStopsWaitsForNoAnswer) {
  m_room.StartBus();
  m_room.StartService();
  m_room.Answer("late");
  for (int i = 0; i < 3; ++i) {
    platform_start();
    RunLoopFor(50ms);
    platform_stop();
  }
  RunLoopFor(2s);
  EXPECT_EQ(Ready(), 0);
  m_room.Answer("normally");
  platform_start();
  WaitForReady(true);
}

TEST_F(TelephonyProgram, TheDaemonStartsWithoutABusAndShowsTheDongleLater) {
  StartDaemon();
  m_room.StartBus();
  m_room.StartService();
  popups::WaitForStarted(1);  // it reports at once that there is none
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"dongle_detached"});
  popups::Close(popups::All().back().pid);
  m_room.InsertDongle();
  popups::WaitForStarted(2);
  const auto shown = popups::All().back();
  EXPECT_EQ(shown.arguments, std::vector<std::string>{"dongle_attached"});
  EXPECT_EQ(shown.environment_variables, 0);
  popups::Close(shown.pid);
  m_room.RemoveDongle();
  popups::WaitForStarted(3);
  EXPECT_EQ(popups::Keywords().back(), "dongle_detached");
  m_room.CrashBus();
  WaitForReady(false);
  EXPECT_TRUE(m_daemon->IsRunning());
}
