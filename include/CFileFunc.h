#pragma once

#include <string>

/// Operations on the directories of packet captures. A path is a directory with a file's name right
/// behind it. Without state; they work on the thread that calls them. What they share with CFileSystem
/// is in FileOperations.h; here no exception leaves, and a directory that another one makes meanwhile is
/// as good as one's own.
class CFileFunc {
 public:
  /// Makes a directory, in one that exists.
  /// @return false only when that failed with an error
  static bool createDir(std::string dir);

  /// Copies a file of at most 1 MiB, with rights for everybody. There is the old file or the new one at
  /// the destination, whole, also when the disk is full.
  /// @return whether it was copied
  static bool copyFile(std::string sourceDir, std::string destDir, std::string fileName);
};
