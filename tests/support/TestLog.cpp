#include "TestLog.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

namespace {

constexpr char kFile[] = "/run/test.log";
constexpr char kDaemonTag[] = "/PELORUS_LOG";
constexpr char kSystemMark[] = "(system)";
constexpr char kEndOfPlace[] = ") > ";
int g_real_stderr = -1;

GLogWriterOutput WriteToRealStderr(GLogLevelFlags level, const GLogField* fields, gsize count,
                                   gpointer) {
  g_autofree char* text = g_log_writer_format_fields(level, fields, count, FALSE);
  dprintf(g_real_stderr, "%s\n", text);
  return G_LOG_WRITER_HANDLED;
}

std::vector<std::string> RawLines() {
  std::vector<std::string> lines;
  std::ifstream file(kFile);
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// @param tag  how a line goes on after its priority
std::vector<std::string> MessagesOf(const std::string& tag) {
  std::vector<std::string> messages;
  for (const std::string& line : RawLines()) {
    const std::size_t mark = line.find(kEndOfPlace);
    if (line.size() > 1 && line.compare(1, tag.size(), tag) == 0 && mark != std::string::npos) {
      messages.push_back(line.substr(mark + std::strlen(kEndOfPlace)));
    }
  }
  return messages;
}

}  // namespace

namespace test_log {

void Start() {
  g_real_stderr = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  const int file = open(kFile, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  dup2(file, STDERR_FILENO);
  close(file);
  g_log_set_writer_func(WriteToRealStderr, nullptr, nullptr);
}

std::vector<std::string> Lines() {
  std::vector<std::string> lines;
  for (const std::string& line : RawLines()) {
    // "I/TAG: text", or "I/TAG(system): text"
    const std::size_t colon = line.find(": ");
    if (line.size() < 2 || line[1] != '/' || colon == std::string::npos) {
      lines.push_back(line);
      continue;
    }
    const bool is_system = std::string_view(line).substr(0, colon).ends_with(kSystemMark);
    lines.push_back((is_system ? kSystemMark : "") + line.substr(colon + 2));
  }
  return lines;
}

std::vector<std::string> Messages() {
  return MessagesOf(kDaemonTag);
}

std::size_t Count(std::string_view message) {
  return static_cast<std::size_t>(std::ranges::count(MessagesOf("/"), message));
}

bool Has(std::string_view message) {
  return Count(message) > 0;
}

void Clear() {
  if (truncate(kFile, 0) != 0) {
    std::abort();
  }
}

void Dump() {
  for (const std::string& line : RawLines()) {
    dprintf(g_real_stderr, "  log: %s\n", line.c_str());
  }
}

}  // namespace test_log
