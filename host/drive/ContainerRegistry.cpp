#include "host/drive/ContainerRegistry.h"

#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "platform/Log.h"
#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "host/JsonValue.h"
#include "host/drive/FileOperations.h"
#include "platform/SyncContainer.h"

namespace velune::host {

using platform::Value;

namespace {

bool isUsableIdentifier(const std::string& identifier) {
  return !identifier.empty() && identifier.front() != '.' && identifier.find('/') == std::string::npos &&
         identifier.find('\0') == std::string::npos;
}

ContainerDeclaration defaultDeclaration() {
  ContainerDeclaration declaration;
  declaration.identifier = std::string(platform::kDefaultSyncContainerIdentifier);
  declaration.localizedName = "Velune Drive";
  declaration.declared = false;
  return declaration;
}

}  // namespace

ContainerRegistry::ContainerRegistry(std::string containersJsonPath, std::string driveRoot)
    : path_(std::move(containersJsonPath)), driveRoot_(std::move(driveRoot)) {}

ContainerRegistry::Stamp ContainerRegistry::stampOf(const std::string& path) {
  struct stat info {};
  Stamp stamp;
  if (::stat(path.c_str(), &info) == 0) {
    stamp.exists = true;
    stamp.inode = info.st_ino;
    stamp.size = info.st_size;
    stamp.modifiedSeconds = info.st_mtim.tv_sec;
    stamp.modifiedNanoseconds = info.st_mtim.tv_nsec;
  }
  return stamp;
}

std::vector<ContainerDeclaration> ContainerRegistry::parse(const std::string& text,
                                                           std::vector<std::string>* problems) {
  auto problem = [&](std::string message) {
    if (problems != nullptr) {
      problems->push_back(std::move(message));
    }
  };
  std::vector<ContainerDeclaration> out;
  bool tooDeep = false;
  const auto json = parseHomeJson(text, &tooDeep);
  const nlohmann::json* list = nullptr;
  if (json.is_object() && json.contains("containers")) {
    list = &json["containers"];
  } else if (json.is_array()) {
    list = &json;
  }
  if (list == nullptr || !list->is_array()) {
    problem(tooDeep ? "containers.json nests deeper than " + std::to_string(kHomeJsonMaximumDepth) +
                          " levels; only the folders of the drive are used"
                    : "containers.json is not a list of containers; only the folders of the drive are used");
    return out;
  }
  std::set<std::string> seen;
  size_t index = 0;
  for (const auto& entry : *list) {
    ++index;
    if (!entry.is_object() || !entry.contains("identifier") || !entry["identifier"].is_string()) {
      problem("entry " + std::to_string(index) + " has no identifier; skipped");
      continue;
    }
    ContainerDeclaration declaration;
    declaration.identifier = entry["identifier"].get<std::string>();
    if (!isUsableIdentifier(declaration.identifier) || declaration.identifier == "..") {
      problem("entry " + std::to_string(index) + " has an identifier that cannot name a folder; skipped");
      continue;
    }
    if (!seen.insert(declaration.identifier).second) {
      problem("container " + declaration.identifier + " is declared twice; the first declaration is used");
      continue;
    }
    if (entry.contains("name") && entry["name"].is_string() && !entry["name"].get<std::string>().empty()) {
      declaration.localizedName = entry["name"].get<std::string>();
    } else {
      declaration.localizedName = declaration.identifier;
      if (entry.contains("name")) {
        problem("container " + declaration.identifier + " has a name that is not a text; its identifier is used");
      }
    }
    if (entry.contains("folderDepth") && !entry["folderDepth"].is_null()) {
      declaration.folderDepth = fromJson(entry["folderDepth"]);
    }
    if (entry.contains("documentTypes") && !entry["documentTypes"].is_null()) {
      declaration.documentTypes = fromJson(entry["documentTypes"]);
    }
    out.push_back(std::move(declaration));
  }
  return out;
}

void ContainerRegistry::reloadIfChanged() {
  const Stamp file = stampOf(path_);
  const Stamp root = stampOf(driveRoot_);
  if (loaded_ && file == fileStamp_ && root == rootStamp_) {
    return;
  }
  std::vector<std::string> problems;
  std::vector<ContainerDeclaration> declared;
  if (file.exists) {
    auto text = readHomeFile(path_, kSettingsFileLimit);
    if (text.ok()) {
      declared = parse(text.value(), &problems);
    } else {
      problems.push_back("cannot read containers.json: " +
                         text.error().localizedDescription().value_or(text.error().description()));
    }
  }
  // Log each problem once per version of the file, not at every lookup.
  if (!loaded_ || !(file == fileStamp_)) {
    for (const auto& text : problems) {
      PLATFORM_LOG(kLogErr, "Containers: %@ (%@)", text, path_);
    }
  }
  std::vector<std::shared_ptr<const ContainerDeclaration>> all;
  std::set<std::string> known;
  const auto defaultIt = std::find_if(declared.begin(), declared.end(), [](const ContainerDeclaration& d) {
    return d.identifier == platform::kDefaultSyncContainerIdentifier;
  });
  all.push_back(
      std::make_shared<const ContainerDeclaration>(defaultIt != declared.end() ? *defaultIt : defaultDeclaration()));
  known.insert(std::string(platform::kDefaultSyncContainerIdentifier));
  for (const auto& declaration : declared) {
    if (known.insert(declaration.identifier).second) {
      all.push_back(std::make_shared<const ContainerDeclaration>(declaration));
    }
  }
  std::vector<std::string> names;
  FileOperations::folderNames(driveRoot_, names);  // no drive yet: no folders
  std::sort(names.begin(), names.end());
  for (const auto& name : names) {
    struct stat info {};
    if (!isUsableIdentifier(name) || ::stat((driveRoot_ + "/" + name).c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      continue;
    }
    if (known.insert(name).second) {
      ContainerDeclaration found;
      found.identifier = name;
      found.localizedName = name;
      found.declared = false;
      all.push_back(std::make_shared<const ContainerDeclaration>(std::move(found)));
    }
  }
  containers_ = std::move(all);
  fileStamp_ = file;
  rootStamp_ = root;
  loaded_ = true;
}

std::vector<std::shared_ptr<const ContainerDeclaration>> ContainerRegistry::containers() {
  std::lock_guard lock(mutex_);
  reloadIfChanged();
  return containers_;
}

std::shared_ptr<const ContainerDeclaration> ContainerRegistry::container(const std::string& identifier) {
  std::lock_guard lock(mutex_);
  reloadIfChanged();
  for (const auto& declaration : containers_) {
    if (declaration->identifier == identifier) {
      return declaration;
    }
  }
  return nullptr;
}

}  // namespace velune::host
