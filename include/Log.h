#pragma once

#include "dlog.h"

/// The daemon's log: one line with file, function and line number. NW_LOG goes to the main buffer,
/// NW_LOG_SYSTEM to the system buffer. Both may be used in a signal handler.
#define NW_LOG_TO(buffer, format, ...)                                                              \
  __dlog_print(buffer, DLOG_INFO, "PELORUS_LOG", DLOG_PLACE_FORMAT format, __FILE_NAME__, __func__, \
               __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define NW_LOG(format, ...) NW_LOG_TO(LOG_ID_MAIN, format __VA_OPT__(, ) __VA_ARGS__)
#define NW_LOG_SYSTEM(format, ...) NW_LOG_TO(LOG_ID_SYSTEM, format __VA_OPT__(, ) __VA_ARGS__)
