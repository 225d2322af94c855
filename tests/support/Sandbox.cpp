#include "Sandbox.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sched.h>
#include <sys/mount.h>

namespace fs = std::filesystem;

namespace {

void Require(bool done, const std::string& what) {
  if (!done) {
    std::fprintf(stderr, "sandbox: %s: %s (run the tests as root, or through ./dev test)\n",
                 what.c_str(), std::strerror(errno));
    std::exit(1);
  }
}

void Overlay(const std::string& directory, const std::string& layers) {
  const std::string upper = layers + directory + "/upper";
  const std::string work = layers + directory + "/work";
  fs::create_directories(upper);
  fs::create_directories(work);
  const std::string options = "lowerdir=" + directory + ",upperdir=" + upper + ",workdir=" + work;
  Require(mount("overlay", directory.c_str(), "overlay", 0, options.c_str()) == 0,
          "overlay on " + directory);
}

}  // namespace

namespace sandbox {

void Enter() {
  Require(unshare(CLONE_NEWNS) == 0, "private mounts");
  Require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
  Require(mount("tmpfs", "/run", "tmpfs", 0, "mode=0755") == 0, "/run");
  for (const char* directory : {"/usr", "/opt", "/home", "/var/lib", "/etc"}) {
    Overlay(directory, "/run/.layers");
  }
  for (const char* installed : {"/var/lib/pelorus", "/etc/pelorus"}) {
    fs::remove_all(installed);  // from the layer: a daemon of this machine is no part of a test
  }
  fs::create_directories("/home/owner/share");
  fs::create_directories("/opt/usr/data");
  fs::create_directories("/run/systemd/journal");
  fs::create_directories(fs::path(kNotificationProgram).parent_path());
}

void InstallPopupRecorder() {
  fs::copy_file(POPUP_RECORDER, kNotificationProgram, fs::copy_options::overwrite_existing);
}

void InstallSoftapManagerRecorder() {
  fs::copy_file(POPUP_RECORDER, kSoftapManagerProgram, fs::copy_options::overwrite_existing);
}

}  // namespace sandbox
