// The listings' reads of the drive stay inside it: a folder that is, or lies
// behind, a symbolic link leading outside is neither listed nor read, also
// when the link replaces the folder between the listing and its records.

#include <gtest/gtest.h>
#include <unistd.h>

#include "host/drive/FileOperations.h"
#include "platform/FolderListingService.h"
#include "tests/support/DriveTestHome.h"

namespace velune::testing {
namespace {

using platform::FolderListingEntry;
using platform::URL;

class HostFolderListingServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Outside the home, the same names as in the drive's folder.
    DriveTestHome::writeRaw(outside_.file("Plans/Secret.txt"), std::string(4321, 's'));
    DriveTestHome::writeRaw(outside_.file("Plans/.Secret.txt.vdattrs"), R"({"tags": ["Red"], "shared": true})");
    host::PlaceholderMetadata remote;
    remote.size = 98765;
    remote.attributes.shared = true;
    DriveTestHome::writeRaw(host::placeholderPathFor(outside_.file("Plans/Remote.pdf")), remote.serialize());
  }
  platform::FolderListingService& listings() { return *platform::Platform::services()->folderListings; }
  static URL folderURL(const std::string& path) { return URL::fileURLWithPath(path, true); }

  DriveTestHome home_;
  TempDirectory outside_;
};

TEST_F(HostFolderListingServiceTest, FoldersBehindALinkLeadingOutside_AreNeitherListedNorRead) {
  ASSERT_EQ(::symlink(outside_.path().c_str(), (home_.documents() + "/Linked").c_str()), 0);
  for (const std::string& folder : {home_.documents() + "/Linked", home_.documents() + "/Linked/Plans"}) {
    const auto entries = listings().entriesOfFolder(folderURL(folder));
    EXPECT_FALSE(entries.ok()) << folder;
  }
  // The drive's own folders are still listed.
  home_.writeDocument(home_.documents() + "/Plans/Secret.txt", "mine");
  const auto entries = listings().entriesOfFolder(folderURL(home_.documents() + "/Plans"));
  ASSERT_TRUE(entries.ok()) << entries.error().description();
  ASSERT_EQ(entries.value().size(), 1U);
  EXPECT_EQ(entries.value()[0].name, "Secret.txt");
}

TEST_F(HostFolderListingServiceTest, RecordsOfAFolderSwappedForALink_ReadNothingOutside) {
  // The records were read by the folder's path again: a folder replaced by a
  // link leading outside after its listing had the files out there stat'ed
  // and their sidecars and placeholders read into the listing.
  const std::string plans = home_.makeFolder(home_.documents() + "/Plans");
  home_.writeDocument(plans + "/Secret.txt", "mine");
  DriveTestHome::writeRaw(plans + "/.Secret.txt.vdattrs", R"({"tags": []})");
  home_.writeCloudOnly(plans + "/Remote.pdf", "remote");
  const auto entries = listings().entriesOfFolder(folderURL(plans));
  ASSERT_TRUE(entries.ok()) << entries.error().description();
  ASSERT_EQ(entries.value().size(), 2U);
  const auto before = listings().recordsOfEntries(folderURL(plans), entries.value());
  ASSERT_EQ(before.size(), 2U);

  ASSERT_EQ(host::FileOperations().removeTree(plans), 0);
  ASSERT_EQ(::symlink(outside_.file("Plans").c_str(), plans.c_str()), 0);
  const auto records = listings().recordsOfEntries(folderURL(plans), entries.value());
  for (const auto& record : records) {
    EXPECT_NE(record.size, 4321U) << record.url.path();
    EXPECT_NE(record.size, 98765U) << record.url.path();
    EXPECT_FALSE(record.isShared) << record.url.path();
  }
  EXPECT_TRUE(records.empty());

  // Through a parent folder swapped for a link too.
  ASSERT_EQ(::unlink(plans.c_str()), 0);
  const std::string projects = home_.documents() + "/Projects";
  ASSERT_EQ(::symlink(outside_.path().c_str(), projects.c_str()), 0);
  EXPECT_TRUE(listings().recordsOfEntries(folderURL(projects + "/Plans"), entries.value()).empty());
}

}  // namespace
}  // namespace velune::testing
