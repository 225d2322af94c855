#pragma once

#include <exception>
#include <utility>

#include "dlog.h"

/// Runs `function`, and turns an exception that leaves it into a log line. It stands at every border
/// where the daemon's code is called from C (platform callbacks, steps of the start sequence), so that
/// a document which makes the JSON library throw costs that one call and not the daemon.
template <class Function>
void CallGuarded(Function&& function) noexcept {
  try {
    std::forward<Function>(function)();
  } catch (const std::exception& e) {
    __dlog_print(LOG_ID_MAIN, DLOG_INFO, "PELORUS_LOG", DLOG_PLACE_FORMAT "exception %s", __FILE_NAME__,
                 __func__, __LINE__, e.what());
  }
}
