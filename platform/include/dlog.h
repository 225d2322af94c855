#pragma once

/// The platform log. Every function here may be called from any thread and from a signal handler: it
/// allocates nothing, takes no lock and leaves errno as it was.

#ifdef __cplusplus
extern "C" {
#endif

/// Which buffer of the log a line goes to.
typedef enum {
  LOG_ID_MAIN = 0,    ///< what applications and the daemon say
  LOG_ID_SYSTEM = 1,  ///< what a system engineer looks for first
} log_id_t;

/// Priorities, least urgent first.
typedef enum {
  DLOG_DEBUG = 3,
  DLOG_INFO = 4,
  DLOG_WARN = 5,
  DLOG_ERROR = 6,
  DLOG_FATAL = 7,
} log_priority;

/// What every line of this product begins with: source file, function, line. A log that keeps
/// structured records takes these three from the arguments when `fmt` begins with this text.
#define DLOG_PLACE_FORMAT "%s: %s(%d) > "

/// Writes one line. `fmt` is a printf format with the conversions d i u x X o c s p z h l j t, flags,
/// width and precision, but without floating point, positions ("1$") and %n.
/// A line that is longer than the log can hold is cut at its end, never dropped.
/// @return the number of bytes of the whole line, or a negative value when no sink took it
int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif
