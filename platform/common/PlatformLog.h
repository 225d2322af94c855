#pragma once

#include "dlog.h"

/// What a backend says for itself, apart from the daemon's own lines.
#define PLATFORM_LOG(priority, format, ...)                                                        \
  __dlog_print(LOG_ID_MAIN, priority, "PELORUS_PLATFORM", DLOG_PLACE_FORMAT format, __FILE_NAME__, \
               __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
