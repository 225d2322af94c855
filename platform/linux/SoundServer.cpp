#include "SoundServer.h"

#include <cstdlib>

#include <unistd.h>

#include "PlatformLog.h"

namespace {

constexpr char kName[] = "Pelorus";
constexpr char kSystemSocket[] = "/run/pulse/native";

/// A server makes its socket before it listens, and of the second step nobody is told: attempts follow
/// each other at growing distances, six seconds in all.
constexpr unsigned kFirstPauseMs = 100;
constexpr unsigned kMaxAttempts = 7;

/// @param server  an address in the syntax of libpulse
/// @return the file in it, empty when it is another kind of address
std::string SocketOf(const std::string& server) {
  constexpr std::string_view kUnix = "unix:";
  const std::string path = server.starts_with(kUnix) ? server.substr(kUnix.size()) : server;
  return path.starts_with('/') ? path : "";
}

}  // namespace

SoundServer& SoundServer::Instance() {
  static auto* const server = new SoundServer;
  return *server;
}

/// What the environment names; else the session's server, and the machine's.
std::vector<SoundServer::Place> SoundServer::Places() {
  if (const char* const server = std::getenv("PULSE_SERVER"); server != nullptr && *server != '\0') {
    return {{server, SocketOf(server)}};
  }
  std::vector<Place> places;
  if (const char* const runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr) {
    const std::string socket = std::string(runtime) + "/pulse/native";
    places.push_back({"unix:" + socket, socket});
  }
  places.push_back({std::string("unix:") + kSystemSocket, kSystemSocket});
  return places;
}

std::optional<SoundServer::Sink> SoundServer::DefaultSink() {
  if (!Begin()) {
    return std::nullopt;
  }
  if (m_context == nullptr && m_attempt == 0) {
    m_attempts = 0;
    Connect();
  }
  return m_sink;
}

bool SoundServer::Begin() {
  if (m_loop != nullptr) {
    return true;
  }
  m_pulse = PulseLibrary::Load();
  if (m_pulse == nullptr) {
    return false;
  }
  m_loop = m_pulse->glib_mainloop_new(nullptr);
  m_places = Places();
  Wait();
  return true;
}

void SoundServer::Stop() {
  if (m_loop == nullptr) {
    return;
  }
  Drop();
  m_watches.clear();
  if (m_attempt != 0) {
    g_source_remove(m_attempt);
    m_attempt = 0;
  }
  m_pulse->glib_mainloop_free(m_loop);
  m_loop = nullptr;
}

void SoundServer::Wait() {
  for (const Place& place : m_places) {
    if (!place.socket.empty()) {
      m_watches.push_back(std::make_unique<PathWatch>(place.socket, [this] {
        m_attempts = 0;
        ConnectSoon();
      }));
    }
  }
}

void SoundServer::ConnectSoon() {
  if (m_context != nullptr || m_attempt != 0 || m_attempts >= kMaxAttempts) {
    return;
  }
  const auto connect = [](gpointer self) -> gboolean {
    auto* server = static_cast<SoundServer*>(self);
    server->m_attempt = 0;
    server->Connect();
    return G_SOURCE_REMOVE;
  };
  m_attempt = g_timeout_add(kFirstPauseMs << m_attempts, connect, this);
}

/// One attempt, at one of the places where there is a socket: one that nobody listens at any more must
/// not hide the next.
void SoundServer::Connect() {
  std::vector<const Place*> open;
  for (const Place& place : m_places) {
    if (place.socket.empty() || access(place.socket.c_str(), F_OK) == 0) {
      open.push_back(&place);
    }
  }
  if (open.empty()) {
    return;
  }
  const Place& place = *open[m_attempts++ % open.size()];
  pa_context* const context = m_pulse->context_new(m_pulse->glib_mainloop_get_api(m_loop), kName);
  m_context = context;
  m_pulse->context_set_state_callback(context, OnState, this);
  m_pulse->context_set_subscribe_callback(context, OnEvent, this);
  if (m_pulse->context_connect(context, place.server.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 &&
      m_context == context) {
    Drop();  // it was refused before it began
  }
}

void SoundServer::OnState(pa_context* context, void* self) {
  auto* server = static_cast<SoundServer*>(self);
  switch (server->m_pulse->context_get_state(context)) {
    case PA_CONTEXT_READY: {
      constexpr auto kEvents =
          static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK);
      server->m_watches.clear();
      pa_operation* const operation =
          server->m_pulse->context_subscribe(context, kEvents, nullptr, nullptr);
      if (operation != nullptr) {
        server->m_pulse->operation_unref(operation);
      }
      server->Read();
      return;
    }
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
      if (server->m_attempts == 0 || server->m_attempts == kMaxAttempts) {  // not for each attempt
        PLATFORM_LOG(DLOG_INFO, "no sound server: %s",
                     server->m_pulse->strerror(server->m_pulse->context_errno(context)));
      }
      server->Drop();
      if (server->m_watches.empty()) {
        server->Wait();
      }
      server->ConnectSoon();
      return;
    case PA_CONTEXT_UNCONNECTED:
    case PA_CONTEXT_CONNECTING:
    case PA_CONTEXT_AUTHORIZING:
    case PA_CONTEXT_SETTING_NAME:
      return;
  }
}

void SoundServer::Drop() {
  Await(nullptr);
  m_is_changed = false;
  m_sink.reset();
  if (m_context != nullptr) {
    m_pulse->context_set_state_callback(m_context, nullptr, nullptr);
    m_pulse->context_set_subscribe_callback(m_context, nullptr, nullptr);
    m_pulse->context_disconnect(m_context);
    m_pulse->context_unref(m_context);
    m_context = nullptr;
  }
}

/// A sink that only changes, in its volume for instance, stays where it is.
void SoundServer::OnEvent(pa_context* /*context*/, pa_subscription_event_type_t event,
                          std::uint32_t /*index*/, void* self) {
  const unsigned facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
  const unsigned type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
  if (facility == PA_SUBSCRIPTION_EVENT_SERVER || type != PA_SUBSCRIPTION_EVENT_CHANGE) {
    static_cast<SoundServer*>(self)->Read();
  }
}

void SoundServer::Read() {
  m_is_changed = m_operation != nullptr;
  if (!m_is_changed) {
    Await(m_pulse->context_get_server_info(m_context, OnServer, this));
  }
}

/// @param server  null when the question failed
void SoundServer::OnServer(pa_context* context, const pa_server_info* server, void* self) {
  auto* sound = static_cast<SoundServer*>(self);
  const char* const sink = server != nullptr ? server->default_sink_name : nullptr;
  sound->m_found.reset();
  if (sink == nullptr) {
    sound->Learn(std::nullopt);
    return;
  }
  sound->Await(sound->m_pulse->context_get_sink_info_by_name(context, sink, OnSink, sound));
}

/// @param end  0 for each sink, which is one at most; then 1, or -1 when the question failed
void SoundServer::OnSink(pa_context* /*context*/, const pa_sink_info* sink, int end, void* self) {
  auto* sound = static_cast<SoundServer*>(self);
  if (end == 0) {
    sound->m_found = (sink->flags & PA_SINK_NETWORK) != 0 ? Sink::kNetwork : Sink::kLocal;
  } else {
    sound->Learn(sound->m_found);
  }
}

void SoundServer::Learn(std::optional<Sink> sink) {
  m_attempts = 0;
  m_sink = sink;
  Await(nullptr);
  if (m_is_changed) {
    Read();
  }
}

/// @param operation  null when nothing is waited for
void SoundServer::Await(pa_operation* operation) {
  if (m_operation != nullptr) {
    m_pulse->operation_cancel(m_operation);
    m_pulse->operation_unref(m_operation);
  }
  m_operation = operation;
}
