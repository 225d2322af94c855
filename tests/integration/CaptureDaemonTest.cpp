#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>

#include "BusRoom.h"
#include "CaptureFiles.h"
#include "DaemonProgram.h"
#include "DiskStub.h"
#include "MainLoop.h"
#include "Network.h"
#include "Popups.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;

namespace {

constexpr char kAddress[] = "192.0.2.10";
constexpr char kCopy[] = "/run/media/sdb1/tcpdump-[time].pcap";

std::string ContentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class CaptureTv : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    capture::AddCableInUse("wall", "far", kAddress);
    m_bus.StartBus();
    m_disks.Start();
  }

  BusRoom m_bus;
  DiskStub m_disks;
};

/// The daemon as it is shipped, real packets, and a stick.
class CaptureProgram : public daemon_program::In<CaptureTv> {
 protected:
  void StartDaemon() { In::StartDaemon(PELORUS_PROGRAM); }

  /// Writes what the service tool writes.
  /// @return the keyword of the popup that comes of it
  static std::string Ask(int request) {
    const std::size_t before = popups::All().size();
    vconf_set_int(vconf_keys::kStartStopTcpDump, request);
    popups::WaitForStarted(before + 1);
    const auto shown = popups::All();
    if (shown.size() != before + 1) {
      return "none";
    }
    popups::Close(shown.back().pid);
    return popups::Keywords().back();
  }
  static int RunningStatus() {
    int status = -1;
    vconf_get_int(vconf_keys::kTcpDumpRunningStatus, &status);
    return status;
  }
};

}  // namespace

TEST_F(CaptureProgram, PacketsComeIntoTheFileAndOntoTheStick) {
  StartDaemon();
  m_disks.Insert("sdb model=Blade");
  for (int round = 0; round < 3; ++round) {
    capture::Sender sender(kAddress);
    ASSERT_EQ(Ask(1), "StartTCPDump");
    EXPECT_EQ(RunningStatus(), 1);
    EXPECT_EQ(Ask(1), "TCPDumpAlreadyRunning");
    sender.Send(1000);
    ASSERT_EQ(Ask(0), "StopTCPDump");
    EXPECT_EQ(RunningStatus(), 0);
    ASSERT_EQ(capture::SentNumbers(), capture::FirstNumbers(1000)) << "round " << round;
    EXPECT_EQ(ContentOf(kCopy), ContentOf(capture::kFile));
  }
}

TEST_F(CaptureProgram, AFullFileIsNotTooLargeForTheStick) {
  StartDaemon();
  m_disks.Insert("sdb model=Blade");
  capture::Sender sender(kAddress, capture::kPort, 1000);
  ASSERT_EQ(Ask(1), "StartTCPDump");
  sender.Send(capture::kMoreThanAFile);
  ASSERT_EQ(Ask(0), "StopTCPDump");
  EXPECT_GT(fs::file_size(capture::kFile), capture::kLargestFile - 2000);
  ASSERT_TRUE(fs::exists(kCopy));
  EXPECT_EQ(ContentOf(kCopy), ContentOf(capture::kFile));
  EXPECT_EQ(capture::SentNumbers(kCopy).back(), capture::kMoreThanAFile - 1);
}

TEST_F(CaptureProgram, AStickThatCannotBeMountedGetsNothingAndNothingElseDoes) {
  StartDaemon();
  m_disks.Insert("sdb unmountable=1");
  ASSERT_EQ(Ask(1), "StartTCPDump");
  ASSERT_EQ(Ask(0), "StopTCPDump");
  EXPECT_TRUE(fs::exists(capture::kFile));
  EXPECT_FALSE(fs::exists("/tcpdump-[time].pcap"));
}

TEST_F(CaptureProgram, WithoutADiskServiceTheFileIsThere) {
  m_disks.Stop();
  StartDaemon();
  capture::Sender sender(kAddress);
  ASSERT_EQ(Ask(1), "StartTCPDump");
  sender.Send(10);
  ASSERT_EQ(Ask(0), "StopTCPDump");
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(10));
}

TEST_F(CaptureProgram, WithoutThePrivilegeItSaysSo) {
  ASSERT_EQ(prctl(PR_CAPBSET_DROP, CAP_NET_RAW, 0, 0, 0), 0);  // for the daemon, not for this process
  StartDaemon();
  EXPECT_EQ(Ask(1), "TCPDumpFailToStart");
  EXPECT_FALSE(fs::exists(capture::kFile));
  EXPECT_TRUE(m_daemon->IsRunning());
}

TEST_F(CaptureProgram, ADiskThatFillsUpMeanwhileEndsTheCaptureAndNothingElse) {
  fs::create_directories(capture::kDirectory);
  ASSERT_EQ(mount("tmpfs", capture::kDirectory, "tmpfs", 0, "size=8m"), 0);
  StartDaemon();
  ASSERT_EQ(Ask(1), "StartTCPDump");
  const std::string filler = std::string(capture::kDirectory) + "/filler";
  std::ofstream(filler) << std::string(7 * 1024 * 1024, 'x');
  EXPECT_EQ(Ask(0), "TCPDumpFailToStop");
  EXPECT_EQ(capture::NamesIn(), std::vector<std::string>{"filler"});
  fs::remove(filler);
  capture::Sender sender(kAddress);
  ASSERT_EQ(Ask(1), "StartTCPDump");
  sender.Send(10);
  ASSERT_EQ(Ask(0), "StopTCPDump");
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(10));
}

TEST_F(CaptureProgram, KilledInACaptureItLeavesNoFileAndCapturesAgain) {
  StartDaemon();
  capture::Sender sender(kAddress);
  ASSERT_EQ(Ask(1), "StartTCPDump");
  sender.Send(10);
  m_daemon->End(SIGKILL);
  EXPECT_FALSE(fs::exists(capture::kFile));
  StartDaemon();
  EXPECT_EQ(Ask(0), "StopTCPDump");
  EXPECT_FALSE(fs::exists(capture::kFile));
  capture::Sender later(kAddress);
  ASSERT_EQ(Ask(1), "StartTCPDump");
  later.Send(20);
  ASSERT_EQ(Ask(0), "StopTCPDump");
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(20));
  EXPECT_EQ(capture::NamesIn().size(), 1u);
}
