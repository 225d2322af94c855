#include "PathWatch.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "PlatformLog.h"

namespace fs = std::filesystem;

namespace {

/// IN_ATTRIB as well: a server makes its socket first, listens next, and sets its permissions last.
constexpr std::uint32_t kEvents =
    IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

/// The deepest directory on the way to the path that exists, and what is to come in it.
std::pair<fs::path, fs::path> Frontier(const fs::path& path) {
  fs::path directory = path.parent_path();
  fs::path name = path.filename();
  std::error_code ignored;
  while (!fs::is_directory(directory, ignored) && directory.has_relative_path()) {
    name = directory.filename();
    directory = directory.parent_path();
  }
  return {directory, name};
}

}  // namespace

PathWatch::PathWatch(std::string path, std::function<void()> on_change)
    : m_path(std::move(path)),
      m_on_change(std::move(on_change)),
      m_inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (m_inotify < 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot wait for %s: %s", m_path.c_str(), std::strerror(errno));
    return;
  }
  m_source = g_unix_fd_add(m_inotify, G_IO_IN, OnReadable, this);
  Arm();
}

PathWatch::~PathWatch() {
  if (m_inotify >= 0) {
    g_source_remove(m_source);
    close(m_inotify);
  }
}

/// Repeats until nothing has come into being between the look and the watch.
void PathWatch::Arm() {
  fs::path watched;
  for (auto frontier = Frontier(m_path); frontier.first != watched; frontier = Frontier(m_path)) {
    if (m_watch >= 0) {
      inotify_rm_watch(m_inotify, m_watch);
    }
    watched = frontier.first;
    m_name = frontier.second;
    m_watch = inotify_add_watch(m_inotify, watched.c_str(), kEvents);
  }
  if (m_watch < 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot wait for %s: %s", m_path.c_str(), std::strerror(errno));
  }
}

/// @return whether one of the events is about what is waited for
bool PathWatch::ReadEvents() {
  alignas(inotify_event) char buffer[4096];
  const ssize_t length = read(m_inotify, buffer, sizeof buffer);
  bool is_ours = false;
  for (const char* p = buffer; p < buffer + length;) {
    const auto* event = reinterpret_cast<const inotify_event*>(p);
    const bool is_self = (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_Q_OVERFLOW)) != 0;
    is_ours = is_ours || is_self || (event->wd == m_watch && event->len > 0 && m_name == event->name);
    p += sizeof(inotify_event) + event->len;
  }
  return is_ours;
}

gboolean PathWatch::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  auto* watch = static_cast<PathWatch*>(self);
  if (watch->ReadEvents()) {
    watch->Arm();
    const std::function<void()> on_change = watch->m_on_change;  // it may end the watch
    on_change();
  }
  return G_SOURCE_CONTINUE;
}
