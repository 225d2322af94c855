#include "Contract.h"
#include "package_manager.h"
#include "sound_manager.h"

namespace {

class PackagesTest : public Contract {
 protected:
  static constexpr char kId[] = "org.example.viewer";

  /// @return null when it is not installed
  static package_info_h Info() {
    package_info_h info = nullptr;
    const int result = package_manager_get_package_info(kId, &info);
    EXPECT_EQ(result,
              info != nullptr ? PACKAGE_MANAGER_ERROR_NONE : PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    return info;
  }
  static bool IsInstalled() {
    const package_info_h info = Info();
    return info != nullptr && package_info_destroy(info) == PACKAGE_MANAGER_ERROR_NONE;
  }
};

class SoundTest : public Contract {};

}  // namespace

// What is installed and removed while the platform is at work is there, and is not there any more.
// Fails: a backend that reads the list of packages once.
TEST_F(PackagesTest, WhatIsInstalledIsThereUntilItIsRemoved) {
  EXPECT_FALSE(IsInstalled());
  for (int i = 0; i < 3; ++i) {
    m_room->InstallApplication(kId);
    RunLoopUntil(IsInstalled);
    m_room->RemoveApplication(kId);
    RunLoopUntil([] { return !IsInstalled(); });
  }
}

// A handle ends once, and what is known by it does not end with another.
// Fails: a backend that hands out the same object twice, or frees what it is given.
TEST_F(PackagesTest, AHandleEndsOnce) {
  m_room->InstallApplication(kId);
  RunLoopUntil(IsInstalled);
  const package_info_h first = Info();
  const package_info_h second = Info();
  EXPECT_NE(first, second);
  EXPECT_EQ(package_info_destroy(first), PACKAGE_MANAGER_ERROR_NONE);
  EXPECT_EQ(package_info_destroy(first), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_info_destroy(second), PACKAGE_MANAGER_ERROR_NONE);
}

// What nobody installed is not there, and the out parameter stays as it was.
// Fails: a backend that writes null for what it did not find.
TEST_F(PackagesTest, WhatIsNotInstalledIsNotThere) {
  auto* const before = reinterpret_cast<package_info_h>(0x70);
  package_info_h info = before;
  EXPECT_EQ(package_manager_get_package_info("org.example.nobody-made-this", &info),
            PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  EXPECT_EQ(package_manager_get_package_info("", &info), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  EXPECT_EQ(info, before);
}

// Null arguments, and what was never given out, are refused.
// Fails: a backend that reads through the pointer before it looks at it.
TEST_F(PackagesTest, WrongArgumentsAreRefused) {
  package_info_h info = nullptr;
  EXPECT_EQ(package_manager_get_package_info(nullptr, &info), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_manager_get_package_info("org.orvik.browser", nullptr),
            PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(package_info_destroy(nullptr), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
}

// The selection is told, or the platform says that it does not know; a null pointer is refused.
// Fails: a backend that answers success with a number of its own when nobody told it one.
TEST_F(SoundTest, TheSelectionIsToldOrNotKnown) {
  EXPECT_EQ(sound_manager_get_speaker_selection(nullptr), SOUND_MANAGER_ERROR_INVALID_PARAMETER);
  constexpr int kUntouched = -77;
  int selection = kUntouched;
  const int result = sound_manager_get_speaker_selection(&selection);
  if (result == SOUND_MANAGER_ERROR_NONE) {
    EXPECT_GE(selection, 0);
  } else {
    EXPECT_EQ(result, SOUND_MANAGER_ERROR_INTERNAL);
    EXPECT_EQ(selection, kUntouched);
  }
}
