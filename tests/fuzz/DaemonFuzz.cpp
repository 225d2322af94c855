// The whole daemon on the virtual TV: any value of any type is written to any key, and time passes in
// between. Nothing may end the daemon. It lives on from input to input, so what an input finds may need
// the inputs before it; the number of writes is printed at the end.
//
// Needs private mounts (root, or unshare -rm): the daemon has fixed paths, which it also removes.
// Storm.cpp is another way to feed it: random bytes, without a fuzzer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#include <glib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "Pelorus.h"
#include "Sandbox.h"
#include "SettingsFile.h"
#include "VirtualTv.h"
#include "dlog.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A line for each step would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

namespace {

constexpr char kSlowRadio[] = "02:00:00:00:00:10";
constexpr char kFastRadio[] = "02:00:00:00:00:14";
constexpr char kStick[] = "Stick";
constexpr int kMostSteps = 64;
constexpr int kLongestPauseSeconds = 60;

std::int64_t g_passed_seconds = 0;
unsigned long long g_writes = 0;

struct LoopReached {};

/// What the keys are made for, so that the deeper places are reached too.
constexpr const char* kWords[] = {
    "",
    "1",
    "0",
    "START5GHZCONNECTION",
    "STOP5GHZCONNECTION",
    "SHOWPOPUP",
    "CONNECTPRESSED",
    "CANCELPRESSED",
    "PAGECHANGED",
    "LaunchNS",
    "instant_on",
    "instant_off",
    "wifi_reconnection_kpi",
    "wifi_on_off_popup_yespressed_kpi",
    R"({"id":"EV011","execution_method":"manual","marquee_test_result":"success"})",
    "Wired",
    "Wireless",
    "Cellular",
    "ONLINE",
    "OFFLINE",
    "PNP_SETUP",
    "OFF",
    "Home",
    kSlowRadio,
    "02:00:00:00:00:10|02:00:00:00:00:14",
    R"({"COMMAND":"1","SSID":"Home"})",
    R"({"COMMAND":"1","SSID":"Hidden"})",
    R"({"COMMAND":"2"})",
    R"({"COMMAND":"3"})",
    R"({"COMMAND":{},"SSID":[]})",
    R"({"count":2,"values":[{"FREQUENCY":5180,"SIGNAL_STRENGTH":-52,"SSID":"Home"}]})",
    "installed",
};

/// Choices and texts made of arbitrary bytes; out of bytes, it gives zeros and empty texts.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

  [[nodiscard]] bool IsEmpty() const { return m_left == 0; }
  std::uint8_t Byte() {
    if (m_left == 0) {
      return 0;
    }
    --m_left;
    return *m_data++;
  }
  /// @return from 0 to `last`, which is at most 255
  int UpTo(std::size_t last) { return static_cast<int>(Byte() % (last + 1)); }
  bool Flag() { return (Byte() & 1) != 0; }
  int Number() {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
      number = number << 8 | Byte();
    }
    return static_cast<int>(number);
  }
  std::string Text() {
    const std::size_t length = std::min<std::size_t>(Byte(), m_left);
    std::string text(reinterpret_cast<const char*>(m_data), length);
    m_data += length;
    m_left -= length;
    return text;
  }
  template <class T, std::size_t count>
  T Pick(const T (&values)[count]) {
    return values[UpTo(count - 1)];
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_left;
};

constexpr int kNumbers[] = {0, 1, 2, 7, -1, INT32_MAX, INT32_MIN};

void RunPending() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

void Pass(int seconds) {
  for (int i = 0; i < seconds; ++i) {
    ++g_passed_seconds;
    RunPending();
  }
}

void WriteRaw(const char* key, const std::string& bytes) {
  if (const auto path = settings::PathOf(key)) {
    g_file_set_contents(path->c_str(), bytes.data(), static_cast<gssize>(bytes.size()), nullptr);
  }
}

void WriteSomething(Input& input) {
  const char* key = input.Pick(vconf_keys::kCatalogue).name.data();
  switch (input.UpTo(6)) {
    case 0:
      vconf_set_int(key, input.Pick(kNumbers));
      break;
    case 1:
      vconf_set_int(key, input.Number());
      break;
    case 2:
      vconf_set_bool(key, input.Flag());
      break;
    case 3:
    case 4:
      vconf_set_str(key, input.Pick(kWords));
      break;
    case 5:
      vconf_set_str(key, input.Text().c_str());
      break;
    case 6:
      WriteRaw(key, input.Text());
      break;
  }
  ++g_writes;
}

void PlugStick(bool is_there, bool is_broken) {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  sockets.Remove(kStick);
  if (is_there) {
    sockets.Insert({.product = kStick, .directory = "/opt/usr/data/stick", .is_broken = is_broken});
  }
}

void ChangeTheRoom(Input& input) {
  VirtualTv& tv = VirtualTv::Instance();
  const char* bssid = input.Flag() ? kSlowRadio : kFastRadio;
  switch (input.UpTo(7)) {
    case 0:
      tv.PlugCable();
      break;
    case 1:
      tv.UnplugCable();
      break;
    case 2:
      tv.GetWifi().Join(bssid);
      break;
    case 3:
      tv.GetWifi().SetOn(bssid, input.Flag());
      break;
    case 4:
      tv.GetWifi().FindRadio(bssid)->temper = static_cast<Radio::Temper>(input.UpTo(4));
      break;
    case 5:
      tv.GetInternet().SetGateway(input.Flag());
      break;
    case 6:
      PlugStick(input.Flag(), input.Flag());
      break;
    case 7:
      tv.GetCapture().EndByItself();
      break;
  }
}

void FurnishTheRoom() {
  Wifi& wifi = VirtualTv::Instance().GetWifi();
  Radio radio;
  radio.bssid = kSlowRadio;
  radio.essid = "Home";
  radio.passphrase = "correct horse";
  wifi.AddRadio(radio);
  radio.bssid = kFastRadio;
  radio.frequency = 5180;
  wifi.AddRadio(radio);
  wifi.SeeAll();
  wifi.Join(kSlowRadio);
  PlugStick(true, false);
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
}

}  // namespace

/// GLib's timers go by this clock; the fuzzer's own limit goes by the wall's.
extern "C" int clock_gettime(clockid_t clock, timespec* time) {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  if (clock == CLOCK_MONOTONIC) {
    time->tv_sec += g_passed_seconds;
  }
  return result;
}

/// Where the daemon would stay: it has started, and is left without its stop sequence.
extern "C" void g_main_loop_run(GMainLoop* /*loop*/) {
  throw LoopReached();
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  sandbox::Enter();
  g_setenv("PELORUS_SETTINGS_DIR", "/run/fuzz/settings", TRUE);
  g_setenv("PELORUS_KPI_JOURNAL", "/run/fuzz/journal.jsonl", TRUE);
  FurnishTheRoom();
  try {
    PelorusMain();
  } catch (const LoopReached&) {
  }
  std::atexit([] { std::fprintf(stderr, "stat::number_of_writes: %llu\n", g_writes); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  for (int i = 0; i < kMostSteps && !input.IsEmpty(); ++i) {
    const int what = input.UpTo(9);
    if (what < 7) {
      WriteSomething(input);
    } else if (what == 7) {
      RunPending();
    } else if (what == 8) {
      Pass(1 + input.UpTo(kLongestPauseSeconds - 1));
    } else {
      ChangeTheRoom(input);
    }
  }
  Pass(1);
  VirtualTv::Instance().ClearCalls();
  unlink("/run/fuzz/journal.jsonl");
  return 0;
}
