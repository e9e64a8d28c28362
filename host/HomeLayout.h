#pragma once
// HomeLayout: where each part of the simulated phone lives inside its home
// folder (--home DIR):
//
//   HOME/device.json          account token, network, idiom, screen, quota, bandwidth
//   HOME/apps.json            installed applications
//   HOME/containers.json      the drive's containers
//   HOME/Mobile Documents/    the local drive
//   HOME/cloud/               the server side
//   HOME/app-data/            the app's data: standard preferences, containers, logs

#include <optional>
#include <string>

#include "platform/Error.h"

namespace velune::host {

class HomeLayout {
 public:
  explicit HomeLayout(std::string root);

  const std::string& root() const { return root_; }
  std::string deviceJson() const { return root_ + "/device.json"; }
  std::string appsJson() const { return root_ + "/apps.json"; }
  std::string containersJson() const { return root_ + "/containers.json"; }
  std::string mobileDocuments() const { return root_ + "/Mobile Documents"; }
  std::string cloud() const { return root_ + "/cloud"; }
  std::string appData() const { return root_ + "/app-data"; }
  // The application's own documents folder, outside the drive.
  std::string appDocuments() const { return appData() + "/Documents"; }
  // The app's standard preferences (not its container's domain).
  std::string standardPreferences() const { return appData() + "/Library/Preferences/standard.json"; }
  std::string containerDataRoot(const std::string& bundleIdentifier) const {
    return appData() + "/Containers/" + bundleIdentifier;
  }
  std::string logsDirectory() const { return appData() + "/Logs"; }
  std::string systemLogFile() const { return logsDirectory() + "/system-log.jsonl"; }

  // Makes the folders of a home that does not have them yet. A new home's
  // standard preferences start with "DRLogLevel" 7, so a developer sees the
  // detail lines from the first run (remove the key for the default level 6).
  std::optional<platform::Error> ensureSkeleton() const;

  // $XDG_DATA_HOME/velunedrive/demo-home, or ~/.local/share/velunedrive/demo-home.
  static std::string defaultDemoHome();
  // A --home as given on a command line, made absolute against the current
  // folder ("phone" → "/where/you/are/phone"; ".", ".." and repeated slashes
  // resolved by name): every path of the home is then absolute, as the
  // drive's checks need. Unchanged when the current folder cannot be read.
  static std::string absoluteHome(const std::string& path);

 private:
  std::string root_;
};

}  // namespace velune::host
