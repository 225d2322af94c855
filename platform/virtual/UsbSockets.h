#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DeliveryLine.h"
#include "NumberedHandles.h"
#include "usb.h"

/// The TV's USB sockets with the sticks in them, and the one who asked to hear of them. Owned by
/// VirtualTv; main-loop thread only.
///
/// A stick is mounted when somebody asks where it is, on a real directory, and what is written there
/// stays when the stick is pulled out: it is the stick's content.
class UsbSockets {
 public:
  struct Stick {
    std::string product;     ///< the name that it gives itself, which tells it from the others; may be
                             ///< empty for one that gives none
    std::string directory;   ///< where it is mounted, made when it is
    bool is_broken = false;  ///< cannot be mounted
    bool is_mounted = false;
    std::uint64_t number = 0;  ///< of all sticks that were ever plugged in
  };

  /// @return false when a stick of that product is there already
  bool Insert(Stick stick);
  /// Pulls it out. @return false when there is none of that product
  bool Remove(const std::string& product);
  /// Somebody takes it out of the tree, and it stays in its socket.
  /// @return false when there is none of that product
  bool Unmount(const std::string& product);
  /// In the order in which they were plugged in.
  [[nodiscard]] const std::vector<Stick>& Sticks() const { return m_sticks; }

  /// Mounts it when it is not. @return null when that fails
  const Stick* Mount(std::uint64_t number);
  /// @return null when it was pulled out; valid until the next change
  [[nodiscard]] const Stick* Find(std::uint64_t number) const;

  /// From now on, until Stop(), sticks that come and go are told.
  void Start() { m_is_started = true; }
  void Stop();
  void SetCallback(usb_connected_cb callback, void* user_data);
  void UnsetCallback() { m_callback = nullptr; }

  /// What handles stand for: the stick of a number; the list of those that were there.
  using Devices = NumberedHandles<usb_device_h, std::uint64_t>;
  using Lists = NumberedHandles<usb_device_list_h, std::vector<usb_device_h>>;
  [[nodiscard]] Devices& GetDevices() { return m_devices; }
  [[nodiscard]] Lists& GetLists() { return m_lists; }

  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  [[nodiscard]] std::vector<Stick>::iterator Of(const std::string& product);
  void Tell(std::uint64_t number, bool is_connected);

  std::vector<Stick> m_sticks;
  std::uint64_t m_given = 0;
  bool m_is_started = false;
  usb_connected_cb m_callback = nullptr;
  void* m_user_data = nullptr;
  std::uint64_t m_event_count = 0;
  std::uint64_t m_last_missed = 0;  // events up to this number happened before the callback was set
  Devices m_devices;
  Lists m_lists;
  DeliveryLine m_line;
};
