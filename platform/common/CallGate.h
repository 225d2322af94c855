#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The way into every platform function. A backend that simulates a TV puts a hook here, which sees
/// each call with its arguments and may refuse it; without a hook the gate costs one load.
namespace call_gate {

/// @return the error code that the function shall answer with, or nullopt to let the call through
using Hook = std::optional<int> (*)(std::string_view function, std::vector<std::string> arguments);

namespace internal {
inline std::atomic<Hook> hook{nullptr};

inline std::string ToText(const char* text) {
  return text == nullptr ? "null" : text;
}
inline std::string ToText(const std::string& text) {
  return text;
}
inline std::string ToText(bool value) {
  return value ? "true" : "false";
}
inline std::string ToText(int value) {
  return std::to_string(value);
}
}  // namespace internal

inline void SetHook(Hook hook) {
  internal::hook.store(hook, std::memory_order_release);
}

template <class... Arguments>
[[nodiscard]] std::optional<int> Refusal(const char* function, const Arguments&... arguments) {
  const Hook hook = internal::hook.load(std::memory_order_acquire);
  if (hook == nullptr) {
    return std::nullopt;
  }
  return hook(function, {internal::ToText(arguments)...});
}

}  // namespace call_gate
