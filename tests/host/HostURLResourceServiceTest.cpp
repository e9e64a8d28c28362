#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "host/drive/HostURLResourceService.h"

// clang-format off
// libjpeg's header needs FILE and size_t first.
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
// clang-format on

#include "host/drive/ThumbnailMaker.h"
#include "platform/ResourceKeys.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using platform::URL;
using platform::Value;
using testing::DriveTestHome;
namespace keys = platform::resource_keys;
namespace ErrorCode = platform::ErrorCode;

void writeJPEG(const std::string& path, int width, int height) {
  FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  jpeg_compress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, file);
  info.image_width = static_cast<JDIMENSION>(width);
  info.image_height = static_cast<JDIMENSION>(height);
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_start_compress(&info, TRUE);
  std::vector<JSAMPLE> row(static_cast<size_t>(width) * 3, 200);
  while (info.next_scanline < info.image_height) {
    JSAMPROW rows[1] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::fclose(file);
}

class HostURLResourceServiceTest : public ::testing::Test {
 protected:
  platform::URLResourceService& resources() { return home_.resources(); }
  Value::Dictionary promised(const URL& url) {
    auto values = resources().promisedItemResourceValuesForKeys(url, allKeys());
    EXPECT_TRUE(values.ok()) << url.description();
    return values.ok() ? values.value() : Value::Dictionary{};
  }
  static std::vector<std::string> allKeys() {
    return {
        keys::Name,           keys::LocalizedName,      keys::TypeIdentifier,          keys::LocalizedTypeDescription,
        keys::FileSize,       keys::CreationDate,       keys::ContentModificationDate, keys::IsDirectory,
        keys::IsPackage,      keys::HasHiddenExtension, keys::ParentDirectoryURL,      keys::IsShared,
        keys::SharedItemRole, keys::DownloadingStatus};
  }

  DriveTestHome home_;
};

TEST_F(HostURLResourceServiceTest, ItemsOutsideTheDriveHaveNoCloudValues) {
  testing::TempDirectory outside;
  const std::string file = outside.path() + "/loose.txt";
  DriveTestHome::writeRaw(file, "loose");
  auto values = promised(URL::fileURLWithPath(file, false));
  EXPECT_EQ(values[keys::Name], Value("loose.txt"));
  EXPECT_EQ(values[keys::FileSize], Value(5U));
  EXPECT_EQ(values.count(keys::DownloadingStatus), 0U);
  EXPECT_EQ(values.count(keys::IsShared), 0U);
  EXPECT_FALSE(resources().startAccessingSecurityScopedResource(URL::fileURLWithPath(file, false)));
}

TEST_F(HostURLResourceServiceTest, NamesTypesAndDescriptions) {
  const std::string hidden = home_.writeDocument(home_.documents() + "/Letter.txt", "l");
  home_.drive().setAttributes(hidden, ItemAttributes{{}, false, "owner", true});
  auto values = promised(URL::fileURLWithPath(hidden, false));
  EXPECT_EQ(values[keys::Name], Value("Letter.txt"));
  EXPECT_EQ(values[keys::LocalizedName], Value("Letter"));
  EXPECT_EQ(values[keys::HasHiddenExtension], Value(true));

  const std::string unknown = home_.writeDocument(home_.documents() + "/data.qqqz", "?");
  values = promised(URL::fileURLWithPath(unknown, false));
  EXPECT_EQ(values[keys::TypeIdentifier], Value("public.data"));
  EXPECT_EQ(values[keys::LocalizedTypeDescription], Value("QQQZ Document"));
  const std::string bare = home_.writeDocument(home_.documents() + "/README", "r");
  EXPECT_EQ(promised(URL::fileURLWithPath(bare, false))[keys::LocalizedTypeDescription], Value("Document"));

  const std::string link = home_.documents() + "/Link";
  ASSERT_EQ(::symlink("/nowhere/at/all", link.c_str()), 0);  // dangling: still an item
  values = promised(URL::fileURLWithPath(link, false));
  EXPECT_EQ(values[keys::TypeIdentifier], Value("public.symlink"));
  EXPECT_EQ(values[keys::IsDirectory], Value(false));
}

TEST_F(HostURLResourceServiceTest, PlaceholdersByLogicalOrPhysicalURL) {
  host::PlaceholderMetadata metadata;
  metadata.type = "public.mpeg-4";
  metadata.modified = platform::Date::fromSecondsSince1970(1700000000);
  const std::string film = home_.writeCloudOnly(home_.documents() + "/Film.mov", "bytes", metadata);
  for (const URL& url :
       {home_.url(film), URL::fileURLWithPath(film, false), URL::fileURLWithPath(placeholderPathFor(film), false)}) {
    auto values = promised(url);
    EXPECT_EQ(values[keys::Name], Value("Film.mov")) << url.description();
    EXPECT_EQ(values[keys::TypeIdentifier], Value("public.mpeg-4"));
    EXPECT_EQ(values[keys::FileSize], Value(5U));
    EXPECT_EQ(values[keys::ContentModificationDate], Value(*metadata.modified));
    EXPECT_EQ(values[keys::DownloadingStatus], Value(platform::kDownloadingStatusNotDownloaded));
    EXPECT_TRUE(resources().checkPromisedItemIsReachable(url));
  }
  // Its plain values: there is no file at the logical path.
  auto plain = resources().resourceValuesForKeys(URL::fileURLWithPath(film, false), allKeys());
  ASSERT_FALSE(plain.ok());
  EXPECT_EQ(plain.error().code(), ErrorCode::FileNoSuchFile);

  std::optional<platform::Error> why;
  EXPECT_FALSE(
      resources().checkPromisedItemIsReachable(URL::fileURLWithPath(home_.documents() + "/No.txt", false), &why));
  ASSERT_TRUE(why);
  EXPECT_EQ(why->code(), ErrorCode::FileNoSuchFile);

  const std::string corrupt = home_.documents() + "/Corrupt.txt";
  DriveTestHome::writeRaw(placeholderPathFor(corrupt), "][");
  auto broken = resources().promisedItemResourceValuesForKeys(URL::fileURLWithPath(corrupt, false), allKeys());
  ASSERT_FALSE(broken.ok());
  EXPECT_EQ(broken.error().code(), ErrorCode::FileReadCorruptFile);
}

TEST_F(HostURLResourceServiceTest, ThumbnailsOfPhotos) {
  const std::string photo = home_.documents() + "/Photo.jpg";
  writeJPEG(photo, 3000, 1500);
  auto value = resources().resourceValueForKey(URL::fileURLWithPath(photo, false), keys::ThumbnailDictionary);
  ASSERT_TRUE(value.ok());
  const Value& thumbnail = value.value()[platform::kThumbnail1024x1024SizeKey];
  ASSERT_TRUE(thumbnail.isImage());
  EXPECT_EQ(thumbnail.asImage()->pixelWidth(), 1024);
  EXPECT_EQ(thumbnail.asImage()->pixelHeight(), 1024);

  // Not a picture, or a broken one: no thumbnail, and no error.
  const std::string fake = home_.writeDocument(home_.documents() + "/Fake.jpg", "\xFF\xD8\xFF not really");
  value = resources().resourceValueForKey(URL::fileURLWithPath(fake, false), keys::ThumbnailDictionary);
  ASSERT_TRUE(value.ok());
  EXPECT_TRUE(value.value().isNull());
  EXPECT_FALSE(ThumbnailMaker::thumbnailOfFile(home_.documents() + "/none.png"));
}

TEST_F(HostURLResourceServiceTest, Thumbnail_OfAFifoOrADeviceUnderAPicturesName_IsNoneAndNeverWaits) {
  // A FIFO named like a picture blocked the thumbnail's reader for ever.
  const std::string fifo = home_.documents() + "/Pipe.png";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
  EXPECT_FALSE(ThumbnailMaker::thumbnailOfFile(fifo));
  const std::string device = home_.documents() + "/Zero.jpg";
  ASSERT_EQ(::symlink("/dev/zero", device.c_str()), 0);
  EXPECT_FALSE(ThumbnailMaker::thumbnailOfFile(device));
  auto value = resources().resourceValueForKey(URL::fileURLWithPath(fifo, false), keys::ThumbnailDictionary);
  ASSERT_TRUE(value.ok());
  EXPECT_TRUE(value.value().isNull());
}

}  // namespace
}  // namespace velune::host
