#pragma once

/// The USB device interface. Main-loop thread only; the callback is delivered there. The questions may
/// wait for a service, a few seconds at most.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  USB_ERROR_NONE = 0,
  USB_ERROR_INVALID_PARAMETER = -22,  ///< null out parameter or callback, or a handle that is not one
  USB_ERROR_OPERATION_FAILED = -1,    ///< the service behind the interface cannot do it now
  USB_ERROR_NO_SUCH_DEVICE = -19,     ///< the list is empty
} usb_error_e;

/// A class of USB devices, with its number in the USB standard.
typedef enum {
  USB_DEVICE_CLASS_MASS_STORAGE = 8,  ///< sticks and disks
} usb_device_class_e;

/// A device of a list. Valid until the next usb_device_get_device_list(), also when its list has been
/// freed: what a stick that was pulled out is asked for is answered with null.
typedef struct usb_device_handle_s* usb_device_h;

/// The devices that were connected when it was made, in the order in which they were plugged in.
typedef struct usb_device_list_handle_s* usb_device_list_h;

/// @return how many devices of the class are connected; 0 also for a class that the platform does not
/// know
///         and when they cannot be counted
int usb_get_connected_device_number(int device_class);

/// @param list  out: ends with usb_device_free_device_list(); untouched on failure
/// @return USB_ERROR_NONE, also for an empty list, USB_ERROR_INVALID_PARAMETER or
/// USB_ERROR_OPERATION_FAILED
int usb_device_get_device_list(int device_class, usb_device_list_h* list);

/// @param device  out: borrowed; untouched on failure
/// @return USB_ERROR_NONE, USB_ERROR_INVALID_PARAMETER or USB_ERROR_NO_SUCH_DEVICE
int usb_device_list_get_first(usb_device_list_h list, usb_device_h* device);

/// @return USB_ERROR_NONE or USB_ERROR_INVALID_PARAMETER
int usb_device_free_device_list(usb_device_list_h list);

/// Where the device's file system is in the tree: a directory and no link to one, without a slash at its
/// end. A device that is not mounted is mounted first.
/// @return borrowed, valid until the next call of this function; null when the device cannot be mounted,
/// has
///         no file system or is gone
const char* usb_device_get_mountpath(usb_device_h device);

/// @return the name that the device gives itself, such as "Cruzer Blade"; borrowed, valid until the next
/// call
///         of this function; null when it gives none or is gone
const char* usb_device_get_product(usb_device_h device);

/// Called for each mass-storage device that is connected (true) or disconnected (false) from then on.
/// The devices found when the callback was set are no event.
typedef void (*usb_connected_cb)(usb_device_h device, bool connected, void* user_data);

/// Makes connections known to the callback. May be called again.
/// @return USB_ERROR_NONE or USB_ERROR_OPERATION_FAILED
int usb_device_init(void);

/// Ends what usb_device_init() began: no callback is called after this returns. Without a beginning it
/// does nothing.
/// @return USB_ERROR_NONE
int usb_device_fini(void);

/// Sets the process's one callback; a second call replaces it. Called while usb_device_init() holds.
/// @param user_data  borrowed until the callback is unset or replaced
/// @return USB_ERROR_NONE or USB_ERROR_INVALID_PARAMETER
int usb_set_connected_cb(usb_connected_cb callback, void* user_data);

/// @return USB_ERROR_NONE, also when none was set
int usb_unset_connected_cb(void);

#ifdef __cplusplus
}
#endif
