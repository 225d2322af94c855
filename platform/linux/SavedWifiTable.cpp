#include "SavedWifiTable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include <glib.h>

#include "PlatformLog.h"
#include "SettingsFile.h"

namespace {

constexpr char kName[] = "/wifi-networks";
constexpr std::size_t kMostRecords = 10000;

bool IsBssid(std::string_view text) {
  if (text.size() != std::strlen("AA:BB:CC:DD:EE:FF")) {
    return false;
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i % 3 == 2 ? text[i] != ':' : g_ascii_isxdigit(text[i]) == FALSE) {
      return false;
    }
  }
  return true;
}

/// NetworkManager takes more for one than others do.
bool IsUuid(std::string_view text) {
  constexpr std::size_t kLongest = 64;
  return !text.empty() && text.size() <= kLongest &&
         std::ranges::all_of(text, [](char c) { return g_ascii_isgraph(c) != FALSE; });
}

bool IsSound(const std::string& uuid, const SavedWifiTable::Record& record) {
  constexpr int kHighestFrequency = 100000;
  constexpr int kWeakestSignal = -200;
  return IsUuid(uuid) && IsBssid(record.bssid) && record.frequency > 0 &&
         record.frequency < kHighestFrequency && record.signal > kWeakestSignal && record.signal <= 0 &&
         record.connected >= 0;
}

}  // namespace

std::string SavedWifiTable::Path() {
  const char* const directory = std::getenv(settings::kDirectoryVariable);
  const bool is_named = directory != nullptr && *directory != '\0';
  return (is_named ? std::string(directory) : "/var/lib/pelorus") + kName;
}

SavedWifiTable::Records SavedWifiTable::Parse(std::string_view text) {
  Records records;
  while (!text.empty() && records.size() < kMostRecords) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      break;  // a line without its end was cut
    }
    std::istringstream line{std::string(text.substr(0, end))};
    text.remove_prefix(end + 1);
    std::string uuid;
    Record record;
    std::string rest;
    if (line >> uuid >> record.bssid >> record.frequency >> record.signal >> record.connected &&
        !(line >> rest) && IsSound(uuid, record)) {
      records[uuid] = record;
    }
  }
  return records;
}

std::string SavedWifiTable::Format(const Records& records) {
  std::string text;
  for (const auto& [uuid, record] : records) {
    text += uuid + " " + record.bssid + " " + std::to_string(record.frequency) + " " +
            std::to_string(record.signal) + " " + std::to_string(record.connected) + "\n";
  }
  return text;
}

void SavedWifiTable::Load(const std::string& path) {
  m_path = path;
  g_autofree char* text = nullptr;
  gsize length = 0;
  g_autoptr(GError) error = nullptr;
  if (g_file_get_contents(path.c_str(), &text, &length, &error) != FALSE) {
    m_records = Parse({text, length});
    return;
  }
  m_records.clear();
  if (!g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT)) {
    PLATFORM_LOG(DLOG_WARN, "cannot read where saved networks were: %s", error->message);
  }
}

void SavedWifiTable::Add(const Records& records) {
  const Records before = m_records;
  for (const auto& [uuid, record] : records) {
    if (IsSound(uuid, record)) {
      m_records[uuid] = record;
    }
  }
  if (m_records != before) {
    Save();
  }
}

void SavedWifiTable::RemoveUnless(const std::function<bool(const std::string& uuid)>& is_to_stay) {
  if (std::erase_if(m_records, [&](const auto& entry) { return !is_to_stay(entry.first); }) != 0) {
    Save();
  }
}

void SavedWifiTable::Save() const {
  const std::string text = Format(m_records);
  constexpr auto kFlags =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  constexpr int kMode = 0640;
  constexpr int kDirectoryMode = 0750;
  g_autofree char* directory = g_path_get_dirname(m_path.c_str());
  g_mkdir_with_parents(directory, kDirectoryMode);  // what cannot be made fails below
  g_autoptr(GError) error = nullptr;
  if (g_file_set_contents_full(m_path.c_str(), text.data(), static_cast<gssize>(text.size()), kFlags,
                               kMode, &error) == FALSE) {
    PLATFORM_LOG(DLOG_WARN, "cannot write where saved networks were: %s", error->message);
  }
}
