#include "UsbSticks.h"

#include <gtest/gtest.h>

namespace {

using Paths = std::vector<std::string>;

/// What the service says, in GVariant's text.
UsbSticks Parse(const std::string& objects) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) variant =
      g_variant_parse(G_VARIANT_TYPE("a{oa{sa{sv}}}"), objects.c_str(), nullptr, nullptr, &error);
  if (variant == nullptr) {
    ADD_FAILURE() << error->message;
    return {};
  }
  return UsbSticks(variant);
}

std::string Drive(const std::string& name, const std::string& properties) {
  return "'/drives/" + name + "': {'org.freedesktop.UDisks2.Drive': " + properties + "}";
}

std::string Usb(const std::string& more = "") {
  return "{'ConnectionBus': <'usb'>, 'Removable': <true>" + more + "}";
}

std::string FileSystem(const std::string& name, const std::string& drive,
                       const std::string& points = "<@aay []>", const std::string& more = "") {
  return "'/block/" + name + "': {'org.freedesktop.UDisks2.Block': {'Drive': <objectpath '/drives/" +
         drive + "'>" + more + "}, 'org.freedesktop.UDisks2.Filesystem': {'MountPoints': " + points +
         "}}";
}

Paths MountPointsOf(const std::string& points) {
  const auto sticks = Parse("{" + Drive("a", Usb()) + "," + FileSystem("sda1", "a", points) + "}").All();
  return sticks.size() == 1 ? sticks[0].file_systems.at(0).mount_points : Paths{"no stick"};
}

std::string ProductOf(const std::string& more) {
  const auto sticks = Parse("{" + Drive("a", Usb(more)) + "," + FileSystem("sda1", "a") + "}").All();
  return sticks.size() == 1 ? sticks[0].product : "no stick";
}

std::size_t CountWith(const std::string& drive_properties) {
  return Parse("{" + Drive("a", drive_properties) + "," + FileSystem("sda1", "a") + "}").All().size();
}

}  // namespace

TEST(UsbSticks, OfNothingAreNone) {
  EXPECT_TRUE(UsbSticks().All().empty());
  EXPECT_TRUE(Parse("{}").All().empty());
}

TEST(UsbSticks, AreTheRemovableDrivesOnUsb) {
  EXPECT_EQ(CountWith(Usb()), 1u);
  EXPECT_EQ(CountWith("{'ConnectionBus': <'usb'>, 'Removable': <false>}"), 0u);
  EXPECT_EQ(CountWith("{'ConnectionBus': <'sdio'>, 'Removable': <true>}"), 0u);
  EXPECT_EQ(CountWith("{'ConnectionBus': <''>, 'Removable': <true>}"), 0u);
  EXPECT_EQ(CountWith("{'Removable': <true>}"), 0u);
  EXPECT_EQ(CountWith("@a{sv} {}"), 0u);
}

TEST(UsbSticks, WhatHasAnotherTypeIsNotThere) {
  EXPECT_EQ(CountWith("{'ConnectionBus': <5>, 'Removable': <true>}"), 0u);
  EXPECT_EQ(CountWith("{'ConnectionBus': <'usb'>, 'Removable': <'yes'>}"), 0u);
  EXPECT_EQ(CountWith(Usb(", 'TimeDetected': <'noon'>, 'Model': <7>")), 1u);
  EXPECT_EQ(ProductOf(", 'Model': <7>"), "");
  EXPECT_EQ(MountPointsOf("<'/media/a'>"), Paths{});
  EXPECT_EQ(MountPointsOf("<['/media/a']>"), Paths{});
  EXPECT_EQ(MountPointsOf("<@aay [[0x2f, 0x61]]>"), Paths{}) << "without its end";
  EXPECT_TRUE(Parse("{" + Drive("a", Usb()) +
                    ", '/block/sda1': {'org.freedesktop.UDisks2.Block': {'Drive': <'/drives/a'>}, "
                    "'org.freedesktop.UDisks2.Filesystem': @a{sv} {}}}")
                  .All()
                  .empty());
}

TEST(UsbSticks, WithoutAFileSystemItIsNone) {
  EXPECT_TRUE(Parse("{" + Drive("a", Usb()) + "}").All().empty());
  EXPECT_TRUE(Parse("{" + Drive("a", Usb()) +
                    ", '/block/sda': {'org.freedesktop.UDisks2.Block': {'Drive': <objectpath "
                    "'/drives/a'>}}}")
                  .All()
                  .empty());
  EXPECT_TRUE(Parse("{" + Drive("a", Usb()) + "," + FileSystem("sda1", "another") + "}").All().empty());
}

TEST(UsbSticks, APartitionThatNobodyShallSeeIsNone) {
  EXPECT_TRUE(Parse("{" + Drive("a", Usb()) + "," +
                    FileSystem("sda1", "a", "<@aay []>", ", 'HintIgnore': <true>") + "}")
                  .All()
                  .empty());
}

TEST(UsbSticks, MountPointsAreAbsoluteAndEndWithoutASlash) {
  EXPECT_EQ(MountPointsOf("<[b'/media/a']>"), Paths{"/media/a"});
  EXPECT_EQ(MountPointsOf("<[b'/media/a/', b'/mnt//']>"), (Paths{"/media/a", "/mnt"}));
  EXPECT_EQ(MountPointsOf("<[b'', b'media', b'/', b'/media/a']>"), Paths{"/media/a"});
}

TEST(UsbSticks, TheNameIsTheModelElseTheVendor) {
  EXPECT_EQ(ProductOf(", 'Vendor': <'SanDisk'>, 'Model': <'Cruzer Blade'>"), "Cruzer Blade");
  EXPECT_EQ(ProductOf(", 'Vendor': <'SanDisk'>, 'Model': <''>"), "SanDisk");
  EXPECT_EQ(ProductOf(", 'Model': <' Blade  '>"), "Blade");
  EXPECT_EQ(ProductOf(""), "");
}

TEST(UsbSticks, StandInTheOrderInWhichTheyCame) {
  const auto sticks =
      Parse("{" + Drive("a", Usb(", 'TimeDetected': <uint64 30>")) + "," +
            Drive("b", Usb(", 'TimeDetected': <uint64 10>")) + "," +
            Drive("c", Usb(", 'TimeDetected': <uint64 20>")) + "," + FileSystem("sda1", "a") + "," +
            FileSystem("sdb1", "b") + "," + FileSystem("sdc1", "c") + "}")
          .All();
  ASSERT_EQ(sticks.size(), 3u);
  EXPECT_EQ(sticks[0].drive, "/drives/b");
  EXPECT_EQ(sticks[1].drive, "/drives/c");
  EXPECT_EQ(sticks[2].drive, "/drives/a");
}

TEST(UsbSticks, PartitionsStandInTheOrderOfTheirNumbers) {
  const auto sticks = Parse("{" + Drive("a", Usb()) + "," + FileSystem("sda10", "a") + "," +
                            FileSystem("sda2", "a") + "," + FileSystem("sda1", "a") + "}")
                          .All();
  ASSERT_EQ(sticks.size(), 1u);
  Paths partitions;
  for (const auto& file_system : sticks[0].file_systems) {
    partitions.push_back(file_system.object);
  }
  EXPECT_EQ(partitions, (Paths{"/block/sda1", "/block/sda2", "/block/sda10"}));
}

TEST(UsbSticks, InterfacesComeAndGo) {
  UsbSticks sticks = Parse("{" + Drive("a", Usb()) + "," + FileSystem("sda1", "a") + "}");
  const UsbSticks::Stick before = sticks.All().at(0);
  g_autoptr(GVariant) lost =
      g_variant_ref_sink(g_variant_new_parsed("['org.freedesktop.UDisks2.Filesystem']"));
  sticks.Remove("/block/sda2", lost);
  sticks.Remove("/block/sda1", lost);
  EXPECT_TRUE(sticks.All().empty());
  g_autoptr(GVariant) won = g_variant_ref_sink(
      g_variant_new_parsed("{'org.freedesktop.UDisks2.Filesystem': @a{sv} {}, 'other': {}}"));
  sticks.Add("/block/sda1", won);
  EXPECT_NE(FindStick(sticks.All(), before), nullptr);
}

TEST(UsbSticks, AStickThatIsPluggedInAgainIsAnother) {
  const auto stick = [](const char* since) {
    return Parse("{" + Drive("a", Usb(std::string(", 'TimeDetected': <uint64 ") + since + ">")) + "," +
                 FileSystem("sda1", "a") + "}")
        .All();
  };
  EXPECT_NE(FindStick(stick("1"), stick("1").at(0)), nullptr);
  EXPECT_EQ(FindStick(stick("2"), stick("1").at(0)), nullptr);
}
