#include <cstring>

#include <glib.h>
#include <gtest/gtest.h>

#include "Sandbox.h"
#include "TestLog.h"

namespace {

bool IsListing(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--gtest_list_tests", 18) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

#ifdef __SANITIZE_THREAD__
// GLib's own locks are futexes, which ThreadSanitizer does not see: what GLib does inside looks like
// races.
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libglib-2.0.so\n";
}
#endif

int main(int argc, char** argv) {
  if (!IsListing(argc, argv)) {
    // GLib has read G_DEBUG before main() runs.
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
    sandbox::Enter();
    sandbox::InstallPopupRecorder();
    test_log::Start();
  }
  testing::InitGoogleTest(&argc, argv);
  const int result = RUN_ALL_TESTS();
  if (result != 0) {
    test_log::Dump();
  }
  return result;
}
