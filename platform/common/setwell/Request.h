#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <glib.h>

#include "wifi.h"

namespace Setwell {

/// One request to the Wi-Fi interface whose answer comes later. Owned by who waits for the answer: when
/// it ends, the answer is dropped, however late it comes, and nobody touches what is gone. A platform
/// that answers more than once is heard each time. Main-loop thread only.
class Request {
 public:
  using Handler = std::function<void(wifi_error_e result)>;

  /// @param handler  may end the request
  explicit Request(Handler handler);
  ~Request();
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  /// What to hand to the platform: this function with this user data.
  static void OnAnswer(wifi_error_e result, void* user_data);
  [[nodiscard]] void* UserData() const { return GSIZE_TO_POINTER(m_number); }

  /// Answers from the main loop, in the place of a platform that did not take the request.
  void AnswerLater(wifi_error_e result);

  /// Never the same for two requests.
  [[nodiscard]] std::uintptr_t Number() const { return m_number; }

 private:
  static gboolean OnLater(gpointer self);

  // The platform gets a number and no pointer, since it may answer after the end.
  const std::uintptr_t m_number;
  std::shared_ptr<const Handler> m_handler;  // shared with a call that it is in
  wifi_error_e m_late_result = WIFI_ERROR_NONE;
  guint m_later = 0;
};

}  // namespace Setwell
