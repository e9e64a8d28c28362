// UIUtils: renaming an item (a move to a new name in its folder).

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "tests/support/DriveTestHome.h"
#include "views/UIUtils.h"

namespace velune {
namespace {

namespace ErrorCode = platform::ErrorCode;
using platform::URL;
using testing::DriveTestHome;

class UIUtilsRenameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  static URL fileURL(const std::string& path) { return URL::fileURLWithPath(path, false); }

  DriveTestHome home_;
};

TEST(UIUtilsComputeNewURL, KeepsTheItemsExtension) {
  const URL report = URL::fileURLWithPath("/d/Report.pdf", false);
  EXPECT_EQ(UIUtils::computeNewURL(report, "Summary").path(), "/d/Summary.pdf");
  EXPECT_EQ(UIUtils::computeNewURL(report, "Summary.PDF").path(), "/d/Summary.PDF");
  EXPECT_EQ(UIUtils::computeNewURL(report, "Summary.txt").path(), "/d/Summary.txt.pdf");
  // The extension's case is ignored in every script, not only in ASCII.
  const URL greek = URL::fileURLWithPath("/d/\u0391\u03C1\u03C7\u03B5\u03AF\u03BF.\u0394\u039F\u039A", false);
  EXPECT_EQ(UIUtils::computeNewURL(greek, "\u039D\u03AD\u03BF.\u03B4\u03BF\u03BA").path(),
            "/d/\u039D\u03AD\u03BF.\u03B4\u03BF\u03BA");
  const URL cyrillic = URL::fileURLWithPath("/d/\u041E\u0442\u0447\u0451\u0442.\u0434\u043E\u043A", false);
  EXPECT_EQ(UIUtils::computeNewURL(cyrillic, "\u0418\u0442\u043E\u0433.\u0414\u041E\u041A").path(),
            "/d/\u0418\u0442\u043E\u0433.\u0414\u041E\u041A");
  EXPECT_EQ(UIUtils::computeNewURL(cyrillic, "\u0418\u0442\u043E\u0433.txt").path(),
            "/d/\u0418\u0442\u043E\u0433.txt.\u0434\u043E\u043A");
  EXPECT_EQ(UIUtils::computeNewURL(URL::fileURLWithPath("/d/Notes", false), "Ideas.v2").path(), "/d/Ideas.v2");
  const URL folder = UIUtils::computeNewURL(URL::fileURLWithPath("/d/Box", true), "Crate");
  EXPECT_EQ(folder.path(), "/d/Crate");
  EXPECT_TRUE(folder.hasDirectoryPath());
}

TEST_F(UIUtilsRenameTest, InvalidNamesAreRefusedWith514AndChangeNothing) {
  const std::string file = home_.writeDocument(home_.documents() + "/Report.pdf", "r");
  auto error = UIUtils::renameItemAtURL(fileURL(file), "");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteInvalidFileName);
  EXPECT_EQ(error->domain(), platform::kPlatformErrorDomain);
  EXPECT_TRUE(error->userInfo().empty());
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Rename: empty, reverting"));
  for (const std::string& name :
       std::vector<std::string>{".hidden", "a/b", "a:b", "tab\there", "two\nlines", "para\u2029"}) {
    error = UIUtils::renameItemAtURL(fileURL(file), name);
    ASSERT_TRUE(error) << name;
    EXPECT_EQ(error->code(), ErrorCode::FileWriteInvalidFileName) << name;
  }
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Name is invalid: a:b"));
  EXPECT_EQ(DriveTestHome::read(file), "r");
}

TEST_F(UIUtilsRenameTest, RenameToTheSameNameIsNoChange) {
  const std::string file = home_.writeDocument(home_.documents() + "/Report.pdf", "r");
  EXPECT_FALSE(UIUtils::renameItemAtURL(fileURL(file), "Report"));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Name is valid: Report"));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "Rename: Old and new URLs are the same"));
  EXPECT_EQ(DriveTestHome::read(file), "r");
}

TEST_F(UIUtilsRenameTest, RenameMovesToTheNewNameOrItsFirstFreeVariant) {
  const std::string file = home_.writeDocument(home_.documents() + "/Report.pdf", "report");
  home_.writeDocument(home_.documents() + "/Summary.pdf", "other");
  EXPECT_FALSE(UIUtils::renameItemAtURL(fileURL(file), "Summary"));
  EXPECT_EQ(DriveTestHome::read(home_.documents() + "/Summary 2.pdf"), "report");
  EXPECT_EQ(DriveTestHome::read(home_.documents() + "/Summary.pdf"), "other");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(home_.documents() + "/Summary 2.pdf")), "report");

  const std::string folder = home_.makeFolder(home_.documents() + "/Box");
  EXPECT_FALSE(UIUtils::renameItemAtURL(URL::fileURLWithPath(folder, true), "Crate \U0001F4E6"));
  EXPECT_TRUE(DriveTestHome::exists(home_.documents() + "/Crate \U0001F4E6"));

  // A cloud-only document is renamed without being downloaded.
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.txt", "c");
  EXPECT_FALSE(UIUtils::renameItemAtURL(home_.url(cloud), "\u05E2\u05D1\u05E8\u05D9\u05EA"));
  EXPECT_TRUE(
      DriveTestHome::exists(host::placeholderPathFor(home_.documents() + "/\u05E2\u05D1\u05E8\u05D9\u05EA.txt")));
}

// A cloud-only document's name did not count as taken: renaming Report.pdf to
// "Summary" beside a cloud-only Summary.pdf failed with "file exists".
TEST_F(UIUtilsRenameTest, Rename_ToACloudOnlyDocumentsNameGivesTheFirstFreeVariant) {
  const std::string file = home_.writeDocument(home_.documents() + "/Report.pdf", "report");
  const std::string summary = home_.writeCloudOnly(home_.documents() + "/Summary.pdf", "summary in the cloud");
  EXPECT_FALSE(UIUtils::renameItemAtURL(fileURL(file), "Summary"));
  EXPECT_EQ(DriveTestHome::read(home_.documents() + "/Summary 2.pdf"), "report");
  EXPECT_EQ(home_.drive().stateOf(summary), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(summary)), "summary in the cloud");

  // Cloud-only onto cloud-only: both stay in the cloud, the renamed one under the free name.
  const std::string notes = home_.writeCloudOnly(home_.documents() + "/Notes.pdf", "notes in the cloud");
  EXPECT_FALSE(UIUtils::renameItemAtURL(home_.url(summary), "Notes"));
  EXPECT_EQ(home_.drive().stateOf(home_.documents() + "/Notes 2.pdf"), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(home_.documents() + "/Notes 2.pdf")), "summary in the cloud");
  EXPECT_EQ(home_.drive().stateOf(notes), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(notes)), "notes in the cloud");
  EXPECT_EQ(home_.drive().stateOf(summary), host::Drive::ItemState::Missing);
}

TEST_F(UIUtilsRenameTest, RenamingAReferenceRenamesItsTarget) {
  const std::string target = home_.writeDocument(home_.documents(testing::kDrillrunContainer) + "/Warmup.drill", "w");
  const std::string reference = home_.documents() + "/Warmup.vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(reference, target));
  EXPECT_FALSE(UIUtils::renameItemAtURL(fileURL(reference), "Cooldown"));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "Renaming bookmark "));
  EXPECT_TRUE(DriveTestHome::exists(reference));
  EXPECT_FALSE(DriveTestHome::exists(target));
  EXPECT_EQ(DriveTestHome::read(home_.documents(testing::kDrillrunContainer) + "/Cooldown.drill"), "w");
}

}  // namespace
}  // namespace velune
