#pragma once

#include "dlog.h"

/// What the notification program says to whoever reads the log, apart from what it shows.
#define NOTIFICATION_LOG(priority, format, ...)                                                        \
  __dlog_print(LOG_ID_MAIN, priority, "PELORUS_NOTIFICATION", DLOG_PLACE_FORMAT format, __FILE_NAME__, \
               __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
