#include "usb.h"

// No stick is ever there.

int usb_get_connected_device_number(int /*device_class*/) {
  return 0;
}

int usb_device_get_device_list(int /*device_class*/, usb_device_list_h* /*list*/) {
  return USB_ERROR_OPERATION_FAILED;
}

int usb_device_list_get_first(usb_device_list_h /*list*/, usb_device_h* /*device*/) {
  return USB_ERROR_INVALID_PARAMETER;
}

int usb_device_free_device_list(usb_device_list_h /*list*/) {
  return USB_ERROR_INVALID_PARAMETER;
}

const char* usb_device_get_mountpath(usb_device_h /*device*/) {
  return nullptr;
}

const char* usb_device_get_product(usb_device_h /*device*/) {
  return nullptr;
}

int usb_device_init() {
  return USB_ERROR_OPERATION_FAILED;
}

int usb_device_fini() {
  return USB_ERROR_NONE;
}

int usb_set_connected_cb(usb_connected_cb /*callback*/, void* /*user_data*/) {
  return USB_ERROR_INVALID_PARAMETER;
}

int usb_unset_connected_cb() {
  return USB_ERROR_NONE;
}
