#include "UsbSockets.h"

#include <algorithm>
#include <utility>

#include <glib.h>
#include <glib/gstdio.h>

#include "call_guarded.h"

std::vector<UsbSockets::Stick>::iterator UsbSockets::Of(const std::string& product) {
  return std::ranges::find(m_sticks, product, &Stick::product);
}

bool UsbSockets::Insert(Stick stick) {
  if (Of(stick.product) != m_sticks.end()) {
    return false;
  }
  stick.number = ++m_given;
  m_sticks.push_back(std::move(stick));
  Tell(m_given, true);
  return true;
}

bool UsbSockets::Remove(const std::string& product) {
  const auto stick = Of(product);
  if (stick == m_sticks.end()) {
    return false;
  }
  const std::uint64_t number = stick->number;
  m_sticks.erase(stick);
  Tell(number, false);
  return true;
}

bool UsbSockets::Unmount(const std::string& product) {
  const auto stick = Of(product);
  if (stick == m_sticks.end()) {
    return false;
  }
  stick->is_mounted = false;
  return true;
}

const UsbSockets::Stick* UsbSockets::Mount(std::uint64_t number) {
  const auto stick = std::ranges::find(m_sticks, number, &Stick::number);
  if (stick == m_sticks.end()) {
    return nullptr;
  }
  constexpr int kEverybody = 0777;
  if (!stick->is_mounted) {
    stick->is_mounted =
        !stick->is_broken && g_mkdir_with_parents(stick->directory.c_str(), kEverybody) == 0;
  }
  return stick->is_mounted ? &*stick : nullptr;
}

const UsbSockets::Stick* UsbSockets::Find(std::uint64_t number) const {
  const auto stick = std::ranges::find(m_sticks, number, &Stick::number);
  return stick == m_sticks.end() ? nullptr : &*stick;
}

void UsbSockets::Stop() {
  m_is_started = false;
  m_line.Clear();
}

void UsbSockets::SetCallback(usb_connected_cb callback, void* user_data) {
  m_callback = callback;
  m_user_data = user_data;
  m_last_missed = m_event_count;
}

void UsbSockets::Tell(std::uint64_t number, bool is_connected) {
  if (!m_is_started) {
    return;
  }
  m_line.Send([this, number, is_connected, event = ++m_event_count] {
    if (m_callback != nullptr && event > m_last_missed) {
      const usb_device_h device = m_devices.Add(number);
      CallGuarded([&] { m_callback(device, is_connected, m_user_data); });
    }
  });
}
