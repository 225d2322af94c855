#include "DiskStub.h"

#include <signal.h>

void DiskStub::Start() {
  m_service.emplace(std::vector<std::string>{STUB_UDISKS}, "/run/udisks.log");
  m_service->ReadLine();
}

void DiskStub::Stop() {
  m_service->End(SIGKILL);
}

void DiskStub::Insert(const std::string& stick) {
  m_service->Ask("insert " + stick);
}

void DiskStub::Remove(const std::string& name) {
  m_service->Ask("remove " + name);
}

void DiskStub::Answer(const std::string& how) {
  m_service->Ask("answers " + how);
}

int DiskStub::Mounts() {
  return std::stoi(m_service->Ask("mounts"));
}
