#pragma once

#include <chrono>

#include <glib.h>

#include "Radio.h"

/// A radio, and when it was heard.
struct HeardRadio {
  Radio radio;
  gint64 heard_at = 0;        ///< monotonic time of its last frame, in microseconds
  bool is_connected = false;  ///< the TV is associated with it
  bool is_hidden = false;     ///< its beacons do not tell its name; it may be known all the same

  [[nodiscard]] std::chrono::milliseconds Age() const {
    return std::chrono::milliseconds((g_get_monotonic_time() - heard_at) / 1000);
  }
};
