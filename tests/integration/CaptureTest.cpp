#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "CaptureFiles.h"
#include "FileDescriptor.h"
#include "MainLoop.h"
#include "Network.h"
#include "PacketCapture.h"
#include "net_connection.h"
#include "platform.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

using Names = std::vector<std::string>;

constexpr char kName[] = "tcpdump-[time].pcap";
constexpr char kAddress[] = "192.0.2.10";

std::size_t Threads() {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

/// The bits of the signals that a thread of this process blocks; 0 when there is no such thread.
std::uint64_t SignalsBlockedBy(const std::string& thread) {
  for (const auto& task : fs::directory_iterator("/proc/self/task")) {
    std::ifstream status(task.path() / "status");
    std::string name;
    for (std::string word; status >> word;) {
      if (word == "Name:") {
        status >> name;
      } else if (word == "SigBlk:" && name == thread) {
        status >> word;
        return std::stoull(word, nullptr, 16);
      }
    }
  }
  return 0;
}

class Capture : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    capture::AddCableInUse("wall", "far", kAddress);
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
  }
  void TearDown() override {
    connection_destroy(m_connection);
    platform_stop();
  }

  [[nodiscard]] int Start() const { return connection_profile_start_tcpdump(m_connection); }
  [[nodiscard]] int Stop() const { return connection_profile_stop_tcpdump(m_connection); }
  [[nodiscard]] int State() const {
    connection_tcpdump_state_e state{};
    EXPECT_EQ(connection_profile_get_tcpdump_state(m_connection, &state), CONNECTION_ERROR_NONE);
    return state;
  }
  /// A start that is refused leaves nothing behind.
  void ExpectRefused() const {
    const std::size_t threads = Threads();
    EXPECT_EQ(Start(), CONNECTION_ERROR_OPERATION_FAILED);
    EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
    EXPECT_EQ(Threads(), threads);
    EXPECT_EQ(Stop(), CONNECTION_ERROR_OPERATION_FAILED);
  }
  void ExpectToWork() const {
    capture::Sender sender(kAddress);
    ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
    sender.Send(10);
    ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
    EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(10));
    EXPECT_EQ(capture::NamesIn(), Names{kName});
  }

  connection_h m_connection = nullptr;
};

/// With a disk of its own at the place of the file.
class CaptureDisk : public Capture {
 protected:
  void SetUp() override {
    Capture::SetUp();
    fs::create_directories(capture::kDirectory);
    ASSERT_EQ(mount("tmpfs", capture::kDirectory, "tmpfs", 0, "size=8m"), 0);
  }
  /// Leaves less than a file's worth of room.
  static void Fill() { std::ofstream(Filler()) << std::string(7 * 1024 * 1024, 'x'); }
  static std::string Filler() { return std::string(capture::kDirectory) + "/filler"; }
};

}  // namespace

TEST_F(Capture, HasEveryPacketThatWasSentBeforeTheStop) {
  constexpr std::uint32_t kPackets = 2000;
  for (int round = 0; round < 5; ++round) {
    capture::Sender sender(kAddress);
    const std::uint64_t before = capture::ReceivedBy("far");
    ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
    EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_RUNNING);
    sender.Send(kPackets);
    ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
    EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
    EXPECT_GE(capture::ReceivedBy("far") - before, kPackets);
    ASSERT_EQ(capture::SentNumbers(), capture::FirstNumbers(kPackets)) << "round " << round;
  }
}

TEST_F(Capture, StopsWithoutDelayAndLeavesNothingRunning) {
  ExpectToWork();  // once before, since a sanitizer has a thread of its own from the first on
  const std::size_t threads = Threads();
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  EXPECT_EQ(Threads(), threads + 1);
  RunLoopFor(300ms);
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
  EXPECT_EQ(Threads(), threads);
  EXPECT_EQ(Stop(), CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_EQ(capture::SentNumbers(), capture::Numbers{});
}

TEST_F(Capture, SeesAnInterfaceThatAppearsLater) {
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  network::SetUp("far", false);  // or the switch would send everything out there once more
  capture::AddCableInUse("usb", "usb-far", "198.51.100.10");
  capture::Sender sender("198.51.100.10");
  sender.Send(100);
  ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(100));
}

TEST_F(Capture, GoesOnWhenAnInterfaceGoes) {
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  network::AddCable("usb", "usb-far");
  network::SetUp("usb", false);
  network::Remove("usb");
  RunLoopFor(200ms);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_RUNNING);
  capture::Sender sender(kAddress);
  sender.Send(100);
  ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(100));
}

TEST_F(Capture, KeepsTheNewestPacketsThatFitOntoAStick) {
  constexpr std::uint32_t kPackets = capture::kMoreThanAFile;
  constexpr std::size_t kRecord = 16 + 16 + 28 + 1000;
  capture::Sender sender(kAddress, capture::kPort, 1000);
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  sender.Send(kPackets);
  ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_LE(fs::file_size(capture::kFile), capture::kLargestFile);
  EXPECT_GT(fs::file_size(capture::kFile), capture::kLargestFile - kRecord);
  const capture::Numbers numbers = capture::SentNumbers();
  ASSERT_FALSE(numbers.empty());
  EXPECT_EQ(numbers.back(), kPackets - 1);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    ASSERT_EQ(numbers[i], numbers[i - 1] + 1);
  }
}

TEST_F(Capture, KeepsNoMoreThanTheHeadOfWhatIsLargerThanAFrame) {
  capture::Sender sender("127.0.0.1", capture::kPort, 60'000);
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  sender.Send(1);
  ASSERT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_GT(fs::file_size(capture::kFile), 2048u);
  EXPECT_LT(fs::file_size(capture::kFile), 60'000u);
}

TEST_F(Capture, IsOneForAllHandles) {
  connection_h other = nullptr;
  ASSERT_EQ(connection_create(&other), CONNECTION_ERROR_NONE);
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_profile_start_tcpdump(other), CONNECTION_ERROR_OPERATION_FAILED);
  capture::Sender sender(kAddress);
  sender.Send(10);
  connection_destroy(std::exchange(m_connection, other));  // it does not end with who began it
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_RUNNING);
  sender.Send(10);
  EXPECT_EQ(Stop(), CONNECTION_ERROR_NONE);
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(20));
}

TEST_F(Capture, EndsWithThePlatformAndItsFileIsWhole) {
  capture::Sender sender(kAddress);
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  sender.Send(100);
  platform_stop();
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(100));
  EXPECT_EQ(capture::NamesIn(), Names{kName});
}

TEST_F(Capture, TheEndOfTheProcessLeavesNoFileThatIsTorn) {
  ExpectToWork();
  const auto old = fs::last_write_time(capture::kFile);
  EXPECT_EXIT(
      {
        capture::Sender sender(kAddress);
        const int result = Start();
        sender.Send(100);
        std::exit(result);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(fs::last_write_time(capture::kFile), old);
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(10));
  EXPECT_EQ(capture::NamesIn().size(), 2u);
  ExpectToWork();  // and removes what was left
}

TEST_F(Capture, EndsByItselfWithItsFileWhole) {
  capture::Sender sender(kAddress);
  const auto capture = PacketCapture::Start(capture::kDirectory, kName, {capture::kLargestFile, 300ms});
  ASSERT_NE(capture, nullptr);
  sender.Send(100);
  EXPECT_TRUE(capture->IsRunning());
  RunLoopUntil([&] { return !capture->IsRunning(); });
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(100));
  sender.Send(100);
  EXPECT_TRUE(capture->Stop());
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(100));
}

TEST_F(Capture, OneThatNobodyWantsAnyMoreLeavesNoFile) {
  PacketCapture::Start(capture::kDirectory, kName, {capture::kLargestFile, 1h}).reset();
  EXPECT_EQ(capture::NamesIn(), Names{});
  ExpectToWork();
}

TEST_F(Capture, SignalsAreNotItsThreads) {
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  RunLoopUntil([] { return SignalsBlockedBy("capture") != 0; });
  EXPECT_NE(SignalsBlockedBy("capture") & (1ULL << (SIGCHLD - 1)), 0u);
  sigset_t mine;
  pthread_sigmask(SIG_SETMASK, nullptr, &mine);
  EXPECT_EQ(sigismember(&mine, SIGCHLD), 0);
  EXPECT_EQ(Stop(), CONNECTION_ERROR_NONE);
}

TEST_F(Capture, MakesTheDirectoryThatIsMissing) {
  ASSERT_FALSE(fs::exists(capture::kDirectory));
  ExpectToWork();
  EXPECT_EQ(fs::status(capture::kFile).permissions(), fs::perms(0600));
}

TEST_F(Capture, ADirectoryThatCannotBeMadeIsRefused) {
  std::ofstream(capture::kDirectory) << "a file";
  ExpectRefused();
  fs::remove(capture::kDirectory);
  ExpectToWork();
}

TEST_F(Capture, ALinkAtTheFilesPlaceIsReplacedAndNotFollowed) {
  fs::create_directories(capture::kDirectory);
  std::ofstream("/opt/precious") << "precious";
  fs::create_symlink("/opt/precious", capture::kFile);
  fs::create_symlink("/opt/precious", std::string(capture::kDirectory) + "/." + kName + ".unfinished");
  ExpectToWork();
  EXPECT_FALSE(fs::is_symlink(capture::kFile));
  EXPECT_EQ(fs::file_size("/opt/precious"), 8u);
}

TEST_F(Capture, ADirectoryAtTheFilesPlaceIsRefused) {
  fs::create_directories(capture::kFile);
  ExpectRefused();
  fs::remove(capture::kFile);
  ExpectToWork();
}

TEST_F(Capture, AnotherDaemonsCaptureIsRefused) {
  fs::create_directories(capture::kDirectory);
  {
    const FileDescriptor other(open(capture::kDirectory, O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
    ExpectRefused();
  }
  ExpectToWork();
}

TEST_F(Capture, WithoutThePrivilegeItIsRefusedAtOnce) {
  ExpectToWork();
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct had[2];
  ASSERT_EQ(syscall(SYS_capget, &header, had), 0);
  __user_cap_data_struct less[2] = {had[0], had[1]};
  less[0].effective &= ~(1U << CAP_NET_RAW);
  ASSERT_EQ(syscall(SYS_capset, &header, less), 0);
  ExpectRefused();
  ASSERT_EQ(syscall(SYS_capset, &header, had), 0);
  ExpectToWork();
}

TEST_F(CaptureDisk, AFullDiskIsRefused) {
  Fill();
  ExpectRefused();
  EXPECT_EQ(capture::NamesIn(), Names{"filler"});
  fs::remove(Filler());
  ExpectToWork();
}

TEST_F(CaptureDisk, ADiskThatFillsUpMeanwhileIsLeftAsItIs) {
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  capture::Sender sender(kAddress);
  sender.Send(100);
  Fill();
  const auto free_bytes = fs::space(capture::kDirectory).available;
  EXPECT_EQ(Stop(), CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
  EXPECT_EQ(capture::NamesIn(), Names{"filler"});
  EXPECT_EQ(fs::space(capture::kDirectory).available, free_bytes);
  fs::remove(Filler());
  ExpectToWork();
}

TEST_F(CaptureDisk, AWriteThatFailsLeavesTheFileOfTheLastCapture) {
  ExpectToWork();
  ASSERT_EQ(Start(), CONNECTION_ERROR_NONE);
  capture::Sender sender(kAddress);
  sender.Send(100);
  rlimit files{};
  getrlimit(RLIMIT_FSIZE, &files);
  const rlimit small{1000, files.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_EQ(Stop(), CONNECTION_ERROR_OPERATION_FAILED);
  setrlimit(RLIMIT_FSIZE, &files);
  EXPECT_EQ(capture::SentNumbers(), capture::FirstNumbers(10));
  EXPECT_EQ(capture::NamesIn(), Names{kName});
  ExpectToWork();
}

TEST_F(CaptureDisk, ADiskThatMayOnlyBeReadIsRefused) {
  ASSERT_EQ(mount(nullptr, capture::kDirectory, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  ExpectRefused();
}
