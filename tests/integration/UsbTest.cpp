#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "BusRoom.h"
#include "DiskStub.h"
#include "MainLoop.h"
#include "platform.h"
#include "usb.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr int kClass = USB_DEVICE_CLASS_MASS_STORAGE;
constexpr int kNone = USB_ERROR_NONE;

/// Longer than the limit of a question, and of all that a mount path takes.
constexpr auto kQuestion = 4s;
constexpr auto kMountPath = 6s;

using Changes = std::vector<std::string>;

std::string Text(const char* text) {
  return text == nullptr ? "null" : text;
}

template <class Function>
std::chrono::steady_clock::duration TimeOf(Function&& function) {
  const auto begin = std::chrono::steady_clock::now();
  function();
  return std::chrono::steady_clock::now() - begin;
}

class Usb : public testing::Test {
 protected:
  void TearDown() override {
    usb_unset_connected_cb();
    usb_device_fini();
    platform_stop();
  }
  void StartService() {
    m_bus.StartBus();
    m_disks.Start();
  }
  /// @return of a list of its own, which has been freed; null when there is none
  static usb_device_h First() {
    usb_device_list_h list = nullptr;
    usb_device_h device = nullptr;
    EXPECT_EQ(usb_device_get_device_list(kClass, &list), kNone);
    const int result = usb_device_list_get_first(list, &device);
    EXPECT_TRUE(device != nullptr ? result == kNone : result == USB_ERROR_NO_SUCH_DEVICE) << result;
    EXPECT_EQ(usb_device_free_device_list(list), kNone);
    return device;
  }
  static int Count() { return usb_get_connected_device_number(kClass); }
  static std::string MountPath() { return Text(usb_device_get_mountpath(First())); }
  static std::string Product() { return Text(usb_device_get_product(First())); }

  BusRoom m_bus;
  DiskStub m_disks;
};

class UsbEvents : public Usb {
 protected:
  static void OnStick(usb_device_h device, bool is_connected, void* self) {
    auto* test = static_cast<UsbEvents*>(self);
    test->m_changes.push_back((is_connected ? "+" : "-") + Text(usb_device_get_product(device)));
    if (test->m_ends_on_event) {
      EXPECT_EQ(usb_device_fini(), kNone);
    }
  }
  void Listen() {
    ASSERT_EQ(usb_device_init(), kNone);
    ASSERT_EQ(usb_set_connected_cb(OnStick, this), kNone);
  }
  void WaitFor(const Changes& expected) {
    RunLoopUntil([&] { return m_changes.size() >= expected.size(); });
    EXPECT_EQ(m_changes, expected);
  }
  static void Settle() { RunLoopFor(300ms); }

  Changes m_changes;
  bool m_ends_on_event = false;
};

}  // namespace

TEST_F(Usb, WithoutABusThereIsNothingAndNobodyWaits) {
  EXPECT_LT(TimeOf([] {
              usb_device_list_h list = nullptr;
              EXPECT_EQ(Count(), 0);
              EXPECT_EQ(usb_device_get_device_list(kClass, &list), USB_ERROR_OPERATION_FAILED);
              EXPECT_EQ(list, nullptr);
              EXPECT_EQ(usb_device_init(), kNone);
            }),
            1s);
}

TEST_F(Usb, WithoutTheServiceThereIsNothingAndTheBusIsAskedToStartIt) {
  m_bus.StartBus();
  EXPECT_LT(TimeOf([] { EXPECT_EQ(Count(), 0); }), 1s);
  EXPECT_TRUE(fs::exists(BusRoom::ActivationMark(BusRoom::kDisks)));
}

TEST_F(Usb, TheStartOfThePlatformAsksNobody) {
  m_bus.StartBus();
  platform_start();
  RunLoopFor(300ms);
  EXPECT_FALSE(fs::exists(BusRoom::ActivationMark(BusRoom::kDisks)));
}

TEST_F(Usb, AStickIsMountedWhenItIsAskedWhereItIs) {
  StartService();
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(First(), nullptr);
  m_disks.Insert("sdb model=Blade vendor=SanDisk");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Product(), "Blade");
  EXPECT_EQ(m_disks.Mounts(), 0);
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
  EXPECT_TRUE(fs::is_directory("/run/media/sdb1"));
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
  EXPECT_EQ(m_disks.Mounts(), 1);
}

TEST_F(Usb, WhatIsMountedAlreadyIsLeftWhereItIs) {
  StartService();
  m_disks.Insert("sdb mounted=/media/stick/");
  EXPECT_EQ(MountPath(), "/media/stick");
  EXPECT_EQ(m_disks.Mounts(), 0);
}

TEST_F(Usb, TheFirstOfTwoIsTheOneThatCameFirst) {
  StartService();
  m_disks.Insert("sdc model=first");
  m_disks.Insert("sdb model=second");
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(Product(), "first");
  m_disks.Remove("sdc");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Product(), "second");
  m_disks.Insert("sdc model=first");
  EXPECT_EQ(Product(), "second");
}

TEST_F(Usb, WhatIsNoStickDoesNotCount) {
  StartService();
  m_disks.Insert("sda bus=sata mounted=/");
  m_disks.Insert("sdb fixed");
  m_disks.Insert("sdc partitions=0");
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(First(), nullptr);
}

TEST_F(Usb, AStickWithPartitionsIsOneAndItsFirstThatCanBeMountedCounts) {
  StartService();
  m_disks.Insert("sdb partitions=3 unmountable=1");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(MountPath(), "/run/media/sdb2");
  EXPECT_EQ(m_disks.Mounts(), 2);
}

TEST_F(Usb, AStickThatCannotBeMountedIsNowhere) {
  StartService();
  m_disks.Insert("sdb model=Broken unmountable=1");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(MountPath(), "null");
  EXPECT_EQ(Product(), "Broken");
}

TEST_F(Usb, AStickWithoutANameHasNone) {
  StartService();
  m_disks.Insert("sdb");
  EXPECT_EQ(Product(), "null");
}

TEST_F(Usb, AStickThatWasPulledOutIsNowhere) {
  StartService();
  m_disks.Insert("sdb model=Blade");
  const usb_device_h device = First();
  m_disks.Remove("sdb");
  EXPECT_EQ(usb_device_get_mountpath(device), nullptr);
  EXPECT_EQ(usb_device_get_product(device), nullptr);
  m_disks.Insert("sdb model=Blade");  // plugged in again it is another
  EXPECT_EQ(usb_device_get_mountpath(device), nullptr);
  EXPECT_EQ(m_disks.Mounts(), 0);
}

TEST_F(Usb, ADeviceLivesUntilTheNextList) {
  StartService();
  m_disks.Insert("sdb model=Blade");
  const usb_device_h device = First();
  EXPECT_EQ(Text(usb_device_get_product(device)), "Blade");
  EXPECT_EQ(Product(), "Blade");
  EXPECT_EQ(usb_device_get_product(device), nullptr);
  EXPECT_EQ(usb_device_get_mountpath(device), nullptr);
}

TEST_F(Usb, WrongArgumentsAreRefused) {
  StartService();
  m_disks.Insert("sdb");
  usb_device_list_h list = nullptr;
  usb_device_h device = nullptr;
  EXPECT_EQ(usb_get_connected_device_number(3), 0);
  EXPECT_EQ(usb_device_get_device_list(kClass, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_list_get_first(nullptr, &device), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_free_device_list(nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_set_connected_cb(nullptr, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_get_mountpath(nullptr), nullptr);
  EXPECT_EQ(usb_device_get_product(nullptr), nullptr);
  ASSERT_EQ(usb_device_get_device_list(3, &list), kNone);
  EXPECT_EQ(usb_device_list_get_first(list, nullptr), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_NO_SUCH_DEVICE);
  EXPECT_EQ(device, nullptr);
  EXPECT_EQ(usb_device_free_device_list(list), kNone);
  EXPECT_EQ(usb_device_free_device_list(list), USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(usb_device_list_get_first(list, &device), USB_ERROR_INVALID_PARAMETER);
}

TEST_F(Usb, AQuestionThatIsNotAnsweredEnds) {
  StartService();
  m_disks.Insert("sdb");
  m_disks.Answer("never");
  EXPECT_LT(TimeOf([] { EXPECT_EQ(Count(), 0); }), kQuestion);
  m_disks.Answer("normally");
  EXPECT_EQ(Count(), 1);
}

TEST_F(Usb, AMountThatIsNotAnsweredEnds) {
  StartService();
  m_disks.Insert("sdb partitions=5");
  const usb_device_h device = First();
  m_disks.Answer("never Mount");
  EXPECT_LT(TimeOf([&] { EXPECT_EQ(usb_device_get_mountpath(device), nullptr); }), kMountPath);
  m_disks.Answer("normally");
  EXPECT_EQ(Text(usb_device_get_mountpath(device)), "/run/media/sdb1");
}

TEST_F(Usb, AMountThatMakesNoSenseIsNone) {
  StartService();
  m_disks.Insert("sdb");
  for (const char* how : {"error Mount", "nonsense Mount"}) {
    m_disks.Answer(how);
    EXPECT_EQ(MountPath(), "null") << how;
  }
  m_disks.Answer("death Mount");
  EXPECT_LT(TimeOf([] { EXPECT_EQ(MountPath(), "null"); }), 2s);
}

TEST_F(Usb, AStickThatSomebodyElseMountsMeanwhileIsWhereTheyMountIt) {
  StartService();
  m_disks.Insert("sdb taken");
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
  EXPECT_EQ(m_disks.Mounts(), 1);
}

TEST_F(Usb, WhatMakesNoSenseIsNothing) {
  StartService();
  m_disks.Insert("sdb");
  const usb_device_h device = First();
  for (const char* how : {"error", "nonsense"}) {
    m_disks.Answer(how);
    usb_device_list_h list = nullptr;
    EXPECT_EQ(Count(), 0) << how;
    EXPECT_EQ(usb_device_get_device_list(kClass, &list), USB_ERROR_OPERATION_FAILED) << how;
  }
  m_disks.Answer("normally");
  EXPECT_EQ(usb_device_get_mountpath(device), nullptr) << "of a list that was to be replaced";
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
}

TEST_F(Usb, AServiceThatDiesInACallIsAStateAndItsSuccessorWorks) {
  StartService();
  m_disks.Insert("sdb");
  m_disks.Answer("death");
  EXPECT_LT(TimeOf([] { EXPECT_EQ(Count(), 0); }), 2s);
  m_disks.Start();
  EXPECT_EQ(Count(), 0);
  m_disks.Insert("sdb");
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
}

TEST_F(Usb, ABusThatDiesIsAStateAndItsSuccessorWorks) {
  StartService();
  for (int i = 0; i < 5; ++i) {
    m_disks.Insert("sdb");
    EXPECT_EQ(Count(), 1);
    m_bus.CrashBus();
    EXPECT_LT(TimeOf([] { EXPECT_EQ(Count(), 0); }), 2s);
    StartService();
  }
}

TEST_F(Usb, TheMainLoopStandsStillDuringAQuestion) {
  StartService();
  bool is_run = false;
  const guint source = g_idle_add_full(
      G_PRIORITY_HIGH,
      [](gpointer is_run) -> gboolean {
        *static_cast<bool*>(is_run) = true;
        return G_SOURCE_CONTINUE;
      },
      &is_run, nullptr);
  EXPECT_EQ(Count(), 0);
  m_disks.Insert("sdb");
  EXPECT_EQ(MountPath(), "/run/media/sdb1");
  EXPECT_FALSE(is_run);
  g_source_remove(source);
}

TEST_F(UsbEvents, EachStickIsToldWhenItComesAndGoes) {
  StartService();
  Listen();
  Changes expected;
  for (int i = 0; i < 10; ++i) {
    m_disks.Insert("sdb model=Blade");
    expected.emplace_back("+Blade");
    WaitFor(expected);
    m_disks.Remove("sdb");
    expected.emplace_back("-null");
    WaitFor(expected);
  }
  Settle();
  EXPECT_EQ(m_changes, expected);
}

TEST_F(UsbEvents, WhatHappensFasterThanTheLoopRunsIsToldOneByOne) {
  StartService();
  Listen();
  Settle();
  for (int i = 0; i < 10; ++i) {
    m_disks.Insert("sdb");
    m_disks.Remove("sdb");
  }
  RunLoopUntil([&] { return m_changes.size() >= 20; });
  Settle();
  ASSERT_EQ(m_changes.size(), 20u);
  for (std::size_t i = 0; i < m_changes.size(); ++i) {
    EXPECT_EQ(m_changes[i].front(), i % 2 == 0 ? '+' : '-');
  }
}

TEST_F(UsbEvents, SticksThatAreThereAreNoEvent) {
  StartService();
  m_disks.Insert("sdb model=Blade");
  ASSERT_EQ(usb_device_init(), kNone);
  Settle();
  m_disks.Insert("sdc");  // before the callback is set, and the loop has not run since
  m_disks.Insert("sdd");
  ASSERT_EQ(usb_set_connected_cb(OnStick, this), kNone);
  Settle();
  EXPECT_EQ(m_changes, Changes{});
  m_disks.Remove("sdb");
  WaitFor({"-null"});
}

TEST_F(UsbEvents, WhatIsNoStickIsNoEvent) {
  StartService();
  Listen();
  m_disks.Insert("sda bus=sata");
  m_disks.Insert("sdb partitions=0");
  m_disks.Remove("sda");
  m_disks.Remove("sdb");
  Settle();
  EXPECT_EQ(m_changes, Changes{});
}

TEST_F(UsbEvents, NothingIsToldAfterTheEnd) {
  StartService();
  Listen();
  Settle();
  m_disks.Insert("sdb");
  m_disks.Insert("sdc");
  m_ends_on_event = true;
  WaitFor({"+null"});
  Settle();
  EXPECT_EQ(m_changes.size(), 1u);
  Listen();
  m_ends_on_event = false;
  Settle();
  EXPECT_EQ(m_changes.size(), 1u);
  m_disks.Remove("sdc");
  WaitFor({"+null", "-null"});
  ASSERT_EQ(usb_unset_connected_cb(), kNone);
  m_disks.Insert("sdc");
  Settle();
  EXPECT_EQ(m_changes.size(), 2u);
}

TEST_F(UsbEvents, ASecondCallbackReplacesTheFirst) {
  StartService();
  Listen();
  int others = 0;
  const auto count = [](usb_device_h, bool, void* others) { ++*static_cast<int*>(others); };
  ASSERT_EQ(usb_set_connected_cb(count, &others), kNone);
  m_disks.Insert("sdb");
  RunLoopUntil([&] { return others == 1; });
  EXPECT_EQ(others, 1);
  EXPECT_EQ(m_changes, Changes{});
}

TEST_F(UsbEvents, TheDeviceOfAnEventCanBeAskedWhereItIs) {
  StartService();
  ASSERT_EQ(usb_device_init(), kNone);
  std::string path;
  const auto mount = [](usb_device_h device, bool, void* path) {
    *static_cast<std::string*>(path) = Text(usb_device_get_mountpath(device));
  };
  ASSERT_EQ(usb_set_connected_cb(mount, &path), kNone);
  m_disks.Insert("sdb");
  RunLoopUntil([&] { return !path.empty(); });
  EXPECT_EQ(path, "/run/media/sdb1");
}

TEST_F(UsbEvents, AServiceThatDiesSaysNothingAboutTheSticks) {
  StartService();
  Listen();
  m_disks.Insert("sdb model=Blade");
  WaitFor({"+Blade"});
  m_disks.Stop();
  Settle();
  EXPECT_EQ(m_changes, Changes{"+Blade"});
  m_disks.Start();  // and the stick was pulled out meanwhile
  WaitFor({"+Blade", "-null"});
  m_disks.Insert("sdc model=Other");
  WaitFor({"+Blade", "-null", "+Other"});
}

TEST_F(UsbEvents, ABusThatAppearsLaterIsTakenUp) {
  Listen();
  Settle();
  StartService();
  m_disks.Insert("sdb model=Blade");
  WaitFor({"+Blade"});
  m_bus.CrashBus();
  Settle();
  StartService();
  WaitFor({"+Blade", "-null"});
}
