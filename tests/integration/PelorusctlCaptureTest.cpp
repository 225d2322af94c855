#include <filesystem>
#include <string>
#include <vector>

#include "PelorusctlLive.h"
#include "PelorusctlTvFixture.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kOnStick[] = "/opt/usr/data/usb/Stick/tcpdump-[time].pcap";

/// pelorusctl where there is no daemon; the test may play it.
using PelorusctlCapture = Pelorusctl;
/// pelorusctl beside a virtual TV.
using PelorusctlTvCapture = PelorusctlTv;

int Request() {
  int value = -1;
  vconf_get_int(vconf_keys::kStartStopTcpDump, &value);
  return value;
}

TEST_F(PelorusctlTvCapture, GoesFromStartToStick) {
  SwitchOn();
  EXPECT_EQ(Ctl({"tv", "status"}).code, 0) << "what answers has started";
  EXPECT_EQ(Ctl({"capture", "status"}).out, "not running\n");
  const Result started = Ctl({"capture", "start"});
  EXPECT_EQ(started.out, "capture started\n") << started.err;
  EXPECT_EQ(started.code, 0);
  EXPECT_EQ(Ctl({"capture", "status"}).out, "running\n");
  EXPECT_EQ(Ctl({"capture", "status", "--json"}).out, "{\"running\":true}\n");
  EXPECT_TRUE(Contains(Ctl({"tv", "status"}).out, "capture       running"));

  const Result again = Ctl({"capture", "start"});
  EXPECT_EQ(again.err, "pelorusctl: a capture runs already (pelorusctl capture stop)\n");
  EXPECT_EQ(again.code, 1);

  EXPECT_EQ(Ctl({"tv", "stick", "insert"}).code, 0);
  const Result stopped = Ctl({"capture", "stop"});
  EXPECT_EQ(stopped.out, "no capture runs any more\n") << stopped.err;
  EXPECT_EQ(stopped.code, 0);
  EXPECT_TRUE(std::filesystem::exists(kOnStick)) << "when the daemon has answered it is there";
  EXPECT_EQ(Ctl({"capture", "status"}).out, "not running\n");
}

TEST_F(PelorusctlTvCapture, ARefusalIsAFailure) {
  SwitchOn();
  EXPECT_EQ(Ctl({"tv", "fail", "connection_profile_start_tcpdump", "-1"}).code, 0);
  const Result refused = Ctl({"capture", "start", "--wait", "1"});
  EXPECT_EQ(refused.err, "pelorusctl: the platform refused to capture\n");
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(Ctl({"capture", "status"}).out, "not running\n");
}

TEST_F(PelorusctlCapture, NobodyWaitsForEver) {
  for (const char* command : {"start", "stop"}) {
    const Result silent = Ctl({"capture", command, "--wait", "1"});
    EXPECT_EQ(silent.err, "pelorusctl: nobody answered. Is the daemon running?\n");
    EXPECT_EQ(silent.code, 1);
  }
  EXPECT_EQ(Request(), 0);
  const Result asked = Ctl({"capture", "start", "--wait", "0"});
  EXPECT_EQ(asked.out + asked.err, "");
  EXPECT_EQ(asked.code, 0);
  EXPECT_EQ(Request(), 1);
}

TEST_F(PelorusctlCapture, ASlowStopIsTold) {
  LiveProgram program({"capture", "stop", "--wait", "1"}, G_SUBPROCESS_FLAGS_STDERR_MERGE);
  RunLoopUntil([] { return Request() == 0; });
  ASSERT_EQ(vconf_set_int(vconf_keys::kCaptureTsDump, 0), VCONF_OK);
  EXPECT_EQ(program.WaitForExit(), 1);
  EXPECT_EQ(program.lines(), std::vector<std::string>{"pelorusctl: the daemon has not stopped it yet"});
}

TEST_F(PelorusctlCapture, TheStatusMayBeMissingOrDamaged) {
  EXPECT_EQ(Ctl({"capture", "status"}).out, "not running\n") << "nobody has asked for one";
  WriteFile(FileOf(vconf_keys::kTcpDumpRunningStatus), "torn");
  const Result damaged = Ctl({"capture", "status"});
  EXPECT_EQ(damaged.out, "");
  EXPECT_EQ(damaged.code, 1);
  EXPECT_TRUE(Contains(damaged.err, "tcpdump_running_status")) << damaged.err;
  EXPECT_EQ(Ctl({"--settings", "/nonexistent", "capture", "status"}).code, 3);
  EXPECT_EQ(Ctl({"capture"}).code, 2);
  EXPECT_EQ(Ctl({"capture", "start", "--wait", "soon"}).code, 2);
}

}  // namespace
