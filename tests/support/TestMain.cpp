#include <cstring>

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

int main(int argc, char** argv) {
  if (!IsListing(argc, argv)) {
    setenv("G_DEBUG", "fatal-criticals", 1);
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
