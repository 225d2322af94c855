#pragma once

#include <cstdint>
#include <map>

/// The objects of a class that exist, each by a number that no other one ever has. A platform that
/// cannot be told to forget a request is given the number as user data and no pointer, because who asked
/// may be gone, and another one in its place, when the answer comes. Main-loop thread only.
template <class Object>
class LiveObjects {
 public:
  /// An object's entry, a member of it.
  class Entry {
   public:
    explicit Entry(Object* object) : m_number(++Last()) { All().emplace(m_number, object); }
    ~Entry() { All().erase(m_number); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    /// What the platform is given.
    [[nodiscard]] void* AsUserData() const { return reinterpret_cast<void*>(m_number); }

   private:
    std::uintptr_t m_number;
  };

  /// @return null when the object is gone
  static Object* Find(void* user_data) {
    const auto object = All().find(reinterpret_cast<std::uintptr_t>(user_data));
    return object == All().end() ? nullptr : object->second;
  }

 private:
  /// Never destroyed: static objects leave it at the end of the process.
  static std::map<std::uintptr_t, Object*>& All() {
    static auto* const objects = new std::map<std::uintptr_t, Object*>;
    return *objects;
  }
  static std::uintptr_t& Last() {
    static std::uintptr_t last = 0;
    return last;
  }
};
