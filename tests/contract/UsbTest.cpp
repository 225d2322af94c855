#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SettingsFile.h"
#include "UsbRoom.h"
#include "platform.h"
#include "usb.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMassStorage = USB_DEVICE_CLASS_MASS_STORAGE;
constexpr int kKeyboards = 3;

std::string TextOf(const char* text) {
  return text == nullptr ? "(null)" : text;
}
std::string ProductOf(usb_device_h device) {
  return TextOf(usb_device_get_product(device));
}
std::string MountPathOf(usb_device_h device) {
  return TextOf(usb_device_get_mountpath(device));
}

/// Who hears of sticks. What is said of a stick is its name and whether it came.
struct User {
  std::vector<std::string> heard;
  bool ends_on_event = false;

  void Listen() { ASSERT_EQ(usb_set_connected_cb(OnStick, this), USB_ERROR_NONE); }
  static void OnStick(usb_device_h device, bool is_connected, void* self) {
    auto* const user = static_cast<User*>(self);
    user->heard.push_back(ProductOf(device) + (is_connected ? " came" : " went"));
    if (user->ends_on_event) {
      EXPECT_EQ(usb_unset_connected_cb(), USB_ERROR_NONE);
    }
  }
};
using Heard = std::vector<std::string>;

/// A started platform and its sockets.
class Usb : public testing::Test {
 protected:
  void SetUp() override {
    setenv(settings::kDirectoryVariable, "/run/settings", 1);
    m_room = UsbRoom::Enter();
    ASSERT_EQ(platform_start(), 0);
  }
  void TearDown() override {
    EXPECT_EQ(usb_unset_connected_cb(), USB_ERROR_NONE);
    EXPECT_EQ(usb_device_fini(), USB_ERROR_NONE);
    platform_stop();
  }

  void Settle() { RunLoopFor(m_room->Settling()); }
  /// Puts a stick in, and returns when the platform knows of it.
  void Insert(const std::string& product, bool is_broken = false) {
    const int before = usb_get_connected_device_number(kMassStorage);
    m_room->Insert({product, is_broken});
    RunLoopUntil([=] { return usb_get_connected_device_number(kMassStorage) == before + 1; });
  }
  void Remove(const std::string& product) {
    const int before = usb_get_connected_device_number(kMassStorage);
    m_room->Remove(product);
    RunLoopUntil([=] { return usb_get_connected_device_number(kMassStorage) == before - 1; });
  }
  /// Null when there is none.
  static usb_device_h First() {
    usb_device_list_h list = nullptr;
    EXPECT_EQ(usb_device_get_device_list(kMassStorage, &list), USB_ERROR_NONE);
    usb_device_h device = nullptr;
    usb_device_list_get_first(list, &device);
    EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_NONE);
    return device;
  }

  User m_user;
  std::unique_ptr<UsbRoom> m_room;
};

}  // namespace

// Without a stick there is a list, with nothing in it.
// Fails: a backend that calls that an error, or that hands out a device which is none.
TEST_F(Usb, WithoutAStickTheListIsEmpty) {
  EXPECT_EQ(usb_get_connected_device_number(kMassStorage), 0);
  usb_device_list_h list = nullptr;
  ASSERT_EQ(usb_device_get_device_list(kMassStorage, &list), USB_ERROR_NONE);
  ASSERT_NE(list, nullptr);
  usb_device_h device = nullptr;
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_NO_SUCH_DEVICE);
  EXPECT_EQ(device, nullptr);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_NONE);
}

// A stick is no keyboard.
// Fails: a backend that does not look at the class.
TEST_F(Usb, OtherClassesHaveNoStick) {
  Insert("Blue");
  EXPECT_EQ(usb_get_connected_device_number(kKeyboards), 0);
  EXPECT_EQ(usb_get_connected_device_number(-1), 0);
  usb_device_list_h list = nullptr;
  ASSERT_EQ(usb_device_get_device_list(kKeyboards, &list), USB_ERROR_NONE);
  usb_device_h device = nullptr;
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_NO_SUCH_DEVICE);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_NONE);
}

// The first of the list is the stick that has been in its socket longest.
// Fails: a backend that sorts by name, or puts a stick that comes in front.
TEST_F(Usb, TheFirstIsTheOneThatCameFirst) {
  Insert("Yellow");
  Insert("Blue");
  EXPECT_EQ(ProductOf(First()), "Yellow");
  Remove("Yellow");
  EXPECT_EQ(ProductOf(First()), "Blue");
  Insert("Yellow");
  EXPECT_EQ(ProductOf(First()), "Blue");
}

// A stick that nobody has mounted is mounted for the one who asks.
// Fails: a backend that has no path for it, or one with a slash at its end.
TEST_F(Usb, AStickIsMountedWhenItIsAskedFor) {
  Insert("Blue");
  const std::string path = MountPathOf(First());
  EXPECT_TRUE(path.starts_with('/')) << path;
  EXPECT_FALSE(path.ends_with('/')) << path;
  EXPECT_TRUE(fs::is_directory(fs::symlink_status(path))) << path;
  std::ofstream(path + "/note") << "hello";
  EXPECT_TRUE(fs::exists(path + "/note"));
  EXPECT_EQ(MountPathOf(First()), path);
}

// A stick that cannot be mounted has no path, and is a stick all the same.
// Fails: a backend that answers with an empty text, or leaves the stick out of the list.
TEST_F(Usb, AStickThatCannotBeMountedHasNoPath) {
  Insert("Blue", true);
  EXPECT_EQ(MountPathOf(First()), "(null)");
  EXPECT_EQ(ProductOf(First()), "Blue");
}

// A device may be asked after its list has been freed.
// Fails: a backend whose devices end with the list.
TEST_F(Usb, ADeviceOutlivesItsList) {
  Insert("Blue");
  const usb_device_h device = First();
  EXPECT_EQ(ProductOf(device), "Blue");
  EXPECT_NE(MountPathOf(device), "(null)");
}

// A stick that was pulled out answers nothing, also when another one has come.
// Fails: a backend that keeps what it knew, or that takes the next stick for it.
TEST_F(Usb, AStickThatWasPulledOutAnswersNothing) {
  Insert("Blue");
  const usb_device_h device = First();
  Remove("Blue");
  Insert("Yellow");
  EXPECT_EQ(ProductOf(device), "(null)");
  EXPECT_EQ(MountPathOf(device), "(null)");
}

// A list that has begun before a stick came does not have it.
// Fails: a backend whose lists change under their reader.
TEST_F(Usb, AListIsOfItsMoment) {
  usb_device_list_h list = nullptr;
  ASSERT_EQ(usb_device_get_device_list(kMassStorage, &list), USB_ERROR_NONE);
  Insert("Blue");
  usb_device_h device = nullptr;
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_NO_SUCH_DEVICE);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_NONE);
}

// What is no list, no device or no place for an answer is refused.
// Fails: a backend that reads through it.
TEST_F(Usb, WhatIsNoneIsRefused) {
  usb_device_h device = nullptr;
  EXPECT_EQ(usb_device_get_device_list(kMassStorage, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_list_get_first(nullptr, &device), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_free_device_list(nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_set_connected_cb(nullptr, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_get_mountpath(nullptr), nullptr);
  EXPECT_EQ(usb_device_get_product(nullptr), nullptr);

  Insert("Blue");
  usb_device_list_h list = nullptr;
  ASSERT_EQ(usb_device_get_device_list(kMassStorage, &list), USB_ERROR_NONE);
  EXPECT_EQ(usb_device_list_get_first(list, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_NONE);
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_INVALID_PARAMETER);
}

// Who listens hears of what happens from then on.
// Fails: a backend that reports what was there, twice, or late by one.
TEST_F(Usb, SticksThatComeAndGoAreTold) {
  Insert("Blue");
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  m_user.Listen();
  Settle();
  EXPECT_EQ(m_user.heard, Heard{});
  Insert("Yellow");
  Settle();
  EXPECT_EQ(m_user.heard, Heard{"Yellow came"});
  Remove("Blue");
  Settle();
  EXPECT_EQ(m_user.heard, (Heard{"Yellow came", "(null) went"}));
}

// There is one who listens.
// Fails: a backend that tells all who ever did.
TEST_F(Usb, ASecondListenerTakesThePlaceOfTheFirst) {
  User other;
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  m_user.Listen();
  other.Listen();
  Insert("Blue");
  Settle();
  EXPECT_EQ(m_user.heard, Heard{});
  EXPECT_EQ(other.heard, Heard{"Blue came"});
}

// Who does not want to hear more hears no more, also when he says so while he is told.
// Fails: a backend that tells what was under way.
TEST_F(Usb, WhoEndsHearsNoMore) {
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  m_user.Listen();
  m_user.ends_on_event = true;
  m_room->Insert({"Blue"});
  m_room->Insert({"Yellow"});
  Settle();
  EXPECT_EQ(m_user.heard, Heard{"Blue came"});

  m_user.ends_on_event = false;
  m_user.Listen();
  m_room->Remove("Blue");
  EXPECT_EQ(usb_device_fini(), USB_ERROR_NONE);
  Settle();
  EXPECT_EQ(m_user.heard, Heard{"Blue came"});
  EXPECT_EQ(usb_device_fini(), USB_ERROR_NONE) << "there is nothing to end";
}

// To begin twice is to begin.
// Fails: a backend that tells each stick once for each beginning.
TEST_F(Usb, BeginningTwiceTellsOnce) {
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  ASSERT_EQ(usb_device_init(), USB_ERROR_NONE);
  m_user.Listen();
  Insert("Blue");
  Settle();
  EXPECT_EQ(m_user.heard, Heard{"Blue came"});
}
