#include "HttpAnswer.h"

#include <algorithm>
#include <charconv>

#include <glib.h>

namespace {

constexpr std::string_view kProtocol = "HTTP/";
constexpr std::size_t kLongestPage = 2048;

/// @return the first line, without its end, which is taken off the text
std::string_view TakeLine(std::string_view& text) {
  const auto end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  return line;
}

/// @return what follows the name of the field; nullopt when it is another one
std::optional<std::string_view> ValueOf(std::string_view line, std::string_view name) {
  if (line.size() <= name.size() || line[name.size()] != ':' ||
      g_ascii_strncasecmp(line.data(), name.data(), name.size()) != 0) {
    return std::nullopt;
  }
  line.remove_prefix(name.size() + 1);
  const auto first = line.find_first_not_of(" \t");
  const auto last = line.find_last_not_of(" \t");
  return first == std::string_view::npos ? "" : line.substr(first, last - first + 1);
}

template <class Number>
std::optional<Number> NumberOf(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// "HTTP/1.1 302 Found"
std::optional<int> StatusIn(std::string_view line) {
  const auto space = line.find(' ');
  if (!line.starts_with(kProtocol) || space == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view rest = line.substr(space + 1);
  const auto status = NumberOf<int>(rest.substr(0, rest.find(' ')));
  return status && *status >= 100 && *status <= 999 ? status : std::nullopt;
}

}  // namespace

std::optional<HttpAnswer> ParseHttpAnswer(std::string_view bytes) {
  std::string_view rest = bytes;
  const auto status = StatusIn(TakeLine(rest));
  if (!status || bytes.find('\n') == std::string_view::npos) {
    return std::nullopt;
  }
  HttpAnswer answer;
  answer.status = *status;
  while (rest.find('\n') != std::string_view::npos) {
    const std::string_view line = TakeLine(rest);
    if (line.empty()) {
      answer.body = rest;
      return answer;
    }
    if (const auto location = ValueOf(line, "Location")) {
      answer.location = *location;
    } else if (const auto length = ValueOf(line, "Content-Length")) {
      answer.length = NumberOf<std::size_t>(*length);
    }
  }
  return std::nullopt;
}

bool IsHopeless(std::string_view bytes) {
  const std::string_view begin = bytes.substr(0, kProtocol.size());
  if (!kProtocol.starts_with(begin)) {
    return true;
  }
  return bytes.find('\n') != std::string_view::npos && !StatusIn(TakeLine(bytes));
}

HttpVerdict Judge(const HttpAnswer& answer, std::string_view expected, bool is_whole) {
  constexpr int kNetworkAuthenticationRequired = 511;
  if (answer.status == 204) {
    return HttpVerdict::kWorks;
  }
  if ((answer.status >= 300 && answer.status < 400) || answer.status == kNetworkAuthenticationRequired) {
    return HttpVerdict::kPortal;
  }
  if (answer.status < 200 || answer.status >= 300) {
    return HttpVerdict::kFails;
  }
  const bool is_all = is_whole || (answer.length && answer.body.size() >= *answer.length);
  if (expected.empty()) {
    const bool is_empty = answer.body.empty();
    return !is_empty ? HttpVerdict::kPortal : is_all ? HttpVerdict::kWorks : HttpVerdict::kNeedsMore;
  }
  if (answer.body.starts_with(expected)) {
    return HttpVerdict::kWorks;
  }
  const bool may_become_it = expected.starts_with(answer.body) && !is_all;
  return may_become_it ? HttpVerdict::kNeedsMore : HttpVerdict::kPortal;
}

std::string PortalPage(const HttpAnswer& answer, const std::string& asked) {
  const auto is_printable = [](char c) { return g_ascii_isgraph(c); };
  if (answer.location.empty() || answer.location.size() > kLongestPage ||
      !std::ranges::all_of(answer.location, is_printable)) {
    return "";
  }
  std::string page = answer.location;
  if (g_uri_peek_scheme(page.c_str()) == nullptr) {
    g_autofree char* absolute =
        g_uri_resolve_relative(asked.c_str(), page.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    page = absolute == nullptr ? "" : absolute;
  }
  const char* scheme = g_uri_peek_scheme(page.c_str());
  const bool is_web = g_strcmp0(scheme, "http") == 0 || g_strcmp0(scheme, "https") == 0;
  return is_web ? page : "";
}
