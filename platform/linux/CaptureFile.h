#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "FileDescriptor.h"

/// The file of a capture, from before its first packet to its end. Until it is finished it has another
/// name, which a crash may leave behind and the next capture removes, so that under its own name it is
/// whole or not there. Its directory is locked meanwhile: there is one capture on the machine.
class CaptureFile {
 public:
  using Bytes = std::span<const std::uint8_t>;

  /// What a capture leaves free for the others on the disk.
  static constexpr std::uint64_t kFreeBytes = 4 * 1024 * 1024;

  /// Makes the directory if it is missing, and the file.
  /// @param size  the largest that the file may become: it must fit onto the disk, with kFreeBytes to
  /// spare
  /// @return null when the file cannot be had; logged
  static std::unique_ptr<CaptureFile> Create(const std::string& directory, const std::string& name,
                                             std::size_t size);
  /// Removes what was not finished.
  ~CaptureFile();

  /// Writes the file and gives it its name, over whatever had it; a link there is replaced and not
  /// followed. At most once.
  /// @return 0 or an errno value; there is no new file then, and an old one is as it was
  int Finish(std::span<const Bytes> pieces);

 private:
  CaptureFile(int directory, std::string name);
  [[nodiscard]] int CheckSpace(std::uint64_t size) const;
  [[nodiscard]] int Write(Bytes bytes) const;

  FileDescriptor m_directory;
  std::string m_name;
  std::string m_unfinished;  // its name until it is finished
  int m_file = -1;
};
