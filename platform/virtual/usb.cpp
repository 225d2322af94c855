#include "usb.h"

#include <string>
#include <vector>

#include "CallGate.h"
#include "UsbSockets.h"
#include "VirtualTv.h"

namespace {

/// What is lent to the caller, until the same function is called again.
const char* Lend(std::string& shelf, const std::string& text) {
  shelf = text;
  return shelf.c_str();
}

const UsbSockets::Stick* StickOf(UsbSockets& sockets, usb_device_h device) {
  const std::uint64_t* const number = sockets.GetDevices().Find(device);
  return number == nullptr ? nullptr : sockets.Find(*number);
}

}  // namespace

int usb_get_connected_device_number(int device_class) {
  const UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_get_connected_device_number", device_class)) {
    return *refusal;
  }
  return device_class == USB_DEVICE_CLASS_MASS_STORAGE ? static_cast<int>(sockets.Sticks().size()) : 0;
}

int usb_device_get_device_list(int device_class, usb_device_list_h* list) {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_device_get_device_list", device_class)) {
    return *refusal;
  }
  if (list == nullptr) {
    return USB_ERROR_INVALID_PARAMETER;
  }
  sockets.GetDevices().Clear();
  std::vector<usb_device_h> devices;
  if (device_class == USB_DEVICE_CLASS_MASS_STORAGE) {
    for (const UsbSockets::Stick& stick : sockets.Sticks()) {
      devices.push_back(sockets.GetDevices().Add(stick.number));
    }
  }
  *list = sockets.GetLists().Add(std::move(devices));
  return USB_ERROR_NONE;
}

int usb_device_list_get_first(usb_device_list_h list, usb_device_h* device) {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_device_list_get_first")) {
    return *refusal;
  }
  const std::vector<usb_device_h>* const devices = sockets.GetLists().Find(list);
  if (devices == nullptr || device == nullptr) {
    return USB_ERROR_INVALID_PARAMETER;
  }
  if (devices->empty()) {
    return USB_ERROR_NO_SUCH_DEVICE;
  }
  *device = devices->front();
  return USB_ERROR_NONE;
}

int usb_device_free_device_list(usb_device_list_h list) {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_device_free_device_list")) {
    return *refusal;
  }
  return sockets.GetLists().Remove(list) ? USB_ERROR_NONE : USB_ERROR_INVALID_PARAMETER;
}

const char* usb_device_get_mountpath(usb_device_h device) {
  static std::string shelf;
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (call_gate::Refusal("usb_device_get_mountpath")) {
    return nullptr;
  }
  const UsbSockets::Stick* const stick = StickOf(sockets, device);
  const bool is_mounted = stick != nullptr && sockets.Mount(stick->number) != nullptr;
  return is_mounted ? Lend(shelf, stick->directory) : nullptr;
}

const char* usb_device_get_product(usb_device_h device) {
  static std::string shelf;
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (call_gate::Refusal("usb_device_get_product")) {
    return nullptr;
  }
  const UsbSockets::Stick* const stick = StickOf(sockets, device);
  return stick != nullptr && !stick->product.empty() ? Lend(shelf, stick->product) : nullptr;
}

int usb_device_init() {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_device_init")) {
    return *refusal;
  }
  sockets.Start();
  return USB_ERROR_NONE;
}

int usb_device_fini() {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_device_fini")) {
    return *refusal;
  }
  sockets.Stop();
  return USB_ERROR_NONE;
}

int usb_set_connected_cb(usb_connected_cb callback, void* user_data) {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_set_connected_cb")) {
    return *refusal;
  }
  if (callback == nullptr) {
    return USB_ERROR_INVALID_PARAMETER;
  }
  sockets.SetCallback(callback, user_data);
  return USB_ERROR_NONE;
}

int usb_unset_connected_cb() {
  UsbSockets& sockets = VirtualTv::Instance().GetUsbSockets();
  if (const auto refusal = call_gate::Refusal("usb_unset_connected_cb")) {
    return *refusal;
  }
  sockets.UnsetCallback();
  return USB_ERROR_NONE;
}
