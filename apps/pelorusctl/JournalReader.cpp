#include "JournalReader.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kLongestLine = 1 << 20;

}  // namespace

int JournalReader::Read(const OnLine& line, const OnFault& fault) {
  if (m_fd >= 0) {
    // Whether it was renamed is asked first: what was appended before is then still read to its end.
    const bool is_named = IsNamedFile();
    const int error = ReadOpened(line, fault);
    if (is_named) {
      return error;
    }
    ReportRest(fault);
    Close();
  }
  if (const int error = OpenNamed(); error != 0) {
    return error;
  }
  return ReadOpened(line, fault);
}

void JournalReader::ReportRest(const OnFault& fault) const {
  if (m_has_rest) {
    fault(m_number + 1, "it has no end");
  }
}

int JournalReader::ReadOpened(const OnLine& line, const OnFault& fault) {
  struct stat status;
  if (fstat(m_fd, &status) == 0 && status.st_size < m_offset) {
    StartAnew();
  }
  // The head of a line is read again with its end: a writer may take it back and write another.
  std::string text;
  for (;;) {
    const off_t next = m_offset + static_cast<off_t>(text.size());
    char chunk[1 << 16];
    const ssize_t length = pread(m_fd, chunk, sizeof chunk, next);
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length <= 0) {
      m_has_rest = m_is_too_long || !text.empty();
      return length < 0 ? errno : 0;
    }
    text.append(chunk, static_cast<std::size_t>(length));
    std::string_view rest = text;
    Take(rest, line, fault);
    m_offset += static_cast<off_t>(text.size() - rest.size());
    text = std::string(rest);
  }
}

/// Gives the whole lines at the beginning of `text`, and takes them away from it.
void JournalReader::Take(std::string_view& text, const OnLine& line, const OnFault& fault) {
  for (std::size_t end = 0; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
    ++m_number;
    if (m_is_too_long || end > kLongestLine) {
      fault(m_number, "it is too long");
    } else {
      line(m_number, std::string(text.substr(0, end)));
    }
    m_is_too_long = false;
  }
  if (m_is_too_long || text.size() > kLongestLine) {
    m_is_too_long = true;
    text = {};
  }
}

int JournalReader::OpenNamed() {
  const int fd = open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    return errno;
  }
  struct stat status;
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  }
  m_fd = fd;
  return 0;
}

bool JournalReader::IsNamedFile() const {
  struct stat opened;
  struct stat named;
  return fstat(m_fd, &opened) == 0 && stat(m_path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

void JournalReader::StartAnew() {
  m_offset = 0;
  m_number = 0;
  m_is_too_long = false;
  m_has_rest = false;
}

void JournalReader::Close() {
  if (m_fd >= 0) {
    close(m_fd);
  }
  m_fd = -1;
  StartAnew();
}
