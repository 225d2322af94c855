// What a capture misses when somebody stops it at the right moment: the platform's own capture and
// tcpdump take turns at the same burst of packets over a veth pair, and each is stopped with the last of
// them.
//
// usage: capture_bench [ROUNDS [PACKETS]]   in a network namespace of its own

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <pcap/pcap.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "PacketCapture.h"
#include "Report.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kDirectory[] = "/run/capture";
constexpr char kName[] = "packets.pcap";
constexpr char kLog[] = "/run/capture.log";
constexpr std::size_t kLargeFile = 256 * 1024 * 1024;  // this is about losses, not about what is kept
constexpr std::size_t kPacketBytes = 200;
constexpr std::uint32_t kMark = 0x504c5253;

void Require(bool done, const char* what) {
  if (!done) {
    std::perror(what);
    std::exit(1);
  }
}

int OpenSender() {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
  sockaddr_in everybody{};
  everybody.sin_family = AF_INET;
  everybody.sin_port = htons(4711);
  inet_pton(AF_INET, "192.0.2.255", &everybody.sin_addr);
  Require(connect(fd, reinterpret_cast<sockaddr*>(&everybody), sizeof everybody) == 0, "connect");
  return fd;
}

/// @return how long it took
double SendAll(int fd, std::uint32_t count) {
  std::vector<std::uint32_t> packet(kPacketBytes / sizeof(std::uint32_t), kMark);
  const auto begin = Clock::now();
  for (std::uint32_t i = 0; i < count; ++i) {
    packet[1] = i;
    Require(send(fd, packet.data(), kPacketBytes, 0) == kPacketBytes, "send");
  }
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// How many of the packets are in the file, each counted once.
std::uint32_t CountKept(std::uint32_t count) {
  char why[PCAP_ERRBUF_SIZE] = "";
  pcap_t* const pcap = pcap_open_offline((std::string(kDirectory) + "/" + kName).c_str(), why);
  if (pcap == nullptr) {
    return 0;
  }
  std::vector<bool> is_kept(count);
  pcap_pkthdr* header = nullptr;
  const unsigned char* bytes = nullptr;
  while (pcap_next_ex(pcap, &header, &bytes) == 1) {
    std::uint32_t words[2] = {};
    if (header->caplen >= kPacketBytes) {
      std::memcpy(words, bytes + header->caplen - kPacketBytes, sizeof words);
    }
    if (words[0] == kMark && words[1] < count) {
      is_kept[words[1]] = true;
    }
  }
  pcap_close(pcap);
  return static_cast<std::uint32_t>(std::count(is_kept.begin(), is_kept.end(), true));
}

struct Contender {
  std::string name;
  std::function<void()> start;  ///< returns when it captures
  std::function<void()> stop;   ///< returns when its file is finished
  std::vector<double> lost;
  std::vector<double> stop_ms;
  std::vector<double> rate;  // packets per second while it captured
};

Contender Pelorus() {
  static std::unique_ptr<PacketCapture> capture;
  return {"pelorus",
          [] {
            capture = PacketCapture::Start(kDirectory, kName, {kLargeFile, 1h});
            Require(capture != nullptr, "capture");
          },
          [] {
            Require(capture->Stop(), "stop");
            capture.reset();
          },
          {},
          {},
          {}};
}

bool IsListening() {
  std::ifstream log(kLog);
  const std::string text{std::istreambuf_iterator<char>(log), {}};
  return text.find("listening on") != std::string::npos;
}

Contender Tcpdump() {
  static pid_t pid = -1;
  return {"tcpdump",
          [] {
            fs::remove(kLog);
            const std::string file = std::string(kDirectory) + "/" + kName;
            const char* const arguments[] = {"tcpdump", "-i", "any",  "-Z", "root",       "-s",
                                             "2048",    "-B", "8192", "-w", file.c_str(), nullptr};
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, kLog, O_WRONLY | O_CREAT, 0600);
            Require(posix_spawnp(&pid, "tcpdump", &actions, nullptr, const_cast<char* const*>(arguments),
                                 environ) == 0,
                    "tcpdump");
            posix_spawn_file_actions_destroy(&actions);
            while (!IsListening()) {
              usleep(10'000);
            }
          },
          [] {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
          },
          {},
          {},
          {}};
}

void Measure(Contender& contender, int sender, std::uint32_t packets) {
  contender.start();
  contender.rate.push_back(packets / SendAll(sender, packets));
  const auto begin = Clock::now();
  contender.stop();
  contender.stop_ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
  contender.lost.push_back(packets - CountKept(packets));
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
  const auto packets = static_cast<std::uint32_t>(argc > 2 ? std::atoi(argv[2]) : 100'000);
  Require(std::system("ip link add wall type veth peer name far && ip link set far up && "
                      "ip link set wall up && ip address add 192.0.2.10/24 brd + dev wall") == 0,
          "a cable");
  sleep(2);  // the kernel sends nothing through a new interface for a moment
  fs::create_directories(kDirectory);
  const int sender = OpenSender();
  std::vector<Contender> contenders;
  contenders.push_back(Pelorus());
  if (std::system("command -v tcpdump >/dev/null") == 0) {
    contenders.push_back(Tcpdump());
  } else {
    std::puts("MISSING: tcpdump (Debian package tcpdump): compared with nothing");
  }
  for (int round = 0; round < rounds; ++round) {
    for (Contender& contender : contenders) {
      Measure(contender, sender, packets);
    }
  }
  report::Heading(("Capture, stopped with the last of " + std::to_string(packets) + " packets, " +
                   std::to_string(rounds) + " rounds")
                      .c_str());
  for (const Contender& contender : contenders) {
    std::printf("  %-8s lost: median %6.0f, most %6.0f   stop %7.1f ms   sent meanwhile %8.0f /s\n",
                contender.name.c_str(), report::Median(contender.lost),
                report::Quantile(contender.lost, 1), report::Median(contender.stop_ms),
                report::Median(contender.rate));
  }
  if (contenders.size() > 1) {
    report::Ratio("stop of a capture", report::Median(contenders[0].stop_ms), "tcpdump",
                  report::Median(contenders[1].stop_ms), "ms");
    report::Ratio("packets per second meanwhile", report::Median(contenders[0].rate), "tcpdump",
                  report::Median(contenders[1].rate), "/s");
  }
  report::Target(report::Quantile(contenders[0].lost, 1) == 0,
                 "a capture misses no packet that was sent before its stop");
  return 0;
}
