#include "model/FileUtils.h"

#include <algorithm>

#include "diag/DRLogging.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"
#include "platform/TypeRegistry.h"
#include "platform/URLResourceService.h"

namespace velune {

using platform::Error;
using platform::URL;
using platform::Value;

namespace {

// The path-bar separator: blank, U+25B8, blank.
constexpr const char* kPathBarSeparator = " \u25B8 ";

std::vector<std::string> splitComponents(const std::string& path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start < path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) {
      end = path.size();
    }
    if (end > start) {
      parts.push_back(path.substr(start, end - start));
    }
    start = end + 1;
  }
  return parts;
}

}  // namespace

Value FileUtils::getResourceValue(const std::string& key, const URL& url) {
  if (url.isEmpty()) {
    return Value();
  }
  const auto resources = VELUNE_SERVICE(urlResources);
  auto promised = resources->promisedItemResourceValueForKey(url, key);
  if (promised.ok() && !promised.value().isNull()) {
    return promised.value();
  }
  auto plain = resources->resourceValueForKey(url, key);
  return plain.ok() ? plain.value() : Value();
}

std::optional<std::string> FileUtils::containerIdForURL(const URL& url) {
  auto container = VELUNE_SERVICE(syncContainers)->containerForItemAtURL(url);
  if (!container.ok() || !container.value()) {
    return std::nullopt;
  }
  return container.value()->identifier();
}

std::optional<Error> FileUtils::containerAndRelativePathforURL(const URL& url,
                                                               std::shared_ptr<platform::SyncContainer>* container,
                                                               std::vector<std::string>* relativePathComponents) {
  auto found = VELUNE_SERVICE(syncContainers)->containerForItemAtURL(url);
  if (!found.ok()) {
    return found.error();
  }
  if (!found.value()) {
    return std::nullopt;
  }
  const auto& syncContainer = found.value();
  if (container != nullptr) {
    *container = syncContainer;
  }
  if (relativePathComponents != nullptr) {
    const auto syncURLs = VELUNE_SERVICE(syncURLs);
    const auto documents = syncContainer->documentsURL();
    const auto documentsPath = documents ? syncURLs->relativePathToCloudRoot(*documents) : std::nullopt;
    const auto itemPath = syncURLs->relativePathToCloudRoot(url);
    if (documentsPath && itemPath) {
      const auto documentComponents = splitComponents(*documentsPath);
      const auto itemComponents = splitComponents(*itemPath);
      // The leading components are dropped by count, not compared.
      if (itemComponents.size() > documentComponents.size()) {
        *relativePathComponents = std::vector<std::string>(
            itemComponents.begin() + static_cast<std::ptrdiff_t>(documentComponents.size()), itemComponents.end());
      }
    }
  }
  return std::nullopt;
}

std::optional<std::string> FileUtils::displayableLocationForURL(const URL& url) {
  std::shared_ptr<platform::SyncContainer> container;
  std::vector<std::string> components;
  if (containerAndRelativePathforURL(url, &container, &components) || !container) {
    return std::nullopt;
  }
  const auto containers = VELUNE_SERVICE(syncContainers);
  std::string text;
  if (container->identifier() != containers->defaultContainerIdentifier()) {
    text = containers->localizedNameOfDefaultContainer() + kPathBarSeparator;
  }
  text += container->localizedName();
  if (components.size() >= 2) {
    for (size_t i = 0; i + 1 < components.size(); ++i) {
      text += kPathBarSeparator;
      text += components[i];
    }
  }
  DRLOG(kLogDebug, "PathBar: %@", text);
  return text;
}

bool FileUtils::isValidExtensionForContainer(const URL& url) {
  const std::string extension = url.pathExtension();
  if (extension.empty()) {
    return true;
  }
  const auto types = VELUNE_SERVICE(typeRegistry);
  const std::string type = types->preferredIdentifierForExtension(extension);
  if (type.empty()) {
    return true;
  }
  auto lookup = VELUNE_SERVICE(syncContainers)->containerForItemAtURL(url);
  const std::shared_ptr<platform::SyncContainer> container = lookup.ok() ? lookup.value() : nullptr;
  if (!container) {
    return false;
  }
  if (container->identifier() == VELUNE_SERVICE(syncContainers)->defaultContainerIdentifier()) {
    return true;
  }
  if (!container->documentsURL()) {
    return false;
  }
  const Value& declared = container->documentTypes();
  if (declared.isNull() || (declared.isArray() && declared.count() == 0)) {
    return true;
  }
  // The distinct union of every declared type's content types, in order.
  std::vector<Value> identifiers;
  bool isSet = declared.isArray();
  if (isSet) {
    for (size_t i = 0; i < declared.count() && isSet; ++i) {
      const Value& contentTypes = declared.at(i)[platform::kDocumentTypeContentTypesKey];
      if (contentTypes.isNull()) {
        continue;
      }
      if (!contentTypes.isArray()) {
        isSet = false;
        break;
      }
      for (size_t k = 0; k < contentTypes.count(); ++k) {
        const Value& identifier = contentTypes.at(k);
        if (std::find(identifiers.begin(), identifiers.end(), identifier) == identifiers.end()) {
          identifiers.push_back(identifier);
        }
      }
    }
  }
  if (!isSet) {
    DRLOG(kLogErr, "Expected the content types of container %@ as a set: %@", container->identifier(), declared);
    return false;
  }
  for (const Value& identifier : identifiers) {
    if (identifier == Value("public.data") || identifier == Value("public.content")) {
      DRLOG(kLogInfo, "Container supports all UTIs");
      return true;
    }
    const std::string* text = identifier.asString();
    if (text == nullptr) {
      DRLOG(kLogErr, "Expected array of strings");
      continue;
    }
    if (types->typeConformsTo(type, *text)) {
      DRLOG(kLogInfo, "Extension %@ conforms to UTI %@", extension, *text);
      return true;
    }
  }
  return false;
}

bool FileUtils::isAudioVideoImageFile(const URL& url) {
  const std::string extension = url.pathExtension();
  if (extension.empty()) {
    return false;
  }
  const auto types = VELUNE_SERVICE(typeRegistry);
  const std::string type = types->preferredIdentifierForExtension(extension);
  if (type.empty()) {
    return false;
  }
  for (const char* kind : {"public.image", "public.movie", "public.audio"}) {
    if (types->typeConformsTo(type, kind)) {
      DRLOG(kLogDebug, "isAudioVideoImageFile: Extension %@ is %@ which conforms to UTI %@", extension, type, kind);
      return true;
    }
  }
  DRLOG(kLogDebug, "isAudioVideoImageFile: Extension %@ is %@ which is not.", extension, type);
  return false;
}

void FileUtils::logFileAttributes(const std::string& path) {
  const auto attributes = VELUNE_SERVICE(fileSystem)->attributesOfItemAtPath(path);
  if (!attributes.ok()) {
    DRLOG(kLogErr, "Cannot get attributes of %@: %@", path, attributes.error().description());
    return;
  }
  const auto& values = attributes.value();
  const auto secondsAgo = [](const platform::Date& date) { return -date.timeIntervalSinceNow(); };
  if (values.creationDate) {
    DRLOG(kLogDebug, "Date Created: %@ (%lf seconds ago)", *values.creationDate, secondsAgo(*values.creationDate));
  } else {
    DRLOG(kLogDebug, "Date Created: %@ (%lf seconds ago)", nullptr, 0.0);
  }
  DRLOG(kLogDebug, "Date Modified: %@ (%lf seconds ago)", values.modificationDate, secondsAgo(values.modificationDate));
  DRLOG(kLogDebug, "Size: %@ bytes", values.size);
}

bool FileUtils::staysInsideDrive(const URL& url) {
  const auto services = platform::Platform::services();
  if (!url.isFileURL() || !services->syncURLs || !services->fileSystem) {
    return false;
  }
  const std::string path = url.path();
  size_t start = 0;
  while (start < path.size()) {
    const size_t slash = path.find('/', start);
    const std::string_view part =
        std::string_view(path).substr(start, slash == std::string::npos ? std::string::npos : slash - start);
    if (part == "." || part == "..") {
      return false;
    }
    if (slash == std::string::npos) {
      break;
    }
    start = slash + 1;
  }
  const auto relative = services->syncURLs->relativePathToCloudRoot(url);
  if (!relative) {
    return false;
  }
  // No level below the store's root may be a symbolic link.
  std::string level = services->syncURLs->cloudDocumentsRootURL().path();
  while (!level.empty() && level.back() == '/') {
    level.pop_back();
  }
  size_t from = 0;
  while (from < relative->size()) {
    const size_t slash = relative->find('/', from);
    level += "/" + relative->substr(from, slash == std::string::npos ? std::string::npos : slash - from);
    auto attributes = services->fileSystem->attributesOfItemAtPath(level);
    if (attributes.ok() && attributes.value().isSymbolicLink) {
      return false;
    }
    if (!attributes.ok()) {
      break;  // a level that does not exist (a cloud-only document) has nothing below it
    }
    if (slash == std::string::npos) {
      break;
    }
    from = slash + 1;
  }
  return true;
}

std::optional<URL> FileUtils::docDir() {
  const auto directories = VELUNE_SERVICE(fileSystem)->documentDirectoryURLs();
  if (directories.empty()) {
    return std::nullopt;
  }
  const URL& first = directories.front();
  return first.hasDirectoryPath() ? first : URL::fileURLWithPath(first.path(), true);
}

}  // namespace velune
