// What a thousand saved networks cost the daemon, on the virtual TV in a block of flats: a publication
// of the list, and a connection, after which it is put in order and published anew. Each stands beside a
// floor in the same run. bench/run enters a sandbox first and sends standard error, where the log lines
// go without a journal, to a file.

#include <cstdio>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <glib.h>

#include "Flats.h"
#include "Log.h"
#include "Medians.h"
#include "Report.h"
#include "SavedNetworkPriorityHandler.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"
#include "wifi_manager.h"

namespace {

using flats::Require;

constexpr int kSavedNetworks = 1000;

SavedAPPriorityHandler& Handler() {
  return *SavedAPPriorityHandler::GetInstance();
}

void SaveNetworks() {
  Wifi& wifi = VirtualTv::Instance().GetWifi();
  for (int i = 1; i < kSavedNetworks; ++i) {
    wifi.Save({"Neighbour " + std::to_string(i), WIFI_SECURITY_TYPE_WPA2_PSK, "correct horse", 2412});
  }
}

/// Works off what a publication leaves behind on the main loop, outside the measured time.
void Settle() {
  VirtualTv::Instance().ClearCalls();
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

std::string PublishedText() {
  char* text = vconf_get_str(vconf_keys::kSavedAPList);
  Require(text != nullptr, "reading the published list");
  std::string copy = text;
  std::free(text);
  return copy;
}

/// The setting's write, and a line in the log for each network.
void PublishFloorOnce(const std::string& text) {
  for (int i = 0; i < kSavedNetworks; ++i) {
    NW_LOG("ssid = %s, signal_strength = %d, frequency = %d", "Neighbour 1000", -60, 2412);
  }
  Require(vconf_set_str(vconf_keys::kSavedAPList, text.c_str()) == VCONF_OK, "vconf_set_str");
}

void Publish(benchmark::State& state) {
  for (auto _ : state) {
    Handler().UpdateVconf(true);
    state.PauseTiming();
    Settle();
    state.ResumeTiming();
  }
}

void PublishFloor(benchmark::State& state) {
  const std::string text = PublishedText();
  for (auto _ : state) {
    PublishFloorOnce(text);
  }
}

void Connect(benchmark::State& state) {
  const flats::Ap ap = flats::ConnectedAp();
  for (auto _ : state) {
    Handler().UpdateListOnAPConnect(ap.get());
    state.PauseTiming();
    Settle();
    state.ResumeTiming();
  }
}

/// A walk through the saved networks that asks what must be asked, and the two publications.
void ConnectFloor(benchmark::State& state) {
  const std::string text = PublishedText();
  wifi_manager_h manager = nullptr;
  Require(wifi_manager_initialize(&manager) == WIFI_MANAGER_ERROR_NONE, "wifi_manager_initialize");
  for (auto _ : state) {
    const auto look = [](wifi_manager_config_h config, void*) {
      char* name = nullptr;
      int frequency = 0;
      wifi_security_type_e security{};
      Require(wifi_manager_config_get_name(config, &name) == WIFI_MANAGER_ERROR_NONE, "a name");
      wifi_manager_config_get_security_type(config, &security);
      wifi_manager_config_get_frequency(config, &frequency);
      std::free(name);
      return true;
    };
    wifi_manager_config_foreach_configuration(manager, look, nullptr);
    PublishFloorOnce(text);
    PublishFloorOnce(text);
    state.PauseTiming();
    Settle();
    state.ResumeTiming();
  }
  wifi_manager_deinitialize(manager);
}

void Print(const Medians& medians) {
  report::Heading(
      "Saved networks, 1,000 of them, 500 access points in range (medians of 5 repetitions)");
  report::Ratio("publication of the list", medians["publish"], "log lines and the write",
                medians["publish floor"], "us");
  report::Ratio("connect event", medians["connect"], "walk, and two of those", medians["connect floor"],
                "us");
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  flats::MoveIn();
  SaveNetworks();
  Handler().RegisterWifiEvents();
  Medians::Add("publish", Publish)->UseRealTime();
  Medians::Add("publish floor", PublishFloor)->UseRealTime();
  Medians::Add("connect", Connect)->UseRealTime();
  Medians::Add("connect floor", ConnectFloor)->UseRealTime();
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  Print(medians);
  return 0;
}
