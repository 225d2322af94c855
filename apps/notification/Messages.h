#pragma once

#include <span>
#include <string>
#include <string_view>

/// What is shown for a keyword, in English; Translate() gives it in the user's language.
struct Message {
  const char* keyword;
  const char* title;
  const char* body;
  const char* data_label;  ///< what the data of this keyword is; null when the keyword has none
};

/// A message in the user's language, ready to be shown: printable UTF-8 without line breaks.
struct Text {
  std::string title;
  std::string body;
};

/// Every message, in the order in which they are listed.
std::span<const Message> AllMessages();

/// @param keyword  compared character by character, case included
/// @return null when there is no such keyword
const Message* FindMessage(std::string_view keyword);

/// @param data  what came with the keyword, from anywhere, hence not trusted; left out when empty or
///              when the keyword has none
Text Translate(const Message& message, std::string_view data);

/// Text that a terminal only prints: each byte of what is not a visible character (controls, spaces,
/// characters that turn the writing direction, bytes that are no UTF-8) becomes %XX, as in a URL. Cut
/// with an ellipsis when it is longer than a message can be.
std::string Printable(std::string_view text);
