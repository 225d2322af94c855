#pragma once

#include <functional>
#include <string>

#include <glib.h>

#include "vconf.h"

/// Waiting until somebody else has written a settings key. Watches from its making on, so that nothing
/// which is written in answer to the caller's own write is missed. On the stack of the command that
/// waits.
class KeyWait {
 public:
  /// What the caller makes of a write: whether it need not wait any longer.
  using IsOver = std::function<bool()>;

  /// @param is_over  called on the main loop, in Run(), after each write of the key
  KeyWait(std::string key, IsOver is_over);
  ~KeyWait();
  KeyWait(const KeyWait&) = delete;
  KeyWait& operator=(const KeyWait&) = delete;

  /// 0, or an errno value: the key cannot be watched, and Run() would hear nothing.
  [[nodiscard]] int Error() const { return m_error; }

  /// @return whether it was over before the time was
  bool Run(unsigned seconds);

 private:
  static void OnWritten(keynode_t* node, void* self);

  std::string m_key;
  IsOver m_is_over;
  GMainLoop* m_loop = g_main_loop_new(nullptr, FALSE);
  int m_error;
  bool m_has_ended = false;
};
