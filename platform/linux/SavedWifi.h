#pragma once

#include <optional>
#include <string>
#include <vector>

#include <NetworkManager.h>

#include "SavedProfiles.h"
#include "SavedWifiTable.h"

/// The networks that NetworkManager has profiles of, and where the TV was connected to each of them
/// last. Looks at the profiles when it is asked, so that one that is forgotten is gone at once.
/// Main-loop thread only; one object for the life of the process.
class SavedWifi {
 public:
  static SavedWifi& Instance();

  void Start();
  void Stop();

  /// In the order in which they were used, the last one first. A question that comes before the client
  /// of NetworkManager can be there waits for the answer, for a moment: it is the daemon's at its first
  /// start on a machine, and it does not ask again.
  /// @return nullopt while NetworkManager is not there
  [[nodiscard]] std::optional<std::vector<SavedNetwork>> All();

  /// @return the uuid of the profile that opens the radio, of several the one that was used last; empty:
  ///         none does
  [[nodiscard]] static std::string ProfileThatOpens(const Radio& radio);

  /// Whether the TV has been connected with a profile, also where NetworkManager has not told yet.
  [[nodiscard]] bool HasBeenUsed(const std::string& uuid) const { return m_table.All().contains(uuid); }

  /// The TV is connected to a radio.
  /// @param uuid    of the profile; empty: of none
  /// @param is_new  it has just been connected; else that may be known already
  void NoteConnection(const std::string& uuid, const Radio& radio, bool is_new);

 private:
  SavedWifi() = default;
  void OnService();
  void LearnFrom(const std::vector<SavedProfile>& profiles);

  SavedWifiTable m_table;
  bool m_was_early = false;  // one question has been waited for
};
