#include "ModemRoom.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr char kConfiguration[] = "/run/bus.conf";
constexpr char kServices[] = "/run/bus-services";

/// The bus knows how to start the service, so that a test can see that nobody asks for it.
void WriteConfiguration() {
  fs::create_directories(kServices);
  std::ofstream(std::string(kServices) + "/org.freedesktop.ModemManager1.service")
      << "[D-BUS Service]\nName=org.freedesktop.ModemManager1\nExec=/usr/bin/touch "
      << ModemRoom::kActivationMark << "\n";
  std::ofstream(kConfiguration) << R"(<busconfig>
  <type>session</type>
  <listen>unix:path=)" << ModemRoom::kSocket
                                << R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" << kServices << R"(</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

}  // namespace

ModemRoom::ModemRoom() {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", (std::string("unix:path=") + kSocket).c_str(), 1);
  WriteConfiguration();
}

void ModemRoom::StartBus() {
  fs::create_directories(fs::path(kSocket).parent_path());
  m_bus.emplace(std::vector<std::string>{"dbus-daemon", std::string("--config-file=") + kConfiguration,
                                         "--nofork", "--nopidfile", "--print-address=1"},
                "/run/bus.log");
  m_bus->ReadLine();  // its address, once it listens
}

void ModemRoom::CrashBus() {
  m_bus->End(SIGKILL);
}

void ModemRoom::StartService() {
  m_service.emplace(std::vector<std::string>{STUB_MODEM_MANAGER}, "/run/modem-manager.log");
  m_service->ReadLine();
}

void ModemRoom::StopService() {
  m_service->End(SIGKILL);
}

void ModemRoom::InsertDongle() {
  m_service->Ask("insert");
}

void ModemRoom::RemoveDongle() {
  m_service->Ask("remove");
}
