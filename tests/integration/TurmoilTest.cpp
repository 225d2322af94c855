#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>

#include "BusRoom.h"
#include "DaemonProgram.h"
#include "DiskStub.h"
#include "MainLoop.h"
#include "ModemRoom.h"
#include "Network.h"
#include "NetworkService.h"
#include "Popups.h"
#include "Supplicant.h"
#include "WifiStub.h"
#include "platform.h"
#include "usb.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// A machine on which nothing stays as it is: interfaces, the bus, and the services on it.

namespace {

bool IsTelephonyReady() {
  int is_ready = 0;
  return vconf_get_bool(vconf_keys::kTelephonyReady, &is_ready) == VCONF_OK && is_ready != 0;
}

class Turmoil : public testing::Test {
 protected:
  void SetUp() override { network::EnterNamespace(); }
  void StartServices() {
    m_machine.StartBus();
    m_machine.StartService();
    m_disks.Start();
    m_wifi.emplace();
    m_wifi->StartBoth();
  }

  ModemRoom m_machine;
  DiskStub m_disks;
  std::optional<WifiStub> m_wifi;
};

class TurmoilProgram : public daemon_program::In<Turmoil> {
 protected:
  [[nodiscard]] std::ptrdiff_t Descriptors() const {
    return std::distance(fs::directory_iterator("/proc/" + std::to_string(m_daemon->Pid()) + "/fd"), {});
  }
  /// @return KiB that the daemon has written to
  [[nodiscard]] long Memory() const {
    std::ifstream rollup("/proc/" + std::to_string(m_daemon->Pid()) + "/smaps_rollup");
    long kilobytes = -1;
    for (std::string word; rollup >> word && word != "Private_Dirty:";) {
    }
    rollup >> kilobytes;
    return kilobytes;
  }
  void ListenToKeywords() {
    const auto on_command = [](keynode_t*, void* keyword) {
      char* text = vconf_get_str(vconf_keys::kPelorusCommand);
      static_cast<std::string*>(keyword)->assign(text);
      std::free(text);
    };
    ASSERT_EQ(vconf_notify_key_changed(vconf_keys::kPelorusCommand, on_command, &m_keyword), VCONF_OK);
  }
  void WaitForKeyword(const std::string& keyword) {
    RunLoopUntil([&] { return m_keyword == keyword; });
  }

  std::string m_keyword;  // the last one that the daemon handed to the popup
};

}  // namespace

TEST_F(TurmoilProgram, InterfacesAreRenamedMovedAwayRemovedAndAdded) {
  StartServices();
  network::AddCable("wall", "far");
  StartDaemon(PELORUS_PROGRAM);
  RunLoopUntil(IsTelephonyReady);
  network::SetUp("far", false);
  popups::WaitForStarted(1);  // later ones are keywords for it
  network::SetUp("far", true);
  Program elsewhere({"unshare", "--net", "sh", "-c", "echo; exec cat"}, "/run/elsewhere.log");
  elsewhere.ReadLine();
  const auto turn = [&](int i) {
    const std::string name = "lan" + std::to_string(i % 7);
    network::Rename("wall", name);
    network::Rename(name, "wall");
    network::AddCable("guest", "far-guest");
    if (i % 2 == 0) {
      network::Remove("guest");
    } else {
      network::MoveTo("guest", elsewhere.Pid());
      network::Remove("far-guest");
    }
    RunLoopFor(10ms);
  };
  for (int i = 0; i < 100; ++i) {  // until all is loaded, and each list has been long
    turn(i);
  }
  RunLoopFor(1s);
  const auto descriptors = Descriptors();
  const long memory = Memory();
  for (int i = 0; i < 200; ++i) {
    turn(i);
  }
  RunLoopFor(500ms);
  EXPECT_EQ(Descriptors(), descriptors);
  EXPECT_LE(Memory(), memory + 256);
  EXPECT_EQ(popups::All().size(), 1U);

  ListenToKeywords();
  network::SetUp("far", false);
  WaitForKeyword("ethernet_detached");
  network::Remove("wall");
  network::AddCable("socket", "far");
  WaitForKeyword("ethernet_attached");
  network::SetUp("far", false);
  WaitForKeyword("ethernet_detached");
  EXPECT_TRUE(m_daemon->IsRunning());
}

TEST_F(TurmoilProgram, ASleepInWhichEverythingIsStartedAnewIsGotOver) {
  StartServices();
  network::AddCable("wall", "far");
  StartDaemon(PELORUS_PROGRAM);
  RunLoopUntil(IsTelephonyReady);
  const auto descriptors = Descriptors();
  for (int i = 0; i < 3; ++i) {
    kill(m_daemon->Pid(), SIGSTOP);
    if (i % 2 == 0) {
      m_machine.CrashBus();
      m_wifi.reset();
      StartServices();
    } else {
      m_machine.StopService();
      m_wifi->Stop(WifiStub::kNetworkManager);
      m_wifi->Stop(WifiStub::kSupplicant);
      RunLoopFor(1s);
      m_machine.StartService();
      m_wifi->StartBoth();
    }
    network::Rename("wall", "slept");
    network::Rename("slept", "wall");
    vconf_set_bool(vconf_keys::kTelephonyReady, 0);  // so that it is seen to be written
    kill(m_daemon->Pid(), SIGCONT);
    RunLoopUntil(IsTelephonyReady);
  }
  m_machine.InsertDongle();
  popups::WaitForStarted(1);
  RunLoopUntil([&] { return Descriptors() <= descriptors; });
  EXPECT_TRUE(m_daemon->IsRunning());
}

TEST_F(Turmoil, ABusThatIsNotThereAtTheStartBringsEverythingOfThePlatformLater) {
  int sticks = 0;
  ASSERT_EQ(platform_start(), 0);
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  const auto on_stick = [](usb_device_h, bool is_connected, void* count) {
    *static_cast<int*>(count) += is_connected ? 1 : 0;
  };
  ASSERT_EQ(usb_set_connected_cb(on_stick, &sticks), USB_ERROR_NONE);
  RunLoopFor(300ms);
  EXPECT_FALSE(IsTelephonyReady());
  EXPECT_EQ(NetworkService::Instance().Client(), nullptr);
  EXPECT_FALSE(Supplicant::Instance().IsReady());
  for (int i = 0; i < 5; ++i) {
    StartServices();
    RunLoopUntil(IsTelephonyReady);
    RunLoopUntil([] { return NetworkService::Instance().WifiDevice() != nullptr; });
    RunLoopUntil([] { return Supplicant::Instance().IsReady(); });
    m_disks.Insert("sd" + std::string(1, static_cast<char>('b' + i)) + " model=Stick");
    RunLoopUntil([&] { return sticks == i + 1; });
    m_machine.CrashBus();
    m_wifi.reset();
    RunLoopUntil([] {
      return !IsTelephonyReady() && NetworkService::Instance().Client() == nullptr &&
             !Supplicant::Instance().IsReady();
    });
  }
  usb_device_fini();
  platform_stop();
}
