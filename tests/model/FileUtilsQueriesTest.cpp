// FileUtils: the read-only queries (resource values, containers and
// locations, type tests, attributes).

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/ResourceKeys.h"
#include "platform/SyncContainer.h"
#include "tests/support/DriveTestHome.h"

namespace velune {
namespace {

using platform::URL;
using platform::Value;
using testing::DriveTestHome;

constexpr const char* kSeparator = " \u25B8 ";

class FileUtilsQueriesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  URL fileURL(const std::string& path) { return URL::fileURLWithPath(path, false); }

  DriveTestHome home_;
};

TEST_F(FileUtilsQueriesTest, GetResourceValue_PromisedThenPlainElseNull) {
  const std::string present = home_.writeDocument(home_.documents() + "/Present.txt", "12345");
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.txt", "1234567");
  EXPECT_EQ(FileUtils::getResourceValue(platform::resource_keys::FileSize, fileURL(present)), Value(5U));
  EXPECT_EQ(FileUtils::getResourceValue(platform::resource_keys::FileSize, home_.url(cloud)), Value(7U));
  EXPECT_EQ(FileUtils::getResourceValue(platform::resource_keys::DownloadingStatus, home_.url(cloud)),
            Value(platform::kDownloadingStatusNotDownloaded));
  EXPECT_TRUE(FileUtils::getResourceValue(platform::resource_keys::FileSize, URL()).isNull());
  EXPECT_TRUE(
      FileUtils::getResourceValue(platform::resource_keys::FileSize, fileURL(home_.documents() + "/Nope")).isNull());
  // A folder has no size: null, not an error.
  EXPECT_TRUE(
      FileUtils::getResourceValue(platform::resource_keys::FileSize, URL::fileURLWithPath(home_.documents(), true))
          .isNull());
}

TEST_F(FileUtilsQueriesTest, ContainerAndRelativePath_GivesComponentsBelowTheDocumentsFolder) {
  const std::string drills = home_.documents(testing::kDrillrunContainer);
  home_.makeFolder(drills + "/Drills/Advanced");
  const std::string sprint = home_.writeDocument(drills + "/Drills/Advanced/Sprint.drill", "go");

  std::shared_ptr<platform::SyncContainer> container;
  std::vector<std::string> components{"untouched"};
  EXPECT_FALSE(FileUtils::containerAndRelativePathforURL(fileURL(sprint), &container, &components));
  ASSERT_TRUE(container);
  EXPECT_EQ(container->identifier(), testing::kDrillrunContainer);
  EXPECT_EQ(components, (std::vector<std::string>{"Drills", "Advanced", "Sprint.drill"}));
  EXPECT_EQ(FileUtils::containerIdForURL(fileURL(sprint)), testing::kDrillrunContainer);

  // The documents folder itself: the container, and the list left as it was.
  components = {"untouched"};
  container.reset();
  EXPECT_FALSE(FileUtils::containerAndRelativePathforURL(URL::fileURLWithPath(drills, true), &container, &components));
  ASSERT_TRUE(container);
  EXPECT_EQ(components, std::vector<std::string>{"untouched"});
  // Only the out values asked for are set.
  EXPECT_FALSE(FileUtils::containerAndRelativePathforURL(fileURL(sprint), nullptr, &components));
  EXPECT_EQ(components.size(), 3U);

  // The drive's top level and places outside the drive have no container: an error, nothing set.
  for (const URL& outside : {URL::fileURLWithPath(home_.root(), true), fileURL("/etc/passwd")}) {
    container.reset();
    components = {"untouched"};
    auto error = FileUtils::containerAndRelativePathforURL(outside, &container, &components);
    EXPECT_TRUE(error) << outside.description();
    EXPECT_FALSE(container);
    EXPECT_EQ(components, std::vector<std::string>{"untouched"});
    EXPECT_FALSE(FileUtils::containerIdForURL(outside));
  }
}

TEST_F(FileUtilsQueriesTest, DisplayableLocation_ShowsTheFoldersAboveTheItem) {
  const std::string drills = home_.documents(testing::kDrillrunContainer);
  home_.makeFolder(drills + "/Drills/Advanced");
  const std::string deep = home_.writeDocument(drills + "/Drills/Advanced/Sprint.drill", "go");
  const std::string topOfApp = home_.writeDocument(drills + "/Warmup.drill", "go");
  const std::string topOfDrive = home_.writeDocument(home_.documents() + "/Welcome.txt", "hi");

  EXPECT_EQ(FileUtils::displayableLocationForURL(fileURL(deep)),
            std::string("Velune Drive") + kSeparator + "Drillrun" + kSeparator + "Drills" + kSeparator + "Advanced");
  EXPECT_EQ(FileUtils::displayableLocationForURL(fileURL(topOfApp)),
            std::string("Velune Drive") + kSeparator + "Drillrun");
  EXPECT_EQ(FileUtils::displayableLocationForURL(URL::fileURLWithPath(drills, true)),
            std::string("Velune Drive") + kSeparator + "Drillrun");
  EXPECT_EQ(FileUtils::displayableLocationForURL(fileURL(topOfDrive)), "Velune Drive");
  EXPECT_FALSE(FileUtils::displayableLocationForURL(URL::fileURLWithPath(home_.root(), true)));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, std::string("PathBar: Velune Drive") + kSeparator + "Drillrun"));
}

TEST_F(FileUtilsQueriesTest, IsValidExtensionForContainer_FollowsTheDeclaredTypes) {
  DriveTestHome::writeRaw(home_.layout().containersJson(), std::string(R"({"containers": [
    {"identifier": "com.vorlan.drive", "name": "Velune Drive"},
    {"identifier": "com.vorlan.Drillrun", "name": "Drillrun",
     "documentTypes": [{"name": "Drill", "contentTypes": ["com.vorlan.drillrun.drill", "public.plain-text"]}]},
    {"identifier": "com.vorlan.Everything", "name": "Everything",
     "documentTypes": [{"name": "Any", "contentTypes": ["public.image", "public.content"]}]},
    {"identifier": "com.vorlan.Untyped", "name": "Untyped"},
    {"identifier": "com.vorlan.Broken", "name": "Broken", "documentTypes": [{"name": "B", "contentTypes": "public.text"}]},
    {"identifier": "com.vorlan.Mixed", "name": "Mixed",
     "documentTypes": [{"name": "M", "contentTypes": [5, "public.image"]}]},
    {"identifier": "com.vorlan.Ghost", "name": "Ghost", "documentTypes": [{"name": "G", "contentTypes": ["public.data"]}]},
    {"identifier": "com.vorlan.AnyData", "name": "AnyData",
     "documentTypes": [{"name": "D", "contentTypes": ["com.vorlan.drillrun.drill", "public.data"]}]}
  ]})"));
  for (const char* container : {"com.vorlan.Everything", "com.vorlan.Untyped", "com.vorlan.Broken",
                                "com.vorlan.Mixed", "com.vorlan.AnyData"}) {
    home_.makeFolder(home_.documents(container));
  }
  home_.makeFolder(home_.root() + "/com.vorlan.Ghost");  // a container without its documents folder
  auto in = [&](const std::string& container, const std::string& name) {
    return fileURL(home_.documents(container) + "/" + name);
  };

  // No extension, or one the registry does not know: allowed everywhere.
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Broken", "README")));
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Broken", "data.qqqz")));
  // The drive's own container takes everything.
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in(testing::kDefaultContainer, "movie.mp4")));
  // Declared types and what conforms to them.
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in(testing::kDrillrunContainer, "a.drill")));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Extension drill conforms to UTI com.vorlan.drillrun.drill"));
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in(testing::kDrillrunContainer, "notes.md")));
  EXPECT_FALSE(FileUtils::isValidExtensionForContainer(in(testing::kDrillrunContainer, "photo.png")));
  // "public.content" (or "public.data") among the types: everything.
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Everything", "song.mp3")));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Container supports all UTIs"));
  testing::clearLogs();
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.AnyData", "song.mp3")));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Container supports all UTIs"));
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Untyped", "song.mp3")));
  // Malformed declarations refuse, with a level-3 log.
  testing::clearLogs();
  EXPECT_FALSE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Broken", "notes.txt")));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "Expected the content types of container com.vorlan.Broken as a set"));
  EXPECT_TRUE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Mixed", "photo.png")));
  EXPECT_TRUE(testing::loggedAt(kLogErr, "Expected array of strings"));
  EXPECT_FALSE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Mixed", "notes.txt")));
  // No documents folder, or no container at all.
  EXPECT_FALSE(FileUtils::isValidExtensionForContainer(in("com.vorlan.Ghost", "a.txt")));
  EXPECT_FALSE(FileUtils::isValidExtensionForContainer(fileURL(home_.root() + "/loose.txt")));
}

TEST_F(FileUtilsQueriesTest, IsAudioVideoImageFile_LooksAtTheExtensionOnly) {
  const std::string textInDisguise = home_.writeDocument(home_.documents() + "/photo.PNG", "plain text inside");
  EXPECT_TRUE(FileUtils::isAudioVideoImageFile(fileURL(textInDisguise)));
  EXPECT_TRUE(testing::loggedAt(
      kLogDebug, "isAudioVideoImageFile: Extension PNG is public.png which conforms to UTI public.image"));
  EXPECT_TRUE(FileUtils::isAudioVideoImageFile(fileURL("/x/clip.mp4")));
  EXPECT_TRUE(FileUtils::isAudioVideoImageFile(fileURL("/x/song.m4a")));
  EXPECT_FALSE(FileUtils::isAudioVideoImageFile(fileURL("/x/paper.pdf")));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "isAudioVideoImageFile: Extension pdf is public.pdf which is not."));
  EXPECT_FALSE(FileUtils::isAudioVideoImageFile(fileURL("/x/README")));
  EXPECT_FALSE(FileUtils::isAudioVideoImageFile(fileURL("/x/thing.qqqz")));
}

TEST_F(FileUtilsQueriesTest, LogFileAttributes_LogsDatesAndSizeOrWhyNot) {
  const std::string path = home_.writeDocument(home_.documents() + "/Sized.txt", "1234567890");
  FileUtils::logFileAttributes(path);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "Date Created: "));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "Date Modified: "));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Size: 10 bytes"));
  FileUtils::logFileAttributes(home_.documents() + "/Nope.txt");
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "Cannot get attributes of " + home_.documents() + "/Nope.txt: "));
}

TEST_F(FileUtilsQueriesTest, DocDir_IsTheAppsDocumentsFolder) {
  const auto documents = FileUtils::docDir();
  ASSERT_TRUE(documents);
  EXPECT_TRUE(documents->hasDirectoryPath());
  EXPECT_EQ(documents->path(), home_.layout().appData() + "/Documents");
}

}  // namespace
}  // namespace velune
