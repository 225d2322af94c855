#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

/// Listeners in the order of their registration. A listener may add, remove (itself too) or destroy the
/// whole list while it is being notified: one that was removed is not called again, one that was added
/// is called from the next round on.
template <class Listener>
class ListenerList {
 public:
  void Add(Listener listener) {
    m_entries.push_back(std::make_shared<Entry>(Entry{std::move(listener)}));
  }

  /// @return how many were removed
  template <class Predicate>
  std::size_t RemoveIf(Predicate&& predicate) {
    return std::erase_if(m_entries, [&](const std::shared_ptr<Entry>& entry) {
      if (!predicate(std::as_const(entry->listener))) {
        return false;
      }
      entry->removed = true;
      return true;
    });
  }

  ListenerList() = default;
  ListenerList(const ListenerList&) = delete;
  ListenerList& operator=(const ListenerList&) = delete;
  ListenerList(ListenerList&&) noexcept = default;
  ListenerList& operator=(ListenerList&& other) noexcept {
    ListenerList taken(std::move(other));
    std::swap(m_entries, taken.m_entries);  // the listeners that were here end with `taken`
    return *this;
  }
  ~ListenerList() {
    for (const auto& entry : m_entries) {
      entry->removed = true;
    }
  }

  template <class Function>
  void ForEach(Function&& function) const {
    const auto round = m_entries;  // keeps the entries while this list may change or end
    for (const auto& entry : round) {
      if (!entry->removed) {
        function(std::as_const(entry->listener));
      }
    }
  }

  [[nodiscard]] bool IsEmpty() const { return m_entries.empty(); }
  [[nodiscard]] std::size_t Count() const { return m_entries.size(); }

 private:
  struct Entry {
    Listener listener;
    bool removed = false;
  };
  std::vector<std::shared_ptr<Entry>> m_entries;
};
