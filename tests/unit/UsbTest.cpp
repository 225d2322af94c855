// The USB sticks of the TV, as the daemon asks for them.

#include "USB.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

class UsbDevices : public testing::Test {
 protected:
  using Events = std::vector<std::pair<std::string, bool>>;

  void Insert(const char* product, bool is_broken = false) {
    m_sockets.Insert(
        {.product = product, .directory = std::string("/run/") + product, .is_broken = is_broken});
  }
  std::string Name() {
    std::string name = "(untouched)";
    m_usb.getUSBDeviceName(name);
    return name;
  }
  static void Record(usb_device_h device, bool is_connected, void* events) {
    const char* const product = usb_device_get_product(device);
    static_cast<Events*>(events)->emplace_back(product == nullptr ? "" : product, is_connected);
  }

  VirtualTv& m_tv = VirtualTv::Instance();
  UsbSockets& m_sockets = m_tv.GetUsbSockets();
  USB m_usb;
};

TEST_F(UsbDevices, AreCounted) {
  EXPECT_EQ(m_usb.getNoOfConnectedUSBDevice(), 0);
  Insert("one");
  Insert("two");
  EXPECT_EQ(m_usb.getNoOfConnectedUSBDevice(), 2);
  EXPECT_TRUE(test_log::Has("No Of USB Devices Found = 2"));
  EXPECT_EQ(m_tv.Calls("usb_get_connected_device_number").back().arguments,
            std::vector<std::string>{"8"});
}

TEST_F(UsbDevices, AreFoundWhereTheFirstOfThemIs) {
  EXPECT_EQ(m_usb.getUSBMountPath(), "");
  EXPECT_TRUE(m_tv.Calls("usb_device_get_device_list").empty()) << "there is none to ask for";
  Insert("one");
  Insert("two");
  EXPECT_EQ(m_usb.getUSBMountPath(), "/run/one");
  EXPECT_TRUE(test_log::Has("USB Mount Path = /run/one"));
  m_sockets.Remove("one");
  EXPECT_EQ(m_usb.getUSBMountPath(), "/run/two");
  EXPECT_EQ(m_sockets.GetLists().Count(), 0U);
}

TEST_F(UsbDevices, AreCalledByTheFirstOnesName) {
  EXPECT_EQ(Name(), "(untouched)");
  Insert("one");
  EXPECT_EQ(Name(), "one");
  m_tv.Fail("usb_device_get_product", 0);
  EXPECT_EQ(Name(), "(untouched)");
}

TEST_F(UsbDevices, HaveNoNameWhenTheyCannotBeMounted) {
  Insert("one", true);
  EXPECT_EQ(Name(), "(untouched)");
  EXPECT_TRUE(m_tv.Calls("usb_device_get_product").empty());
}

TEST_F(UsbDevices, AreToldWhenTheyComeAndGo) {
  Events events;
  m_usb.setUSBConnectedCB(Record, &events);
  Insert("one");
  m_sockets.Remove("one");
  RunLoopFor(20ms);
  EXPECT_EQ(events, (Events{{"", true}, {"", false}})) << "it was gone when that was told";
  Insert("two");
  RunLoopFor(20ms);
  EXPECT_EQ(events.back(), (Events::value_type{"two", true}));

  Events others;
  m_usb.setUSBConnectedCB(Record, &others);
  m_sockets.Remove("two");
  RunLoopFor(20ms);
  EXPECT_EQ(events.size(), 3U);
  EXPECT_EQ(others.size(), 1U);
  Insert("three");
  m_usb.unsetUSBConnectedCB();
  RunLoopFor(20ms);
  EXPECT_EQ(others.size(), 1U);
}

TEST_F(UsbDevices, ThatCameBeforeAreNotTold) {
  Events events;
  ASSERT_EQ(m_usb.UsbDeviceInit(), USB_ERROR_NONE);
  Insert("one");
  m_usb.setUSBConnectedCB(Record, &events);
  Insert("two");
  RunLoopFor(20ms);
  EXPECT_EQ(events, Events({{"two", true}}));
}

TEST_F(UsbDevices, AreToldOfInAFixedOrder) {
  Events events;
  m_usb.setUSBConnectedCB(Record, &events);
  m_usb.unsetUSBConnectedCB();
  std::vector<std::string> functions;
  for (const auto& call : m_tv.Calls()) {
    functions.push_back(call.function);
  }
  EXPECT_EQ(functions, (std::vector<std::string>{"usb_unset_connected_cb", "usb_device_init",
                                                 "usb_set_connected_cb", "usb_unset_connected_cb",
                                                 "usb_device_fini"}));
}

TEST_F(UsbDevices, ThatCannotBeHeardOfAreLogged) {
  m_tv.Fail("usb_device_init", USB_ERROR_OPERATION_FAILED);
  m_tv.Fail("usb_set_connected_cb", USB_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(m_usb.UsbDeviceInit(), USB_ERROR_OPERATION_FAILED);
  Events events;
  m_usb.setUSBConnectedCB(Record, &events);
  EXPECT_EQ(test_log::Count("cannot hear of USB devices: -1"), 2U);
  EXPECT_EQ(test_log::Count("cannot tell of USB devices: -22"), 1U);
}

}  // namespace
