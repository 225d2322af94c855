#pragma once

#include <cstddef>
#include <map>
#include <utility>

/// The objects of one kind that the program above the platform holds handles of. A handle is a number
/// that is never given again, so that one which has ended is told from one that lives. Main-loop thread
/// only.
template <class Handle, class Object>
class NumberedHandles {
 public:
  Handle Add(Object object) {
    constexpr std::size_t kStep = 16;  // looks like an address, and is none of this process
    const auto handle = reinterpret_cast<Handle>(++m_given * kStep);
    m_objects.emplace(handle, std::move(object));
    return handle;
  }

  /// @return false when there is no such handle (any more)
  bool Remove(Handle handle) { return m_objects.erase(handle) != 0; }

  /// Ends them all.
  void Clear() { m_objects.clear(); }

  /// Null when there is no such handle (any more); valid until it is removed.
  Object* Find(Handle handle) {
    const auto object = m_objects.find(handle);
    return object == m_objects.end() ? nullptr : &object->second;
  }

  /// What a test looks at to see that none was forgotten.
  [[nodiscard]] std::size_t Count() const { return m_objects.size(); }

 private:
  std::map<Handle, Object> m_objects;
  std::size_t m_given = 0;
};

/// A handle that lives as long as the callback that it is handed to.
template <class Handle, class Object>
class BorrowedHandle {
 public:
  /// @param handles  outlive this
  BorrowedHandle(NumberedHandles<Handle, Object>& handles, const Object& object)
      : m_handles(handles), m_handle(handles.Add(object)) {}
  ~BorrowedHandle() { m_handles.Remove(m_handle); }
  BorrowedHandle(const BorrowedHandle&) = delete;
  BorrowedHandle& operator=(const BorrowedHandle&) = delete;
  [[nodiscard]] Handle Get() const { return m_handle; }

 private:
  NumberedHandles<Handle, Object>& m_handles;
  Handle m_handle;
};
