#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <glib.h>

#include "VirtualTv.h"

/// An evening with all that the daemon does, chapter by chapter, and what a user, the settings screen or
/// the fleet sees of it. It is played by a whole daemon, from its start to its stop sequence, on the
/// virtual clock. One evening a process. Whoever acts in it is another process: what fails for the
/// daemon does not for it.
class Evening {
 public:
  Evening();

  /// Plays it. Each of these is called from the daemon's loop: when the start sequence is over, before
  /// anything happens; when all has happened that counts, before the cable is plugged in once more; and
  /// before the stop sequence.
  void Play(std::function<void()> on_started, std::function<void()> on_late,
            std::function<void()> on_stop);

  /// The names of what is seen in an undisturbed evening, in its order.
  [[nodiscard]] std::vector<std::string> Expected() const;
  [[nodiscard]] bool IsSeen(const std::string& name) const { return m_seen.contains(name); }
  /// The keywords of popups that nobody expected, in their order.
  [[nodiscard]] const std::vector<std::string>& Surprises() const { return m_surprises; }

  /// How many handles of each kind the daemon holds at this moment.
  [[nodiscard]] std::map<std::string, std::size_t> Handles();

  static constexpr char kWiredRenewal[] = "the wired connection renewed for a certificate";
  static constexpr char kCableAfterwards[] = "the cable's popup afterwards";
  static constexpr char kScreenAfterwards[] = "the settings screen afterwards";

 private:
  struct Outcome {
    std::string name;
    std::function<bool()> is_so;
  };
  struct Chapter {
    int seconds;
    std::function<void()> act;
    std::vector<Outcome> outcomes;
  };

  void Write();
  void WriteHome();
  void WriteNetworks();
  void WriteTools();
  void WriteEnd();
  void Add(int seconds, std::function<void()> act, std::vector<Outcome> outcomes);
  void End(const Chapter& chapter);
  /// Takes the popups of the chapter, and dismisses them.
  void GatherPopups();

  /// Whether this popup was shown in the chapter; it is expected then.
  [[nodiscard]] bool HasPopup(const std::string& keyword);
  /// Whether a record of this event was handed over in the chapter.
  [[nodiscard]] bool HasRecord(const std::string& event) const;
  /// Whether a connection was renewed since the last question.
  [[nodiscard]] bool HasRenewed();
  [[nodiscard]] bool IsOn(const char* bssid);

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
  std::vector<Chapter> m_chapters;
  std::function<void()> m_on_late;
  std::size_t m_popup_count = 0;  // these three up to the chapter before
  std::size_t m_word_count = 0;
  std::size_t m_record_count = 0;
  std::size_t m_renewal_count = 0;
  std::vector<std::string> m_popups;   // of this chapter, that were not expected yet
  std::vector<std::string> m_records;  // of this chapter
  std::set<std::string> m_seen;
  std::vector<std::string> m_surprises;
};
