#pragma once
// FileUtils: class operations on the items of the drive: queries of their
// type, location and attributes, and the coordinated changes of the drive.
// Stateless; every operation is synchronous on the caller's thread.

#include <string>

namespace velune {

class FileUtils {
 public:
  FileUtils() = delete;

  // Logs the creation date, modification date and size of the item at the
  // path (level 7), or why they could not be read (level 3).
  static void logFileAttributes(const std::string& path);
};

}  // namespace velune
