#pragma once

/* What the probe sends: one record, in one write. */

#define PROBE_PIPE "/run/bench/probe"

#ifdef __cplusplus
extern "C" {
#endif

struct probe_record {
  long long time_ns; /* CLOCK_MONOTONIC at its first instruction */
  int pid;
  int arguments;          /* how many */
  char last_argument[24]; /* cut, padded with NUL */
};

#ifdef __cplusplus
}
#endif
