#include "AuroraMode.h"

#include <cstdio>
#include <fstream>

#include <unistd.h>

#include "Log.h"
#include "NW_Common.h"

namespace {

constexpr char kMarker[] = "/home/owner/share/wifi_mode";

void Create() {
  NW_LOG("Creating file wifi_mode");
  const std::ofstream marker(kMarker);
  if (!marker.is_open()) {
    NW_LOG_SYSTEM("Fail to open file");
  }
}

void Remove() {
  NW_LOG("removing wifi_mode  file ");
  if (std::remove(kMarker) != 0) {
    NW_LOG_SYSTEM("Fail to remove file wifi_mode");
  }
}

}  // namespace

void CAuroraMode::HandleAuroraFile() {
  const eNetworkType type = GetCurrentNetworkType();
  const bool exists = IsExistFilePath(kMarker);
  if (type == eNetworkTypeWireless) {
    if (exists) {
      NW_LOG("Create:: file wifi_mode already exist");
    } else {
      Create();
    }
  } else if (exists) {
    Remove();
  } else {
    NW_LOG("Destroy::file wifi_mode does not exist");
  }
}

bool CAuroraMode::IsExistFilePath(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0) {
    NW_LOG_SYSTEM("cannot access to %s ---> false", path.c_str());
    return false;
  }
  return true;
}
