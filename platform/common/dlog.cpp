#include "dlog.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "LogFormat.h"

namespace {

constexpr std::size_t kLineBytes = 4096;
constexpr sockaddr_un kJournalSocket{AF_UNIX, "/run/systemd/journal/socket"};

/// One line with the place in the source that wrote it, if the format gave one.
struct Line {
  log_id_t buffer;
  int priority;
  const char* tag;
  bool has_place;
  const char* file;
  const char* function;
  int number;
  const char* text;
  std::size_t length;
};

/// Opened once; connected by the first line.
int JournalDescriptor() {
  static std::atomic<int> descriptor{-1};
  int known = descriptor.load();
  if (known >= 0) {
    return known;
  }
  const int opened = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (opened >= 0 && !descriptor.compare_exchange_strong(known, opened)) {
    close(opened);
    return known;
  }
  return opened;
}

/// The socket stays connected to the journal's, which spares the kernel the way to it by name with each
/// line. A journal that has gone refuses the line; it is sent again to the one that has come since.
bool SendConnected(const char* datagram, std::size_t length) {
  const int descriptor = JournalDescriptor();
  if (descriptor < 0) {
    return false;
  }
  if (send(descriptor, datagram, length, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
    return true;
  }
  return (errno == ENOTCONN || errno == ECONNREFUSED) &&
         connect(descriptor, reinterpret_cast<const sockaddr*>(&kJournalSocket),
                 sizeof kJournalSocket) == 0 &&
         send(descriptor, datagram, length, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

char SyslogPriority(int priority) {
  switch (priority) {
    case DLOG_FATAL:
      return '2';
    case DLOG_ERROR:
      return '3';
    case DLOG_WARN:
      return '4';
    case DLOG_INFO:
      return '6';
    default:
      return '7';
  }
}

std::size_t Format(char* buffer, std::size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
std::size_t Format(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::size_t length = FormatSignalSafe(buffer, size, format, arguments);
  va_end(arguments);
  return length < size ? length : size - 1;
}

std::string_view Cut(const char* text, std::size_t length) {
  return text == nullptr ? "(null)" : std::string_view(text, strnlen(text, length));
}

/// One datagram of "NAME=value" lines; the message goes in the form with a length, because it may hold
/// newlines. Put together without the formatter: a line is on the way between an event and what the user
/// sees of it.
bool SendToJournal(const Line& line) {
  char number[16];
  const char* const number_end = std::to_chars(number, number + sizeof number, line.number).ptr;
  const char priority = SyslogPriority(line.priority);
  const std::uint64_t text_length = htole64(line.length);
  const struct {
    std::string_view name;
    std::string_view value;
  } fields[] = {
      {"PRIORITY=", {&priority, 1}},
      {"\nSYSLOG_IDENTIFIER=", Cut(line.tag, 64)},
      {"\nPELORUS_BUFFER=", line.buffer == LOG_ID_SYSTEM ? "system" : "main"},
      {"\nMESSAGE\n", {reinterpret_cast<const char*>(&text_length), sizeof text_length}},
      {"", {line.text, line.length}},
      {"\nCODE_FILE=", Cut(line.file, 128)},
      {"\nCODE_FUNC=", Cut(line.function, 256)},
      {"\nCODE_LINE=", {number, static_cast<std::size_t>(number_end - number)}},
  };
  const std::size_t count = std::size(fields) - (line.has_place ? 0 : 3);
  char datagram[1024 + kLineBytes];  // the fields but the text are shorter than 1024, whatever they hold
  std::size_t length = 0;
  const auto put = [&](std::string_view bytes) {
    std::memcpy(datagram + length, bytes.data(), bytes.size());
    length += bytes.size();
  };
  for (std::size_t i = 0; i < count; ++i) {
    put(fields[i].name);
    put(fields[i].value);
  }
  put("\n");
  return SendConnected(datagram, length);
}

/// Where a text that is cut at `length` ends without half a UTF-8 character, for which a reader of the
/// journal would be shown no text at all.
std::size_t EndOfCharacters(const char* text, std::size_t length) {
  std::size_t start = length;
  while (start > 0 && length - start < 3 && (text[start - 1] & 0xC0) == 0x80) {
    --start;
  }
  if (start == 0) {
    return length;
  }
  const auto lead = static_cast<unsigned char>(text[start - 1]);
  const std::size_t announced = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  return announced > length - start + 1 ? start - 1 : length;
}

bool WriteToStandardError(const Line& line) {
  char text[kLineBytes];  // PIPE_BUF: so much goes into a pipe in one piece
  static_assert(kLineBytes <= PIPE_BUF);
  std::size_t length = Format(text, sizeof text, "%c/%.64s%s: %s", "VVVDIWEF"[line.priority & 7],
                              line.tag, line.buffer == LOG_ID_SYSTEM ? "(system)" : "", line.text);
  if (length == sizeof text - 1) {
    length = EndOfCharacters(text, length);
  }
  // One line each, so that no text from outside (the name of a network) can pass for a line of ours.
  for (std::size_t i = 0; i < length; ++i) {
    if (text[i] == '\n' || text[i] == '\r') {
      text[i] = ' ';
    }
  }
  text[length++] = '\n';
  for (std::size_t done = 0; done < length;) {
    const ssize_t written = write(STDERR_FILENO, text + done, length - done);
    if (written < 0 && errno != EINTR) {
      return false;
    }
    done += written < 0 ? 0 : static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* fmt, ...) {
  const int saved_errno = errno;
  char text[kLineBytes];
  Line line{log_id, priority, tag, false, nullptr, nullptr, 0, text, 0};

  std::va_list arguments;
  va_start(arguments, fmt);
  const std::size_t length = FormatSignalSafe(text, sizeof text, fmt, arguments);
  if (std::strncmp(fmt, DLOG_PLACE_FORMAT, sizeof DLOG_PLACE_FORMAT - 1) == 0) {
    line.has_place = true;
    line.file = va_arg(arguments, const char*);
    line.function = va_arg(arguments, const char*);
    line.number = va_arg(arguments, int);
  }
  va_end(arguments);
  line.length = length;
  if (length >= sizeof text) {
    line.length = EndOfCharacters(text, sizeof text - 1);
    text[line.length] = '\0';
  }

  const bool taken = SendToJournal(line) || WriteToStandardError(line);
  errno = saved_errno;
  return taken ? static_cast<int>(length) : -1;
}
