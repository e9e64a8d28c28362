#pragma once
// PosixFileSystem: the FileSystem of the simulated phone: the real Linux file
// system. Creation dates come from statx birth times; where the file system
// keeps none, the earlier of the modification and status-change times stands
// in for it. It knows no drive: eviction is refused (host/drive/DriveFileSystem
// is the drive-aware one).

#include <optional>

#include "platform/FileSystem.h"

namespace velune::host {

class PosixFileSystem : public platform::FileSystem {
 public:
  // `documentsDirectory`: what documentDirectoryURLs() reports (none when empty).
  explicit PosixFileSystem(std::string documentsDirectory = {});

  bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr) override;
  bool isNameTakenAtPath(const std::string& path) override;
  platform::Result<platform::FileAttributes> attributesOfItemAtPath(const std::string& path) override;
  std::optional<platform::Error> createDirectoryAtPath(const std::string& path,
                                                       bool withIntermediateDirectories) override;
  std::optional<platform::Error> copyItemAtPath(const std::string& from, const std::string& to) override;
  std::optional<platform::Error> removeItemAtPath(const std::string& path) override;
  std::optional<platform::Error> evictUbiquitousItemAtURL(const platform::URL& url) override;
  platform::Result<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string& path) override;
  std::unique_ptr<platform::DirectoryEnumerator> enumeratorAtURL(
      const platform::URL& url, platform::DirectoryEnumerationOptions options,
      platform::DirectoryEnumerationErrorHandler errorHandler) override;
  std::vector<platform::URL> documentDirectoryURLs() override;

 private:
  std::string documentsDirectory_;
};

}  // namespace velune::host
