// The operations on the directories of captures, on a real file system: what they do otherwise than
// those on the directories of certificates.

#include "CFileFunc.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include "FailingDisk.h"
#include "TestLog.h"

namespace fs = std::filesystem;

namespace {

const std::string kFrom = "/opt/usr/data/network/";
const std::string kTo = "/opt/usr/data/stick";
const std::string kName = "/tcpdump-[time].pcap";
constexpr std::size_t kMost = 1'048'576;

class CaptureFiles : public testing::Test {
 protected:
  CaptureFiles() { fs::create_directories(kFrom); }

  static void Write(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
  }
  static bool Copy() { return CFileFunc::copyFile(kFrom, kTo, kName); }
  static std::size_t ErrorCount() {
    return static_cast<std::size_t>(
        std::ranges::count_if(test_log::Messages(), [](const std::string& message) {
          return message.starts_with("Error::[") && message.ends_with("]");
        }));
  }
};

TEST_F(CaptureFiles, AreCopiedIntoADirectoryThatIsMade) {
  Write(kFrom + kName, "packets");
  umask(077);
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + kName), "packets");
  EXPECT_EQ(fs::status(kTo + kName).permissions(), fs::perms::all);
  EXPECT_EQ(
      test_log::Messages(),
      (std::vector<std::string>{
          "Directory Created = /opt/usr/data/stick", "Source directory =[/opt/usr/data/network/]. ",
          "destination directory =[/opt/usr/data/stick]. ",
          "Source File =[/opt/usr/data/network//tcpdump-[time].pcap]. ",
          "destination File =[/opt/usr/data/stick/tcpdump-[time].pcap]. ", "START", "END"}));
}

TEST_F(CaptureFiles, ReplaceWhatIsThere) {
  Write(kFrom + kName, "new");
  fs::create_directory(kTo);
  Write(kTo + kName, "old and longer");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + kName), "new");
}

TEST_F(CaptureFiles, OfOneMegabyteAreCopiedAndNotAByteMore) {
  Write(kFrom + kName, std::string(kMost, 'x'));
  EXPECT_TRUE(Copy());
  EXPECT_EQ(fs::file_size(kTo + kName), kMost);
  Write(kTo + kName, "old");
  Write(kFrom + kName, std::string(kMost + 1, 'x'));
  EXPECT_FALSE(Copy());
  EXPECT_EQ(Read(kTo + kName), "old");
  EXPECT_EQ(test_log::Count("Error: Certificate file is greater than 1 MB"), 1U);
  EXPECT_EQ(ErrorCount(), 0U);
}

TEST_F(CaptureFiles, ThatAreMissingAreAnErrorThatGoesNoFurther) {
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(CaptureFiles, DoNotFitOnAFullStick) {
  Write(kFrom + kName, std::string(100'000, 'x'));
  fs::create_directory(kTo);
  ASSERT_EQ(mount("tmpfs", kTo.c_str(), "tmpfs", 0, "size=64k"), 0);
  Write(kTo + kName, "old");
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Read(kTo + kName), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(kTo), {}), 1) << "no half of a file is left";
}

TEST_F(CaptureFiles, AreNotWrittenToAStickThatIsReadOnly) {
  Write(kFrom + kName, "packets");
  fs::create_directory(kTo);
  ASSERT_EQ(mount("tmpfs", kTo.c_str(), "tmpfs", MS_RDONLY, ""), 0);
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(CaptureFiles, AreNotWrittenThroughALink) {
  Write(kFrom + kName, "new");
  fs::create_directory(kTo);
  Write("/opt/usr/data/kept", "kept");
  fs::create_symlink("/opt/usr/data/kept", kTo + kName);
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read("/opt/usr/data/kept"), "kept");
  EXPECT_EQ(Read(kTo + kName), "new");
}

TEST_F(CaptureFiles, GoNowhereWithoutADestination) {
  Write(kFrom + kName, "packets");
  EXPECT_FALSE(CFileFunc::copyFile(kFrom, "", kName));
  EXPECT_FALSE(fs::exists(kName));
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST(CaptureDirectory, IsMadeInOneThatExists) {
  EXPECT_TRUE(CFileFunc::createDir(kTo));
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"Directory Created = " + kTo});
  EXPECT_TRUE(CFileFunc::createDir(kTo));
  EXPECT_EQ(test_log::Messages().size(), 1U) << "what exists is said nothing of";
  EXPECT_FALSE(CFileFunc::createDir("/opt/usr/data/two/levels"));
  EXPECT_FALSE(fs::exists("/opt/usr/data/two"));
}

TEST(CaptureDirectory, ThatAnotherMadeMeanwhileIsAsGood) {
  g_mkdir_comes_late = true;
  const bool is_there = CFileFunc::createDir(kTo);
  g_mkdir_comes_late = false;
  EXPECT_TRUE(is_there);
  EXPECT_TRUE(test_log::Has("Directory Not Created = " + kTo));
}

}  // namespace
