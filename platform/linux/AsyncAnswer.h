#pragma once

#include <functional>
#include <memory>

#include <gio/gio.h>

/// The answer to an asynchronous call of GIO's kind, as a C++ function: pass Deliver as the callback and
/// what Keep() gives as its data. The answer comes once, and ends what was kept.
namespace async_answer {

using Handler = std::function<void(GObject* source, GAsyncResult* result)>;

inline gpointer Keep(Handler handler) {
  return new Handler(std::move(handler));
}

inline void Deliver(GObject* source, GAsyncResult* result, gpointer kept) {
  const std::unique_ptr<Handler> handler(static_cast<Handler*>(kept));
  (*handler)(source, result);
}

}  // namespace async_answer
