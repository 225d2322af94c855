#include "Popup.h"

#include <cstdlib>
#include <optional>
#include <string>

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "Log.h"
#include "SettingsFile.h"
#include "Terminal.h"
#include "vconf_keys.h"

namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;

std::int64_t Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec * kNanoseconds + now.tv_nsec;
}

/// When this process was started, in nanoseconds of the system clock. The kernel tells it in ticks since
/// boot, rounded down.
std::optional<std::int64_t> StartTime() {
  g_autofree char* status = nullptr;
  if (!g_file_get_contents("/proc/self/stat", &status, nullptr, nullptr)) {
    return std::nullopt;
  }
  // The second field is the program's name in brackets, which may hold anything; the 22nd is the time.
  const char* after_name = g_strrstr(status, ")");
  g_auto(GStrv) fields = g_strsplit(after_name == nullptr ? "" : after_name, " ", -1);
  if (g_strv_length(fields) < 21) {
    return std::nullopt;
  }
  const auto ticks = static_cast<std::int64_t>(g_ascii_strtoull(fields[20], nullptr, 10));
  const std::int64_t since_boot = ticks * (kNanoseconds / sysconf(_SC_CLK_TCK));
  return Now(CLOCK_REALTIME) - (Now(CLOCK_BOOTTIME) - since_boot);
}

/// Whether a command was written between the start of this process and its watch on the key: the daemon
/// forwards keywords from the moment it has started the program, which is sooner than the program
/// listens.
bool MissedCommand() {
  const std::optional<std::string> file = settings::PathOf(vconf_keys::kPelorusCommand);
  const std::optional<std::int64_t> start = StartTime();
  struct stat status {};
  return file && start && stat(file->c_str(), &status) == 0 &&
         status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec >= *start;
}

}  // namespace

Popup::Popup(std::chrono::seconds stay) : m_stay(stay), m_desktop(stay) {}

Popup::~Popup() {
  vconf_ignore_key_changed(vconf_keys::kPelorusCommand, OnCommand);
  g_clear_handle_id(&m_leave_timer, g_source_remove);
  g_clear_handle_id(&m_command, g_source_remove);
}

void Popup::Run(const Message& message, std::string_view data) {
  Watch();
  Show(message, data);
  // A command that comes in while the popup is leaving must not be lost: the daemon believes that it is
  // still up.
  while (m_is_up || g_main_context_pending(nullptr)) {
    g_main_context_iteration(nullptr, TRUE);
  }
}

void Popup::Watch() {
  if (vconf_notify_key_changed(vconf_keys::kPelorusCommand, OnCommand, this) != VCONF_OK) {
    NOTIFICATION_LOG(DLOG_WARN, "no settings store: further keywords will not be shown");
    return;
  }
  if (MissedCommand()) {
    Schedule();
  }
}

void Popup::Show(const Message& message, std::string_view data) {
  Text text = Translate(message, data);
  ShowOnTerminal(text);
  m_desktop.Post(std::move(text));
  m_is_up = true;
  g_clear_handle_id(&m_leave_timer, g_source_remove);
  m_leave_timer = g_timeout_add(
      static_cast<guint>(std::chrono::milliseconds(m_stay).count()),
      [](gpointer self) -> gboolean {
        auto* popup = static_cast<Popup*>(self);
        popup->m_leave_timer = 0;
        popup->m_is_up = false;
        return G_SOURCE_REMOVE;
      },
      this);
}

void Popup::OnCommand(keynode_t* /*node*/, void* self) {
  static_cast<Popup*>(self)->Schedule();
}

/// The key holds one value: of several writes that are heard at once only the last can be read, and is
/// to be shown once.
void Popup::Schedule() {
  if (m_command != 0) {
    return;
  }
  m_command = g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer self) -> gboolean {
        auto* popup = static_cast<Popup*>(self);
        popup->m_command = 0;
        popup->TakeCommand();
        return G_SOURCE_REMOVE;
      },
      this, nullptr);
}

void Popup::TakeCommand() {
  char* value = vconf_get_str(vconf_keys::kPelorusCommand);
  if (value == nullptr) {
    return;
  }
  const Message* message = FindMessage(value);
  if (message != nullptr) {
    Show(*message, "");
  } else {
    NOTIFICATION_LOG(DLOG_INFO, "not a keyword, left to others: %s", Printable(value).c_str());
  }
  std::free(value);
}
