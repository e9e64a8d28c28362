#pragma once
// HostContainerPreferences: container-scoped preferences of the simulated
// phone. The data container of a bundle identifier is
// HOME/app-data/Containers/<bundle identifier>; a domain lives in the
// container's Library/Preferences as "<domain>.json", with ".currenthost"
// and ".anyuser" before the extension for those variants. An empty container
// path puts the domain in HOME/app-data/Library/Preferences.
//
// Each file is a JsonPreferencesStore (atomic writes, pending values retried
// by synchronize, a file that is not JSON moved aside before it is replaced).
// Bundle identifiers and domain names that could leave their folder ("/",
// "..", empty) name nothing: their values read as absent and writes fail.

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host/JsonPreferencesStore.h"
#include "platform/ContainerPreferences.h"

namespace velune::host {

class HostContainerPreferences final : public platform::ContainerPreferences {
 public:
  // appDataRoot: HOME/app-data.
  explicit HostContainerPreferences(std::string appDataRoot);

  std::optional<platform::URL> dataContainerURLForBundleIdentifier(std::string_view bundleIdentifier) override;
  platform::Value copyValue(std::string_view key, std::string_view domain, platform::PreferencesUser user,
                            platform::PreferencesHost host, std::string_view containerPath) override;
  void setValue(std::string_view key, platform::Value value, std::string_view domain, platform::PreferencesUser user,
                platform::PreferencesHost host, std::string_view containerPath) override;
  bool synchronize(std::string_view domain, platform::PreferencesUser user, platform::PreferencesHost host,
                   std::string_view containerPath) override;

  // The file of a domain, or nothing for a name that could leave its folder.
  std::optional<std::string> domainFile(std::string_view domain, platform::PreferencesUser user,
                                        platform::PreferencesHost host, std::string_view containerPath) const;

 private:
  std::shared_ptr<JsonPreferencesStore> store(std::string_view domain, platform::PreferencesUser user,
                                              platform::PreferencesHost host, std::string_view containerPath);

  const std::string appDataRoot_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<JsonPreferencesStore>> stores_;
};

}  // namespace velune::host
