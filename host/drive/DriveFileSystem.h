#pragma once
// DriveFileSystem: the phone's FileSystem, aware of the drive: inside it,
// folders are made, items removed and documents evicted through the Drive (so
// the cloud side follows), and a name is found also when it was written in
// another Unicode normal form. A cloud-only document does not exist here (it
// has no file) but its name is taken. Outside the drive it is the plain
// PosixFileSystem.

#include <memory>

#include "host/PosixFileSystem.h"
#include "host/drive/Drive.h"

namespace velune::host {

class DriveFileSystem final : public PosixFileSystem {
 public:
  DriveFileSystem(std::shared_ptr<Drive> drive, std::string documentsDirectory);

  bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr) override;
  bool isNameTakenAtPath(const std::string& path) override;
  std::optional<platform::Error> createDirectoryAtPath(const std::string& path,
                                                       bool withIntermediateDirectories) override;
  std::optional<platform::Error> removeItemAtPath(const std::string& path) override;
  std::optional<platform::Error> evictUbiquitousItemAtURL(const platform::URL& url) override;

 private:
  std::shared_ptr<Drive> drive_;
};

}  // namespace velune::host
