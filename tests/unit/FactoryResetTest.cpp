#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "FailingDisk.h"
#include "MainLoop.h"
#include "NW_Common.h"
#include "Privileges.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;

namespace {

constexpr char kShare[] = "/home/owner/share/";
constexpr char kRoot[] = "/home/owner/share/Root/";
constexpr char kClient[] = "/home/owner/share/Client/";

class FactoryReset : public testing::Test {
 protected:
  FactoryReset() {
    vconf_set_str(vconf_keys::kSavedAPList, "[1]");
    vconf_set_str(vconf_keys::kTopSavedAP, "[2]");
    registerPowerCallback(true);
    RunLoopOnce();
  }

  static void Install(const fs::path& directory) {
    fs::create_directories(directory / "sub" / "deeper");
    std::ofstream(directory / "a.pem") << "certificate";
    std::ofstream(directory / "sub" / "deeper" / "b.pem") << "certificate";
  }

  static void Change(int value) {
    vconf_set_int(vconf_keys::kFactoryReset, value);
    RunLoopOnce();
  }

  static std::string Stored(const char* key) {
    const HeapString value(vconf_get_str(key));
    return value == nullptr ? "(none)" : value.get();
  }
};

TEST_F(FactoryReset, AChangeToZeroRemovesTheCertificatesAndKeepsTheSavedNetworks) {
  Install(kRoot);
  Install(kClient);
  Change(0);
  EXPECT_FALSE(fs::exists(kRoot));
  EXPECT_FALSE(fs::exists(kClient));
  EXPECT_TRUE(test_log::Has("SetwellDaemon::power_off_clb"));
  EXPECT_EQ(test_log::Count("RemoveCertificateDir start"), 2U);
  EXPECT_EQ(test_log::Count("Folder exist"), 2U);
  EXPECT_EQ(test_log::Count("Sync success /home/owner/share/"), 1U);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "[1]");
  EXPECT_EQ(Stored(vconf_keys::kTopSavedAP), "[2]");
}

TEST_F(FactoryReset, AResetWithoutCertificatesForgetsTheSavedNetworksAndSyncsNothing) {
  Change(1);
  EXPECT_FALSE(test_log::Has("Folder exist"));
  EXPECT_FALSE(test_log::Has("Sync success /home/owner/share/"));
  EXPECT_TRUE(test_log::Has("POWER_OFF_REASON_FACTORY_RESET OR MENU RESET"));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "");
  EXPECT_EQ(Stored(vconf_keys::kTopSavedAP), "");
}

TEST_F(FactoryReset, OneCertificateDirectoryIsEnoughToSync) {
  Install(kRoot);
  Change(2);
  EXPECT_FALSE(fs::exists(kRoot));
  EXPECT_EQ(test_log::Count("Sync success /home/owner/share/"), 1U);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "");
}

TEST_F(FactoryReset, TheClientDirectoryGoesBeforeTheRootDirectory) {
  Install(kRoot);
  fs::remove_all(kClient);
  Change(0);
  // Only the second of the two walks found a directory.
  const auto messages = test_log::Messages();
  const auto folder = std::ranges::find(messages, "Folder exist");
  EXPECT_EQ(std::count(messages.begin(), folder, "RemoveCertificateDir start"), 2);
}

TEST_F(FactoryReset, ANegativeValueIsNoReset) {
  Change(-1);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "[1]");
}

TEST_F(FactoryReset, AValueThatCannotBeReadLeavesTheSavedNetworksAndSaysSoInTheSystemBuffer) {
  Install(kRoot);
  vconf_set_str(vconf_keys::kFactoryReset, "yes");
  RunLoopOnce();
  EXPECT_FALSE(fs::exists(kRoot)) << "certificates go before the value is looked at";
  const auto lines = test_log::Lines();
  EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
    return line.starts_with("(system)NW_Common.cpp: power_state_changed_cb(") &&
           line.ends_with("db/was/factory_reset Read Failed");
  }));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "[1]");
}

TEST_F(FactoryReset, SymbolicLinksAreRemovedAndNotFollowed) {
  fs::create_directories("/home/owner/elsewhere");
  std::ofstream("/home/owner/elsewhere/kept") << "kept";
  fs::create_directories(kClient);
  fs::create_directory_symlink("/home/owner/elsewhere", fs::path(kClient) / "link");
  Change(0);
  EXPECT_FALSE(fs::exists(kClient));
  EXPECT_TRUE(fs::exists("/home/owner/elsewhere/kept"));
}

TEST_F(FactoryReset, ADirectoryThatIsALinkItselfIsRemovedAndNotFollowed) {
  fs::create_directories("/home/owner/elsewhere");
  std::ofstream("/home/owner/elsewhere/kept") << "kept";
  fs::create_directory_symlink("/home/owner/elsewhere", "/home/owner/share/Root");
  Change(0);
  EXPECT_FALSE(fs::is_symlink("/home/owner/share/Root"));
  EXPECT_TRUE(fs::exists("/home/owner/elsewhere/kept"));
}

TEST_F(FactoryReset, ALinkInPlaceOfADirectoryLeadsNowhereWhateverItIs) {
  Install("/home/owner/elsewhere");
  for (const char* target : {"/home/owner/elsewhere", "/home/owner/elsewhere/a.pem",
                             "/home/owner/nothing", "/home/owner/share/Root"}) {
    fs::create_directories(kShare);
    fs::remove("/home/owner/share/Root");
    fs::create_symlink(target, "/home/owner/share/Root");
    Change(0);
    EXPECT_TRUE(fs::exists("/home/owner/elsewhere/a.pem")) << target;
    EXPECT_TRUE(fs::exists("/home/owner/elsewhere/sub/deeper/b.pem")) << target;
  }
}

TEST_F(FactoryReset, WhatMayNotBeRemovedStaysAndTheResetGoesOn) {
  Install(kRoot);
  Install(kClient);
  fs::permissions(std::string(kClient) + "sub", fs::perms::none);
  GiveUpPrivileges();
  Change(1);
  fs::permissions(std::string(kClient) + "sub", fs::perms::owner_all);
  EXPECT_TRUE(fs::exists(std::string(kClient) + "sub/deeper/b.pem"));
  EXPECT_FALSE(fs::exists(kRoot));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "");
}

TEST_F(FactoryReset, AParentThatCannotBeOpenedIsOnlyLogged) {
  Install(kRoot);
  g_opendir_error = EMFILE;
  Change(1);
  g_opendir_error = 0;
  EXPECT_TRUE(test_log::Has("Directory {/home/owner/share/} cannot be opened. Error (24) "));
  EXPECT_FALSE(test_log::Has("Sync success /home/owner/share/"));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "");
}

TEST_F(FactoryReset, AParentThatCannotBeSyncedIsOnlyLogged) {
  Install(kRoot);
  g_fsync_fails = true;
  Change(1);
  g_fsync_fails = false;
  EXPECT_TRUE(test_log::Has("Could not fsync(/home/owner/share/), result -1"));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "");
}

TEST_F(FactoryReset, IsNotHeardAfterDeregistration) {
  Install(kRoot);
  registerPowerCallback(false);
  EXPECT_TRUE(test_log::Has("bRegister = 1"));
  EXPECT_TRUE(test_log::Has("bRegister = 0"));
  Change(1);
  EXPECT_TRUE(fs::exists(kRoot));
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), "[1]");
}

TEST(RemoveCertificateDir, IsFalseForAFileAndForNothing) {
  std::ofstream("/home/owner/share/file") << "x";
  EXPECT_FALSE(RemoveCertificateDir("/home/owner/share/file"));
  EXPECT_FALSE(RemoveCertificateDir("/home/owner/share/nothing"));
  EXPECT_TRUE(fs::exists("/home/owner/share/file"));
}

}  // namespace
