// The marker file that tells others that the TV is on Wi-Fi.

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AuroraMode.h"
#include "NetworkTypeKPILogs.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;

namespace {

const fs::path kMarker = "/home/owner/share/wifi_mode";
constexpr char kMissing[] = "cannot access to /home/owner/share/wifi_mode ---> false";

class WifiMarker : public testing::Test {
 protected:
  static void SetType(const char* type) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kNetworkType, type), VCONF_OK);
  }
  static void Write(const std::string& content) { std::ofstream(kMarker) << content; }
  static std::string Content() {
    std::ostringstream content;
    content << std::ifstream(kMarker).rdbuf();
    return content.str();
  }
  /// Whether a message went to the system buffer.
  static bool IsInSystemLog(const std::string& message) {
    for (const std::string& line : test_log::Lines()) {
      if (line.starts_with("(system)") && line.ends_with(") > " + message)) {
        return true;
      }
    }
    return false;
  }
};

TEST_F(WifiMarker, IsMadeEmptyOnWifi) {
  SetType("Wireless");
  CAuroraMode::HandleAuroraFile();
  EXPECT_TRUE(fs::is_regular_file(kMarker));
  EXPECT_EQ(fs::file_size(kMarker), 0U);
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{kMissing, "Creating file wifi_mode"}));
  EXPECT_TRUE(IsInSystemLog(kMissing));
  EXPECT_FALSE(IsInSystemLog("Creating file wifi_mode"));
}

TEST_F(WifiMarker, ThatIsThereIsLeftAsItIs) {
  SetType("Wireless");
  Write("kept");
  const auto time = fs::last_write_time(kMarker);
  CAuroraMode::HandleAuroraFile();
  EXPECT_EQ(Content(), "kept");
  EXPECT_EQ(fs::last_write_time(kMarker), time);
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"Create:: file wifi_mode already exist"});
}

TEST_F(WifiMarker, IsRemovedOnEveryOtherNetwork) {
  for (const char* type : {"Wired", "Cellular", "wireless", "Wireless ", ""}) {
    SetType(type);
    Write("content");
    test_log::Clear();
    CAuroraMode::HandleAuroraFile();
    EXPECT_FALSE(fs::exists(kMarker)) << type;
    EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"removing wifi_mode  file "}) << type;
  }
}

TEST_F(WifiMarker, IsRemovedWhenTheTypeIsNotKnown) {
  Write("");
  CAuroraMode::HandleAuroraFile();
  EXPECT_FALSE(fs::exists(kMarker)) << "no value";
  SetType("Wireless");
  Write("");
  VirtualTv::Instance().Fail("vconf_get_str", VCONF_ERROR, 1);
  CAuroraMode::HandleAuroraFile();
  EXPECT_FALSE(fs::exists(kMarker)) << "a value that cannot be read";
  CAuroraMode::HandleAuroraFile();
  EXPECT_TRUE(fs::exists(kMarker));
}

TEST_F(WifiMarker, ThatIsNotThereNeedsNoRemoval) {
  SetType("Wired");
  CAuroraMode::HandleAuroraFile();
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{kMissing, "Destroy::file wifi_mode does not exist"}));
}

TEST_F(WifiMarker, WithoutItsDirectoryIsAFailureInTheSystemLog) {
  SetType("Wireless");
  fs::remove_all(kMarker.parent_path());
  CAuroraMode::HandleAuroraFile();
  EXPECT_TRUE(IsInSystemLog("Fail to open file"));
  fs::create_directories(kMarker.parent_path());
  CAuroraMode::HandleAuroraFile();
  EXPECT_TRUE(fs::exists(kMarker)) << "the next change tries again";
}

TEST_F(WifiMarker, ThatCannotBeRemovedIsAFailureInTheSystemLog) {
  fs::create_directories(kMarker / "something");
  CAuroraMode::HandleAuroraFile();
  EXPECT_TRUE(IsInSystemLog("Fail to remove file wifi_mode"));
  EXPECT_TRUE(fs::exists(kMarker));
}

TEST_F(WifiMarker, IsBroughtInLineWhenTheObjectIsBuilt) {
  SetType("Wireless");
  NetworkTypeKPI kpi;
  EXPECT_TRUE(fs::exists(kMarker));
}

TEST_F(WifiMarker, FileIsFoundByAccess) {
  EXPECT_TRUE(CAuroraMode::IsExistFilePath("/home/owner/share/"));
  EXPECT_FALSE(CAuroraMode::IsExistFilePath("/home/owner/share/no such file"));
  EXPECT_TRUE(IsInSystemLog("cannot access to /home/owner/share/no such file ---> false"));
  EXPECT_FALSE(CAuroraMode::IsExistFilePath(""));
}

}  // namespace
