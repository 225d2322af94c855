#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gio/gio.h>
#include <json/value.h>

/// Reading a request of the control socket, for those who carry it out.
namespace tv_commands {

/// A request that is refused, with the reason that the client is told. No reason repeats a passphrase.
class Refused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The member of that name. @throws Refused when there is none, or one of another type
std::string Text(const Json::Value& request, const char* member);
int Number(const Json::Value& request, const char* member);
/// @throws Refused also when it is not within the bounds, both included
int Number(const Json::Value& request, const char* member, int least, int most);
bool Flag(const Json::Value& request, const char* member);
/// An IP address as text; empty for none. @throws Refused also when it is of another family
std::string Address(const Json::Value& request, const char* member, GSocketFamily family);

[[noreturn]] void RefuseAction(const std::string& what, const std::string& action);

/// Values of an enumeration and the words that stand for them.
template <class Value>
struct Word {
  std::string_view word;
  Value value;
};

/// @throws Refused naming the words that there are
template <class Value, std::size_t count>
Value FromWord(const Word<Value> (&words)[count], const char* member, const std::string& word) {
  std::string known;
  for (const Word<Value>& entry : words) {
    if (entry.word == word) {
      return entry.value;
    }
    known += (known.empty() ? "" : ", ") + std::string(entry.word);
  }
  throw Refused(std::string("\"") + member + "\" must be one of " + known);
}

template <class Value, std::size_t count>
std::string ToWord(const Word<Value> (&words)[count], Value value) {
  for (const Word<Value>& entry : words) {
    if (entry.value == value) {
      return std::string(entry.word);
    }
  }
  return "unknown";
}

constexpr int kLongestTimeMs = 3'600'000;

}  // namespace tv_commands
