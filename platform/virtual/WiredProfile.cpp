#include "WiredProfile.h"

#include <utility>

#include "Cable.h"

connection_error_e WiredProfile::Request(connection_h who, bool is_open,
                                         connection_profile_changed_cb callback, void* user_data) {
  if (!m_takes_requests) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  if (!m_cable.IsAttached()) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  m_waiting.push_back({who, is_open, callback, user_data});
  m_line.Send([this] { AnswerFirst(); });
  return CONNECTION_ERROR_NONE;
}

void WiredProfile::Forget(connection_h who) {
  for (Waiting& request : m_waiting) {
    if (request.who == who) {
      request.who = nullptr;
    }
  }
}

void WiredProfile::Open() {
  m_takes_requests = true;
  m_line.Open();
}

void WiredProfile::Close() {
  m_takes_requests = false;
  m_waiting.clear();
  m_line.Close();
}

int WiredProfile::CarryOut(bool is_open) {
  if (const int failure = std::exchange(m_failure, 0)) {
    return failure;
  }
  if (!m_cable.IsAttached()) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  m_cable.SetOpen(is_open);
  return CONNECTION_ERROR_NONE;
}

void WiredProfile::AnswerFirst() {
  const Waiting request = m_waiting.front();
  m_waiting.pop_front();
  const int result = CarryOut(request.is_open);
  if (request.who != nullptr) {
    request.callback(static_cast<connection_error_e>(result), request.user_data);
  }
}
