// The virtual TV's sticks and captures, driven as from outside.

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>

#include "Commands.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "usb.h"

namespace fs = std::filesystem;

namespace {

constexpr char kDone[] = R"({"ok":true})";

class UsbCommands : public testing::Test {
 protected:
  std::string Ask(const std::string& request) { return tv_commands::Answer(m_tv, request); }
  Json::Value Status() {
    Json::Value request;
    request["do"] = "status";
    return tv_commands::Execute(m_tv, request)["tv"];
  }
  static std::string MountPath() {
    usb_device_list_h list = nullptr;
    usb_device_get_device_list(USB_DEVICE_CLASS_MASS_STORAGE, &list);
    usb_device_h device = nullptr;
    usb_device_list_get_first(list, &device);
    usb_device_free_device_list(list);
    const char* const path = usb_device_get_mountpath(device);
    return path == nullptr ? "(null)" : path;
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(UsbCommands, PlugSticksInAndPullThemOut) {
  EXPECT_EQ(Ask(R"({"do":"stick","action":"insert"})"), kDone);
  EXPECT_EQ(MountPath(), "/opt/usr/data/usb/Stick");
  EXPECT_TRUE(fs::is_directory("/opt/usr/data/usb/Stick"));
  EXPECT_TRUE(Status()["sticks"][0]["mounted"].asBool());
  EXPECT_EQ(Ask(R"({"do":"stick","action":"unmount"})"), kDone);
  EXPECT_FALSE(Status()["sticks"][0]["mounted"].asBool());
  EXPECT_EQ(MountPath(), "/opt/usr/data/usb/Stick") << "mounted anew";

  EXPECT_EQ(Ask(R"({"do":"stick","action":"insert","name":"Blue one","broken":true})"), kDone);
  EXPECT_EQ(Ask(R"({"do":"stick","action":"remove"})"), kDone);
  const Json::Value sticks = Status()["sticks"];
  ASSERT_EQ(sticks.size(), 1U);
  EXPECT_EQ(sticks[0]["name"], "Blue one");
  EXPECT_EQ(sticks[0]["directory"], "/opt/usr/data/usb/Blue one");
  EXPECT_TRUE(sticks[0]["broken"].asBool());
  EXPECT_EQ(MountPath(), "(null)");
}

TEST_F(UsbCommands, KeepWhatIsOnAStick) {
  Ask(R"({"do":"stick","action":"insert"})");
  std::ofstream(MountPath() + "/note") << "hello";
  Ask(R"({"do":"stick","action":"remove"})");
  Ask(R"({"do":"stick","action":"insert"})");
  EXPECT_TRUE(fs::exists(MountPath() + "/note"));
}

TEST_F(UsbCommands, SetTheSizeOfCapturesToTheByte) {
  connection_h connection = nullptr;
  ASSERT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
  for (const int bytes : {40, 41, 4096, 1554, 1555, 1569, 1570, 1571, 1'048'576, 1'048'577}) {
    EXPECT_EQ(Ask(R"({"do":"capture","action":"size","bytes":)" + std::to_string(bytes) + "}"), kDone);
    ASSERT_EQ(connection_profile_start_tcpdump(connection), CONNECTION_ERROR_NONE);
    EXPECT_TRUE(Status()["capture"]["running"].asBool());
    ASSERT_EQ(connection_profile_stop_tcpdump(connection), CONNECTION_ERROR_NONE);
    std::ifstream file(PacketCapture::kFile, std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    ASSERT_EQ(content.size(), static_cast<std::size_t>(bytes));
    std::size_t place = 24;
    while (place < content.size()) {  // from packet to packet
      std::uint32_t length = 0;
      ASSERT_LE(place + 16, content.size()) << bytes;
      std::memcpy(&length, content.data() + place + 8, sizeof(length));
      place += 16 + length;
    }
    EXPECT_EQ(place, content.size()) << bytes;
  }
  EXPECT_EQ(Status()["capture"]["bytes"].asInt(), 1'048'577);
}

TEST_F(UsbCommands, EndACaptureOnBehalfOfThePlatform) {
  connection_h connection = nullptr;
  ASSERT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
  ASSERT_EQ(connection_profile_start_tcpdump(connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(Ask(R"({"do":"capture","action":"end"})"), kDone);
  EXPECT_FALSE(Status()["capture"]["running"].asBool());
  EXPECT_EQ(fs::file_size(PacketCapture::kFile), PacketCapture::kDefaultBytes);
  EXPECT_EQ(connection_profile_stop_tcpdump(connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_profile_stop_tcpdump(connection), CONNECTION_ERROR_OPERATION_FAILED);
}

TEST_F(UsbCommands, RefuseWhatMakesNoSense) {
  ASSERT_EQ(Ask(R"({"do":"stick","action":"insert","name":"Blue"})"), kDone);
  const Json::Value before = Status();
  for (const std::string request : {
           R"({"do":"stick"})",
           R"({"do":"stick","action":"lick"})",
           R"({"do":"stick","action":"insert","name":"Blue"})",
           R"({"do":"stick","action":"insert","name":""})",
           R"({"do":"stick","action":"insert","name":7})",
           R"({"do":"stick","action":"insert","name":"a/b"})",
           R"({"do":"stick","action":"insert","name":".."})",
           R"({"do":"stick","action":"insert","name":"a\nb"})",
           R"({"do":"stick","action":"insert","name":"Red","broken":"yes"})",
           R"({"do":"stick","action":"remove"})",
           R"({"do":"stick","action":"unmount","name":"Red"})",
           R"({"do":"capture","action":"size"})",
           R"({"do":"capture","action":"size","bytes":39})",
           R"({"do":"capture","action":"size","bytes":67108865})",
           R"({"do":"capture","action":"end"})",
           R"({"do":"capture","action":"start"})",
       }) {
    const std::string answer = Ask(request);
    EXPECT_TRUE(answer.find(R"("ok":false)") != std::string::npos) << request << answer;
  }
  EXPECT_EQ(Status(), before);
}

}  // namespace
