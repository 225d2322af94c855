#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "CaptureRoom.h"
#include "SettingsFile.h"
#include "net_connection.h"
#include "platform.h"

namespace fs = std::filesystem;

namespace {

const fs::path kFile = "/opt/usr/data/network/tcpdump-[time].pcap";

std::uint32_t WordAt(const std::string& content, std::size_t place) {
  std::uint32_t word = 0;
  std::memcpy(&word, content.data() + place, sizeof(word));
  return word;
}

/// How many packets a file has.
/// @return nothing for what is no whole file in libpcap's format
std::optional<std::size_t> PacketCount(const fs::path& path) {
  constexpr std::size_t kFileHeader = 24;
  constexpr std::size_t kPacketHeader = 16;
  constexpr std::uint32_t kMicroseconds = 0xa1b2c3d4;
  constexpr std::uint32_t kNanoseconds = 0xa1b23c4d;
  std::ifstream file(path, std::ios::binary);
  const std::string content(std::istreambuf_iterator<char>(file), {});
  if (content.size() < kFileHeader ||
      (WordAt(content, 0) != kMicroseconds && WordAt(content, 0) != kNanoseconds)) {
    return std::nullopt;
  }
  std::size_t count = 0;
  std::size_t place = kFileHeader;
  while (place + kPacketHeader <= content.size()) {
    place += kPacketHeader + WordAt(content, place + 8);
    ++count;
  }
  return place == content.size() ? std::optional(count) : std::nullopt;
}

/// A started platform with two users of the connection interface.
class Capture : public testing::Test {
 protected:
  void SetUp() override {
    setenv(settings::kDirectoryVariable, "/run/settings", 1);
    m_room = CaptureRoom::Enter();
    ASSERT_EQ(platform_start(), 0);
    ASSERT_EQ(connection_create(&m_first), CONNECTION_ERROR_NONE);
    ASSERT_EQ(connection_create(&m_second), CONNECTION_ERROR_NONE);
  }
  void TearDown() override { platform_stop(); }

  int State() {
    connection_tcpdump_state_e state{};
    EXPECT_EQ(connection_profile_get_tcpdump_state(m_second, &state), CONNECTION_ERROR_NONE);
    return state;
  }
  void CaptureTraffic() {
    ASSERT_EQ(connection_profile_start_tcpdump(m_first), CONNECTION_ERROR_NONE);
    m_room->MakeTraffic();
    ASSERT_EQ(connection_profile_stop_tcpdump(m_first), CONNECTION_ERROR_NONE);
  }
  static void ExpectWholeFile() {
    const auto count = PacketCount(kFile);
    ASSERT_TRUE(count.has_value()) << "a capture file that is none, or not whole";
    EXPECT_GT(*count, 0U);
  }

  connection_h m_first = nullptr;
  connection_h m_second = nullptr;
  std::unique_ptr<CaptureRoom> m_room;
};

}  // namespace

// A capture that was stopped has left its file, whole.
// Fails: a backend that flushes later, or calls its file otherwise.
TEST_F(Capture, LeavesAWholeFile) {
  CaptureTraffic();
  ExpectWholeFile();
}

// What runs is told to everybody.
// Fails: a backend that keeps a state for each handle.
TEST_F(Capture, IsOneForAllUsers) {
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
  ASSERT_EQ(connection_profile_start_tcpdump(m_first), CONNECTION_ERROR_NONE);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_RUNNING);
  EXPECT_EQ(connection_profile_start_tcpdump(m_first), CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_EQ(connection_profile_start_tcpdump(m_second), CONNECTION_ERROR_OPERATION_FAILED);
  m_room->MakeTraffic();
  EXPECT_EQ(connection_profile_stop_tcpdump(m_second), CONNECTION_ERROR_NONE);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
  ExpectWholeFile();
}

// What was not started cannot be stopped.
// Fails: a backend that calls that a success, the second time too.
TEST_F(Capture, IsStoppedOnce) {
  EXPECT_EQ(connection_profile_stop_tcpdump(m_first), CONNECTION_ERROR_OPERATION_FAILED);
  CaptureTraffic();
  EXPECT_EQ(connection_profile_stop_tcpdump(m_first), CONNECTION_ERROR_OPERATION_FAILED);
}

// A capture replaces the file of the last one, whatever is there.
// Fails: a backend that writes over the beginning, or behind the end.
TEST_F(Capture, ReplacesTheLastFile) {
  fs::create_directories(kFile.parent_path());
  std::ofstream(kFile) << std::string(100'000, 'x');
  CaptureTraffic();
  ExpectWholeFile();
  CaptureTraffic();
  ExpectWholeFile();
}

// The capture is the platform's and not its beginner's.
// Fails: a backend that ends it with the handle.
TEST_F(Capture, OutlivesTheHandleThatBeganIt) {
  ASSERT_EQ(connection_profile_start_tcpdump(m_first), CONNECTION_ERROR_NONE);
  ASSERT_EQ(connection_destroy(m_first), CONNECTION_ERROR_NONE);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_RUNNING);
  m_room->MakeTraffic();
  EXPECT_EQ(connection_profile_stop_tcpdump(m_second), CONNECTION_ERROR_NONE);
  ExpectWholeFile();
}

// Where there can be no file there is no capture, and there is one once there can.
// Fails: a backend that captures into nothing, or that is stuck with its failure.
TEST_F(Capture, NeedsItsFile) {
  fs::create_directories(kFile / "in the way");
  EXPECT_EQ(connection_profile_start_tcpdump(m_first), CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
  EXPECT_EQ(connection_profile_stop_tcpdump(m_first), CONNECTION_ERROR_OPERATION_FAILED);
  fs::remove_all(kFile);
  CaptureTraffic();
  ExpectWholeFile();
}

// What is no handle, or no place for an answer, is refused.
// Fails: a backend that reads through it.
TEST_F(Capture, NeedsAHandle) {
  ASSERT_EQ(connection_destroy(m_first), CONNECTION_ERROR_NONE);
  connection_tcpdump_state_e state = CONNECTION_TCPDUMP_STATE_RUNNING;
  for (connection_h handle : {static_cast<connection_h>(nullptr), m_first}) {
    EXPECT_EQ(connection_profile_start_tcpdump(handle), CONNECTION_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(connection_profile_stop_tcpdump(handle), CONNECTION_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(connection_profile_get_tcpdump_state(handle, &state), CONNECTION_ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(state, CONNECTION_TCPDUMP_STATE_RUNNING) << "untouched";
  EXPECT_EQ(connection_profile_get_tcpdump_state(m_second, nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(State(), CONNECTION_TCPDUMP_STATE_STOPPED);
}
