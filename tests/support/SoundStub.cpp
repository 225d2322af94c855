#include "SoundStub.h"

#include <filesystem>

#include <signal.h>

void SoundStub::Start(const std::string& socket) {
  std::filesystem::create_directories(std::filesystem::path(socket).parent_path());
  m_server.emplace(std::vector<std::string>{STUB_SOUND_SERVER, socket}, "/run/sound-server.log");
  m_server->ReadLine();
}

void SoundStub::Kill() {
  m_server->End(SIGKILL);
}
