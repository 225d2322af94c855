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
    auto entries = Copy();
    entries->push_back(std::make_shared<Entry>(Entry{std::move(listener)}));
    m_entries = std::move(entries);
  }

  /// @return how many were removed
  template <class Predicate>
  std::size_t RemoveIf(Predicate&& predicate) {
    const auto entries = Copy();
    const std::size_t removed = std::erase_if(*entries, [&](const std::shared_ptr<Entry>& entry) {
      if (!predicate(std::as_const(entry->listener))) {
        return false;
      }
      entry->removed = true;
      return true;
    });
    m_entries = entries;
    return removed;
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
    for (std::size_t i = 0; i < Count(); ++i) {
      (*m_entries)[i]->removed = true;
    }
  }

  template <class Function>
  void ForEach(Function&& function) const {
    const auto round = m_entries;  // stays as it is while this list may change or end
    for (std::size_t i = 0; round != nullptr && i < round->size(); ++i) {
      const Entry& entry = *(*round)[i];
      if (!entry.removed) {
        function(entry.listener);
      }
    }
  }

  [[nodiscard]] bool IsEmpty() const { return Count() == 0; }
  [[nodiscard]] std::size_t Count() const { return m_entries != nullptr ? m_entries->size() : 0; }

 private:
  struct Entry {
    Listener listener;
    bool removed = false;
  };
  using Entries = std::vector<std::shared_ptr<Entry>>;

  [[nodiscard]] std::shared_ptr<Entries> Copy() const {
    return m_entries != nullptr ? std::make_shared<Entries>(*m_entries) : std::make_shared<Entries>();
  }

  /// Replaced with each change, so that a round needs no copy. Null before the first.
  std::shared_ptr<const Entries> m_entries;
};
