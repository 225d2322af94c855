#include "Contract.h"
#include "package_manager.h"
#include "sound_manager.h"

namespace {
class PackagesTest : public Contract {};
class SoundTest : public Contract {};
}  // namespace

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
