#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <glib.h>

#include "SettingsFile.h"

/// What has to hold for every input.
inline void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// The settings of this process, in memory where there is such a place: each write is flushed. Include
/// this in one source of a target only.
class FuzzStore {
 public:
  FuzzStore() {
    if (g_file_test("/dev/shm", G_FILE_TEST_IS_DIR)) {
      g_setenv("TMPDIR", "/dev/shm", TRUE);
    }
    g_autofree char* directory = g_dir_make_tmp("pelorus-fuzz-XXXXXX", nullptr);
    Require(directory != nullptr);
    m_directory = directory;
    g_setenv(settings::kDirectoryVariable, directory, TRUE);
  }
  ~FuzzStore() {
    std::error_code error;
    std::filesystem::remove_all(m_directory, error);
  }
  FuzzStore(const FuzzStore&) = delete;
  FuzzStore& operator=(const FuzzStore&) = delete;

 private:
  std::string m_directory;
};

/// Before the daemon's static objects, which look at the settings: where these are is asked once.
__attribute__((init_priority(101))) static const FuzzStore fuzz_store;
