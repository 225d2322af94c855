// One day of a TV, the whole daemon with it, on the virtual clock: how many such days one core lives
// through in a second. The day is a family's: cables, the player's trouble in the evening, moves to 5
// GHz and back, the setup wizard never.
//
// usage: day_bench [DAYS]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include <dlfcn.h>
#include <glib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "Pelorus.h"
#include "VirtualClock.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;

constexpr char kSlowRadio[] = "02:00:00:00:00:10";
constexpr char kFastRadio[] = "02:00:00:00:00:14";
constexpr guint kEverySeconds = 600;
constexpr int kTurnsADay = 24 * 3600 / kEverySeconds;

int g_days = 1;
int g_turn = 0;
int g_arrivals = 0;  // on the fast radio
GMainLoop* g_loop = nullptr;

/// A clock of the machine; the one that this process sees elsewhere is the virtual one.
double Seconds(clockid_t clock) {
  timespec now{};
  syscall(SYS_clock_gettime, clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
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
  radio.mode = WIFI_MANAGER_CONNECTION_MODE_80211AC;
  wifi.AddRadio(radio);
  wifi.SeeAll();
  wifi.Join(kSlowRadio);
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
}

/// Every ten minutes somebody does something; six turns make an hour.
void LiveOneTurn() {
  VirtualTv& tv = VirtualTv::Instance();
  switch (g_turn % 6) {
    case 0:
      tv.GetWifi().Join(kSlowRadio);
      vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, "1");
      break;
    case 1:
      vconf_set_int(vconf_keys::kStreamingBuffer, 1);
      break;
    case 2:
      g_arrivals += tv.GetWifi().ConnectedBssid() == kFastRadio ? 1 : 0;
      vconf_set_int(vconf_keys::kStreamingBuffer, 0);
      break;
    case 3:
      tv.PlugCable();
      break;
    case 4:
      tv.UnplugCable();
      break;
    case 5:
      vconf_set_str(vconf_keys::kNotifyPelorus, g_turn % 12 == 5 ? "instant_off" : "instant_on");
      break;
  }
  tv.ClearCalls();
}

gboolean OnTurn(gpointer /*user_data*/) {
  LiveOneTurn();
  if (++g_turn < kTurnsADay * g_days) {
    return G_SOURCE_CONTINUE;
  }
  g_main_loop_quit(g_loop);
  return G_SOURCE_REMOVE;
}

}  // namespace

/// The daemon keeps its loop to itself and never quits it; this is how the day comes to its end.
extern "C" GMainLoop* g_main_loop_new(GMainContext* context, gboolean is_running) {
  using Function = GMainLoop* (*)(GMainContext*, gboolean);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_main_loop_new"));
  g_loop = real(context, is_running);
  g_timeout_add_seconds(kEverySeconds, OnTurn, nullptr);
  return g_loop;
}

int main(int argc, char** argv) {
  g_days = argc > 1 ? std::atoi(argv[1]) : 1;
  if (g_days < 1) {
    std::fprintf(stdout, "usage: day_bench [DAYS]\n");
    return 2;
  }
  FurnishTheRoom();
  virtual_clock::SetHorizon(virtual_clock::Now() + seconds(24 * 3600) * (g_days + 1));
  const double begin = Seconds(CLOCK_MONOTONIC);
  const double begin_used = Seconds(CLOCK_PROCESS_CPUTIME_ID);
  PelorusMain();
  const double used = Seconds(CLOCK_PROCESS_CPUTIME_ID) - begin_used;
  const double passed = Seconds(CLOCK_MONOTONIC) - begin;

  const int expected = kTurnsADay / 6 * g_days;
  std::printf("\nA virtual day of the whole daemon\n");
  std::printf("  %d days, %d of %d automatic moves to 5 GHz arrived\n", g_days, g_arrivals, expected);
  std::printf("  %.1f ms of processor time a day, %.1f TV-days per second on one core\n",
              used * 1e3 / g_days, g_days / used);
  std::printf("  %.1f ms of real time a day (settings and records are flushed to the disk)\n",
              passed * 1e3 / g_days);
  return g_arrivals == expected ? 0 : 1;
}
