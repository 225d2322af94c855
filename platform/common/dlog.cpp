#include "dlog.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstring>

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

int SyslogPriority(int priority) {
  switch (priority) {
    case DLOG_FATAL:
      return 2;
    case DLOG_ERROR:
      return 3;
    case DLOG_WARN:
      return 4;
    case DLOG_INFO:
      return 6;
    default:
      return 7;
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

/// One datagram of "NAME=value" lines; the message goes in the form with a length, because it may hold
/// newlines.
bool SendToJournal(const Line& line) {
  constexpr std::size_t kFieldBytes = 512;  // of each of the two parts before the message
  char datagram[2 * kFieldBytes + kLineBytes + 32];
  std::size_t length =
      Format(datagram, kFieldBytes, "PRIORITY=%d\nSYSLOG_IDENTIFIER=%.64s\nPELORUS_BUFFER=%s\n",
             SyslogPriority(line.priority), line.tag, line.buffer == LOG_ID_SYSTEM ? "system" : "main");
  if (line.file != nullptr) {
    length +=
        Format(datagram + length, kFieldBytes, "CODE_FILE=%.128s\nCODE_FUNC=%.256s\nCODE_LINE=%d\n",
               line.file, line.function, line.number);
  }
  const auto put = [&](const void* bytes, std::size_t count) {
    std::memcpy(datagram + length, bytes, count);
    length += count;
  };
  std::uint8_t message_length[8];
  for (int i = 0; i < 8; ++i) {
    message_length[i] = static_cast<std::uint8_t>(std::uint64_t{line.length} >> (8 * i));
  }
  put("MESSAGE\n", 8);
  put(message_length, sizeof message_length);
  put(line.text, line.length);
  put("\n", 1);
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
  Line line{log_id, priority, tag, nullptr, nullptr, 0, text, 0};

  std::va_list arguments;
  va_start(arguments, fmt);
  const std::size_t length = FormatSignalSafe(text, sizeof text, fmt, arguments);
  if (std::strncmp(fmt, DLOG_PLACE_FORMAT, sizeof DLOG_PLACE_FORMAT - 1) == 0) {
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
