#pragma once
// Settings: the application's user settings and fixed colours, as class
// operations. The boolean settings live in the preferences domain
// "com.vorlan.VeluneDriveApp" inside the app's data container.

#include <string>

namespace velune::ui {
class Color;
}  // namespace velune::ui

namespace velune {

inline constexpr const char* kSettingsDomain = "com.vorlan.VeluneDriveApp";
inline constexpr const char* kGridModeKey = "GridMode";
inline constexpr const char* kQuickLaunchKey = "QuickLaunch";

class Settings {
 public:
  Settings() = delete;

  // Colours (app/SettingsColors.cpp): white listing background, black status text.
  static ui::Color backgroundColor();
  static ui::Color statusLabelColor();

  // The data container's path, looked up once per process.
  static std::string _appContainerPath();
  static bool boolPrefForKey(const std::string& key, bool defaultValue);
  static void setBoolPref(bool value, const std::string& key);
  static bool gridMode();
  static void setGridMode(bool value);
  // Always true.
  static bool quickLaunch();
  static void setQuickLaunch(bool value);
};

}  // namespace velune
