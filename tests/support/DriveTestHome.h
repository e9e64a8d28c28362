#pragma once
// DriveTestHome: a simulated phone's drive on a temporary home, with every
// drive service wired and installed for the test's lifetime:
//
//   Mobile Documents/com.vorlan.drive/Documents      "Velune Drive" (default)
//   Mobile Documents/com.vorlan.Drillrun/Documents   "Drillrun", any depth, drill and text types
//   Mobile Documents/com.vorlan.lumiboard/Documents  "Lumiboard", one level, boards and images
//   Mobile Documents/com.vorlan.Jotter/Documents     "Jotter", no folders, text
//
// Helpers write documents on both sides (present and in the cloud), only in
// the cloud (a placeholder), or raw files for corrupt-input cases.

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "host/FileIO.h"
#include "host/HomeLayout.h"
#include "host/drive/DemoHome.h"
#include "host/drive/Drive.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/DriveServices.h"
#include "host/drive/HostFileCoordinationService.h"
#include "host/drive/HostURLResourceService.h"
#include "host/drive/PlaceholderMetadata.h"
#include "host/drive/SyncEngine.h"
#include "host/InProcessTransferProgressService.h"
#include "platform/SystemLog.h"
#include "tests/support/TestSupport.h"

namespace velune::testing {

inline constexpr const char* kDefaultContainer = "com.vorlan.drive";
inline constexpr const char* kDrillrunContainer = "com.vorlan.Drillrun";
inline constexpr const char* kLumiboardContainer = "com.vorlan.lumiboard";
inline constexpr const char* kJotterContainer = "com.vorlan.Jotter";

class DriveTestHome {
 public:
  DriveTestHome() : layout_(temp_.path() + "/home") {
    if (auto error = layout_.ensureSkeleton()) {
      ADD_FAILURE() << error->description();
    }
    writeRaw(layout_.containersJson(), host::DemoHome::containersJson());
    for (const char* container : {kDefaultContainer, kDrillrunContainer, kLumiboardContainer, kJotterContainer}) {
      host::makeDirectories(documents(container));
      host::makeDirectories(cloudDocuments(container));
    }
    driveServices_ = host::DriveServices::make(layout_);
    services_ = baseServices();
    driveServices_.wire(services_);
    services_.transferProgress = std::make_shared<host::InProcessTransferProgressService>();
    // Downloads run at full speed on a connected phone unless a test says otherwise.
    driveServices_.sync->setConditionsProvider([] { return host::DownloadConditions{}; });
    platform::Platform::install(services_);
  }
  ~DriveTestHome() { installBaseServices(); }
  DriveTestHome(const DriveTestHome&) = delete;
  DriveTestHome& operator=(const DriveTestHome&) = delete;

  const host::HomeLayout& layout() const { return layout_; }
  platform::Services& services() { return services_; }
  host::Drive& drive() { return *driveServices_.drive; }
  host::HostFileCoordinationService& coordination() { return *driveServices_.coordination; }
  host::HostURLResourceService& resources() { return *driveServices_.resources; }
  host::SyncEngine& sync() { return *driveServices_.sync; }
  const host::DriveServices& driveServices() const { return driveServices_; }

  std::string root() const { return layout_.mobileDocuments(); }
  std::string documents(const std::string& container = kDefaultContainer) const {
    return root() + "/" + container + "/Documents";
  }
  std::string cloudDocuments(const std::string& container = kDefaultContainer) const {
    return layout_.cloud() + "/" + container + "/Documents";
  }
  // The cloud side's path of a drive path.
  std::string cloudPathOf(const std::string& drivePath) const {
    return layout_.cloud() + drivePath.substr(root().size());
  }

  // A document on the phone and on the server.
  std::string writeDocument(const std::string& path, const std::string& contents) {
    writeRaw(path, contents);
    writeRaw(cloudPathOf(path), contents);
    return path;
  }
  // A folder on the phone and on the server.
  std::string makeFolder(const std::string& path) {
    host::makeDirectories(path);
    host::makeDirectories(cloudPathOf(path));
    return path;
  }
  // A cloud-only document: its bytes on the server, its placeholder on the phone.
  std::string writeCloudOnly(const std::string& path, const std::string& contents,
                             host::PlaceholderMetadata metadata = {}) {
    writeRaw(cloudPathOf(path), contents);
    if (!metadata.size) {
      metadata.size = contents.size();
    }
    writeRaw(host::placeholderPathFor(path), metadata.serialize());
    return path;
  }
  // Writes a file in place (tests need no flush to disk), making its folders.
  static void writeRaw(const std::string& path, const std::string& contents) {
    const size_t slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0) {
      host::makeDirectories(path.substr(0, slash));
    }
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
      ADD_FAILURE() << "cannot write " << path;
      return;
    }
    std::fwrite(contents.data(), 1, contents.size(), file);
    std::fclose(file);
  }
  static bool exists(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
  }
  static std::string read(const std::string& path) {
    auto text = host::readWholeFile(path);
    return text.ok() ? text.value() : std::string("<missing>");
  }
  // The URL the drive hands out for the item (cloud-only: logical with its placeholder).
  platform::URL url(const std::string& path) const { return driveServices_.drive->itemURL(path); }

 private:
  TempDirectory temp_;
  host::HomeLayout layout_;
  host::DriveServices driveServices_;
  platform::Services services_;
};

}  // namespace velune::testing

namespace velune::testing {

// Whether the log holds a record of `level` whose message is `message`
// (waits for the log queue first).
inline bool loggedAt(int level, const std::string& message) {
  loggedMessages();
  for (const auto& sent : systemLog().sent()) {
    const std::string* text = sent.record.get("Message");
    if (text != nullptr && *text == message && platform::systemLogRecordLevel(sent.record) == level) {
      return true;
    }
  }
  return false;
}

// Whether the log holds a record of `level` whose message starts with `prefix`.
inline bool loggedPrefixAt(int level, const std::string& prefix) {
  loggedMessages();
  for (const auto& sent : systemLog().sent()) {
    const std::string* text = sent.record.get("Message");
    if (text != nullptr && text->starts_with(prefix) && platform::systemLogRecordLevel(sent.record) == level) {
      return true;
    }
  }
  return false;
}

}  // namespace velune::testing
