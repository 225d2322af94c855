#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "package_manager.h"

namespace fs = std::filesystem;

namespace {

constexpr char kId[] = "org.orvik.browser";
constexpr char kProgram[] = "Type=Application\nName=Browser\nExec=/bin/true %u\n";

bool IsInstalled(const char* id) {
  package_info_h info = nullptr;
  const int result = package_manager_get_package_info(id, &info);
  if (result != PACKAGE_MANAGER_ERROR_NONE) {
    EXPECT_EQ(result, PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    EXPECT_EQ(info, nullptr);
    return false;
  }
  EXPECT_EQ(package_info_destroy(info), PACKAGE_MANAGER_ERROR_NONE);
  return true;
}

/// A machine whose data directories are of the test's own.
class Packages : public testing::Test {
 protected:
  void SetUp() override {
    setenv("XDG_DATA_HOME", "/run/home", 1);
    setenv("XDG_DATA_DIRS", "/run/local:/run/system", 1);
    for (const char* directory : {"/run/home", "/run/local", "/run/system"}) {
      fs::create_directories(fs::path(directory) / "applications");
    }
  }
  /// @param entry  what stands in the file's group
  static void Write(const fs::path& file, const std::string& entry) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "[Desktop Entry]\n" << entry;
  }
};

}  // namespace

TEST_F(Packages, AnApplicationOfAnyDataDirectoryIsInstalled) {
  Write("/run/home/applications/org.example.a.desktop", kProgram);
  Write("/run/local/applications/org.example.b.desktop", kProgram);
  Write("/run/system/applications/org.example.c.desktop", kProgram);
  Write("/run/system/applications/example/d.desktop", kProgram);
  Write("/run/elsewhere/applications/org.example.e.desktop", kProgram);
  EXPECT_TRUE(IsInstalled("org.example.a"));
  EXPECT_TRUE(IsInstalled("org.example.b"));
  EXPECT_TRUE(IsInstalled("org.example.c"));
  EXPECT_TRUE(IsInstalled("example-d"));  // a directory is a part of the id
  EXPECT_FALSE(IsInstalled("org.example.e"));
}

TEST_F(Packages, ALinkGivesAnotherBrowserTheIdThatIsAskedFor) {
  Write("/run/system/applications/some-browser.desktop", kProgram);
  EXPECT_FALSE(IsInstalled(kId));
  fs::create_symlink("/run/system/applications/some-browser.desktop",
                     fs::path("/run/local/applications") / (std::string(kId) + ".desktop"));
  RunLoopUntil([] { return IsInstalled(kId); });
  fs::remove("/run/system/applications/some-browser.desktop");
  RunLoopUntil([] { return !IsInstalled(kId); });
}

TEST_F(Packages, WhatCannotBeStartedIsNotInstalled) {
  const std::string file = std::string("/run/system/applications/") + kId + ".desktop";
  for (const char* entry :
       {"", "nonsense\n", "Type=Link\nName=Browser\nURL=http://192.0.2.1/\n",
        "Type=Application\nName=Browser\nExec=/run/no/such/program\n",
        "Type=Application\nName=Browser\nExec=/bin/true\nTryExec=/run/no/such/program\n",
        "Type=Application\nName=Browser\nExec=/bin/true\nHidden=true\n"}) {
    Write(file, entry);
    EXPECT_FALSE(IsInstalled(kId)) << entry;
  }
  Write(file, kProgram);
  EXPECT_TRUE(IsInstalled(kId));
  fs::remove(file);
  fs::create_directories(file);
  EXPECT_FALSE(IsInstalled(kId));
}

TEST_F(Packages, AnEntryOfTheAdministratorHidesTheOneThatCameWithTheSystem) {
  Write("/run/system/applications/org.example.a.desktop", kProgram);
  Write("/run/local/applications/org.example.a.desktop", std::string(kProgram) + "Hidden=true\n");
  EXPECT_FALSE(IsInstalled("org.example.a"));
}

TEST_F(Packages, AnIdIsNoPath) {
  Write("/run/system/outside.desktop", kProgram);
  Write("/run/system/applications/.desktop", kProgram);
  Write("/run/system/applications/inside/a.desktop", kProgram);
  for (const char* id :
       {"", ".", "/", "../outside", "/run/system/outside", "inside/a", "%s%n", "a\nb", "\xff\xfe"}) {
    EXPECT_FALSE(IsInstalled(id)) << id;
  }
  EXPECT_FALSE(IsInstalled(std::string(100000, 'a').c_str()));
  EXPECT_TRUE(IsInstalled("inside-a"));
}

TEST_F(Packages, DataDirectoriesThatComeLaterAreSeen) {
  fs::remove_all("/run/local");
  fs::remove_all("/run/system");
  EXPECT_FALSE(IsInstalled(kId));
  Write(fs::path("/run/system/applications") / (std::string(kId) + ".desktop"), kProgram);
  RunLoopUntil([] { return IsInstalled(kId); });
  fs::remove_all("/run/system");
  RunLoopUntil([] { return !IsInstalled(kId); });
}
