#include "host/DeviceConfiguration.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

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
