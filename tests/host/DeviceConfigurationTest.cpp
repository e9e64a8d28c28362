#include "host/DeviceConfiguration.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

TEST(DeviceConfiguration, ReadWithFallback_KeepsWhatCannotBeReadAndResetsOnlyForAMissingFile) {
  testing::TempDirectory home;
  const std::string path = home.file("device.json");
  DeviceConfiguration previous;
  previous.network = NetworkSetting::Offline;
  previous.identityToken = "previous-user";
  previous.quotaTotalBytes = 1234;

  std::vector<std::string> problems;
  std::ofstream(path) << R"({"network": "satellite", "identityToken": 7, "quotaTotalBytes": 99})";
  auto read = DeviceConfiguration::read(path, &problems, previous);
  EXPECT_EQ(read.network, NetworkSetting::Offline);
  EXPECT_EQ(read.identityToken, "previous-user");
  EXPECT_EQ(read.quotaTotalBytes, 99u) << "what can be read is read";
  EXPECT_EQ(problems.size(), 2u);

  problems.clear();
  std::ofstream(path, std::ios::trunc) << R"({"network": "cellular")";
  read = DeviceConfiguration::read(path, &problems, previous);
  EXPECT_EQ(read.network, NetworkSetting::Offline);
  EXPECT_EQ(read.quotaTotalBytes, 1234u);
  EXPECT_EQ(problems.size(), 1u);

  // Something that cannot be read at all (a folder in its place) keeps the settings too.
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  problems.clear();
  read = DeviceConfiguration::read(path, &problems, previous);
  EXPECT_EQ(read.identityToken, "previous-user");
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("cannot be read"), std::string::npos) << problems[0];

  // No file: the default device, not the previous one.
  std::filesystem::remove(path);
  problems.clear();
  read = DeviceConfiguration::read(path, &problems, previous);
  EXPECT_EQ(read.network, NetworkSetting::WiFi);
  EXPECT_EQ(read.identityToken, DeviceConfiguration().identityToken);
  EXPECT_TRUE(problems.empty());
}

TEST(DeviceConfiguration, MissingFileGivesTheDefaultsAndWritingRoundTrips) {
  testing::TempDirectory dir;
  std::vector<std::string> problems;
  DeviceConfiguration config = DeviceConfiguration::read(dir.file("device.json"), &problems);
  EXPECT_TRUE(problems.empty());
  EXPECT_EQ(config.network, NetworkSetting::WiFi);
  ASSERT_TRUE(config.identityToken.has_value());

  config.identityToken.reset();
  config.network = NetworkSetting::Cellular;
  config.idiom = DeviceIdiom::Tablet;
  config.screenScale = 2;
  ASSERT_FALSE(config.write(dir.file("device.json")).has_value());
  const DeviceConfiguration back = DeviceConfiguration::read(dir.file("device.json"), &problems);
  EXPECT_TRUE(problems.empty());
  EXPECT_FALSE(back.identityToken.has_value());
  EXPECT_EQ(back.network, NetworkSetting::Cellular);
  EXPECT_EQ(back.idiom, DeviceIdiom::Tablet);
  EXPECT_EQ(back.screenScale, 2);
}

TEST(DeviceConfiguration, BadValuesKeepTheirDefaultsAndAreReported) {
  testing::TempDirectory dir;
  const std::string path = dir.file("device.json");
  {
    std::ofstream(path) << R"({"network": "satellite", "idiom": 3, "screen": {"scale": -1, "width": 1024},
                              "quotaTotalBytes": -5, "identityToken": 12})";
  }
  std::vector<std::string> problems;
  const DeviceConfiguration config = DeviceConfiguration::read(path, &problems);
  EXPECT_EQ(config.network, NetworkSetting::WiFi);
  EXPECT_EQ(config.idiom, DeviceIdiom::Phone);
  EXPECT_EQ(config.screenScale, 3);
  EXPECT_EQ(config.screenWidth, 1024);
  EXPECT_EQ(config.quotaTotalBytes, DeviceConfiguration().quotaTotalBytes);
  EXPECT_EQ(problems.size(), 5u);

  { std::ofstream(path) << "not json at all"; }
  problems.clear();
  DeviceConfiguration::read(path, &problems);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("not a JSON object"), std::string::npos);
}

}  // namespace
}  // namespace velune::host
