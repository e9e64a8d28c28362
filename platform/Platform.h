#pragma once
// Platform: the one access point that wires the platform's services to the
// system's code. The host (host/HostPlatform) installs the Linux
// implementations at start; tests install fakes or a host on a temporary home
// the same way.
//
// Services are read through a snapshot (Platform::services()) or as owning
// handles (Platform::require()), so installing new services (as a test home
// does) never frees a service under a caller that still uses it: the old one
// lives until its last handle goes. Install before starting work that uses
// them; a missing service is a wiring mistake and require() aborts with its
// name.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Forward.h"

namespace velune::platform {

struct Services {
  // Application and device
  std::shared_ptr<ApplicationHost> applicationHost;
  std::shared_ptr<DeviceInfo> device;
  std::string bundleIdentifier = "com.vorlan.VeluneDriveApp";

  // Logging and configuration
  std::shared_ptr<SystemLog> systemLog;
  std::shared_ptr<ConsoleLog> consoleLog;
  // A copy of every log record for live viewers; none when nothing views the log.
  std::shared_ptr<LogRecordTee> logRecordTee;
  std::shared_ptr<NotificationService> notifications;
  std::shared_ptr<PreferencesStore> standardPreferences;
  std::shared_ptr<ContainerPreferences> containerPreferences;
  // Where the log client looks for its marker file.
  std::string logMarkerPath = "/etc/dr_hella_logging";

  // Files and the drive
  std::shared_ptr<FileSystem> fileSystem;
  std::shared_ptr<URLResourceService> urlResources;
  std::shared_ptr<FileCoordinationService> fileCoordination;
  std::shared_ptr<SyncContainerService> syncContainers;
  std::shared_ptr<SyncURLService> syncURLs;
  std::shared_ptr<FolderListingService> folderListings;
  std::shared_ptr<PromiseURLService> promiseURLs;
  std::shared_ptr<TypeRegistry> typeRegistry;
  std::shared_ptr<PreviewService> previews;
  std::shared_ptr<TransferProgressService> transferProgress;
  std::shared_ptr<DocumentIconService> documentIcons;
  std::shared_ptr<AppRegistry> apps;
  std::shared_ptr<CloudKeyValueStore> cloudKeyValueStore;

  // Account and network
  std::shared_ptr<AccountService> account;
  std::shared_ptr<QuotaService> quota;
  std::shared_ptr<ReachabilityService> reachability;
  std::shared_ptr<NetworkActivityIndicator> networkActivityIndicator;
};

class Platform {
 public:
  // A snapshot of the installed services (never null; empty services before
  // the first install).
  static std::shared_ptr<const Services> services();
  static void install(Services services);
  // Counts the installs (0 before the first). One atomic load: a
  // reader that caches services compares it to notice a reinstall cheaply.
  static std::uint64_t generation();

  // The service (never null), or an abort naming the missing service. The
  // handle keeps the service alive: hold it for as long as the service is used.
  template <typename T>
  static std::shared_ptr<T> require(std::shared_ptr<T> Services::*member, const char* name) {
    const auto snapshot = services();
    std::shared_ptr<T> service = (*snapshot).*member;
    if (service == nullptr) {
      missing(name);
    }
    return service;
  }

 private:
  [[noreturn]] static void missing(const char* name);
};

}  // namespace velune::platform

// An owning handle of the installed service of that name, or an abort naming it:
//   VELUNE_SERVICE(fileSystem)->fileExistsAtPath(path)
#define VELUNE_SERVICE(name) ::velune::platform::Platform::require(&::velune::platform::Services::name, #name)
