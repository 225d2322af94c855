// Packet captures on request, from the key to the popup and to the file on the stick.

#include <algorithm>
#include <string_view>

#include "CaptureRoom.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMost = 1'048'576;

TEST_F(CaptureRoom, ListensFromInitToDeInit) {
  EXPECT_EQ(m_tv.Calls("vconf_notify_key_changed"),
            (std::vector<VirtualTv::Call>{
                {"vconf_notify_key_changed", {"memory/Pelorus/start_stop_TCPDump"}}}));
  m_dump.DeInit();
  EXPECT_EQ(m_tv.Calls("vconf_ignore_key_changed"),
            (std::vector<VirtualTv::Call>{
                {"vconf_ignore_key_changed", {"memory/Pelorus/start_stop_TCPDump"}}}));
  Forget();
  AskToStart();
  EXPECT_FALSE(test_log::Has("StartTCPDump Init"));
  EXPECT_EQ(Calls(), Texts{});
}

TEST_F(CaptureRoom, AStartIsToldInTheKeysAndByAPopup) {
  AskToStart();
  EXPECT_EQ(Calls(), (Texts{"connection_create", "connection_profile_start_tcpdump"}));
  EXPECT_TRUE(m_tv.GetCapture().IsRunning());
  EXPECT_EQ(Status(), 1);
  EXPECT_EQ(StreamDump(), 1);
  EXPECT_EQ(test_log::Count("StartTCPDump Init"), 1U);
  EXPECT_TRUE(test_log::Has("Enabled vconf for TS Dump"));
  EXPECT_TRUE(test_log::Has("[connection_create success]"));
  ExpectPopup("StartTCPDump");
}

TEST_F(CaptureRoom, AStopWithoutAStickCopiesNothing) {
  Start();
  AskToStop();
  EXPECT_EQ(Calls(), (Texts{"connection_profile_get_tcpdump_state", "connection_profile_stop_tcpdump",
                            "usb_get_connected_device_number"}));
  EXPECT_FALSE(m_tv.GetCapture().IsRunning());
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(StreamDump(), 0);
  EXPECT_TRUE(test_log::Has("Disabled vconf for TS Dump"));
  EXPECT_TRUE(test_log::Has("No Of USB Devices Found = 0"));
  ExpectPopup("StopTCPDump");
}

TEST_F(CaptureRoom, AStopBringsTheFileToTheStick) {
  Start();
  InsertStick();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(Content(kOnStick), Content(PacketCapture::kFile));
  EXPECT_EQ(fs::file_size(kOnStick), PacketCapture::kDefaultBytes);
  EXPECT_EQ(fs::status(kOnStick).permissions(), fs::perms::all);
  EXPECT_EQ(test_log::Count("No Of USB Devices Found = 1"), 2U);
  for (const char* message : {
           "USB Mount Path = /opt/usr/data/usb/blue",
           "USBPath Found /opt/usr/data/usb/blue",
           "Source directory =[/opt/usr/data/network/]. ",
           "destination directory =[/opt/usr/data/usb/blue]. ",
           "Source File =[/opt/usr/data/network//tcpdump-[time].pcap]. ",
           "destination File =[/opt/usr/data/usb/blue/tcpdump-[time].pcap]. ",
       }) {
    EXPECT_EQ(test_log::Count(message), 1U) << message;
  }
  EXPECT_EQ(m_tv.GetUsbSockets().GetLists().Count(), 0U);
}

TEST_F(CaptureRoom, TheFirstStickIsTheOneThatCounts) {
  InsertStick();
  m_tv.GetUsbSockets().Insert({.product = "Red Stick", .directory = "/opt/usr/data/usb/red"});
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_TRUE(IsOnStick());
  EXPECT_FALSE(fs::exists("/opt/usr/data/usb/red"));
}

TEST_F(CaptureRoom, AFileFromAnEarlierCaptureIsReplaced) {
  InsertStick();
  fs::create_directories(kMountPath);
  std::ofstream(kOnStick) << std::string(10'000, 'x');
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(Content(kOnStick), Content(PacketCapture::kFile));
}

TEST_F(CaptureRoom, OneMegabyteIsCopiedAndNotAByteMore) {
  InsertStick();
  m_tv.GetCapture().SetFileSize(kMost);
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(fs::file_size(kOnStick), kMost);
  EXPECT_FALSE(test_log::Has(kTooLarge));

  fs::remove(kOnStick);
  m_tv.GetCapture().SetFileSize(kMost + 1);
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(fs::file_size(PacketCapture::kFile), kMost + 1);
  EXPECT_FALSE(IsOnStick());
  EXPECT_TRUE(test_log::Has(kTooLarge));
  EXPECT_EQ(Status(), 0);
}

TEST_F(CaptureRoom, ASecondStartIsRefusedAndCallsNothing) {
  Start();
  AskToStart();
  ExpectPopup("TCPDumpAlreadyRunning");
  EXPECT_EQ(Calls(), Texts{});
  EXPECT_EQ(m_tv.Calls("vconf_set_int").size(), 1U) << "that of the request";
  EXPECT_EQ(Status(), 1);
}

TEST_F(CaptureRoom, TheKeyDecidesWhetherACaptureRuns) {
  ASSERT_EQ(vconf_set_int(vconf_keys::kTcpDumpRunningStatus, -7), VCONF_OK);
  AskToStart();
  ExpectPopup("TCPDumpAlreadyRunning");
  EXPECT_EQ(Calls(), Texts{});
  EXPECT_EQ(StreamDump(), -1) << "not written";
  EXPECT_EQ(Status(), -7);
}

TEST_F(CaptureRoom, AStopWithoutAStartStopsAllTheSame) {
  InsertStick();
  ASSERT_EQ(vconf_set_int(vconf_keys::kTcpDumpRunningStatus, 1), VCONF_OK);
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(Calls(), Texts{});
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(StreamDump(), 0);
  EXPECT_FALSE(IsOnStick());
}

class AnyOtherValue : public CaptureRoom, public testing::WithParamInterface<int> {};

TEST_P(AnyOtherValue, Stops) {
  Start();
  Ask(GetParam());
  ExpectPopup("StopTCPDump");
  EXPECT_FALSE(m_tv.GetCapture().IsRunning());
  EXPECT_EQ(Status(), 0);
}

INSTANTIATE_TEST_SUITE_P(ThanOne, AnyOtherValue,
                         testing::Values(0, 2, -1, 2'147'483'647, -2'147'483'648));

TEST_F(CaptureRoom, EachWriteCountsAlsoOfTheSameValue) {
  AskToStop();
  ExpectPopup("StopTCPDump");
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(test_log::Count("StartTCPDump Init"), 2U);
}

TEST_F(CaptureRoom, ASecondStopIsRefusedByThePlatform) {
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  Forget();
  AskToStop();
  ExpectPopup("TCPDumpFailToStop");
  EXPECT_EQ(Calls(), (Texts{"connection_profile_get_tcpdump_state", "connection_profile_stop_tcpdump"}));
}

TEST_F(CaptureRoom, ACaptureThatThePlatformEndedIsStoppedAndCopied) {
  InsertStick();
  Start();
  m_tv.GetCapture().EndByItself();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(Content(kOnStick), Content(PacketCapture::kFile));
}

TEST_F(CaptureRoom, AnotherCaptureMayFollow) {
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  Forget();
  AskToStart();
  ExpectPopup("StartTCPDump");
  EXPECT_EQ(Calls(), (Texts{"connection_create", "connection_profile_start_tcpdump"}))
      << "the handle of the first start is not destroyed";
  EXPECT_EQ(Status(), 1);
}

TEST_F(CaptureRoom, NobodyIsListeningForNothing) {
  Forget();
  CTCPDump::VconfNotifyTCPDump(nullptr, nullptr);
  EXPECT_EQ(test_log::Messages(), Texts{"StartTCPDump Init"});
  EXPECT_TRUE(m_tv.Calls().empty());
}

// What fails.

TEST_F(CaptureRoom, AKeyThatCannotBeWatchedIsLoggedToTheSystem) {
  m_tv.Fail("vconf_notify_key_changed", -1);
  m_dump.Init();
  const auto lines = test_log::Lines();
  EXPECT_TRUE(std::ranges::any_of(lines, [](std::string_view line) {
    return line.starts_with("(system)") &&
           line.ends_with("> failed to register vconf change notify for RSEV tool launched conf");
  }));
}

TEST_F(CaptureRoom, ARequestThatCannotBeReadDoesNothing) {
  m_tv.Fail("vconf_get_int", -1, 1);
  AskToStart();
  EXPECT_TRUE(test_log::Has("failed to set tcp dump memory/Pelorus/start_stop_TCPDump"));
  EXPECT_EQ(Calls(), Texts{});
  ASSERT_EQ(vconf_set_str(vconf_keys::kStartStopTcpDump, "1"), VCONF_OK);
  RunLoopOnce();
  EXPECT_EQ(test_log::Count("failed to set tcp dump memory/Pelorus/start_stop_TCPDump"), 2U);
  EXPECT_EQ(Calls(), Texts{});
  EXPECT_TRUE(popups::All().empty());
}

TEST_F(CaptureRoom, AStatusThatCannotBeReadIsNoCapture) {
  EXPECT_FALSE(m_dump.IsTcpdumpRunning());
  EXPECT_EQ(test_log::Count("failed to get tcp dump status"), 1U);
  AskToStart();
  ExpectPopup("StartTCPDump");
  EXPECT_EQ(test_log::Count("failed to get tcp dump status"), 2U);
}

TEST_F(CaptureRoom, KeysThatCannotBeWrittenStopNothing) {
  m_tv.Fail("vconf_set_int", -1);
  m_dump.StartTCPDump();
  EXPECT_TRUE(test_log::Has("Failed to enable vconf for TS dump"));
  EXPECT_EQ(test_log::Count("failed to get tcp dump status"), 2U) << "not read, and not written";
  EXPECT_TRUE(m_tv.GetCapture().IsRunning());
  ExpectPopup("StartTCPDump");
  test_log::Clear();
  m_dump.StopTCPDump();
  EXPECT_TRUE(test_log::Has("Failed to disable vconf for TS dump"));
  EXPECT_EQ(test_log::Count("failed to get tcp dump status"), 1U);
  EXPECT_FALSE(m_tv.GetCapture().IsRunning());
  ExpectPopup("StopTCPDump");
}

TEST_F(CaptureRoom, WithoutAHandleNothingIsStarted) {
  m_tv.Fail("connection_create", -12);
  AskToStart();
  ExpectPopup("TCPDumpFailToStart");
  EXPECT_TRUE(test_log::Has("[Handle Creation Fail]"));
  EXPECT_EQ(Calls(), Texts{"connection_create"});
  EXPECT_EQ(StreamDump(), 1) << "until the next stop";
  EXPECT_EQ(Status(), -1) << "not written";
}

TEST_F(CaptureRoom, AHandleOfAnEarlierStartServesWhenThereIsNoNewOne) {
  Start();
  AskToStop();
  ExpectPopup("StopTCPDump");
  Forget();
  m_tv.Fail("connection_create", -12);
  AskToStart();
  ExpectPopup("StartTCPDump");
  EXPECT_TRUE(test_log::Has("[Handle Creation Fail]"));
  EXPECT_TRUE(m_tv.GetCapture().IsRunning());
  EXPECT_EQ(Status(), 1);
}

TEST_F(CaptureRoom, ACaptureThatIsRefusedLeavesTheStreamDumpOn) {
  m_tv.Fail("connection_profile_start_tcpdump", -1, 1);
  AskToStart();
  ExpectPopup("TCPDumpFailToStart");
  EXPECT_TRUE(test_log::Has("Failed to start tcpdump"));
  EXPECT_EQ(StreamDump(), 1);
  EXPECT_EQ(Status(), -1) << "not written";
  AskToStop();
  ExpectPopup("TCPDumpFailToStop");
  EXPECT_EQ(StreamDump(), 0);
  EXPECT_EQ(Status(), 0);
}

TEST_F(CaptureRoom, AStateThatIsNotToldEndsTheHandleAndCountsAsStopped) {
  InsertStick();
  Start();
  m_tv.Fail("connection_profile_get_tcpdump_state", -1, 1);
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_TRUE(test_log::Has("Failed to stop tcpdump"));
  EXPECT_EQ(Calls(), (Texts{"connection_profile_get_tcpdump_state", "connection_destroy"}));
  EXPECT_EQ(Status(), 0);
  EXPECT_FALSE(IsOnStick());
  Forget();
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_EQ(Calls(), Texts{}) << "the handle is gone";
}

TEST_F(CaptureRoom, ACaptureThatCannotBeStoppedKeepsItsHandle) {
  InsertStick();
  Start();
  m_tv.Fail("connection_profile_stop_tcpdump", -1, 1);
  AskToStop();
  ExpectPopup("TCPDumpFailToStop");
  EXPECT_TRUE(test_log::Has("Failed to stop tcpdump"));
  EXPECT_EQ(Status(), 0) << "also then";
  EXPECT_EQ(StreamDump(), 0);
  EXPECT_FALSE(IsOnStick());
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_TRUE(IsOnStick());
}

class StickTrouble : public CaptureRoom {
 protected:
  /// Stops a capture, which is a success whatever the stick does.
  void StopAndExpectNothingOnTheStick() {
    Start();
    AskToStop();
    ExpectPopup("StopTCPDump");
    EXPECT_EQ(Status(), 0);
    EXPECT_FALSE(IsOnStick());
    EXPECT_FALSE(fs::exists("/tcpdump-[time].pcap"));
    EXPECT_EQ(m_tv.GetUsbSockets().GetLists().Count(), 0U);
  }
};

TEST_F(StickTrouble, AListThatIsRefused) {
  InsertStick();
  m_tv.Fail("usb_device_get_device_list", -1);
  StopAndExpectNothingOnTheStick();
  EXPECT_TRUE(test_log::Has("Error While Getting USB Device List"));
  EXPECT_TRUE(test_log::Has("USBPath Found "));
}

TEST_F(StickTrouble, AListThatHasNoFirst) {
  InsertStick();
  m_tv.Fail("usb_device_list_get_first", -19);
  StopAndExpectNothingOnTheStick();
  EXPECT_TRUE(m_tv.Calls("usb_device_get_mountpath").empty());
}

TEST_F(StickTrouble, OneThatCannotBeMounted) {
  InsertStick(true);
  StopAndExpectNothingOnTheStick();
  EXPECT_TRUE(test_log::Has("USB Mount Path = "));
}

TEST_F(StickTrouble, OneThatIsPulledBetweenTheQuestions) {
  m_tv.Fail("usb_get_connected_device_number", 1);
  StopAndExpectNothingOnTheStick();
}

TEST_F(StickTrouble, ANumberThatIsAnError) {
  InsertStick();
  m_tv.Fail("usb_get_connected_device_number", -1);
  StopAndExpectNothingOnTheStick();
  EXPECT_TRUE(m_tv.Calls("usb_device_get_device_list").empty());
  EXPECT_FALSE(test_log::Has("USBPath Found ")) << "there is none to look for";
}

TEST_F(StickTrouble, AFileThatIsNotThere) {
  InsertStick();
  Start();
  m_tv.GetCapture().EndByItself();
  fs::remove(PacketCapture::kFile);
  AskToStop();
  ExpectPopup("StopTCPDump");
  EXPECT_FALSE(IsOnStick());
  EXPECT_TRUE(std::ranges::any_of(
      test_log::Messages(), [](const std::string& message) { return message.starts_with("Error::["); }));
}

}  // namespace
