#include "DaemonProgram.h"

#include "MainLoop.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace daemon_program {

std::unique_ptr<Program> Start(const char* path) {
  // The last step of the start sequence writes this key.
  vconf_set_int(vconf_keys::kNetworkAppStatus, -1);
  auto program = std::make_unique<Program>(std::vector<std::string>{path}, kLog);
  RunLoopUntil([] {
    int status = -1;
    return vconf_get_int(vconf_keys::kNetworkAppStatus, &status) == VCONF_OK && status == 0;
  });
  return program;
}

}  // namespace daemon_program
