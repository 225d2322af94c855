#include "TestLog.h"

#include <algorithm>
#include <fstream>

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

namespace {

constexpr char kFile[] = "/run/test.log";
int g_real_stderr = -1;

GLogWriterOutput WriteToRealStderr(GLogLevelFlags level, const GLogField* fields, gsize count,
                                   gpointer) {
  g_autofree char* text = g_log_writer_format_fields(level, fields, count, FALSE);
  dprintf(g_real_stderr, "%s\n", text);
  return G_LOG_WRITER_HANDLED;
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
  std::ifstream file(kFile);
  for (std::string line; std::getline(file, line);) {
    const std::size_t slash = line.find('/');
    const std::size_t colon = line.find(": ");
    if (slash == 1 && colon != std::string::npos) {
      const bool is_system = line.compare(0, colon, line, 0, colon) == 0 &&
                             line.substr(0, colon).find("(system)") != std::string::npos;
      line = (is_system ? "(system)" : "") + line.substr(colon + 2);
    }
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> Messages() {
  std::vector<std::string> messages;
  for (const std::string& line : Lines()) {
    const std::size_t mark = line.find(") > ");
    if (mark != std::string::npos) {
      messages.push_back(line.substr(mark + 4));
    }
  }
  return messages;
}

std::size_t Count(std::string_view message) {
  return static_cast<std::size_t>(std::ranges::count(Messages(), message));
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
  std::ifstream file(kFile);
  for (std::string line; std::getline(file, line);) {
    dprintf(g_real_stderr, "  log: %s\n", line.c_str());
  }
}

}  // namespace test_log
