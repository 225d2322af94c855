#pragma once

#include <string>

/// Operations on the directories of certificates. Directories end with a slash: a file's path is the
/// directory with the file's name behind it. Without state; they work on the thread that calls them.
/// What they share with CFileFunc is in FileOperations.h.
///
/// What is written or removed is in the directory that was named and nowhere else: a directory that is a
/// symbolic link itself is left alone.
class CFileSystem {
 public:
  /// Copies the certificates of a directory, but not of those in it. What goes wrong with one ends the
  /// walk.
  /// @return whether any was copied; false also when the walk was ended
  static bool CopyCertificates(std::string fromDir, std::string toDir);

  /// Copies a file of at most 1 MiB, with rights for everybody. There is the old file or the new one at
  /// the destination, whole, also when the disk is full.
  /// @return false when the directory cannot be made or the file is too large
  /// @throws std::exception when the file cannot be copied
  static bool copyFile(std::string fromDir, std::string toDir, std::string fileName);

  /// Makes a directory, in one that exists.
  /// @return whether it is there
  static bool createDir(std::string dir);

  /// Flushes a directory's entries to the disk.
  /// @param dir  null: nothing is done
  static void SyncDir(const char* dir);

  /// Removes a directory and all in it; symbolic links in it are removed and not followed.
  static void RemoveCertificateDir(std::string dir);
};
