#pragma once

#include <string>

#include "usb.h"

/// The mass-storage devices in the TV's USB sockets. Only the first one counts, which is the one that
/// was plugged in first. Owned by TCPDumpHandler; main-loop thread only.
class USB {
 public:
  /// Both leave a line in the log: it is the first of the objects that exist before main(), and the last
  /// that ends.
  USB();
  ~USB();
  USB(const USB&) = delete;
  USB& operator=(const USB&) = delete;

  int getNoOfConnectedUSBDevice();

  /// Where the first device is in the tree, and holds that device. It is mounted when it was not.
  /// @return empty when there is none, or it cannot be mounted
  std::string getUSBMountPath();

  /// @param name  out: what the first device calls itself; untouched when there is none, or it has no
  ///              name or cannot be mounted
  void getUSBDeviceName(std::string& name);

  /// @return a usb_error_e
  int UsbDeviceInit();

  /// Tells of each device that comes and goes from now on, until unsetUSBConnectedCB(); what was set
  /// before is replaced.
  /// @param userData  borrowed until then
  void setUSBConnectedCB(usb_connected_cb callback, void* userData);
  void unsetUSBConnectedCB();

 private:
  usb_device_h m_device = nullptr;  // by the last question for a mount path; lent by the platform
};
