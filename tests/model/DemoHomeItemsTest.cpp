// Every item of the demo home reads as an item record, and the items made to
// show particular states show them.

#include <gtest/gtest.h>

#include "host/drive/DemoHome.h"
#include "host/drive/Drive.h"
#include "host/drive/DriveServices.h"
#include "model/DRItem.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "tests/support/DriveTestHome.h"

namespace velune {
namespace {

using platform::URL;

class DemoHomeItemsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(host::DemoHome::make(temp_.path() + "/phone"));
    driveServices_ = host::DriveServices::make(host::HomeLayout(temp_.path() + "/phone"));
    auto services = testing::baseServices();
    driveServices_.wire(services);
    platform::Platform::install(services);
  }
  void TearDown() override { testing::installBaseServices(); }
  std::shared_ptr<DRItem> item(const std::string& relative) {
    return DRItem::initWithURL(driveServices_.drive->itemURL(driveServices_.drive->drivePath(relative)));
  }

  testing::TempDirectory temp_;
  host::DriveServices driveServices_;
};

TEST_F(DemoHomeItemsTest, EveryItemReads) {
  std::vector<std::string> folders;
  for (const auto& container : platform::Platform::services()->syncContainers->allContainers()) {
    ASSERT_TRUE(container->documentsURL()) << container->identifier();
    folders.push_back(container->documentsURL()->path());
  }
  EXPECT_EQ(folders.size(), 4U);
  size_t read = 0;
  while (!folders.empty()) {
    const std::string folder = folders.back();
    folders.pop_back();
    auto entries = driveServices_.drive->contentsOfFolder(folder, /*includeHidden=*/true);
    ASSERT_TRUE(entries.ok()) << folder;
    for (const auto& entry : entries.value()) {
      auto record = DRItem::initWithURL(entry.url);
      ASSERT_TRUE(record) << entry.path;
      ++read;
      if (entry.isDirectory && !record->isPackage()) {
        folders.push_back(entry.path);
      }
    }
  }
  EXPECT_GT(read, 30U);
}

TEST_F(DemoHomeItemsTest, ItemsShowTheirStates) {
  auto report = item("com.vorlan.drive/Documents/Annual Report.pdf");
  ASSERT_TRUE(report);
  EXPECT_TRUE(report->isPromise());
  EXPECT_FALSE(report->isDownloaded());
  EXPECT_GT(*report->fileSize(), 6'291'456U);
  auto harbour = item("com.vorlan.drive/Documents/Photos/Harbour.png");
  ASSERT_TRUE(harbour);
  EXPECT_FALSE(harbour->isDownloaded());
  EXPECT_TRUE(harbour->canPreview());
  EXPECT_LT(*harbour->fileSize(), 6'291'456U);
  auto film = item("com.vorlan.drive/Documents/Holiday Film.mp4");
  ASSERT_TRUE(film);
  EXPECT_GT(*film->fileSize(), 104'857'600U);
  auto team = item("com.vorlan.drive/Documents/Team Plan.md");
  ASSERT_TRUE(team);
  EXPECT_FALSE(team->renameable());
  auto budget = item("com.vorlan.drive/Documents/Budget.csv");
  ASSERT_TRUE(budget);
  EXPECT_TRUE(budget->renameable());
  auto board = item("com.vorlan.lumiboard/Documents/Mood Board.board");
  ASSERT_TRUE(board);
  EXPECT_TRUE(board->isPackage());
  auto link = item("com.vorlan.drive/Documents/Annual Report (link).vdref");
  ASSERT_TRUE(link);
  EXPECT_TRUE(link->isBookmark());
  EXPECT_TRUE(link->isPromise());
  auto projects = item("com.vorlan.drive/Documents/Projects");
  ASSERT_TRUE(projects);
  EXPECT_EQ(projects->tags(), (std::vector<std::string>{"Blue", "Work"}));
  auto drillrun = item("com.vorlan.Drillrun/Documents");
  ASSERT_TRUE(drillrun);
  EXPECT_TRUE(drillrun->isContainer());
  EXPECT_EQ(drillrun->localizedName(), "Drillrun");
  // The folder-depth options and types of the app containers.
  auto& containers = *platform::Platform::services()->syncContainers;
  std::map<std::string, platform::Value> depths;
  for (const auto& container : containers.allContainers()) {
    depths[container->identifier()] = container->supportedFolderLevels();
  }
  EXPECT_TRUE(depths["com.vorlan.drive"].isNull());
  EXPECT_EQ(depths["com.vorlan.Drillrun"], platform::Value("any"));
  EXPECT_EQ(depths["com.vorlan.lumiboard"], platform::Value("one"));
  EXPECT_EQ(depths["com.vorlan.Jotter"], platform::Value("none"));
}

TEST_F(DemoHomeItemsTest, IsOnlyMadeInANewFolder) {
  auto error = host::DemoHome::make(temp_.path() + "/phone");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), platform::ErrorCode::FileWriteFileExists);
}

}  // namespace
}  // namespace velune
