#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "Messages.h"

/// The notification service of a desktop (org.freedesktop.Notifications), for whoever runs the daemon on
/// one. A TV has none: no bus, no service, and a bus or a service that does not answer in time, are all
/// the same to the caller, who hears of none of them.
///
/// Owned by main(); main-loop thread only; outlives the main loop's last run, as pending answers call
/// back into it.
class Desktop {
 public:
  /// @param stay  how long the desktop is asked to show each message
  explicit Desktop(std::chrono::seconds stay);
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  /// Hands the message to the service once it has answered; forgets it when it does not.
  void Post(Text text);

 private:
  enum class State {
    kUnknown,    ///< nobody was asked, or nobody answered: the next message asks again
    kAsking,     ///< the answer is due within the limit
    kAnswering,  ///< the service is there
  };

  void Ask();
  void OnConnected(GAsyncResult* result);
  void OnCapabilities(GAsyncResult* result);
  void GiveUp();
  void Send(const Text& text);

  const std::chrono::seconds m_stay;
  State m_state = State::kUnknown;
  bool m_reads_markup = false;
  std::vector<Text> m_waiting;
  GDBusConnection* m_bus = nullptr;
  GCancellable* m_question = nullptr;
  guint m_limit = 0;
};
