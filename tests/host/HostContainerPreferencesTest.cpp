#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/FileIO.h"
#include "host/HostContainerPreferences.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::PreferencesHost;
using platform::PreferencesUser;
using platform::Value;

constexpr const char* kDomain = "com.vorlan.VeluneDriveApp";

TEST(HostContainerPreferences, DataContainer_IsInsideTheHomeAndRefusesEscapingNames) {
  testing::TempDirectory appData;
  HostContainerPreferences preferences(appData.path());
  const auto url = preferences.dataContainerURLForBundleIdentifier("com.vorlan.VeluneDriveApp");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path(), appData.path() + "/Containers/com.vorlan.VeluneDriveApp");
  for (const char* bad : {"", ".", "..", "../escape", "a/b"}) {
    EXPECT_FALSE(preferences.dataContainerURLForBundleIdentifier(bad)) << bad;
  }
  // A domain name that would leave its folder names nothing.
  const std::string container = url->path();
  preferences.setValue("Key", Value(true), "../../escape", PreferencesUser::Current, PreferencesHost::Any, container);
  EXPECT_FALSE(preferences.synchronize("../../escape", PreferencesUser::Current, PreferencesHost::Any, container));
  EXPECT_TRUE(
      preferences.copyValue("Key", "../../escape", PreferencesUser::Current, PreferencesHost::Any, container).isNull());
  EXPECT_FALSE(std::filesystem::exists(appData.path() + "/escape.json"));
}

TEST(HostContainerPreferences, Domains_AreSeparatePerUserHostAndContainerAndSeeOtherWriters) {
  testing::TempDirectory appData;
  HostContainerPreferences preferences(appData.path());
  const std::string container = appData.path() + "/Containers/app";

  preferences.setValue("Key", Value(1), kDomain, PreferencesUser::Current, PreferencesHost::Any, container);
  preferences.setValue("Key", Value(2), kDomain, PreferencesUser::Any, PreferencesHost::Any, container);
  preferences.setValue("Key", Value(3), kDomain, PreferencesUser::Current, PreferencesHost::Current, container);
  preferences.setValue("Key", Value(4), kDomain, PreferencesUser::Current, PreferencesHost::Any, "");
  EXPECT_TRUE(preferences.synchronize(kDomain, PreferencesUser::Current, PreferencesHost::Any, container));

  auto read = [&](PreferencesUser user, PreferencesHost host, const std::string& path) {
    return preferences.copyValue("Key", kDomain, user, host, path).integerValue();
  };
  EXPECT_EQ(read(PreferencesUser::Current, PreferencesHost::Any, container), 1);
  EXPECT_EQ(read(PreferencesUser::Any, PreferencesHost::Any, container), 2);
  EXPECT_EQ(read(PreferencesUser::Current, PreferencesHost::Current, container), 3);
  EXPECT_EQ(read(PreferencesUser::Current, PreferencesHost::Any, ""), 4);
  EXPECT_TRUE(std::filesystem::exists(container + "/Library/Preferences/com.vorlan.VeluneDriveApp.json"));
  EXPECT_TRUE(std::filesystem::exists(appData.path() + "/Library/Preferences/com.vorlan.VeluneDriveApp.json"));

  // Another process (another instance) changes the file: seen after synchronising.
  HostContainerPreferences other(appData.path());
  other.setValue("Key", Value(10), kDomain, PreferencesUser::Current, PreferencesHost::Any, container);
  EXPECT_EQ(read(PreferencesUser::Current, PreferencesHost::Any, container), 1);
  EXPECT_TRUE(preferences.synchronize(kDomain, PreferencesUser::Current, PreferencesHost::Any, container));
  EXPECT_EQ(read(PreferencesUser::Current, PreferencesHost::Any, container), 10);
}

TEST(HostContainerPreferences, FailedWrite_StaysPendingUntilSynchronizeCanWriteIt) {
  testing::TempDirectory appData;
  HostContainerPreferences preferences(appData.path());
  const std::string container = appData.path() + "/Containers/app";
  std::filesystem::create_directories(container + "/Library");
  std::ofstream(container + "/Library/Preferences") << "in the way";

  preferences.setValue("GridMode", Value(true), kDomain, PreferencesUser::Current, PreferencesHost::Any, container);
  EXPECT_FALSE(preferences.synchronize(kDomain, PreferencesUser::Current, PreferencesHost::Any, container));
  EXPECT_TRUE(preferences.copyValue("GridMode", kDomain, PreferencesUser::Current, PreferencesHost::Any, container)
                  .boolValue());

  std::filesystem::remove(container + "/Library/Preferences");
  EXPECT_TRUE(preferences.synchronize(kDomain, PreferencesUser::Current, PreferencesHost::Any, container));
  const auto written = readWholeFile(container + "/Library/Preferences/com.vorlan.VeluneDriveApp.json");
  ASSERT_TRUE(written.ok());
  EXPECT_NE(written.value().find("\"GridMode\": true"), std::string::npos);
}

}  // namespace
}  // namespace velune::host
