#pragma once

#include <string>
#include <string_view>

#include <glib.h>

#include "vconf.h"

/// The network settings application and the viewer in front of it, as far as the program under the TV
/// talks with them: over the key "db/menu/network/launchNS", which both sides write and watch, and with
/// the commands on saved networks. Owned by VirtualTv; main-loop thread only.
///
/// The application answers a question only while it is open: one that is closed shows nothing.
class SettingsApp {
 public:
  /// What the viewer does with the question whether to keep the 5 GHz connection.
  enum class Answer {
    kNone,  ///< leaves it on the screen
    kConfirm,
    kDecline,
  };
  static constexpr unsigned kDefaultDelayMs = 500;

  SettingsApp() = default;
  SettingsApp(const SettingsApp&) = delete;
  SettingsApp& operator=(const SettingsApp&) = delete;
  ~SettingsApp();

  /// From now on, until Sleep(), it sees what is written to the key. Again does no harm.
  /// @return 0 or an errno value
  int Watch();
  /// What it was about to do is not done.
  void Sleep();

  /// Comes to the front or goes away, and writes "db/menu/network/networkapp_status". A question that is
  /// on the screen goes with it, unanswered.
  void Open();
  void Close();
  [[nodiscard]] bool IsOpen() const { return m_is_open; }

  /// The viewer asks for the 5 GHz network, or leaves the page, which withdraws the request.
  /// @return false when the application is not open
  bool Ask();
  bool Stop();

  /// The viewer presses a button of the question.
  /// @return false when there is no question on the screen, and for kNone
  bool Press(Answer button);

  /// The viewer taps a saved network, says that the saved networks have changed, or resets the network:
  /// the application writes its command to "memory/Pelorus/Command".
  /// @return false when the application is not open
  bool Connect(const std::string& essid);
  bool TellForgotten();
  bool Reset();

  /// What becomes of the questions from now on, and after how long. The one on the screen stays as it
  /// is.
  void SetAnswer(Answer answer, unsigned delay_ms = kDefaultDelayMs);
  [[nodiscard]] Answer CurrentAnswer() const { return m_answer; }
  [[nodiscard]] unsigned DelayMs() const { return m_delay_ms; }

  [[nodiscard]] bool HasQuestion() const { return m_has_question; }
  /// Whether the page was told, since the viewer last asked, that the request came to nothing.
  [[nodiscard]] bool HasPageChanged() const { return m_has_page_changed; }

 private:
  bool Command(const char* number, const std::string* essid);
  static void OnWritten(keynode_t* node, void* self);
  void OnValue(std::string_view value);
  void TakeQuestionAway();

  bool m_is_watching = false;
  bool m_is_open = false;
  bool m_has_question = false;
  bool m_has_page_changed = false;
  Answer m_answer = Answer::kNone;
  unsigned m_delay_ms = kDefaultDelayMs;
  Answer m_coming_answer = Answer::kNone;  // while the timer runs
  guint m_timer = 0;                       // runs to it
};
