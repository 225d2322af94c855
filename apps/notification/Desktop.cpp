#include "Desktop.h"

#include <utility>

#include <unistd.h>

namespace {

constexpr int kAnswerLimitMilliseconds = 500;
constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kObject[] = "/org/freedesktop/Notifications";

/// The bus of this user's session. With an empty environment it is where the login manager puts it.
/// @return empty when there is none
std::string BusAddress() {
  if (const char* address = g_getenv("DBUS_SESSION_BUS_ADDRESS")) {
    return address;
  }
  const std::string path = "/run/user/" + std::to_string(getuid()) + "/bus";
  return access(path.c_str(), R_OK | W_OK) == 0 ? "unix:path=" + path : "";
}

}  // namespace

Desktop::Desktop(std::chrono::seconds stay) : m_stay(stay) {}

Desktop::~Desktop() {
  g_clear_handle_id(&m_limit, g_source_remove);
  g_clear_object(&m_question);
  g_clear_object(&m_bus);
}

void Desktop::Post(Text text) {
  if (m_state == State::kAnswering) {
    Send(text);
    return;
  }
  m_waiting.push_back(std::move(text));
  if (m_state == State::kUnknown) {
    Ask();
  }
}

void Desktop::Ask() {
  const std::string address = BusAddress();
  if (address.empty()) {
    m_waiting.clear();
    return;
  }
  m_state = State::kAsking;
  g_clear_object(&m_question);
  m_question = g_cancellable_new();
  m_limit = g_timeout_add(
      kAnswerLimitMilliseconds,
      [](gpointer self) -> gboolean {
        auto* desktop = static_cast<Desktop*>(self);
        desktop->m_limit = 0;
        g_cancellable_cancel(desktop->m_question);
        return G_SOURCE_REMOVE;
      },
      this);
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(
      address.c_str(), flags, nullptr, m_question,
      [](GObject*, GAsyncResult* result, gpointer self) {
        static_cast<Desktop*>(self)->OnConnected(result);
      },
      this);
}

void Desktop::OnConnected(GAsyncResult* result) {
  g_clear_object(&m_bus);
  m_bus = g_dbus_connection_new_for_address_finish(result, nullptr);
  if (m_bus == nullptr) {
    GiveUp();
    return;
  }
  g_dbus_connection_call(
      m_bus, kService, kObject, kService, "GetCapabilities", nullptr, G_VARIANT_TYPE("(as)"),
      G_DBUS_CALL_FLAGS_NONE, kAnswerLimitMilliseconds, m_question,
      [](GObject*, GAsyncResult* answer, gpointer self) {
        static_cast<Desktop*>(self)->OnCapabilities(answer);
      },
      this);
}

void Desktop::OnCapabilities(GAsyncResult* result) {
  g_autoptr(GVariant) answer = g_dbus_connection_call_finish(m_bus, result, nullptr);
  if (answer == nullptr) {
    GiveUp();
    return;
  }
  g_clear_handle_id(&m_limit, g_source_remove);
  g_autofree const char** capabilities = nullptr;
  g_variant_get(answer, "(^a&s)", &capabilities);
  m_reads_markup = g_strv_contains(capabilities, "body-markup") != FALSE;
  m_state = State::kAnswering;
  for (const Text& text : std::exchange(m_waiting, {})) {
    Send(text);
  }
}

void Desktop::GiveUp() {
  g_clear_handle_id(&m_limit, g_source_remove);
  m_waiting.clear();
  m_state = State::kUnknown;
}

void Desktop::Send(const Text& text) {
  // A URL has ampersands, which a service that reads markup would stumble over.
  g_autofree char* markup =
      m_reads_markup ? g_markup_escape_text(text.body.c_str(), -1) : g_strdup(text.body.c_str());
  const auto stay = std::chrono::duration_cast<std::chrono::milliseconds>(m_stay);
  GVariant* arguments = g_variant_new("(susssasa{sv}i)", "Pelorus", 0U, "", text.title.c_str(), markup,
                                      nullptr, nullptr, static_cast<gint32>(stay.count()));
  g_dbus_connection_call(m_bus, kService, kObject, kService, "Notify", arguments, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, kAnswerLimitMilliseconds, nullptr, nullptr, nullptr);
}
