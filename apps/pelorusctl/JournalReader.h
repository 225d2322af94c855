#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

/// Reads a file of lines that others append to, and that may be renamed away, cut to nothing or not be
/// there yet. It keeps its place: what it has given it does not give again.
class JournalReader {
 public:
  /// @param line  without the newline
  using OnLine = std::function<void(std::uint64_t number, const std::string& line)>;
  /// A line that has no end, or is longer than any record.
  using OnFault = std::function<void(std::uint64_t number, const std::string& fault)>;

  explicit JournalReader(std::string path) : m_path(std::move(path)) {}
  ~JournalReader() { Close(); }
  JournalReader(const JournalReader&) = delete;
  JournalReader& operator=(const JournalReader&) = delete;

  /// Gives every whole line that has come since the last call, in order, over any change of the file.
  /// @return 0, or the errno with which the file of that name cannot be read now, ENOENT when there is
  ///         none; lines of the file before it are given all the same
  int Read(const OnLine& line, const OnFault& fault);

  /// Gives what was behind the last newline as a line without an end.
  void ReportRest(const OnFault& fault) const;

 private:
  int ReadOpened(const OnLine& line, const OnFault& fault);
  void Take(std::string_view& text, const OnLine& line, const OnFault& fault);
  int OpenNamed();
  [[nodiscard]] bool IsNamedFile() const;
  void StartAnew();
  void Close();

  std::string m_path;
  int m_fd = -1;
  off_t m_offset = 0;          // behind the last newline, but for a line that is too long
  std::uint64_t m_number = 0;  // of the last line given
  bool m_is_too_long = false;  // the line at m_offset
  bool m_has_rest = false;     // something stood behind the last newline
};
