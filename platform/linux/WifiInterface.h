#pragma once

#include <functional>

#include "wifi.h"

/// What the functions of the Wi-Fi interface share.
namespace wifi_interface {

[[nodiscard]] bool IsInitialized();

/// What every function asks before it looks at its arguments' worth.
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, or WIFI_ERROR_INVALID_OPERATION before
///         wifi_initialize()
[[nodiscard]] inline int Check(bool arguments_are_given) {
  if (!arguments_are_given) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  return IsInitialized() ? WIFI_ERROR_NONE : WIFI_ERROR_INVALID_OPERATION;
}

/// How the daemon's callback hears of the end of its request.
[[nodiscard]] std::function<void(int result)> Answer(wifi_finished_cb callback, void* user_data);

/// Begins and ends telling the state of the connection.
void Start();
/// No callback for the state is called after this.
void Stop();

}  // namespace wifi_interface
