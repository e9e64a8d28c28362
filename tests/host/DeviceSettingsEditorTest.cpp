#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "host/DeviceConfiguration.h"
#include "host/DeviceSettingsEditor.h"
#include "host/FileIO.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

nlohmann::json readJson(const std::string& path) {
  const auto contents = readWholeFile(path);
  return contents.ok() ? nlohmann::json::parse(contents.value(), nullptr, false) : nlohmann::json();
}

TEST(DeviceSettingsEditor, NewDevice_GetsEverySettingWithTheChangedOne) {
  testing::TempDirectory home;
  const HomeLayout layout(home.path());
  ASSERT_FALSE(DeviceSettingsEditor::set(layout, "network", "cellular"));
  const auto device = DeviceConfiguration::read(layout.deviceJson());
  EXPECT_EQ(device.network, NetworkSetting::Cellular);
  const auto json = readJson(layout.deviceJson());
  for (const char* key : {"identityToken", "idiom", "screen", "quotaTotalBytes", "downloadBytesPerSecond"}) {
    EXPECT_TRUE(json.contains(key)) << key;
  }
}

TEST(DeviceSettingsEditor, Edits_KeepUnknownKeysAndSetAsideAFileThatIsNotJson) {
  testing::TempDirectory home;
  const HomeLayout layout(home.path());
  std::ofstream(layout.deviceJson()) << R"({"network": "wifi", "futureSetting": {"x": 1}})";
  ASSERT_FALSE(DeviceSettingsEditor::set(layout, "identityToken", nullptr));
  auto json = readJson(layout.deviceJson());
  EXPECT_EQ(json["futureSetting"]["x"], 1);
  EXPECT_TRUE(json["identityToken"].is_null());
  EXPECT_FALSE(DeviceConfiguration::read(layout.deviceJson()).identityToken);

  std::ofstream(layout.deviceJson(), std::ios::trunc) << "{\"network\": \"wifi\",";  // half a file
  std::string note;
  ASSERT_FALSE(DeviceSettingsEditor::set(layout, "network", "offline", &note));
  EXPECT_NE(note.find("device.json.corrupt"), std::string::npos) << note;
  EXPECT_EQ(readWholeFile(layout.deviceJson() + ".corrupt").value(), "{\"network\": \"wifi\",");
  EXPECT_EQ(DeviceConfiguration::read(layout.deviceJson()).network, NetworkSetting::Offline);

  // Text that is not UTF-8 is replaced, not thrown on.
  ASSERT_FALSE(DeviceSettingsEditor::set(layout, "identityToken", std::string("user-\xff")));
  EXPECT_TRUE(DeviceConfiguration::read(layout.deviceJson()).identityToken.has_value());
}

TEST(DeviceSettingsEditor, TwoEditorsAtOnce_NeitherLosesTheOthersChange) {
  testing::TempDirectory home;
  const HomeLayout layout(home.path());
  constexpr int kRounds = 100;
  std::thread networks([&layout] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_FALSE(DeviceSettingsEditor::set(layout, "network", i % 2 == 0 ? "cellular" : "offline"));
    }
  });
  std::thread accounts([&layout] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_FALSE(DeviceSettingsEditor::set(layout, "identityToken", "user-" + std::to_string(i)));
    }
  });
  networks.join();
  accounts.join();
  const auto device = DeviceConfiguration::read(layout.deviceJson());
  EXPECT_EQ(device.network, NetworkSetting::Offline);
  EXPECT_EQ(device.identityToken, "user-" + std::to_string(kRounds - 1));
}

}  // namespace
}  // namespace velune::host
