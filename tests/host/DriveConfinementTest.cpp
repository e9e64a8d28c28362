// The drive's changes stay inside the drive and the cloud side, with the
// kernel's resolution below a root and with the component walk that stands
// in for it, also when a link is swapped in between the check and the change.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/drive/BeneathPath.h"
#include "host/drive/FileOperations.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using testing::DriveTestHome;

class ConfinementTest : public ::testing::TestWithParam<BeneathResolution> {
 protected:
  void SetUp() override {
    DriveTestHome::writeRaw(outside_.file("victim.txt"), "victim");
    DriveTestHome::writeRaw(root() + "/real/inside.txt", "inside");
    operations_.setResolution(GetParam());
  }
  std::string root() const { return temp_.path() + "/root"; }
  std::string victim() const { return DriveTestHome::read(outside_.file("victim.txt")); }

  testing::TempDirectory temp_;
  testing::TempDirectory outside_;
  FileOperations operations_{std::vector<std::string>{root()}};
};

TEST_P(ConfinementTest, LinksThatStayInsideAreFollowedOthersRefused) {
  ASSERT_EQ(::symlink("real", (root() + "/inner").c_str()), 0);
  ASSERT_EQ(::symlink(outside_.path().c_str(), (root() + "/absolute").c_str()), 0);
  // Enough ".." to reach "/" from anywhere, then down to the victim's folder.
  const std::string up = "../../../../../../../../../../.." + outside_.path();
  ASSERT_EQ(::symlink(up.c_str(), (root() + "/relative").c_str()), 0);
  ASSERT_EQ(::symlink("loop", (root() + "/loop").c_str()), 0);

  // Inside the root through a link: made where the link leads.
  EXPECT_EQ(operations_.writeFile(root() + "/inner/new.txt", "new", false), 0);
  EXPECT_EQ(DriveTestHome::read(root() + "/real/new.txt"), "new");
  // Leading out, by an absolute link, by "..", or looping: refused, nothing done.
  for (const char* link : {"absolute", "relative", "loop"}) {
    const std::string base = root() + "/" + link;
    EXPECT_TRUE(isOutsideRootError(operations_.writeFile(base + "/victim.txt", "x", true))) << link;
    EXPECT_TRUE(isOutsideRootError(operations_.unlinkFile(base + "/victim.txt"))) << link;
    EXPECT_TRUE(isOutsideRootError(operations_.removeTree(base + "/victim.txt"))) << link;
    EXPECT_TRUE(isOutsideRootError(operations_.makeDirectories(base + "/a/b"))) << link;
    EXPECT_TRUE(isOutsideRootError(operations_.renameReplacing(root() + "/real/inside.txt", base + "/victim.txt")))
        << link;
    EXPECT_TRUE(isOutsideRootError(operations_.copyItem(root() + "/real/inside.txt", base + "/copy.txt", false)))
        << link;
  }
  EXPECT_EQ(victim(), "victim");
  EXPECT_FALSE(DriveTestHome::exists(outside_.file("a")));
  EXPECT_FALSE(DriveTestHome::exists(outside_.file("copy.txt")));
  // The link itself is the item: removing it leaves its target alone.
  EXPECT_EQ(operations_.removeTree(root() + "/absolute"), 0);
  EXPECT_EQ(victim(), "victim");
}

TEST_P(ConfinementTest, ALinkSwappedInAfterTheCheckDoesNotRedirectTheChange) {
  // The drive checked where a path led, then changed it by name: a link put
  // in between the two redirected the change outside.
  const std::string folder = root() + "/real";
  operations_.setFaultInjector([&](std::string_view, const std::string& path) {
    if (path.starts_with(folder + "/") && DriveTestHome::exists(folder + "/inside.txt")) {
      // Another process replaces the folder with a link to the victim's.
      EXPECT_EQ(::rename(folder.c_str(), (root() + "/moved").c_str()), 0);
      EXPECT_EQ(::symlink(outside_.path().c_str(), folder.c_str()), 0);
    }
    return 0;
  });
  EXPECT_TRUE(isOutsideRootError(operations_.removeTree(folder + "/victim.txt")));
  EXPECT_EQ(victim(), "victim");
}

INSTANTIATE_TEST_SUITE_P(Resolutions, ConfinementTest,
                         ::testing::Values(BeneathResolution::Automatic, BeneathResolution::ComponentWalk),
                         [](const auto& parameter) {
                           return parameter.param == BeneathResolution::Automatic ? "Openat2" : "ComponentWalk";
                         });

}  // namespace
}  // namespace velune::host
