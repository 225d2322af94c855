#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What a web server answered, as far as a probe cares about it.
struct HttpAnswer {
  int status = 0;
  std::string location;               ///< where it leads to; empty when it says nothing of it
  std::string_view body;              ///< what has come of it; borrowed from the bytes that were read
  std::optional<std::size_t> length;  ///< of the whole body, where it is said
};

/// Reads the head of an answer.
/// @return nullopt while the head is not whole, and for what is no answer of a web server; see
/// IsHopeless()
[[nodiscard]] std::optional<HttpAnswer> ParseHttpAnswer(std::string_view bytes);

/// @return whether what begins like this can never become an answer
[[nodiscard]] bool IsHopeless(std::string_view bytes);

/// What an answer says about the way to the server.
enum class HttpVerdict {
  kNeedsMore,  ///< cannot be said before more of the body is there
  kWorks,      ///< it is the server's own
  kPortal,     ///< somebody shows a page in the server's place
  kFails,      ///< something on the way has a fault of its own
};

/// @param expected  what the server's page begins with; empty: the server has nothing to say
/// @param is_whole  nothing more comes
[[nodiscard]] HttpVerdict Judge(const HttpAnswer& answer, std::string_view expected, bool is_whole);

/// The page that an answer leads to.
/// @param asked  the address that was asked, against which a relative one is read
/// @return empty when it leads nowhere that a browser could show
[[nodiscard]] std::string PortalPage(const HttpAnswer& answer, const std::string& asked);
