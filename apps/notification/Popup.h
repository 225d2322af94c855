#pragma once

#include <chrono>
#include <string_view>

#include <glib.h>

#include "Desktop.h"
#include "Messages.h"
#include "vconf.h"

/// The popup that is up: shows messages, takes the further keywords that the daemon writes to the
/// settings while it believes this program to be running, and goes away when it has shown the last one
/// for long enough. Owned by main(); main-loop thread only.
class Popup {
 public:
  /// @param stay  how long the popup stays after its last message
  explicit Popup(std::chrono::seconds stay);
  ~Popup();
  Popup(const Popup&) = delete;
  Popup& operator=(const Popup&) = delete;

  /// Shows the message and all that follow; returns when the popup has gone away.
  void Run(const Message& message, std::string_view data);

 private:
  static void OnCommand(keynode_t* node, void* self);

  void Show(const Message& message, std::string_view data);
  void Watch();
  void Schedule();
  void TakeCommand();

  const std::chrono::seconds m_stay;
  Desktop m_desktop;
  bool m_is_up = false;
  guint m_leave_timer = 0;
  guint m_command = 0;  ///< idle source while a command waits to be read
};
