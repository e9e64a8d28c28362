#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "app/Settings.h"
#include "diag/DRLogging.h"
#include "host/FileIO.h"
#include "host/HostContainerPreferences.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

using testing::linesWithMessage;

// The container path is looked up once per process, so every test of this
// program uses the same app-data folder and starts by emptying it.
std::string appDataRoot() {
  return testing::processScratchDirectory() + "/settings-app-data";
}
std::string containerPath() {
  return appDataRoot() + "/Containers/com.vorlan.VeluneDriveApp";
}
std::string preferencesFolder() {
  return containerPath() + "/Library/Preferences";
}
std::string preferencesFile() {
  return preferencesFolder() + "/com.vorlan.VeluneDriveApp.json";
}

class SettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::error_code ignored;
    std::filesystem::remove_all(appDataRoot(), ignored);
    installFreshPreferences();
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  void TearDown() override { testing::installBaseServices(); }

  // A new preferences service, as a new process of the app would have.
  static void installFreshPreferences() {
    auto services = testing::baseServices();
    services.containerPreferences = std::make_shared<host::HostContainerPreferences>(appDataRoot());
    platform::Platform::install(std::move(services));
  }

  // What another process writes into the domain.
  static void writeDomain(const std::string& json) { ASSERT_FALSE(host::writeFileAtomically(preferencesFile(), json)); }

  static std::string readDomain() {
    const auto contents = host::readWholeFile(preferencesFile());
    return contents.ok() ? contents.value() : std::string();
  }
};

TEST_F(SettingsTest, GridMode_DefaultsToNoAndFollowsWhatIsStored) {
  EXPECT_FALSE(Settings::gridMode());
  const auto lines = linesWithMessage("GridMode = 0");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, kLogDebug);

  Settings::setGridMode(true);
  EXPECT_NE(readDomain().find("\"GridMode\": true"), std::string::npos) << readDomain();
  installFreshPreferences();
  EXPECT_TRUE(Settings::gridMode()) << "the value outlives the process";
  EXPECT_EQ(linesWithMessage("GridMode = 1").size(), 1u);

  // Every read synchronises first, so another process's write is seen.
  writeDomain(R"({"GridMode": false})");
  EXPECT_FALSE(Settings::gridMode());
}

TEST_F(SettingsTest, QuickLaunch_IsStoredButAlwaysOn) {
  Settings::setQuickLaunch(false);
  const auto lines = linesWithMessage("set QuickLaunch = 0");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, kLogDebug);
  EXPECT_NE(readDomain().find("\"QuickLaunch\": false"), std::string::npos) << readDomain();

  EXPECT_TRUE(Settings::quickLaunch());
  EXPECT_TRUE(testing::messagesStartingWith("QuickLaunch = ").empty()) << "quickLaunch does not read the key";
}

TEST_F(SettingsTest, StoredValuesOfOtherTypes_ReadAsThePlatformReadsThemOrGiveTheDefault) {
  struct Case {
    const char* json;
    bool defaultValue;
    bool expected;
  };
  const Case cases[] = {
      {R"({"GridMode": 1})", false, true},
      {R"({"GridMode": 0})", true, false},
      {R"({"GridMode": 2.5})", false, true},
      {R"({"GridMode": "YES"})", false, true},
      {R"({"GridMode": "true"})", false, true},
      {R"({"GridMode": "no"})", true, false},
      {R"({"GridMode": "nonsense"})", true, false},
      // Not a switch at all: the default, with a warning, and the value is kept.
      {R"({"GridMode": [true]})", true, true},
      {R"({"GridMode": {"on": false}})", true, true},
      {R"({"GridMode": null})", true, true},
      // A domain file that is not JSON reads as empty.
      {R"(not json)", true, true},
  };
  for (const auto& each : cases) {
    writeDomain(each.json);
    EXPECT_EQ(Settings::boolPrefForKey(kGridModeKey, each.defaultValue), each.expected) << each.json;
  }
  EXPECT_EQ(testing::messagesStartingWith("Preference GridMode holds ").size(), 2u);
  for (const auto& line : testing::linesStartingWith("Preference GridMode holds ")) {
    EXPECT_EQ(line.level, kLogWarning);
  }
}

TEST_F(SettingsTest, FailedWrite_IsLoggedAndNotReported) {
  // Something that is not a folder where the preferences folder belongs:
  // the write fails even for a user who may write anywhere.
  std::filesystem::create_directories(containerPath() + "/Library");
  std::ofstream(preferencesFolder()) << "in the way";

  Settings::setGridMode(true);  // returns normally
  const auto failures = linesWithMessage("Failed to write prefs");
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].level, kLogErr);

  // Once the way is clear, the pending value is written by the next write.
  std::filesystem::remove(preferencesFolder());
  testing::clearLogs();
  Settings::setQuickLaunch(true);
  EXPECT_TRUE(linesWithMessage("Failed to write prefs").empty());
  EXPECT_NE(readDomain().find("\"GridMode\": true"), std::string::npos) << readDomain();
}

TEST_F(SettingsTest, ContainerPath_IsLookedUpOnceEvenWhenThreadsAskTogether) {
  // In a fresh process of its own, so that no earlier test has asked yet.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        std::vector<std::string> seen(8);
        std::vector<std::thread> threads;
        for (size_t i = 0; i < seen.size(); ++i) {
          threads.emplace_back([&seen, i] { seen[i] = Settings::_appContainerPath(); });
        }
        for (auto& thread : threads) {
          thread.join();
        }
        bool ok = true;
        for (const auto& path : seen) {
          ok = ok && path == containerPath();
        }
        const auto lines = linesWithMessage("AppContainer is " + containerPath());
        ok = ok && lines.size() == 1 && lines[0].level == kLogDebug;
        ok = ok && testing::messagesStartingWith("AppContainer is ").size() == 1;
        std::_Exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(Settings::_appContainerPath(), containerPath());
}

}  // namespace
}  // namespace velune
