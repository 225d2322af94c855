#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>

/// The handles of one kind that a backend has given out, so that one that was never given out, or has
/// been destroyed, is refused and not read through. Main-loop thread only.
template <class Object>
class HandleSet {
 public:
  /// @return owned by the set until Remove()
  Object* Add(Object object) {
    auto owned = std::make_unique<Object>(std::move(object));
    Object* const handle = owned.get();
    m_objects.emplace(handle, std::move(owned));
    return handle;
  }

  /// @return false when there is no such handle (any more)
  bool Remove(const Object* handle) { return m_objects.erase(handle) > 0; }

  /// @param is_to_go  const Object& -> bool
  template <class Predicate>
  void RemoveIf(Predicate is_to_go) {
    std::erase_if(m_objects, [&](const auto& entry) { return is_to_go(*entry.second); });
  }

  [[nodiscard]] bool Has(const Object* handle) const { return m_objects.contains(handle); }
  [[nodiscard]] std::size_t Count() const { return m_objects.size(); }
  /// @param is_counted  const Object& -> bool
  template <class Predicate>
  [[nodiscard]] std::size_t CountIf(Predicate is_counted) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(m_objects, [&](const auto& entry) { return is_counted(*entry.second); }));
  }
  [[nodiscard]] bool IsEmpty() const { return m_objects.empty(); }

 private:
  std::unordered_map<const Object*, std::unique_ptr<Object>> m_objects;
};
