#include "MainLoopSource.h"

#include <utility>

#include <glib-unix.h>

namespace {

using Callback = std::function<void()>;

gboolean CallOnce(gpointer callback) {
  (*static_cast<Callback*>(callback))();
  return G_SOURCE_REMOVE;
}

gboolean CallOnEvent(gint /*fd*/, GIOCondition /*condition*/, gpointer callback) {
  (*static_cast<Callback*>(callback))();
  return G_SOURCE_CONTINUE;
}

}  // namespace

void MainLoopSource::After(std::chrono::milliseconds time, std::function<void()> callback) {
  Attach(g_timeout_source_new(static_cast<guint>(time.count())), CallOnce, std::move(callback));
}

void MainLoopSource::AfterAbout(std::chrono::seconds time, std::function<void()> callback) {
  Attach(g_timeout_source_new_seconds(static_cast<guint>(time.count())), CallOnce, std::move(callback));
}

void MainLoopSource::Watch(int fd, GIOCondition conditions, std::function<void()> callback) {
  Attach(g_unix_fd_source_new(fd, conditions), G_SOURCE_FUNC(CallOnEvent), std::move(callback));
}

/// The callback belongs to the source, which GLib keeps for as long as it is called.
void MainLoopSource::Attach(GSource* source, GSourceFunc dispatch, std::function<void()> callback) {
  Reset();
  g_source_set_callback(source, dispatch, new Callback(std::move(callback)),
                        [](gpointer data) { delete static_cast<Callback*>(data); });
  g_source_attach(source, nullptr);
  m_source = source;
}

void MainLoopSource::Reset() {
  if (GSource* source = std::exchange(m_source, nullptr); source != nullptr) {
    g_source_destroy(source);
    g_source_unref(source);
  }
}
