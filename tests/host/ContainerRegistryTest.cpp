#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "host/drive/ContainerRegistry.h"
#include "host/drive/HostSyncContainerService.h"
#include "platform/SyncContainer.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using platform::Value;
using testing::DriveTestHome;

std::vector<std::string> identifiers(ContainerRegistry& registry) {
  std::vector<std::string> out;
  for (const auto& container : registry.containers()) {
    out.push_back(container->identifier);
  }
  return out;
}

TEST(ContainerRegistry, Parse_KeepsWhatIsUsableAndSaysWhatIsNot) {
  std::vector<std::string> problems;
  const auto parsed = ContainerRegistry::parse(R"({"containers": [
      {"identifier": "com.a", "name": "A", "folderDepth": "one"},
      {"identifier": "com.b", "folderDepth": "deep", "name": 7},
      {"identifier": "com.a", "name": "Again"},
      {"identifier": "../up"},
      {"identifier": ".hidden"},
      {"name": "No identifier"},
      "not an object",
      {"identifier": "com.c", "documentTypes": {"oops": true}}]})",
                                               &problems);
  ASSERT_EQ(parsed.size(), 3U);
  EXPECT_EQ(parsed[0].identifier, "com.a");
  EXPECT_EQ(parsed[0].localizedName, "A");
  EXPECT_EQ(parsed[0].folderDepth, Value("one"));
  // An unknown depth is kept as written, for its readers to refuse.
  EXPECT_EQ(parsed[1].folderDepth, Value("deep"));
  EXPECT_EQ(parsed[1].localizedName, "com.b");
  EXPECT_TRUE(parsed[1].documentTypes.isNull());
  EXPECT_TRUE(parsed[2].documentTypes.isDictionary());
  EXPECT_EQ(problems.size(), 6U);

  problems.clear();
  EXPECT_TRUE(ContainerRegistry::parse("{broken", &problems).empty());
  EXPECT_EQ(problems.size(), 1U);
  EXPECT_EQ(ContainerRegistry::parse(R"([{"identifier": "com.top"}])", nullptr).size(), 1U);
}

TEST(ContainerRegistry, DefaultAndUndeclaredFoldersAlwaysExist) {
  DRSetLogLevel(7);
  testing::TempDirectory home;
  const HomeLayout layout(home.path());
  ASSERT_FALSE(layout.ensureSkeleton());
  host::makeDirectories(layout.mobileDocuments() + "/com.vorlan.Found/Documents");
  ContainerRegistry registry(layout.containersJson(), layout.mobileDocuments());

  // No containers.json at all.
  EXPECT_EQ(identifiers(registry), (std::vector<std::string>{"com.vorlan.drive", "com.vorlan.Found"}));
  EXPECT_EQ(registry.container("com.vorlan.drive")->localizedName, "Velune Drive");
  EXPECT_FALSE(registry.container("com.vorlan.Found")->declared);

  // A broken file: logged, left as it is, and the drive still works from its folders.
  testing::clearLogs();
  DriveTestHome::writeRaw(layout.containersJson(), "{ this is not json");
  EXPECT_EQ(identifiers(registry), (std::vector<std::string>{"com.vorlan.drive", "com.vorlan.Found"}));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "Containers: containers.json is not a list of containers"));
  EXPECT_EQ(DriveTestHome::read(layout.containersJson()), "{ this is not json");
  // Logged once per version of the file, not at every lookup.
  testing::clearLogs();
  registry.containers();
  EXPECT_TRUE(testing::loggedMessages().empty());

  // A good file is picked up when it changes; the default comes first whatever the order.
  DriveTestHome::writeRaw(layout.containersJson(), R"({"containers": [
      {"identifier": "com.vorlan.App", "name": "App", "folderDepth": "none"},
      {"identifier": "com.vorlan.drive", "name": "My Drive"}]})");
  EXPECT_EQ(identifiers(registry),
            (std::vector<std::string>{"com.vorlan.drive", "com.vorlan.App", "com.vorlan.Found"}));
  EXPECT_EQ(registry.container("com.vorlan.drive")->localizedName, "My Drive");
  EXPECT_FALSE(registry.container("com.vorlan.Nope"));
  // A new folder on disk is a container at the next lookup.
  host::makeDirectories(layout.mobileDocuments() + "/com.vorlan.Later");
  EXPECT_TRUE(registry.container("com.vorlan.Later"));
}

TEST(HostSyncContainerService, ContainersOfItems) {
  DriveTestHome home;
  auto& service = *home.services().syncContainers;
  auto found = service.containerForItemAtURL(
      platform::URL::fileURLWithPath(home.documents(testing::kLumiboardContainer) + "/Sketches/a.png", false));
  ASSERT_TRUE(found.ok());
  const auto& container = found.value();
  EXPECT_EQ(container->identifier(), testing::kLumiboardContainer);
  EXPECT_EQ(container->localizedName(), "Lumiboard");
  EXPECT_EQ(container->supportedFolderLevels(), Value(platform::kSupportedFolderLevelsOne));
  ASSERT_TRUE(container->documentsURL());
  EXPECT_EQ(container->documentsURL()->path(), home.documents(testing::kLumiboardContainer));
  EXPECT_TRUE(container->documentsURL()->hasDirectoryPath());
  EXPECT_EQ(container->documentTypes().count(), 2U);
  EXPECT_NE(container->description().find("Lumiboard"), std::string::npos);
  EXPECT_EQ(service.localizedNameOfDefaultContainer(), "Velune Drive");
  EXPECT_EQ(service.allContainers().size(), 4U);
  EXPECT_EQ(service.allContainers().front()->identifier(), platform::kDefaultSyncContainerIdentifier);
  EXPECT_FALSE(service.containerForItemAtURL(platform::URL::fileURLWithPath(home.root(), true)).ok());
  EXPECT_FALSE(service.containerForItemAtURL(platform::URL::fileURLWithPath("/etc/hosts", false)).ok());
}

}  // namespace
}  // namespace velune::host
