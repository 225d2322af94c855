#pragma once

#include <string>
#include <string_view>

/// Network names as text. On the air a name is any 0 to 32 bytes, and the interfaces, the settings and
/// the documents carry text. A name that is UTF-8 without control characters is itself; in any other the
/// bytes that are not are written as "\xNN", and so is a backslash that would read as one of these. Each
/// name has one text and each such text is one name, so nothing is lost on the way out and back.
namespace ssid_text {

[[nodiscard]] std::string FromBytes(std::string_view bytes);

/// @return the name's bytes; a text that FromBytes() never gives is taken as it stands
[[nodiscard]] std::string ToBytes(std::string_view text);

}  // namespace ssid_text
