#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CTCPDump.h"
#include "MainLoop.h"
#include "Popups.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A TV where captures are asked for, and a stick that is not plugged in yet.
class CaptureRoom : public testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  static constexpr char kStick[] = "Blue Stick";
  static constexpr char kMountPath[] = "/opt/usr/data/usb/blue";
  static constexpr char kOnStick[] = "/opt/usr/data/usb/blue/tcpdump-[time].pcap";
  static constexpr char kTooLarge[] = "Error: Certificate file is greater than 1 MB";

  void SetUp() override { m_dump.Init(); }
  void TearDown() override { m_dump.DeInit(); }

  void InsertStick(bool is_broken = false) {
    ASSERT_TRUE(m_tv.GetUsbSockets().Insert(
        {.product = kStick, .directory = kMountPath, .is_broken = is_broken}));
  }

  static void Ask(int request) {
    ASSERT_EQ(vconf_set_int(vconf_keys::kStartStopTcpDump, request), VCONF_OK);
    RunLoopOnce();
  }
  static void AskToStart() { Ask(1); }
  static void AskToStop() { Ask(0); }

  /// The next popup, which the viewer then closes.
  void ExpectPopup(const std::string& keyword) {
    popups::WaitForStarted(++m_popup_count);
    const auto started = popups::All();
    ASSERT_EQ(started.size(), m_popup_count);
    EXPECT_EQ(started.back().arguments, Texts{keyword});
    popups::Close(started.back().pid);
  }

  /// Starts a capture, and its popup is closed.
  void Start() {
    AskToStart();
    ExpectPopup("StartTCPDump");
    Forget();
  }

  void Forget() {
    m_tv.ClearCalls();
    test_log::Clear();
  }

  static int Read(const char* key) {
    int value = -1;
    vconf_get_int(key, &value);
    return value;
  }
  static int Status() { return Read(vconf_keys::kTcpDumpRunningStatus); }
  static int StreamDump() { return Read(vconf_keys::kCaptureTsDump); }

  /// The platform functions that were called, but for those of the settings store.
  Texts Calls() {
    Texts functions;
    for (const auto& call : m_tv.Calls()) {
      if (!call.function.starts_with("vconf_")) {
        functions.push_back(call.function);
      }
    }
    return functions;
  }

  static std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
  }
  static bool IsOnStick() { return std::filesystem::exists(kOnStick); }

  VirtualTv& m_tv = VirtualTv::Instance();
  CTCPDump m_dump;

 private:
  std::size_t m_popup_count = 0;
};
