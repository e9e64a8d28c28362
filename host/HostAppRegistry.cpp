#include "host/HostAppRegistry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "platform/Format.h"
#include "platform/Log.h"
#include "platform/ResourceKeys.h"
#include "platform/TypeRegistry.h"
#include "platform/URLResourceService.h"

namespace velune::host {

using platform::AppRecord;
using platform::Error;
using platform::URL;

namespace {

bool isBundleIdentifier(const std::string& text) {
  if (text.empty() || text.size() > 255) {
    return false;
  }
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
  });
}

// The deepest nesting of arrays and objects, outside strings.
int nestingDepth(const std::string& text) {
  int depth = 0;
  int deepest = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
      continue;
    }
    if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return deepest;
}

}  // namespace

HostAppRegistry::HostAppRegistry(std::string appsJsonPath, std::shared_ptr<platform::URLResourceService> resources,
                                 std::shared_ptr<platform::TypeRegistry> types)
    : path_(std::move(appsJsonPath)), resources_(std::move(resources)), types_(std::move(types)) {}

void HostAppRegistry::reload() {
  // Called with mutex_ held.
  const int fd = ::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0) {
    const int error = fd < 0 ? errno : EIO;
    if (fd >= 0) {
      ::close(fd);
    }
    if ((loadedSize_ != -2 || !loaded_) && error != ENOENT) {
      PLATFORM_LOG(kLogWarning, "apps.json cannot be read: %@", Error::posix(error).description());
    }
    applications_.clear();
    loaded_ = true;
    loadedSize_ = -2;
    return;
  }
  if (loaded_ && info.st_size == loadedSize_ && info.st_mtim.tv_sec == loadedTime_.tv_sec &&
      info.st_mtim.tv_nsec == loadedTime_.tv_nsec) {
    ::close(fd);
    return;
  }
  loaded_ = true;
  loadedSize_ = info.st_size;
  loadedTime_ = info.st_mtim;
  applications_.clear();
  if (!S_ISREG(info.st_mode) || static_cast<std::uint64_t>(info.st_size) > kMaxFileBytes) {
    ::close(fd);
    PLATFORM_LOG(kLogWarning, "apps.json is not a regular file of at most %@ bytes; no application is installed",
                 kMaxFileBytes);
    return;
  }
  std::string text(static_cast<std::size_t>(info.st_size), '\0');
  std::size_t got = 0;
  while (got < text.size()) {
    const ssize_t n = ::read(fd, text.data() + got, text.size() - got);
    if (n <= 0) {
      if (n < 0 && errno == EINTR) {
        continue;
      }
      break;
    }
    got += static_cast<std::size_t>(n);
  }
  ::close(fd);
  text.resize(got);
  if (nestingDepth(text) > kMaxDepth) {
    PLATFORM_LOG(kLogWarning, "apps.json is nested deeper than %@; no application is installed", kMaxDepth);
    return;
  }
  const auto json = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || !json.contains("applications") || !json["applications"].is_array()) {
    PLATFORM_LOG(kLogWarning, "apps.json has no \"applications\" list; no application is installed");
    return;
  }
  std::uint64_t itemIdentifier = 1000;
  for (const auto& entry : json["applications"]) {
    if (!entry.is_object() || !entry.contains("identifier") || !entry["identifier"].is_string() ||
        !isBundleIdentifier(entry["identifier"].get<std::string>())) {
      PLATFORM_LOG(kLogWarning, "apps.json: an application without a usable identifier is skipped");
      continue;
    }
    Application app;
    AppRecord& r = app.record;
    r.bundleIdentifier = entry["identifier"].get<std::string>();
    const auto readText = [&](const char* key, std::string& into) {
      if (const auto it = entry.find(key); it != entry.end()) {
        if (it->is_string()) {
          into = it->get<std::string>();
        } else {
          PLATFORM_LOG(kLogWarning, "apps.json: \"%@\" of %@ is not text", key, r.bundleIdentifier);
        }
      }
    };
    readText("name", r.localizedName);
    readText("shortName", r.localizedShortName);
    readText("version", r.shortVersionString);
    readText("vendor", r.vendorName);
    readText("executable", r.bundleExecutable);
    readText("description", r.descriptionText);
    if (r.localizedName.empty()) {
      r.localizedName = r.bundleIdentifier;
    }
    if (r.localizedShortName.empty()) {
      r.localizedShortName = r.localizedName;
    }
    if (r.bundleExecutable.empty()) {
      r.bundleExecutable = r.localizedName;
    }
    r.itemName = r.localizedName + ".app";
    r.bundleContainerURL = URL::fileURLWithPath("/Applications/" + r.bundleIdentifier + "/" + r.itemName, true);
    r.itemIdentifier = itemIdentifier++;
    if (const auto it = entry.find("opensInPlace"); it != entry.end()) {
      if (it->is_boolean()) {
        r.supportsOpenInPlace = it->get<bool>();
      } else {
        PLATFORM_LOG(kLogWarning, "apps.json: \"opensInPlace\" of %@ is not true or false", r.bundleIdentifier);
      }
    }
    if (const auto it = entry.find("defaultFor"); it != entry.end() && it->is_array()) {
      for (const auto& type : *it) {
        if (type.is_string()) {
          app.defaultFor.push_back(type.get<std::string>());
        }
      }
    }
    applications_.push_back(std::move(app));
  }
}

std::vector<HostAppRegistry::Application> HostAppRegistry::applications() {
  std::lock_guard lock(mutex_);
  reload();
  return applications_;
}

std::vector<AppRecord> HostAppRegistry::installedApplications() {
  std::vector<AppRecord> out;
  for (auto& app : applications()) {
    out.push_back(std::move(app.record));
  }
  return out;
}

std::vector<AppRecord> HostAppRegistry::applicationsForDocument(const URL& url) {
  if (!url.isFileURL() || !resources_) {
    return {};
  }
  auto type = resources_->promisedItemResourceValueForKey(url, platform::resource_keys::TypeIdentifier);
  if (!type.ok() || type.value().asString() == nullptr) {
    return {};
  }
  const std::string documentType = *type.value().asString();
  std::vector<AppRecord> exact;
  std::vector<AppRecord> conforming;
  for (auto& app : applications()) {
    bool isExact = false;
    bool conforms = false;
    for (const auto& declared : app.defaultFor) {
      if (declared == documentType) {
        isExact = true;
      } else if (types_ && types_->typeConformsTo(documentType, declared)) {
        conforms = true;
      }
    }
    if (isExact) {
      exact.push_back(std::move(app.record));
    } else if (conforms) {
      conforming.push_back(std::move(app.record));
    }
  }
  exact.insert(exact.end(), conforming.begin(), conforming.end());
  return exact;
}

std::optional<AppRecord> HostAppRegistry::defaultApplicationForDocument(const URL& url) {
  auto candidates = applicationsForDocument(url);
  if (candidates.empty()) {
    return std::nullopt;
  }
  return candidates.front();
}

std::optional<Error> HostAppRegistry::openDocument(const URL& url, const AppRecord& application) {
  if (!url.isFileURL()) {
    return Error::platform(platform::ErrorCode::FileReadUnknown);
  }
  const auto installed = applications();
  const bool known = std::any_of(installed.begin(), installed.end(), [&](const Application& app) {
    return app.record.bundleIdentifier == application.bundleIdentifier;
  });
  if (!known) {
    return Error::platform(platform::ErrorCode::FeatureUnsupported);
  }
  {
    std::lock_guard lock(mutex_);
    opened_.push_back(OpenedDocument{nextSequence_++, url, application.bundleIdentifier, application.localizedName});
    if (opened_.size() > kKeptOpenings) {
      opened_.erase(opened_.begin());
    }
  }
  PLATFORM_LOG(kLogInfo, "Opened %@ in %@ (%@)", url.path(), application.localizedName, application.bundleIdentifier);
  return std::nullopt;
}

std::vector<OpenedDocument> HostAppRegistry::openedDocuments() const {
  std::lock_guard lock(mutex_);
  return opened_;
}

}  // namespace velune::host
