// What measuring costs the daemon, on the virtual TV: the search for a router's other radio, the cache
// of answers, the text of each record, and the way of a full queue into the journal. Each stands beside
// a floor in the same run: the least that could do that part's unavoidable work. bench/run enters a
// sandbox first and sends standard error to nowhere, where the log lines would go without a journal.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "CacheDualBandStatus.h"
#include "Flats.h"
#include "KPICreator2017.h"
#include "Log.h"
#include "Medians.h"
#include "Report.h"
#include "Scan.h"
#include "VirtualTv.h"
#include "WirelessKPILogger.h"
#include "vconf.h"
#include "vconf_keys.h"
#include "wifi.h"

namespace {

using flats::Ap;
using flats::Bssid;
using flats::ConnectedAp;
using flats::kConnected;
using flats::Require;

constexpr int kCacheEntries = 10'000;
constexpr int kQueuedRecords = 25;
constexpr char kSampleDescription[] =
    "{swreason=1;diffmac=4;rssis=-62/2437|-55/5180;interferences=0/2437|0/5180;protocols=802.11n/2437|"
    "802.11ac/5180;select=1;appid=org.example.player;iptype=2;aptype=0;security=4;moduleid=0}";

// The walk

void Walk(benchmark::State& state) {
  const Ap ap = ConnectedAp();
  WifiWPSScan scan;
  for (auto _ : state) {
    VirtualTv::Instance().ClearCalls();
    Require(!scan.Init(ap.get()), "finding no partner");
  }
}

/// The platform's walk with what must be asked of each access point, and its log line: no decision.
void WalkFloor(benchmark::State& state) {
  for (auto _ : state) {
    VirtualTv::Instance().ClearCalls();
    const auto look = [](wifi_ap_h ap, void*) {
      char* bssid = nullptr;
      char* essid = nullptr;
      Require(wifi_ap_get_bssid(ap, &bssid) == WIFI_ERROR_NONE, "wifi_ap_get_bssid");
      Require(wifi_ap_get_essid(ap, &essid) == WIFI_ERROR_NONE, "wifi_ap_get_essid");
      NW_LOG("ssid=>%s  BSSID %s ,apbssid %s", essid, bssid, kConnected);
      std::free(essid);
      std::free(bssid);
      const auto look_further = [](const char* /*bssid*/, int /*rssi*/, int /*frequency*/, void*) {
        return true;
      };
      wifi_foreach_found_bssids(ap, look_further, nullptr);
      return true;
    };
    Require(wifi_foreach_found_aps(look, nullptr) == WIFI_ERROR_NONE, "wifi_foreach_found_aps");
  }
}

// The cache

void FillCache() {
  std::string list;
  for (int i = 0; i < kCacheEntries; ++i) {
    list += (i == 0 ? "" : "|") + Bssid(i);
  }
  Require(vconf_set_str(vconf_keys::kDualBandApMac, list.c_str()) == VCONF_OK, "vconf_set_str");
}

void LookUpInCache(benchmark::State& state) {
  FillCache();
  const std::string last = Bssid(kCacheEntries - 1);
  for (auto _ : state) {
    Require(GetCachedInstance()->m_IsCachedAsDualBand(last), "finding the last entry");
  }
}

/// The setting must be read anew each time, because another process may have written it.
void LookUpFloor(benchmark::State& state) {
  FillCache();
  const std::string last = Bssid(kCacheEntries - 1);
  for (auto _ : state) {
    char* list = vconf_get_str(vconf_keys::kDualBandApMac);
    Require(list != nullptr && std::strstr(list, last.c_str()) != nullptr, "finding the last entry");
    std::free(list);
  }
}

// The texts

using MakeCreator = std::unique_ptr<IKPICreator> (*)();

template <class Creator, class... Arguments>
std::unique_ptr<IKPICreator> Make() {
  return std::make_unique<Creator>(Arguments{}...);
}

const std::pair<const char*, MakeCreator> kDescriptions[] = {
    {"EV001 WIFI_ENV", Make<CKPIWIFIENV>},
    {"EV001 cellular", Make<CKPICellularEV001>},
    {"EV002 WIFI_RSSI", Make<CKPIWIFIRSSI>},
    {"EV004 ETHERNET", Make<CKPIEthernetEV004>},
    {"EV005 WIFI_BANDSWITCH", Make<CKPIAWMEV005>},
    {"EV006 AWM", []() -> std::unique_ptr<IKPICreator> { return std::make_unique<CKPIAWMEV006>(1); }},
    {"EV008 WIRELESS_ENVIRONMENT", Make<CKPIWirelessEnvironmentEV008>},
    {"EV008 WIFI_ICON_CLICK", Make<CKPIWirelessEV008>},
    {"EV009 WIFI_POP_UP_SELECT", Make<CKPIWirelessEV009>},
    {"EV011 MARQUEE_TEST_RESULT", Make<CKPIWirelessEV011>},
};

void Describe(benchmark::State& state, MakeCreator make) {
  for (auto _ : state) {
    state.PauseTiming();
    VirtualTv::Instance().ClearCalls();
    const std::unique_ptr<IKPICreator> creator = make();
    creator->CreateKPI();
    state.ResumeTiming();
    Require(!creator->GetResult().empty(), "a description");
  }
}

// The journal

CWirelessKPILogger& Logger() {
  return *CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
}

void Flush(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < kQueuedRecords; ++i) {
      Logger().AddEventLogToFile("EV005", "WIFI_BANDSWITCH", kSampleDescription, "21_wireless");
    }
    state.ResumeTiming();
    Require(Logger().SendKPIData(), "SendKPIData");
  }
}

/// As many lines of as many bytes, each as safe from a power cut.
void FlushFloor(benchmark::State& state) {
  const std::string line = std::string(sizeof kSampleDescription + 130, 'x') + "\n";
  for (auto _ : state) {
    for (int i = 0; i < kQueuedRecords; ++i) {
      const int file = open("/var/lib/pelorus/floor", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
      Require(write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size()), "write");
      Require(fdatasync(file) == 0 && close(file) == 0, "fdatasync");
    }
  }
}

void OpenTheGates() {
  Require(vconf_set_int(vconf_keys::kDisclaimerAgree, 1) == VCONF_OK, "vconf_set_int");
}

void Print(const Medians& medians) {
  report::Heading("KPI (medians of 5 repetitions)");
  const auto against_floor = [&](const char* what, const char* name, const std::string& floor) {
    report::Ratio(what, medians[name], floor, medians[std::string(name) + " floor"], "us");
  };
  against_floor("dual-band walk, 500 access points", "walk", "walk without decision");
  against_floor("cache of 10,000, last entry", "cache", "read and strstr");
  against_floor("flush of 25 records", "flush", "25 durable appends");
  std::printf("\n  Descriptions (reading their sources included)\n");
  for (const auto& [name, make] : kDescriptions) {
    std::printf("  %-34s %9.2f us\n", name, medians[name]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  flats::MoveIn();
  OpenTheGates();
  Medians::Add("walk", Walk)->UseRealTime();
  Medians::Add("walk floor", WalkFloor)->UseRealTime();
  Medians::Add("cache", LookUpInCache)->UseRealTime();
  Medians::Add("cache floor", LookUpFloor)->UseRealTime();
  for (const auto& [name, make] : kDescriptions) {
    Medians::Add(name, Describe, make)->UseRealTime();
  }
  Medians::Add("flush", Flush)->UseRealTime();
  Medians::Add("flush floor", FlushFloor)->UseRealTime();
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  Print(medians);
  return 0;
}
