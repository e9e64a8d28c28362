#pragma once
// HostAppRegistry: the applications installed on the simulated phone, from
// HOME/apps.json, and the record of the documents handed to them.
//
// The file is read by InstalledApplications (its format and its limits are
// told there); this class makes the platform's records of it. An
// application is the default for a document when one of its "defaultFor"
// types is the document's type or one the type conforms to; an exact type
// wins over a conformance, and earlier applications over later ones.
//
// The file is read again whenever it changed (size or time); one that cannot
// be read lists nothing and is logged at level 4 once per change; a bad
// entry is skipped and logged.
//
// Opening a document records it (the last 50, numbered) and logs it at level
// 6; the screen shows the latest. Thread-safe.

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/AppRegistry.h"

namespace velune::platform {
class TypeRegistry;
class URLResourceService;
}  // namespace velune::platform

namespace velune::host {

struct OpenedDocument {
  std::uint64_t sequence = 0;
  platform::URL url;
  std::string bundleIdentifier;
  std::string applicationName;
};

class HostAppRegistry final : public platform::AppRegistry {
 public:
  static constexpr std::size_t kKeptOpenings = 50;

  // The type of a document comes from `resources` (its promised type), and
  // conformance from `types`.
  HostAppRegistry(std::string appsJsonPath, std::shared_ptr<platform::URLResourceService> resources,
                  std::shared_ptr<platform::TypeRegistry> types);

  std::vector<platform::AppRecord> installedApplications() override;
  std::optional<platform::AppRecord> defaultApplicationForDocument(const platform::URL& url) override;
  std::vector<platform::AppRecord> applicationsForDocument(const platform::URL& url) override;
  std::optional<platform::Error> openDocument(const platform::URL& url,
                                              const platform::AppRecord& application) override;

  // The documents opened so far, oldest first.
  std::vector<OpenedDocument> openedDocuments() const;

 private:
  struct Application {
    platform::AppRecord record;
    std::vector<std::string> defaultFor;
  };
  std::vector<Application> applications();
  void reload();

  const std::string path_;
  const std::shared_ptr<platform::URLResourceService> resources_;
  const std::shared_ptr<platform::TypeRegistry> types_;
  mutable std::mutex mutex_;
  bool loaded_ = false;
  std::int64_t loadedSize_ = -1;
  struct timespec loadedTime_ {};
  std::vector<Application> applications_;
  std::vector<OpenedDocument> opened_;
  std::uint64_t nextSequence_ = 1;
};

}  // namespace velune::host
