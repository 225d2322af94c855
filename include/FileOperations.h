#pragma once

#include <string>

/// What CFileSystem (certificates) and CFileFunc (captures) have in common. Without state; it works on
/// the thread that calls it.
///
/// What is written is in the directory that was named and nowhere else. A destination that is a symbolic
/// link is replaced and not written through, and a directory that is one itself is left alone.
namespace file_operations {

/// Also false where nobody may look.
bool Exists(const std::string& path);

/// Owns a file descriptor; a negative one is none.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int Get() const { return m_number; }

 private:
  const int m_number;
};

/// The directory itself, whatever is put at its path later.
/// @throws std::exception for a symbolic link, and where there is no directory
[[nodiscard]] Descriptor Enter(std::string dir);

/// @throws std::exception with `what`, the path and the text of `error`, an errno value
[[noreturn]] void Fail(const char* what, const std::string& path, int error);

/// What came of making a directory.
enum class Making {
  kExisted,
  kCreated,
  kNotCreated,  ///< another one was quicker
  kFailed,
};

/// Makes a directory, in one that exists, and logs what came of it.
Making MakeDirectory(const std::string& dir);

/// Copies a file of at most 1 MiB, with rights for everybody. There is the old file or the new one at
/// the destination, whole, also when the disk is full.
/// @param fromDir  a path is the directory with the file's name right behind it
/// @param toDir    exists
/// @return false when the file is too large
/// @throws std::exception when the file cannot be copied
bool CopySmallFile(const std::string& fromDir, const std::string& toDir, const std::string& fileName);

}  // namespace file_operations
