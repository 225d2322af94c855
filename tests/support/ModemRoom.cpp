#include "ModemRoom.h"

#include <signal.h>

void ModemRoom::StartService() {
  StartServiceThat("normally");
}

void ModemRoom::StartServiceThat(const std::string& answer) {
  m_service.emplace(std::vector<std::string>{STUB_MODEM_MANAGER, answer}, "/run/modem-manager.log");
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

void ModemRoom::Answer(const std::string& how) {
  m_service->Ask("answers " + how);
}
