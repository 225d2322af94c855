#include "InternetRoom.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Network.h"

namespace {

constexpr char kConfiguration[] = "/run/network.conf";

}  // namespace

InternetRoom::InternetRoom(int interval_seconds) {
  m_internet.emplace(std::vector<std::string>{STUB_INTERNET}, "/run/internet.log");
  if (m_internet->ReadLine() != "ready") {
    std::fprintf(stderr, "no internet: %s\n", m_internet->Log().c_str());
    std::abort();
  }
  network::AddCable("router", "uplink");
  network::MoveTo("router", m_internet->Pid());
  Tell(std::string("serve ") + kRouter + " " + kRouter6);

  std::filesystem::remove("/etc/resolv.conf");  // it may be a link
  std::ofstream("/etc/resolv.conf") << "nameserver " << kRouter << "\n";
  setenv("PELORUS_NETWORK_CONF", kConfiguration, 1);
  Configure(Configuration(interval_seconds));
}

void InternetRoom::Configure(const std::string& text) {
  std::ofstream(kConfiguration) << text;
}

std::string InternetRoom::Configuration(int interval_seconds) {
  return std::string("[InternetProbe]\nAddress=http://") + kServer +
         "/is-it-there?a=%2F\nAnswer=" + kAnswer +
         "\nIntervalSeconds=" + std::to_string(interval_seconds) + "\n";
}

void InternetRoom::Tell(const std::string& command) {
  if (const std::string answer = m_internet->Ask(command); answer != "ok") {
    std::fprintf(stderr, "internet: %s: %s\n", command.c_str(), answer.c_str());
    std::abort();
  }
}

int InternetRoom::Count(int kind) {
  const std::string counts = m_internet->Ask("counts");  // "DNS HTTP"
  return std::atoi(kind == 0 ? counts.c_str() : counts.c_str() + counts.find(' '));
}
