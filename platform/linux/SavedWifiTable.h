#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

/// Where the TV was connected to each saved network last, which NetworkManager does not keep. A file of
/// one line for each profile; lines that are damaged count as not there. Main-loop thread only.
class SavedWifiTable {
 public:
  struct Record {
    std::string bssid;        ///< "AA:BB:CC:DD:EE:FF"
    int frequency = 0;        ///< MHz
    int signal = 0;           ///< dBm, at that time; 0: not known
    long long connected = 0;  ///< seconds since 1970; 0: it was seen and the time is not known
    bool operator==(const Record&) const = default;
  };
  using Records = std::map<std::string, Record, std::less<>>;  // by the profile's uuid

  /// The file: beside the settings.
  static std::string Path();

  [[nodiscard]] static Records Parse(std::string_view text);
  [[nodiscard]] static std::string Format(const Records& records);

  /// Reads the file anew; what cannot be read is an empty table.
  void Load(const std::string& path);

  [[nodiscard]] const Records& All() const { return m_records; }
  /// Takes records over and replaces the file, when that changes anything. A file that cannot be written
  /// is logged, and the records count until the process ends.
  void Add(const Records& records);
  /// @param is_to_stay  called with each uuid
  void RemoveUnless(const std::function<bool(const std::string& uuid)>& is_to_stay);

 private:
  void Save() const;

  std::string m_path;
  Records m_records;
};
