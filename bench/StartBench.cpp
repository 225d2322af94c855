// From execve() to the main loop, and the memory of the daemon at rest, beside ConnMan's and
// systemd-networkd's. The peers get a system bus, a cable and a DHCP configuration for it, nothing else.
//
// usage: start_bench PELORUS START_PROBE PEERS STARTS

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "Contender.h"
#include "Report.h"

namespace {

using bench::Die;
using bench::Require;

constexpr int kMemoryRuns = 3;
constexpr int kRestSeconds = 34;  // the ignore window of pelorus, and what it gives back by then
constexpr int kStartLimitMs = 10000;

struct Measured {
  std::unique_ptr<Contender> contender;
  std::vector<double> start_ms;
  std::vector<double> pss_mb;
  std::vector<double> private_mb;
  std::vector<double> rss_mb;
};

/// @return milliseconds from its execve() to its main loop
double TimeStart(Contender& contender, const std::string& probe) {
  int ends[2];
  Require(pipe2(ends, 0) == 0, "pipe");
  fcntl(ends[0], F_SETFD, FD_CLOEXEC);
  const std::int64_t begin =
      contender.Start({"LD_PRELOAD=" + probe, "START_PROBE_FD=" + std::to_string(ends[1])});
  close(ends[1]);
  std::int64_t end = 0;
  pollfd ready{ends[0], POLLIN, 0};
  if (poll(&ready, 1, kStartLimitMs) != 1 || read(ends[0], &end, sizeof end) != sizeof end) {
    Die(contender.Name() + " has not come to its main loop");
  }
  close(ends[0]);
  contender.Stop();
  return static_cast<double>(end - begin) / 1e6;
}

/// The sum of these lines of smaps_rollup, in megabytes (2^20).
double Memory(pid_t pid, const std::vector<std::string>& names) {
  std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
  double kilobytes = 0;
  for (std::string name, rest; rollup >> name && std::getline(rollup, rest);) {
    for (const std::string& wanted : names) {
      if (name == wanted + ":") {
        kilobytes += std::atof(rest.c_str());
      }
    }
  }
  if (kilobytes <= 0) {
    Die("no memory figures for process " + std::to_string(pid));
  }
  return kilobytes / 1024;
}

void MeasureMemory(Measured& measured) {
  measured.contender->Start();
  sleep(kRestSeconds);
  const pid_t pid = measured.contender->Pid();
  measured.pss_mb.push_back(Memory(pid, {"Pss"}));
  measured.private_mb.push_back(Memory(pid, {"Private_Clean", "Private_Dirty"}));
  measured.rss_mb.push_back(Memory(pid, {"Rss"}));
  measured.contender->Stop();
}

void PrepareNetworkd(const std::string& peers) {
  namespace fs = std::filesystem;
  fs::create_directories("/etc/systemd/network");
  fs::copy_file(peers + "/cable.network", "/etc/systemd/network/cable.network",
                fs::copy_options::overwrite_existing);
  // What systemd prepares for the service; it gives up root's rights and could not do so itself.
  fs::create_directories("/run/systemd/netif");
  bench::Run("chown -R systemd-network:systemd-network /run/systemd/netif");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    Die("usage: start_bench PELORUS START_PROBE PEERS STARTS");
  }
  const std::string probe = argv[2];
  const std::string peers = argv[3];
  const int starts = std::atoi(argv[4]);
  std::filesystem::create_directories("/run/bench");
  bench::StartJournal();
  bench::StartSystemBus(peers);

  std::vector<Measured> all;
  const auto add = [&](const char* name, std::vector<std::string> command) {
    all.push_back({std::make_unique<Contender>(name, std::move(command)), {}, {}, {}, {}});
  };
  add("pelorus", {argv[1]});
  if (bench::IsInstalled("connmand")) {
    add("connman", {"connmand", "-n", "-r", "-c", peers + "/connman.conf"});
  } else {
    std::printf("MISSING: connmand is not installed (Debian package connman): not compared\n");
  }
  constexpr char kNetworkd[] = "/usr/lib/systemd/systemd-networkd";
  if (bench::IsInstalled(kNetworkd)) {
    PrepareNetworkd(peers);
    add("networkd", {kNetworkd});
  } else {
    std::printf("MISSING: %s is not installed (Debian package systemd): not compared\n", kNetworkd);
  }

  for (int i = 0; i <= starts; ++i) {
    for (Measured& measured : all) {
      const double took = TimeStart(*measured.contender, probe);
      if (i > 0) {  // the first one reads the program from the disk
        measured.start_ms.push_back(took);
      }
    }
  }
  for (int i = 0; i < kMemoryRuns; ++i) {
    for (Measured& measured : all) {
      MeasureMemory(measured);
    }
  }

  report::Heading("Start to main loop, and memory at rest");
  for (const Measured& measured : all) {
    std::printf(
        "  %-10s start median %6.2f ms, p90 %6.2f ms (%d starts); PSS %5.2f MB, private %5.2f MB, "
        "RSS %5.2f MB\n",
        measured.contender->Name().c_str(), report::Median(measured.start_ms),
        report::Quantile(measured.start_ms, 0.9), starts, report::Median(measured.pss_mb),
        report::Median(measured.private_mb), report::Median(measured.rss_mb));
  }
  const double start = report::Median(all[0].start_ms);
  const double pss = report::Median(all[0].pss_mb);
  for (std::size_t i = 1; i < all.size(); ++i) {
    const std::string& name = all[i].contender->Name();
    report::Ratio("start to main loop", start, name, report::Median(all[i].start_ms), "ms");
    report::Ratio("memory at rest, PSS", pss, name, report::Median(all[i].pss_mb), "MB");
  }
  char text[120];
  std::snprintf(text, sizeof text, "start to main loop in %.2f ms (under 30)", start);
  report::Target(start < 30, text);
  std::snprintf(text, sizeof text, "PSS at rest %.2f MB (under 8)", pss);
  report::Target(pss < 8, text);
  return 0;
}
