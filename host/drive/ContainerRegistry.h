#pragma once
// ContainerRegistry: the containers of the drive, from HOME/containers.json:
//
//   {"containers": [
//     {"identifier": "com.vorlan.drive", "name": "Velune Drive"},
//     {"identifier": "com.vorlan.Drillrun", "name": "Drillrun", "folderDepth": "any",
//      "documentTypes": [{"name": "Drill", "contentTypes": ["com.vorlan.drillrun.drill"]}]}
//   ]}
//
// "folderDepth" is absent, "none", "one" or "any"; another value is kept as
// written and reported as unknown by its readers. The default container
// (kDefaultSyncContainerIdentifier) always exists, declared or not. Folders of
// "Mobile Documents" that the file does not declare are containers too, named
// by their folder. A missing file means only those; a broken file or entry is
// logged (level 3) once per change of the file and left on disk untouched.
//
// The declarations are re-read when the file or the drive's top folder
// changes. Thread-safe.

#include <sys/types.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Value.h"

namespace velune::host {

struct ContainerDeclaration {
  std::string identifier;
  std::string localizedName;
  platform::Value folderDepth;    // null when absent
  platform::Value documentTypes;  // null when none are declared
  bool declared = true;           // false for a folder found on disk only
};

class ContainerRegistry {
 public:
  ContainerRegistry(std::string containersJsonPath, std::string driveRoot);

  // Every container, the default first, then in the file's order, then the
  // undeclared folders by name.
  std::vector<std::shared_ptr<const ContainerDeclaration>> containers();
  std::shared_ptr<const ContainerDeclaration> container(const std::string& identifier);

  // Parses the text of a containers.json; problems are described in `problems`.
  static std::vector<ContainerDeclaration> parse(const std::string& text, std::vector<std::string>* problems);

 private:
  struct Stamp {
    bool exists = false;
    ino_t inode = 0;
    off_t size = 0;
    long long modifiedSeconds = 0;
    long modifiedNanoseconds = 0;
    bool operator==(const Stamp&) const = default;
  };
  static Stamp stampOf(const std::string& path);
  void reloadIfChanged();

  const std::string path_;
  const std::string driveRoot_;
  std::mutex mutex_;
  bool loaded_ = false;
  Stamp fileStamp_;
  Stamp rootStamp_;
  std::vector<std::shared_ptr<const ContainerDeclaration>> containers_;
};

}  // namespace velune::host
