#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <set>

#include "host/FileIO.h"
#include "host/PosixDirectoryEnumerator.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using platform::URL;

class PosixDirectoryEnumeratorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    top_ = home_.documents(testing::kDrillrunContainer);
    home_.makeFolder(top_ + "/Warmups/Legs");
    home_.writeDocument(top_ + "/Warmups/Legs/Squat.txt", "s");
    home_.writeDocument(top_ + "/Sprint.txt", "s");
    home_.makeFolder(top_ + "/Plan.board");
    home_.writeDocument(top_ + "/Plan.board/board.json", "{}");
    home_.makeFolder(top_ + "/.hidden");
    home_.writeDocument(top_ + "/.hidden/Secret.txt", "x");
    ASSERT_EQ(::symlink((top_ + "/Warmups").c_str(), (top_ + "/Link").c_str()), 0);
  }

  struct Seen {
    std::map<std::string, std::size_t> levels;  // path below the top → level
    std::set<std::string> directories;
  };
  Seen enumerate(platform::DirectoryEnumerationOptions options,
                 platform::DirectoryEnumerationErrorHandler handler = {}) {
    auto entries =
        VELUNE_SERVICE(fileSystem)->enumeratorAtURL(URL::fileURLWithPath(top_, true), options, std::move(handler));
    Seen seen;
    while (const auto entry = entries->nextObject()) {
      std::string path = entry->path();
      if (path.size() > 1 && path.back() == '/') {
        path.pop_back();
      }
      const std::string below = path.substr(top_.size() + 1);
      seen.levels[below] = entries->level();
      if (entry->hasDirectoryPath()) {
        seen.directories.insert(below);
      }
    }
    return seen;
  }

  testing::DriveTestHome home_;
  std::string top_;
};

TEST_F(PosixDirectoryEnumeratorTest, TopLevelOnly_SkipsHiddenNamesAndEntersNothing) {
  const Seen seen = enumerate(platform::kSkipsSubdirectoryDescendants | platform::kSkipsPackageDescendants |
                              platform::kSkipsHiddenFiles);
  EXPECT_EQ(seen.levels,
            (std::map<std::string, std::size_t>{{"Warmups", 1}, {"Sprint.txt", 1}, {"Plan.board", 1}, {"Link", 1}}));
  EXPECT_EQ(seen.directories, (std::set<std::string>{"Warmups", "Plan.board"})) << "a link is no folder";
}

TEST_F(PosixDirectoryEnumeratorTest, Descending_EntersFoldersButNotPackagesOrLinksAndCountsLevels) {
  const Seen all = enumerate(0);
  EXPECT_EQ(all.levels.at("Warmups/Legs/Squat.txt"), 3U);
  EXPECT_EQ(all.levels.at(".hidden/Secret.txt"), 2U);
  EXPECT_EQ(all.levels.count("Plan.board/board.json"), 1U);
  EXPECT_EQ(all.levels.count("Link/Legs"), 0U) << "a symbolic link is never followed";

  const Seen noPackages = enumerate(platform::kSkipsPackageDescendants | platform::kSkipsHiddenFiles);
  EXPECT_EQ(noPackages.levels.count("Plan.board"), 1U);
  EXPECT_EQ(noPackages.levels.count("Plan.board/board.json"), 0U);
  EXPECT_EQ(noPackages.levels.count(".hidden"), 0U);
  EXPECT_EQ(noPackages.levels.count(".hidden/Secret.txt"), 0U);
  EXPECT_EQ(noPackages.levels.count("Warmups/Legs/Squat.txt"), 1U);

  // skipDescendants() keeps the enumerator out of the folder last reported.
  auto entries = VELUNE_SERVICE(fileSystem)->enumeratorAtURL(URL::fileURLWithPath(top_, true), 0, {});
  std::size_t belowWarmups = 0;
  while (const auto entry = entries->nextObject()) {
    if (entry->lastPathComponent() == "Warmups") {
      entries->skipDescendants();
    }
    belowWarmups += entry->path().find("/Warmups/") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(belowWarmups, 0U);
}

TEST_F(PosixDirectoryEnumeratorTest, Errors_GoToTheHandlerWhichSaysWhetherToGoOn) {
  // The top folder is missing: told once, nothing reported.
  std::vector<std::string> failed;
  auto missing = VELUNE_SERVICE(fileSystem)
                     ->enumeratorAtURL(URL::fileURLWithPath(top_ + "/Nowhere", true), 0,
                                       [&failed](const URL& url, const platform::Error& error) {
                                         failed.push_back(url.lastPathComponent() + " " + std::to_string(error.code()));
                                         return true;
                                       });
  EXPECT_FALSE(missing->nextObject());
  ASSERT_EQ(failed.size(), 1U);
  EXPECT_EQ(failed[0], "Nowhere " + std::to_string(platform::ErrorCode::FileReadNoSuchFile));

  // A folder removed between being listed and being entered: the handler
  // answers true and the rest still comes; false ends the enumeration.
  for (const bool goOn : {true, false}) {
    auto entries = VELUNE_SERVICE(fileSystem)
                       ->enumeratorAtURL(URL::fileURLWithPath(top_, true), platform::kSkipsHiddenFiles,
                                         [goOn](const URL&, const platform::Error&) { return goOn; });
    std::size_t reported = 0;
    std::string last;
    while (const auto entry = entries->nextObject()) {
      ++reported;
      last = entry->lastPathComponent();
      if (last == "Warmups") {
        ASSERT_EQ(::rename((top_ + "/Warmups").c_str(), (top_ + "/.gone").c_str()), 0);
      }
    }
    if (goOn) {
      // Warmups, Sprint.txt, Plan.board with its document, Link: all but what Warmups held.
      EXPECT_EQ(reported, 5U);
    } else {
      EXPECT_EQ(last, "Warmups") << "nothing comes after a handler that says stop";
    }
    ASSERT_EQ(::rename((top_ + "/.gone").c_str(), (top_ + "/Warmups").c_str()), 0);
  }
}

}  // namespace
}  // namespace velune::host
