#pragma once
// PosixFileSystem: the FileSystem of the simulated phone: the real Linux file
// system. Creation dates come from statx birth times; where the file system
// keeps none, the earlier of the modification and status-change times stands
// in for it.

#include "platform/FileSystem.h"

namespace velune::host {

class PosixFileSystem : public platform::FileSystem {
 public:
  bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr) override;
  platform::Result<platform::FileAttributes> attributesOfItemAtPath(const std::string& path) override;
};

}  // namespace velune::host
