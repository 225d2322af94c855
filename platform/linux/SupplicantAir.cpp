#include "SupplicantAir.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "PlatformLog.h"
#include "RadioElements.h"
#include "Supplicant.h"

namespace {

constexpr char kService[] = "fi.w1.wpa_supplicant1";
constexpr char kInterface[] = "fi.w1.wpa_supplicant1.Interface";
constexpr char kBss[] = "fi.w1.wpa_supplicant1.BSS";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
/// The supplicant gathers what has changed for some milliseconds, also beyond the end of a scan.
constexpr guint kSettlingMs = 30;
/// Radios that were not known are asked for one by one: some hundred on the first scan after a start.
constexpr int kQuestionsAtATime = 32;
constexpr int kMaxSettlingRounds = 300;
constexpr std::size_t kMaxNames = 16;
constexpr guint kChannelWidth = 20;
constexpr int kUnknownNoise = 9999;

std::span<const std::uint8_t> BytesOf(GVariant* value) {
  gsize size = 0;
  const void* bytes = g_variant_get_fixed_array(value, &size, sizeof(std::uint8_t));
  return {static_cast<const std::uint8_t*>(bytes), size};
}

GVariant* Lookup(GVariant* properties, const char* name, const char* type) {
  return g_variant_lookup_value(properties, name, G_VARIANT_TYPE(type));
}

/// The ways in that one of the properties "RSN" and "WPA" names.
bool HasKey(GVariant* suites, std::initializer_list<std::string_view> keys) {
  g_autofree const char** names = nullptr;
  if (suites == nullptr || !g_variant_lookup(suites, "KeyMgmt", "^a&s", &names)) {
    return false;
  }
  for (const char** name = names; *name != nullptr; ++name) {
    if (std::ranges::find(keys, std::string_view(*name)) != keys.end()) {
      return true;
    }
  }
  return false;
}

bool HasKeys(GVariant* suites) {
  g_autofree const char** names = nullptr;
  return suites != nullptr && g_variant_lookup(suites, "KeyMgmt", "^a&s", &names) && *names != nullptr;
}

/// As radio_elements::Read() reads the elements that the supplicant made these from.
std::optional<wifi_security_type_e> SecurityOfRsn(GVariant* rsn) {
  if (!HasKeys(rsn)) {
    return std::nullopt;
  }
  return HasKey(rsn, {"wpa-psk", "wpa-psk-sha256"}) ? WIFI_SECURITY_TYPE_WPA2_PSK
         : HasKey(rsn, {"wpa-ft-psk"})              ? WIFI_SECURITY_TYPE_WPA_FT_PSK
         : HasKey(rsn, {"sae", "ft-sae"})           ? WIFI_SECURITY_TYPE_SAE
         : HasKey(rsn, {"owe"})                     ? WIFI_SECURITY_TYPE_NONE
                                                    : WIFI_SECURITY_TYPE_EAP;
}

std::optional<wifi_security_type_e> SecurityOfWpa(GVariant* wpa) {
  if (!HasKeys(wpa)) {
    return std::nullopt;
  }
  return HasKey(wpa, {"wpa-psk"}) ? WIFI_SECURITY_TYPE_WPA_PSK : WIFI_SECURITY_TYPE_EAP;
}

std::string AddressOf(GVariant* value) {
  constexpr std::size_t kAddressBytes = 6;
  const auto bytes = BytesOf(value);
  if (bytes.size() != kAddressBytes) {
    return "";
  }
  g_autofree char* text = g_strdup_printf("%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1], bytes[2],
                                          bytes[3], bytes[4], bytes[5]);
  return text;
}

GVariant* OptionsOf(const ScanRequest& request) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "Type",
                        g_variant_new_string(request.names.empty() ? "passive" : "active"));
  GVariantBuilder names;
  g_variant_builder_init(&names, G_VARIANT_TYPE("aay"));
  for (std::size_t i = 0; i < std::min(request.names.size(), kMaxNames); ++i) {
    const std::string& name = request.names[i];
    g_variant_builder_add_value(
        &names, g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, name.data(), name.size(), 1));
  }
  if (request.names.empty()) {
    g_variant_builder_clear(&names);
  } else {
    g_variant_builder_add(&options, "{sv}", "SSIDs", g_variant_builder_end(&names));
  }
  if (!request.frequencies.empty()) {
    GVariantBuilder channels;
    g_variant_builder_init(&channels, G_VARIANT_TYPE("a(uu)"));
    for (const int frequency : request.frequencies) {
      g_variant_builder_add(&channels, "(uu)", static_cast<guint>(frequency), kChannelWidth);
    }
    g_variant_builder_add(&options, "{sv}", "Channels", g_variant_builder_end(&channels));
  }
  return g_variant_builder_end(&options);
}

bool IsBusy(const GError* error) {
  g_autofree char* name = g_dbus_error_get_remote_error(error);
  return name != nullptr && g_str_has_suffix(name, ".ScanError");
}

}  // namespace

/// @param properties  a{sv}, all of them or those that changed
void SupplicantAir::Read(GVariant* properties, Bss& bss) {
  Radio& radio = bss.heard.radio;
  guint age = 0;
  g_variant_lookup(properties, "Age", "u", &age);
  bss.heard.heard_at = g_get_monotonic_time() - gint64{age} * G_USEC_PER_SEC;
  if (g_autoptr(GVariant) address = Lookup(properties, "BSSID", "ay")) {
    radio.bssid = AddressOf(address);
  }
  guint16 frequency = 0;
  if (g_variant_lookup(properties, "Frequency", "q", &frequency)) {
    radio.frequency = frequency;
  }
  gint16 signal = 0;
  if (g_variant_lookup(properties, "Signal", "n", &signal)) {
    radio.signal = signal;
  }
  gboolean is_private = FALSE;
  if (g_variant_lookup(properties, "Privacy", "b", &is_private)) {
    bss.is_private = is_private != FALSE;
  }
  if (g_autoptr(GVariant) rsn = Lookup(properties, "RSN", "a{sv}")) {
    bss.rsn = SecurityOfRsn(rsn);
  }
  if (g_autoptr(GVariant) wpa = Lookup(properties, "WPA", "a{sv}")) {
    bss.wpa = SecurityOfWpa(wpa);
  }
  if (g_autoptr(GVariant) elements = Lookup(properties, "IEs", "ay")) {
    radio_elements::Read(BytesOf(elements), bss.is_private, radio);
    bss.security = radio.security;
  }
  radio.security = bss.rsn.value_or(bss.wpa.value_or(bss.security));
}

void SupplicantAir::Follow(bool is_wanted) {
  const Supplicant& supplicant = Supplicant::Instance();
  if (!is_wanted || !supplicant.IsReady()) {
    return Unfollow();
  }
  if (m_path == supplicant.Path() && m_connection == supplicant.Connection()) {
    return;
  }
  Unfollow();
  m_path = supplicant.Path();
  g_set_object(&m_connection, supplicant.Connection());
  m_questions = g_cancellable_new();
  Subscribe();
  AskForAll();
}

void SupplicantAir::Unfollow() {
  if (m_path.empty()) {
    return;
  }
  g_cancellable_cancel(m_questions);
  g_clear_object(&m_questions);
  for (const guint subscription : std::exchange(m_subscriptions, {})) {
    g_dbus_connection_signal_unsubscribe(m_connection, subscription);
  }
  Supplicant::Instance().RemoveListener(this);
  g_clear_object(&m_connection);
  m_path.clear();
  m_radios.clear();
  m_unknown.clear();
  m_to_ask.clear();
  m_question_count = 0;
  m_connected.clear();
  m_poll.reset();
  m_is_polling = false;
}

/// First this, then the list: so no radio is missed in between.
void SupplicantAir::Subscribe() {
  const auto subscribe = [this](const char* interface, const char* signal, const char* path,
                                const char* argument) {
    m_subscriptions.push_back(
        g_dbus_connection_signal_subscribe(m_connection, kService, interface, signal, path, argument,
                                           G_DBUS_SIGNAL_FLAGS_NONE, OnSignal, this, nullptr));
  };
  subscribe(kInterface, "BSSAdded", m_path.c_str(), nullptr);
  subscribe(kInterface, "BSSRemoved", m_path.c_str(), nullptr);
  subscribe(kProperties, "PropertiesChanged", nullptr, kBss);
  Supplicant::Instance().AddListener(
      {.owner = this,
       .on_scan_done = [this](bool) { PollSignal(); },
       .on_property = [this](const std::string& name, GVariant* value) { OnProperty(name, value); }});
}

void SupplicantAir::AskForAll() {
  const auto take = [](GObject* source, GAsyncResult* result, gpointer self) {
    g_autoptr(GVariant) reply =
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    if (reply == nullptr) {
      return;  // cancelled, or gone, which is told otherwise
    }
    auto* const air = static_cast<SupplicantAir*>(self);
    g_autoptr(GVariant) properties = g_variant_get_child_value(reply, 0);
    const char* connected = nullptr;
    if (g_variant_lookup(properties, "CurrentBSS", "&o", &connected)) {
      air->m_connected = connected;
      air->PollSignal();
    }
    g_autofree const char** paths = nullptr;
    if (g_variant_lookup(properties, "BSSs", "^a&o", &paths)) {
      for (const char** path = paths; *path != nullptr; ++path) {
        air->AskFor(*path);
      }
    }
  };
  g_dbus_connection_call(m_connection, kService, m_path.c_str(), kProperties, "GetAll",
                         g_variant_new("(s)", kInterface), G_VARIANT_TYPE("(a{sv})"),
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, m_questions, take, this);
}

void SupplicantAir::AskFor(const std::string& path) {
  if (m_unknown.insert(path).second) {
    m_to_ask.push_back(path);
    AskNext();
  }
}

/// A bus carries few unanswered questions of one connection at a time, and refuses the others.
void SupplicantAir::AskNext() {
  struct Question {
    SupplicantAir* air;
    std::string path;
  };
  const auto take = [](GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Question> question(static_cast<Question*>(data));
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
      return;
    }
    SupplicantAir& air = *question->air;
    air.m_unknown.erase(question->path);
    --air.m_question_count;
    air.AskNext();
    if (reply != nullptr) {
      g_autoptr(GVariant) properties = g_variant_get_child_value(reply, 0);
      air.OnRadio(question->path.c_str(), properties);
    }
  };
  while (m_question_count < kQuestionsAtATime && !m_to_ask.empty()) {
    ++m_question_count;
    auto* const question = new Question{this, m_to_ask.front()};
    m_to_ask.pop_front();
    g_dbus_connection_call(m_connection, kService, question->path.c_str(), kProperties, "GetAll",
                           g_variant_new("(s)", kBss), G_VARIANT_TYPE("(a{sv})"),
                           G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, m_questions, take, question);
  }
}

/// One that nobody could address is none.
void SupplicantAir::OnRadio(const char* path, GVariant* properties) {
  Bss& bss = m_radios[path];
  Read(properties, bss);
  if (bss.heard.radio.bssid.empty() || bss.heard.radio.frequency == 0) {
    m_radios.erase(path);
  }
}

/// Of one that is not known the rest is asked for: the question for all may have failed.
void SupplicantAir::OnChange(const char* path, GVariant* properties) {
  if (m_radios.contains(path)) {
    OnRadio(path, properties);
  } else if (g_str_has_prefix(path, m_path.c_str())) {
    AskFor(path);
  }
}

void SupplicantAir::OnSignal(GDBusConnection* /*connection*/, const char* /*sender*/, const char* path,
                             const char* /*interface*/, const char* signal, GVariant* parameters,
                             gpointer self) {
  auto* const air = static_cast<SupplicantAir*>(self);
  const char* radio = nullptr;
  g_autoptr(GVariant) properties = nullptr;
  if (g_str_equal(signal, "BSSAdded") && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(oa{sv})"))) {
    g_variant_get(parameters, "(&o@a{sv})", &radio, &properties);
    air->OnRadio(radio, properties);
  } else if (g_str_equal(signal, "BSSRemoved") &&
             g_variant_is_of_type(parameters, G_VARIANT_TYPE("(o)"))) {
    g_variant_get(parameters, "(&o)", &radio);
    air->m_radios.erase(radio);
  } else if (g_str_equal(signal, "PropertiesChanged") &&
             g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv}as)"))) {
    properties = g_variant_get_child_value(parameters, 1);
    air->OnChange(path, properties);
  }
}

void SupplicantAir::OnProperty(const std::string& name, GVariant* value) {
  if (name == "CurrentBSS" && g_variant_is_of_type(value, G_VARIANT_TYPE_OBJECT_PATH)) {
    m_connected = g_variant_get_string(value, nullptr);
    m_poll.reset();
  }
  const bool is_link_up = name == "State" && g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) &&
                          g_str_equal(g_variant_get_string(value, nullptr), "completed");
  if (is_link_up) {
    PollSignal();
  }
}

std::vector<HeardRadio> SupplicantAir::Radios() const {
  std::vector<HeardRadio> radios;
  radios.reserve(m_radios.size());
  for (const auto& [path, bss] : m_radios) {
    radios.push_back(bss.heard);
    if (path != m_connected) {
      continue;
    }
    HeardRadio& connected = radios.back();
    connected.is_connected = true;
    if (m_poll) {
      connected.radio.signal = m_poll->signal != 0 ? m_poll->signal : connected.radio.signal;
      connected.radio.width = m_poll->width != 0 ? m_poll->width : connected.radio.width;
    }
  }
  return radios;
}

std::optional<int> SupplicantAir::Noise(int frequency) const {
  const auto connected = m_radios.find(m_connected);
  if (!m_poll || connected == m_radios.end() || connected->second.heard.radio.frequency != frequency) {
    return std::nullopt;
  }
  return m_poll->noise;
}

void SupplicantAir::PollSignal() {
  if (m_path.empty() || m_connected.size() < 2 || m_is_polling) {
    return;
  }
  m_is_polling = true;
  Supplicant::Instance().SignalPoll([this, asked = m_connected](GVariant* reply, const GError*) {
    m_is_polling = false;
    if (reply != nullptr && asked == m_connected) {
      OnPoll(reply);
    }
  });
}

void SupplicantAir::OnPoll(GVariant* reply) {
  if (!g_variant_is_of_type(reply, G_VARIANT_TYPE("(v)"))) {
    return;
  }
  g_autoptr(GVariant) values = nullptr;
  g_variant_get(reply, "(v)", &values);
  if (!g_variant_is_of_type(values, G_VARIANT_TYPE_VARDICT)) {
    return;
  }
  Poll poll;
  gint32 noise = kUnknownNoise;
  const char* width = nullptr;
  g_variant_lookup(values, "rssi", "i", &poll.signal);
  if (g_variant_lookup(values, "noise", "i", &noise) && noise != kUnknownNoise) {
    poll.noise = noise;
  }
  if (g_variant_lookup(values, "width", "&s", &width)) {
    poll.width = std::atoi(width);  // "80 MHz", "20 MHz (no HT)"
  }
  m_poll = poll;
}

void SupplicantAir::Begin(const ScanRequest& request, std::function<void(End)> ended) {
  Supplicant& supplicant = Supplicant::Instance();
  if (!supplicant.IsReady()) {
    return ended(End::kFailed);
  }
  m_ended = std::move(ended);
  m_is_accepted = false;
  supplicant.AddListener({.owner = &m_ended,
                          .on_presence = [this] { Finish(End::kFailed); },
                          .on_scan_done = [this](bool is_success) { OnScanDone(is_success); }});
  const auto on_reply = [this, round = ++m_round](GVariant* reply, const GError* error) {
    if (round != m_round || !m_ended) {
      return;
    }
    if (reply == nullptr) {
      return Finish(IsBusy(error) ? End::kBusy : End::kFailed);
    }
    m_is_accepted = true;
  };
  supplicant.Scan(OptionsOf(request), on_reply);
}

void SupplicantAir::Abort() {
  Supplicant::Instance().AbortScan({});
}

void SupplicantAir::Forget() {
  Supplicant::Instance().RemoveListener(&m_ended);
  m_ended = nullptr;
  m_is_accepted = false;
  g_clear_handle_id(&m_settling, g_source_remove);
}

/// The end of a scan that somebody else began comes before ours is accepted.
void SupplicantAir::OnScanDone(bool is_success) {
  if (!m_is_accepted || m_settling != 0) {
    return;
  }
  if (!is_success) {
    return Finish(End::kAborted);
  }
  m_settling_rounds = 0;
  const auto settle = [](gpointer self) -> gboolean {
    auto* const air = static_cast<SupplicantAir*>(self);
    if (!air->m_unknown.empty() && ++air->m_settling_rounds < kMaxSettlingRounds) {
      return G_SOURCE_CONTINUE;
    }
    air->m_settling = 0;
    air->Finish(End::kDone);
    return G_SOURCE_REMOVE;
  };
  m_settling = g_timeout_add(kSettlingMs, settle, this);
}

void SupplicantAir::Finish(End end) {
  const auto ended = std::exchange(m_ended, nullptr);
  Forget();
  if (ended) {
    ended(end);
  }
}
