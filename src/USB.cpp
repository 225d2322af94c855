#include "USB.h"

#include "Log.h"

USB::USB() {
  NW_LOG("START");
}

USB::~USB() {
  NW_LOG("END");
}

int USB::getNoOfConnectedUSBDevice() {
  const int count = usb_get_connected_device_number(USB_DEVICE_CLASS_MASS_STORAGE);
  NW_LOG("No Of USB Devices Found = %d", count);
  return count;
}

std::string USB::getUSBMountPath() {
  m_device = nullptr;
  if (getNoOfConnectedUSBDevice() <= 0) {
    return "";
  }
  usb_device_list_h list = nullptr;
  if (usb_device_get_device_list(USB_DEVICE_CLASS_MASS_STORAGE, &list) != USB_ERROR_NONE) {
    NW_LOG("Error While Getting USB Device List");
    return "";
  }
  std::string mountPath;
  if (usb_device_list_get_first(list, &m_device) == USB_ERROR_NONE) {
    const char* const path = usb_device_get_mountpath(m_device);
    mountPath = path == nullptr ? "" : path;
    NW_LOG("USB Mount Path = %s", mountPath.c_str());
  }
  usb_device_free_device_list(list);
  return mountPath;
}

void USB::getUSBDeviceName(std::string& name) {
  if (getUSBMountPath().empty() || m_device == nullptr) {
    return;
  }
  if (const char* const product = usb_device_get_product(m_device); product != nullptr) {
    name = product;
  }
}

int USB::UsbDeviceInit() {
  const int result = usb_device_init();
  if (result != USB_ERROR_NONE) {
    NW_LOG("cannot hear of USB devices: %d", result);
  }
  return result;
}

void USB::setUSBConnectedCB(usb_connected_cb callback, void* userData) {
  usb_unset_connected_cb();
  UsbDeviceInit();
  if (const int result = usb_set_connected_cb(callback, userData); result != USB_ERROR_NONE) {
    NW_LOG("cannot tell of USB devices: %d", result);
  }
}

void USB::unsetUSBConnectedCB() {
  usb_unset_connected_cb();
  usb_device_fini();
}
