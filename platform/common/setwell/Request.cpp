#include "Request.h"

#include <map>
#include <utility>

#include "call_guarded.h"

namespace Setwell {

namespace {

/// The requests whose answer somebody waits for. Never destroyed, for answers may come to the last.
std::map<std::uintptr_t, Request*>& Waiting() {
  static auto* const waiting = new std::map<std::uintptr_t, Request*>;
  return *waiting;
}

std::uintptr_t NextNumber() {
  static std::uintptr_t last = 0;
  return ++last;
}

}  // namespace

Request::Request(Handler handler)
    : m_number(NextNumber()), m_handler(std::make_shared<const Handler>(std::move(handler))) {
  Waiting().emplace(m_number, this);
}

Request::~Request() {
  Waiting().erase(m_number);
  if (m_later != 0) {
    g_source_remove(m_later);
  }
}

void Request::OnAnswer(wifi_error_e result, void* user_data) {
  const auto found = Waiting().find(GPOINTER_TO_SIZE(user_data));
  if (found == Waiting().end()) {
    return;
  }
  const std::shared_ptr<const Handler> handler = found->second->m_handler;
  (*handler)(result);
}

void Request::AnswerLater(wifi_error_e result) {
  m_late_result = result;
  if (m_later == 0) {
    m_later = g_idle_add_full(G_PRIORITY_DEFAULT, OnLater, this, nullptr);
  }
}

gboolean Request::OnLater(gpointer self) {
  auto* request = static_cast<Request*>(self);
  request->m_later = 0;
  CallGuarded([request] { OnAnswer(request->m_late_result, request->UserData()); });
  return G_SOURCE_REMOVE;
}

}  // namespace Setwell
