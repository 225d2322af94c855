#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "NewKPI2017.h"
#include "dlog.h"

// An address as the network service writes it, or anything else that it may write.

/// A line for each input would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

namespace {

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// What an address means that is written as it should be, and nothing of which overflows.
void CheckAddress(const std::uint8_t* octets) {
  char text[16];
  std::snprintf(text, sizeof text, "%d.%d.%d.%d", octets[0], octets[1], octets[2], octets[3]);
  const bool is_private =
      octets[0] == 10 || (octets[0] == 172 && octets[1] >= 16) || (octets[0] == 192 && octets[1] == 168);
  Require(IPType::IsPrivateIP(text) == is_private);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const bool is_private = IPType::IsPrivateIP(text);
  Require(IPType::IsPrivateIP(text) == is_private);
  // Only the three beginnings make an address private, and each of them has a digit.
  bool has_digit = false;
  for (const char c : text) {
    has_digit = has_digit || std::isdigit(static_cast<unsigned char>(c)) != 0;
  }
  Require(has_digit || !is_private);
  constexpr std::size_t kOctets = 4;
  if (size >= kOctets) {
    CheckAddress(data);
  }
  return 0;
}
