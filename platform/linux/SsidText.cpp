#include "SsidText.h"

#include <glib.h>

namespace {

/// Whether "\xNN" stands there.
bool IsEscape(std::string_view text) {
  return text.size() >= 4 && text[0] == '\\' && text[1] == 'x' && g_ascii_isxdigit(text[2]) &&
         g_ascii_isxdigit(text[3]);
}

/// The length of the printable character that stands there, 0 when none does.
std::size_t LengthOfCharacter(std::string_view text) {
  const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  const bool is_valid = character != static_cast<gunichar>(-1) && character != static_cast<gunichar>(-2);
  return is_valid && character != 0 && !g_unichar_iscntrl(character)
             ? static_cast<std::size_t>(g_utf8_next_char(text.data()) - text.data())
             : 0;
}

std::string Escape(char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  return {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xFU]};
}

}  // namespace

std::string ssid_text::FromBytes(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const std::size_t length = IsEscape(bytes) ? 0 : LengthOfCharacter(bytes);
    text += length == 0 ? Escape(bytes.front()) : std::string(bytes.substr(0, length));
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

std::string ssid_text::ToBytes(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    if (IsEscape(text)) {
      bytes += static_cast<char>(g_ascii_xdigit_value(text[2]) * 16 + g_ascii_xdigit_value(text[3]));
      text.remove_prefix(4);
    } else {
      bytes += text.front();
      text.remove_prefix(1);
    }
  }
  return bytes;
}
