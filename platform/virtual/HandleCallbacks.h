#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ListenerList.h"
#include "call_guarded.h"
#include "net_connection.h"

/// The callbacks of one kind, at most one for each connection handle, and the count of their events: an
/// event is told to the callbacks that were there when it happened. Main-loop thread only.
template <class Callback>
class HandleCallbacks {
 public:
  /// A second callback of the same handle takes the place of the first, and hears of what is under way.
  void Set(connection_h handle, Callback callback, void* user_data) {
    bool is_replaced = false;
    m_entries.ForEach([&](const std::shared_ptr<Entry>& entry) {
      if (entry->handle == handle) {
        entry->callback = callback;
        entry->user_data = user_data;
        is_replaced = true;
      }
    });
    if (!is_replaced) {
      m_entries.Add(std::make_shared<Entry>(Entry{handle, callback, user_data, m_event_count}));
    }
  }

  void Remove(connection_h handle) {
    m_entries.RemoveIf(
        [handle](const std::shared_ptr<Entry>& entry) { return entry->handle == handle; });
  }

  [[nodiscard]] std::size_t Count() const { return m_entries.Count(); }

  /// Something happens now.
  /// @return the event's number
  std::uint64_t NewEvent() { return ++m_event_count; }

  /// @param tell  called with each callback and its user data
  /// @param only  a handle that alone is told; null: all are
  template <class Tell>
  void Deliver(std::uint64_t event, Tell&& tell, connection_h only = nullptr) const {
    m_entries.ForEach([&](const std::shared_ptr<Entry>& entry) {
      if (entry->last_missed >= event || (only != nullptr && only != entry->handle)) {
        return;
      }
      CallGuarded([&] { tell(entry->callback, entry->user_data); });
    });
  }

 private:
  struct Entry {
    connection_h handle;
    Callback callback;
    void* user_data;
    std::uint64_t last_missed;  // events up to this number happened before the callback was set
  };

  std::uint64_t m_event_count = 0;
  ListenerList<std::shared_ptr<Entry>> m_entries;
};
