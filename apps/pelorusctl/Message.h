#pragma once

#include <cstdio>
#include <string>

/// Says on standard error what went wrong.
inline void Complain(const std::string& message) {
  std::fprintf(stderr, "pelorusctl: %s\n", message.c_str());
}
