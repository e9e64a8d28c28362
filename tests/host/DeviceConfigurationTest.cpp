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

}  // namespace
}  // namespace velune::host
