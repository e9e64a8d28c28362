#include "app/Settings.h"

#include <optional>

#include "diag/DRLogging.h"
#include "platform/ContainerPreferences.h"
#include "platform/Platform.h"

namespace velune {

namespace {

// The application whose data container holds the settings.
constexpr const char* kAppBundleIdentifier = "com.vorlan.VeluneDriveApp";

constexpr platform::PreferencesUser kUser = platform::PreferencesUser::Current;
constexpr platform::PreferencesHost kHost = platform::PreferencesHost::Any;

}  // namespace

std::string Settings::_appContainerPath() {
  // A function-local static: made once, also when several threads ask at once.
  static const std::string path = [] {
    const auto url = VELUNE_SERVICE(containerPreferences)->dataContainerURLForBundleIdentifier(kAppBundleIdentifier);
    if (!url) {
      // Without a container the domain lives outside one (an empty path).
      DRLOG(kLogDebug, "AppContainer is %@", nullptr);
      return std::string();
    }
    const std::string containerPath = url->path();
    DRLOG(kLogDebug, "AppContainer is %@", containerPath);
    return containerPath;
  }();
  return path;
}

bool Settings::boolPrefForKey(const std::string& key, bool defaultValue) {
  const auto preferences = VELUNE_SERVICE(containerPreferences);
  const std::string container = _appContainerPath();
  preferences->synchronize(kSettingsDomain, kUser, kHost, container);
  const platform::Value value = preferences->copyValue(key, kSettingsDomain, kUser, kHost, container);
  bool result = defaultValue;
  if (value.isNumber() || value.isString()) {
    // Booleans and numbers by their truth; text as the platform reads it
    // ("YES", "true" or a non-zero number are YES, anything else NO).
    result = value.boolValue();
  } else if (!value.isNull()) {
    // An array, a dictionary, data or a date cannot stand for a switch:
    // the default holds, and the stored value is left as it is.
    DRLOG(kLogWarning, "Preference %@ holds %@, not a boolean; using the default", key, value);
  }
  DRLOG(kLogDebug, "%@ = %@", key, result);
  return result;
}

void Settings::setBoolPref(bool value, const std::string& key) {
  const auto preferences = VELUNE_SERVICE(containerPreferences);
  const std::string container = _appContainerPath();
  preferences->setValue(key, platform::Value(value), kSettingsDomain, kUser, kHost, container);
  if (!preferences->synchronize(kSettingsDomain, kUser, kHost, container)) {
    DRLOG(kLogErr, "Failed to write prefs");
  }
}

bool Settings::gridMode() {
  return boolPrefForKey(kGridModeKey, false);
}

void Settings::setGridMode(bool value) {
  setBoolPref(value, kGridModeKey);
}

bool Settings::quickLaunch() {
  return true;
}

void Settings::setQuickLaunch(bool value) {
  DRLOG(kLogDebug, "set QuickLaunch = %@", value);
  setBoolPref(value, kQuickLaunchKey);
}

}  // namespace velune
