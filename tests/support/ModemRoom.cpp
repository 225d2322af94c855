#include "ModemRoom.h"

#include <signal.h>

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
