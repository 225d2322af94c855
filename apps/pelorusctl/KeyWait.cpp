#include "KeyWait.h"

#include <utility>

#include "SettingsWatcher.h"

namespace {

gboolean Quit(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;  // the caller removes it
}

}  // namespace

KeyWait::KeyWait(std::string key, IsOver is_over)
    : m_key(std::move(key)),
      m_is_over(std::move(is_over)),
      m_error(SettingsWatcher::Instance().Watch(m_key.c_str(), OnWritten, this)) {}

KeyWait::~KeyWait() {
  if (m_error == 0) {
    SettingsWatcher::Instance().Ignore(m_key.c_str(), OnWritten);
  }
  g_main_loop_unref(m_loop);
}

bool KeyWait::Run(unsigned seconds) {
  const guint limit = g_timeout_add_seconds(seconds, Quit, m_loop);
  g_main_loop_run(m_loop);
  g_source_remove(limit);
  return m_has_ended;
}

void KeyWait::OnWritten(keynode_t* /*node*/, void* self) {
  auto* const wait = static_cast<KeyWait*>(self);
  if (!wait->m_has_ended && wait->m_is_over()) {
    wait->m_has_ended = true;
    g_main_loop_quit(wait->m_loop);
  }
}
