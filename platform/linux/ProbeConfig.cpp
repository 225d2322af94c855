#include "ProbeConfig.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include <glib.h>

#include "PlatformLog.h"

namespace {

constexpr char kGroup[] = "InternetProbe";
constexpr int kShortestIntervalSeconds = 1;
constexpr int kLongestIntervalSeconds = 86'400;

constexpr char kEnabled[] = "Enabled";
constexpr char kAddress[] = "Address";
constexpr char kAnswer[] = "Answer";
constexpr char kInterval[] = "IntervalSeconds";

bool Has(GKeyFile* file, const char* key) {
  return g_key_file_has_group(file, kGroup) && g_key_file_has_key(file, kGroup, key, nullptr);
}

std::string Complaint(const char* key, const std::string& why) {
  return "[" + std::string(kGroup) + "] " + key + ": " + why + "; the default is taken";
}

void ReadSwitch(GKeyFile* file, ProbeConfig& config, std::vector<std::string>& complaints) {
  g_autoptr(GError) error = nullptr;
  const bool is_on = g_key_file_get_boolean(file, kGroup, kEnabled, &error) != FALSE;
  if (error != nullptr) {
    complaints.push_back(Complaint(kEnabled, "neither true nor false"));
  } else {
    config.is_on = is_on;
  }
}

/// It goes into a request as it stands, so it must be one word.
bool IsOneWord(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return g_ascii_isgraph(c); });
}

/// @param why  out: what is wrong with it; untouched on success
bool ReadAddress(const std::string& text, ProbeConfig& config, std::string& why) {
  g_autofree char* scheme = nullptr;
  g_autofree char* host = nullptr;
  g_autofree char* path = nullptr;
  g_autofree char* query = nullptr;
  int port = -1;
  constexpr auto kFlags = static_cast<GUriFlags>(G_URI_FLAGS_ENCODED_PATH | G_URI_FLAGS_ENCODED_QUERY);
  if (!IsOneWord(text) || !g_uri_split(text.c_str(), kFlags, &scheme, nullptr, &host, &port, &path,
                                       &query, nullptr, nullptr)) {
    why = "no web address";
    return false;
  }
  // A network that leads elsewhere cannot do so with a page that is encrypted.
  if (g_strcmp0(scheme, "http") != 0) {
    why = "does not begin with http://";
    return false;
  }
  if (host == nullptr || *host == '\0' || port == 0 || !IsOneWord(host)) {
    why = "names no server";
    return false;
  }
  config.host = host;
  config.port = static_cast<std::uint16_t>(port < 0 ? 80 : port);
  config.target = path == nullptr || *path == '\0' ? "/" : path;
  if (query != nullptr) {
    config.target += std::string("?") + query;
  }
  return true;
}

void ReadPage(GKeyFile* file, ProbeConfig& config, std::vector<std::string>& complaints) {
  const bool has_address = Has(file, kAddress);
  if (has_address) {
    g_autofree char* address = g_key_file_get_string(file, kGroup, kAddress, nullptr);
    std::string why = "no text";
    if (address == nullptr || !ReadAddress(address, config, why)) {
      complaints.push_back(Complaint(kAddress, why));
      return;  // the default's page begins as the default says
    }
    config.answer.clear();
  }
  if (Has(file, kAnswer)) {
    g_autofree char* answer = g_key_file_get_string(file, kGroup, kAnswer, nullptr);
    if (answer == nullptr) {
      complaints.push_back(Complaint(kAnswer, "no text"));
    } else {
      config.answer = answer;
    }
  }
}

void ReadInterval(GKeyFile* file, ProbeConfig& config, std::vector<std::string>& complaints) {
  g_autoptr(GError) error = nullptr;
  const int seconds = g_key_file_get_integer(file, kGroup, kInterval, &error);
  if (error != nullptr || seconds < kShortestIntervalSeconds || seconds > kLongestIntervalSeconds) {
    complaints.push_back(Complaint(kInterval, "no number from " +
                                                  std::to_string(kShortestIntervalSeconds) + " to " +
                                                  std::to_string(kLongestIntervalSeconds)));
  } else {
    config.interval = std::chrono::seconds(seconds);
  }
}

}  // namespace

ProbeConfig ParseProbeConfig(const std::string& text, std::vector<std::string>& complaints) {
  ProbeConfig config;
  g_autoptr(GKeyFile) file = g_key_file_new();
  g_autoptr(GError) error = nullptr;
  if (!g_key_file_load_from_data(file, text.data(), text.size(), G_KEY_FILE_NONE, &error)) {
    complaints.push_back(std::string(error->message) + "; the defaults are taken");
    return config;
  }
  if (Has(file, kEnabled)) {
    ReadSwitch(file, config, complaints);
  }
  ReadPage(file, config, complaints);
  if (Has(file, kInterval)) {
    ReadInterval(file, config, complaints);
  }
  return config;
}

ProbeConfig ProbeConfig::Read() {
  const char* configured = std::getenv(kFileVariable);
  const char* path = configured != nullptr && *configured != '\0' ? configured : kDefaultFile;
  g_autofree char* data = nullptr;
  gsize length = 0;
  g_autoptr(GError) error = nullptr;
  if (!g_file_get_contents(path, &data, &length, &error)) {
    if (!g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
      PLATFORM_LOG(DLOG_WARN, "%s", error->message);
    }
    return {};
  }
  std::vector<std::string> complaints;
  ProbeConfig config = ParseProbeConfig(std::string(data, length), complaints);
  for (const std::string& complaint : complaints) {
    PLATFORM_LOG(DLOG_WARN, "%s: %s", path, complaint.c_str());
  }
  return config;
}
