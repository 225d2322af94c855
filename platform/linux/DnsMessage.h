#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Messages of the name service, as bytes.
namespace dns_message {

enum class Type { kIpv4, kIpv6 };

/// A question for a name's addresses.
/// @return empty for what cannot be a name
[[nodiscard]] std::vector<std::uint8_t> Question(const std::string& name, Type type, std::uint16_t id);

enum class Outcome {
  kAddresses,
  kNoSuchName,  ///< the name does not exist, or has no address of this type
  kFailure,     ///< the server could not find out, or did not want to
};

struct Answer {
  Outcome outcome = Outcome::kFailure;
  std::vector<std::string> addresses;  ///< as text
};

/// @return nullopt for what is no answer to the question with this number
[[nodiscard]] std::optional<Answer> Parse(std::span<const std::uint8_t> bytes, std::uint16_t id);

}  // namespace dns_message
