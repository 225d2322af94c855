#include "CFileFunc.h"

#include <exception>

#include "FileOperations.h"
#include "Log.h"

bool CFileFunc::createDir(std::string dir) {
  return file_operations::MakeDirectory(dir) != file_operations::Making::kFailed;
}

bool CFileFunc::copyFile(std::string sourceDir, std::string destDir, std::string fileName) {
  try {
    return createDir(destDir) && file_operations::CopySmallFile(sourceDir, destDir, fileName);
  } catch (const std::exception& e) {
    NW_LOG("Error::[%s]", e.what());
    return false;
  }
}
