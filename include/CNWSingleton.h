#pragma once

#include <memory>
#include <new>

/// An object of which there is at most one, and which lives while some user holds the shared pointer:
/// the last to let go ends it, the next to ask makes a new one, and gets null when there is no memory
/// for it. Main-loop thread only.
template <class T>
class CNWSingleton {
 public:
  static std::shared_ptr<T> GetInstance() {
    std::shared_ptr<T> instance = m_pInstance.lock();
    if (instance == nullptr) {
      instance.reset(new (std::nothrow) T);
      m_pInstance = instance;
    }
    return instance;
  }

 private:
  /// Defined for each T in StaticObjects.cpp.
  static std::weak_ptr<T> m_pInstance;
};
