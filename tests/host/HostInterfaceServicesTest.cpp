// The device, document icons and transfer progress that the host wires from a home.

#include <gtest/gtest.h>

#include "host/DeviceConfiguration.h"
#include "host/GeneratedDocumentIconService.h"
#include "host/HomeLayout.h"
#include "host/HostPlatform.h"
#include "platform/DeviceInfo.h"
#include "platform/TransferProgressService.h"
#include "platform/ui/Image.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

TEST(HostInterfaceServices, Wiring_DeviceFromDeviceJsonWithDefaultsWhenAbsent) {
  testing::TempDirectory home;
  HostOptions options;
  options.home = home.path();
  platform::Services services;
  HostPlatform::wireInterface(services, options);
  ASSERT_NE(services.device, nullptr);
  EXPECT_EQ(services.device->screenSize(), (ui::Size{390, 844}));
  EXPECT_EQ(services.device->scale(), 3);
  EXPECT_EQ(services.device->idiom(), ui::UserInterfaceIdiom::Phone);
  EXPECT_NE(services.documentIcons, nullptr);
  EXPECT_NE(services.transferProgress, nullptr);

  DeviceConfiguration tablet;
  tablet.idiom = DeviceIdiom::Tablet;
  tablet.screenWidth = 1024;
  tablet.screenHeight = 768;
  tablet.screenScale = 2;
  ASSERT_FALSE(tablet.write(HomeLayout(home.path()).deviceJson()).has_value());
  platform::Services again;
  HostPlatform::wireInterface(again, options);
  EXPECT_EQ(again.device->idiom(), ui::UserInterfaceIdiom::Tablet);
  EXPECT_EQ(again.device->orientation(), ui::InterfaceOrientation::LandscapeRight);
  EXPECT_EQ(again.device->screenSize(), (ui::Size{1024, 768}));
  EXPECT_EQ(again.device->portraitScreenSize(), (ui::Size{768, 1024}));
  again.device->setOrientation(ui::InterfaceOrientation::Portrait);
  EXPECT_EQ(again.device->screenSize(), (ui::Size{768, 1024}));
}

TEST(HostInterfaceServices, Icons_LargeAndSmallByKindMadeOnce) {
  GeneratedDocumentIconService icons(2);
  const auto large = icons.iconForFile("Report.pdf", std::string("com.adobe.pdf"), platform::kDocumentIconFormatLarge);
  ASSERT_NE(large, nullptr);
  EXPECT_EQ(large->size(), (ui::Size{128, 128}));
  EXPECT_EQ(large->pixelWidth(), 256);
  EXPECT_EQ(icons.iconForFile("Other.pdf", std::nullopt, platform::kDocumentIconFormatLarge), large);
  const auto small = icons.iconForFile("Report.pdf", std::nullopt, 99);  // unknown format: small
  EXPECT_EQ(small->size(), (ui::Size{32, 32}));
  using Family = GeneratedDocumentIconService::Family;
  EXPECT_EQ(GeneratedDocumentIconService::familyFor("a.JPG", std::nullopt), Family::Image);
  EXPECT_EQ(GeneratedDocumentIconService::familyFor("song", std::string("public.mp3")), Family::Audio);
  EXPECT_EQ(GeneratedDocumentIconService::familyFor("Docs", std::string("public.folder")), Family::Folder);
  EXPECT_EQ(GeneratedDocumentIconService::familyFor("notes.txt", std::nullopt), Family::Text);
  EXPECT_EQ(GeneratedDocumentIconService::familyFor(".hidden", std::nullopt), Family::Other);
  EXPECT_EQ(GeneratedDocumentIconService::familyFor("", std::nullopt), Family::Other);
  // Any name can be drawn, also one with an unusual extension.
  EXPECT_NE(icons.iconForFile("x.\xFF\xFE\xFD\xFC\xFB\xFA", std::nullopt, platform::kDocumentIconFormatLarge), nullptr);
}

}  // namespace
}  // namespace velune::host
