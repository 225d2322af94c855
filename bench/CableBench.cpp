// From a cable event to the first instruction of the program that is started for it: the daemon beside
// the least program that does so, beside the least that also does what the daemon must do before, and
// beside ifplugd. One event at a time, the contenders in turn, each in a network namespace of its own.
//
// usage: cable_bench PELORUS MINIMAL FLOOR PROBE PEERS EVENTS

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Contender.h"
#include "Report.h"
#include "probe.h"

namespace {

using bench::Die;
using bench::Require;

constexpr char kProgram[] = "/usr/apps/org.orvik.Pelorus/bin/pelorus_notification";
constexpr int kWarmUpEvents = 6;
constexpr int kAnswerLimitMs = 3000;
/// Between the end of the started program and the next event: the daemon must have reaped it, or it
/// would hand the next keyword to a program that is no more.
constexpr int kRestMicroseconds = 20000;

class Probe {
 public:
  Probe() {
    Require(mkfifo(PROBE_PIPE, 0622) == 0, PROBE_PIPE);
    m_pipe = open(PROBE_PIPE, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    Require(m_pipe >= 0, PROBE_PIPE);
  }

  std::optional<probe_record> Next(int limit_ms) const {
    pollfd ready{m_pipe, POLLIN, 0};
    if (poll(&ready, 1, limit_ms) <= 0) {
      return std::nullopt;
    }
    probe_record record;
    Require(read(m_pipe, &record, sizeof record) == sizeof record, PROBE_PIPE);
    return record;
  }

 private:
  int m_pipe;
};

struct Measured {
  explicit Measured(std::unique_ptr<Contender> program) : contender(std::move(program)) {}
  std::unique_ptr<Contender> contender;
  std::vector<double> plugged;  // microseconds
  std::vector<double> pulled;
  int lost = 0;
  int wrong = 0;
  int strays = 0;

  [[nodiscard]] std::vector<double> All() const {
    std::vector<double> all = plugged;
    all.insert(all.end(), pulled.begin(), pulled.end());
    return all;
  }
};

void WaitForEnd(pid_t pid) {
  for (int i = 0; i < 10000 && kill(pid, 0) == 0; ++i) {
    usleep(100);
  }
}

bool Says(const probe_record& record, bool attached) {
  const std::string text(record.last_argument,
                         strnlen(record.last_argument, sizeof record.last_argument));
  return attached ? text == "ethernet_attached" || text == "up"
                  : text == "ethernet_detached" || text == "down";
}

void Event(Measured& measured, const Probe& probe, bool attached, bool is_counted) {
  const std::int64_t begin = measured.contender->SetCable(attached);
  const auto record = probe.Next(kAnswerLimitMs);
  if (record) {
    WaitForEnd(record->pid);
  }
  usleep(kRestMicroseconds);
  while (const auto stray = probe.Next(0)) {
    measured.strays += is_counted;
    WaitForEnd(stray->pid);
  }
  if (!is_counted) {
    return;
  }
  if (!record) {
    ++measured.lost;
  } else if (!Says(*record, attached)) {
    ++measured.wrong;
  } else {
    const double took = static_cast<double>(record->time_ns - begin) / 1000;
    (attached ? measured.plugged : measured.pulled).push_back(took);
  }
}

void Print(const Measured& measured) {
  std::printf("  %-10s", measured.contender->Name().c_str());
  const auto show = [](const char* what, const std::vector<double>& samples) {
    std::printf("  %s %8.0f %8.0f", what, report::Median(samples), report::Quantile(samples, 0.9));
  };
  show("all", measured.All());
  show("plugged", measured.plugged);
  show("pulled", measured.pulled);
  std::printf("  lost %d, wrong %d, strays %d\n", measured.lost, measured.wrong, measured.strays);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    Die("usage: cable_bench PELORUS MINIMAL FLOOR PROBE PEERS EVENTS");
  }
  const char* const peers = argv[5];
  const int events = std::atoi(argv[6]);
  std::filesystem::create_directories("/run/bench");
  std::filesystem::copy_file(argv[4], kProgram, std::filesystem::copy_options::overwrite_existing);
  const Probe probe;
  bench::StartJournal();
  bench::StartSystemBus(peers);

  std::vector<Measured> all;
  const auto add = [&](const char* name, std::vector<std::string> command) {
    all.emplace_back(std::make_unique<Contender>(name, std::move(command)));
  };
  // The daemon comes after the program that shares no library with it but the C library: one that comes
  // right after another with the same libraries finds them in the caches, which is worth 16 us.
  add("pelorus", {argv[1]});
  if (bench::IsInstalled("ifplugd")) {
    // Its script's delays at nothing, and a look at the cable every millisecond in place of every
    // second.
    add("ifplugd", {"ifplugd", "-n", "-s", "-b", "-p", "-q", "-I", "-i",   "cable0", "-m",    "ethtool",
                    "-u",      "0",  "-d", "0",  "-t", "0",  "-T", "1000", "-r",     kProgram});
  } else {
    std::printf("MISSING: ifplugd is not installed (Debian package ifplugd): not compared\n");
  }
  add("floor", {argv[3], "cable0", kProgram});
  add("minimal", {argv[2], "cable0", kProgram});
  for (Measured& measured : all) {
    measured.contender->Start();
  }
  usleep(1000000);
  for (int i = 0; i < kWarmUpEvents + events; ++i) {
    for (std::size_t turn = 0; turn < all.size(); ++turn) {
      Event(all[(turn + static_cast<std::size_t>(i / 2)) % all.size()], probe, i % 2 != 0,
            i >= kWarmUpEvents);
    }
  }

  char heading[160];
  std::snprintf(heading, sizeof heading,
                "Cable event to the started program's first instruction, us: median and 90th percentile "
                "of %d events each",
                events);
  report::Heading(heading);
  for (const Measured& measured : all) {
    Print(measured);
    if (measured.lost + measured.wrong > events / 20) {
      Die(measured.contender->Name() + " did not answer; its log is in the lines above");
    }
  }
  const double pelorus = report::Median(all.front().All());
  for (std::size_t i = 1; i < all.size(); ++i) {
    report::Ratio("median", pelorus, all[i].contender->Name(), report::Median(all[i].All()), "us");
  }
  const double minimal = report::Median(all.back().All());
  const double floor = report::Median(all[all.size() - 2].All());
  std::printf(
      "The floor, what the daemon must do and no more, takes %.2f times the minimal program's time\n",
      floor / minimal);
  const double ratio = pelorus / minimal;
  char text[120];
  std::snprintf(text, sizeof text,
                "cable event to popup in %.2f times the minimal program's time (at most 1.15)", ratio);
  report::Target(ratio <= 1.15, text);
  return 0;
}
