#include "usb.h"

#include <string>
#include <vector>

#include "CallGate.h"
#include "DiskService.h"
#include "NumberedHandles.h"
#include "StickWatch.h"
#include "call_guarded.h"

namespace {

struct Handles {
  NumberedHandles<usb_device_h, UsbSticks::Stick> devices;
  NumberedHandles<usb_device_list_h, std::vector<usb_device_h>> lists;
  usb_connected_cb callback = nullptr;
  void* user_data = nullptr;
};

Handles& All() {
  static auto* const handles = new Handles;
  return *handles;
}

/// What is lent to the caller, until the same function is called again.
const char* Lend(std::string& shelf, std::string text) {
  shelf = std::move(text);
  return shelf.empty() ? nullptr : shelf.c_str();
}

void OnStick(const UsbSticks::Stick& stick, bool is_connected) {
  if (const usb_connected_cb callback = All().callback; callback != nullptr) {
    const usb_device_h device = All().devices.Add(stick);
    CallGuarded([&] { callback(device, is_connected, All().user_data); });
  }
}

}  // namespace

int usb_get_connected_device_number(int device_class) {
  if (const auto refusal = call_gate::Refusal("usb_get_connected_device_number", device_class)) {
    return *refusal;
  }
  if (device_class != USB_DEVICE_CLASS_MASS_STORAGE) {
    return 0;
  }
  const auto sticks = DiskService::Instance().Sticks();
  return sticks ? static_cast<int>(sticks->size()) : 0;
}

int usb_device_get_device_list(int device_class, usb_device_list_h* list) {
  if (const auto refusal = call_gate::Refusal("usb_device_get_device_list", device_class)) {
    return *refusal;
  }
  if (list == nullptr) {
    return USB_ERROR_INVALID_PARAMETER;
  }
  All().devices.Clear();
  std::vector<usb_device_h> devices;
  if (device_class == USB_DEVICE_CLASS_MASS_STORAGE) {
    const auto sticks = DiskService::Instance().Sticks();
    if (!sticks) {
      return USB_ERROR_OPERATION_FAILED;
    }
    for (const UsbSticks::Stick& stick : *sticks) {
      devices.push_back(All().devices.Add(stick));
    }
  }
  *list = All().lists.Add(std::move(devices));
  return USB_ERROR_NONE;
}

int usb_device_list_get_first(usb_device_list_h list, usb_device_h* device) {
  if (const auto refusal = call_gate::Refusal("usb_device_list_get_first")) {
    return *refusal;
  }
  const std::vector<usb_device_h>* const devices = All().lists.Find(list);
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
  if (const auto refusal = call_gate::Refusal("usb_device_free_device_list")) {
    return *refusal;
  }
  return All().lists.Remove(list) ? USB_ERROR_NONE : USB_ERROR_INVALID_PARAMETER;
}

const char* usb_device_get_mountpath(usb_device_h device) {
  static auto* const shelf = new std::string;
  if (call_gate::Refusal("usb_device_get_mountpath")) {
    return nullptr;
  }
  const UsbSticks::Stick* const stick = All().devices.Find(device);
  return stick != nullptr ? Lend(*shelf, DiskService::Instance().MountPath(*stick)) : nullptr;
}

const char* usb_device_get_product(usb_device_h device) {
  static auto* const shelf = new std::string;
  if (call_gate::Refusal("usb_device_get_product")) {
    return nullptr;
  }
  const UsbSticks::Stick* const wanted = All().devices.Find(device);
  if (wanted == nullptr) {
    return nullptr;
  }
  const auto sticks = DiskService::Instance().Sticks();
  const UsbSticks::Stick* const stick = sticks ? FindStick(*sticks, *wanted) : nullptr;
  return stick != nullptr ? Lend(*shelf, stick->product) : nullptr;
}

int usb_device_init() {
  if (const auto refusal = call_gate::Refusal("usb_device_init")) {
    return *refusal;
  }
  StickWatch::Instance().Start(OnStick);
  return USB_ERROR_NONE;
}

int usb_device_fini() {
  if (const auto refusal = call_gate::Refusal("usb_device_fini")) {
    return *refusal;
  }
  StickWatch::Instance().Stop();
  return USB_ERROR_NONE;
}

int usb_set_connected_cb(usb_connected_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("usb_set_connected_cb")) {
    return *refusal;
  }
  if (callback == nullptr) {
    return USB_ERROR_INVALID_PARAMETER;
  }
  All().callback = callback;
  All().user_data = user_data;
  StickWatch::Instance().Begin();
  return USB_ERROR_NONE;
}

int usb_unset_connected_cb() {
  if (const auto refusal = call_gate::Refusal("usb_unset_connected_cb")) {
    return *refusal;
  }
  All().callback = nullptr;
  return USB_ERROR_NONE;
}
