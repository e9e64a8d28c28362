#include "host/HostContainerPreferences.h"

namespace velune::host {

namespace {

// One path component that stays inside its folder.
bool isSafeName(std::string_view name) {
  return !name.empty() && name.size() <= 255 && name != "." && name != ".." &&
         name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

}  // namespace

HostContainerPreferences::HostContainerPreferences(std::string appDataRoot) : appDataRoot_(std::move(appDataRoot)) {}

std::optional<platform::URL> HostContainerPreferences::dataContainerURLForBundleIdentifier(
    std::string_view bundleIdentifier) {
  if (!isSafeName(bundleIdentifier)) {
    return std::nullopt;
  }
  return platform::URL::fileURLWithPath(appDataRoot_ + "/Containers/" + std::string(bundleIdentifier), true);
}

std::optional<std::string> HostContainerPreferences::domainFile(std::string_view domain, platform::PreferencesUser user,
                                                                platform::PreferencesHost host,
                                                                std::string_view containerPath) const {
  if (!isSafeName(domain)) {
    return std::nullopt;
  }
  std::string base = containerPath.empty() ? appDataRoot_ : std::string(containerPath);
  while (base.size() > 1 && base.back() == '/') {
    base.pop_back();
  }
  std::string file = base + "/Library/Preferences/" + std::string(domain);
  if (host == platform::PreferencesHost::Current) {
    file += ".currenthost";
  }
  if (user == platform::PreferencesUser::Any) {
    file += ".anyuser";
  }
  return file + ".json";
}

std::shared_ptr<JsonPreferencesStore> HostContainerPreferences::store(std::string_view domain,
                                                                      platform::PreferencesUser user,
                                                                      platform::PreferencesHost host,
                                                                      std::string_view containerPath) {
  const auto file = domainFile(domain, user, host, containerPath);
  if (!file) {
    return nullptr;
  }
  std::lock_guard lock(mutex_);
  auto& store = stores_[*file];
  if (!store) {
    store = std::make_shared<JsonPreferencesStore>(*file);
  }
  return store;
}

platform::Value HostContainerPreferences::copyValue(std::string_view key, std::string_view domain,
                                                    platform::PreferencesUser user, platform::PreferencesHost host,
                                                    std::string_view containerPath) {
  const auto domainStore = store(domain, user, host, containerPath);
  return domainStore ? domainStore->objectForKey(key) : platform::Value();
}

void HostContainerPreferences::setValue(std::string_view key, platform::Value value, std::string_view domain,
                                        platform::PreferencesUser user, platform::PreferencesHost host,
                                        std::string_view containerPath) {
  if (const auto domainStore = store(domain, user, host, containerPath)) {
    domainStore->setObject(key, std::move(value));
  }
}

bool HostContainerPreferences::synchronize(std::string_view domain, platform::PreferencesUser user,
                                           platform::PreferencesHost host, std::string_view containerPath) {
  const auto domainStore = store(domain, user, host, containerPath);
  return domainStore && domainStore->synchronize();
}

}  // namespace velune::host
