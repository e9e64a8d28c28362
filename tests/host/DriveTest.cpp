#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "host/drive/Drive.h"
#include "host/drive/DrivePaths.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/ThreadGate.h"

namespace velune::host {
namespace {

using testing::DriveTestHome;
namespace ErrorCode = platform::ErrorCode;

class DriveTest : public ::testing::Test {
 protected:
  std::string relative(const std::string& path) { return *home_.drive().relativePath(path); }
  static bool exists(const std::string& path) { return DriveTestHome::exists(path); }
  static std::string read(const std::string& path) { return DriveTestHome::read(path); }

  DriveTestHome home_;
};

// Starts two functions at the same moment on two threads.
void race(const std::function<void()>& first, const std::function<void()>& second) {
  std::atomic<int> ready{0};
  auto run = [&](const std::function<void()>& work) {
    ready.fetch_add(1);
    while (ready.load() < 2) {
      std::this_thread::yield();
    }
    work();
  };
  std::thread a(run, first);
  std::thread b(run, second);
  a.join();
  b.join();
}

bool createExclusively(const std::string& path, const std::string& contents) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) {
    return false;
  }
  const bool written = ::write(fd, contents.data(), contents.size()) == static_cast<ssize_t>(contents.size());
  ::close(fd);
  return written;
}

// Guards the promise that a move never replaces an item, also when another
// process creates the destination name at the same moment, with renameat2 and
// with the link-and-unlink fallback of file systems that refuse it.
class DriveMoveRaceTest : public DriveTest, public ::testing::WithParamInterface<bool> {};

TEST_P(DriveMoveRaceTest, AMoveAndACreatorOfTheSameNameNeverBothWin) {
  home_.drive().operations().setForceNoReplaceFallback(GetParam());
  const std::string target = home_.makeFolder(home_.documents() + "/Race");
  int moverWins = 0;
  int creatorWins = 0;
  for (int i = 0; i < 150; ++i) {
    const std::string source = home_.writeDocument(home_.documents() + "/src-" + std::to_string(i), "mover");
    const std::string destination = target + "/dst-" + std::to_string(i);
    std::optional<platform::Error> moveError;
    bool created = false;
    race([&] { moveError = home_.drive().moveItem(source, destination); },
         [&] {
           // Spread the creations over the mover's whole path, checks and rename.
           for (int spin = 0; spin < (i % 50) * 4; ++spin) {
             std::this_thread::yield();
           }
           created = createExclusively(destination, "creator");
         });
    ASSERT_NE(!moveError, created) << i;  // exactly one of them has the name
    if (created) {
      ++creatorWins;
      EXPECT_EQ(moveError->code(), ErrorCode::FileWriteFileExists);
      EXPECT_EQ(read(destination), "creator");
      EXPECT_EQ(read(source), "mover");
    } else {
      ++moverWins;
      EXPECT_EQ(read(destination), "mover");
      EXPECT_FALSE(exists(source));
    }
  }
  EXPECT_EQ(moverWins + creatorWins, 150);
  RecordProperty("moverWins", moverWins);
  RecordProperty("creatorWins", creatorWins);
}

TEST_P(DriveMoveRaceTest, FoldersToo) {
  home_.drive().operations().setForceNoReplaceFallback(GetParam());
  const std::string target = home_.makeFolder(home_.documents() + "/Race");
  for (int i = 0; i < 60; ++i) {
    const std::string source = home_.makeFolder(home_.documents() + "/dir-" + std::to_string(i));
    home_.writeDocument(source + "/inside.txt", "mover");
    const std::string destination = target + "/dst-" + std::to_string(i);
    std::optional<platform::Error> moveError;
    bool created = false;
    race([&] { moveError = home_.drive().moveItem(source, destination); },
         [&] {
           for (int spin = 0; spin < (i % 30) * 6; ++spin) {
             std::this_thread::yield();
           }
           created = ::mkdir(destination.c_str(), 0755) == 0 && createExclusively(destination + "/theirs.txt", "t");
         });
    if (!moveError) {
      EXPECT_EQ(read(destination + "/inside.txt"), "mover") << i;
      EXPECT_FALSE(exists(destination + "/theirs.txt")) << i;
    } else {
      EXPECT_EQ(read(source + "/inside.txt"), "mover") << i;
      EXPECT_TRUE(created) << i;
      EXPECT_EQ(read(destination + "/theirs.txt"), "t") << i;
    }
  }
}

TEST_P(DriveMoveRaceTest, ANameTakenBetweenTheCheckAndTheRenameIsNotReplaced) {
  home_.drive().operations().setForceNoReplaceFallback(GetParam());
  const std::string source = home_.writeDocument(home_.documents() + "/Mine.txt", "mine");
  const std::string folder = home_.makeFolder(home_.documents() + "/Busy");
  const std::string destination = folder + "/Mine.txt";
  // Another process creates the name just after the drive found it free.
  home_.drive().operations().setFaultInjector([&](std::string_view operation, const std::string& path) {
    if (operation == "rename" && path == destination) {
      EXPECT_TRUE(createExclusively(destination, "theirs"));
    }
    return 0;
  });
  auto error = home_.drive().moveItem(source, destination);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteFileExists);
  EXPECT_EQ(read(destination), "theirs");
  EXPECT_EQ(read(source), "mine");
  EXPECT_EQ(read(home_.cloudPathOf(source)), "mine");
}

INSTANTIATE_TEST_SUITE_P(RenameNoReplaceAndFallback, DriveMoveRaceTest, ::testing::Bool(),
                         [](const auto& parameter) { return parameter.param ? "LinkFallback" : "Renameat2"; });

TEST_F(DriveTest, ACloudOnlyDocumentAndAFileNeverTakeOneName) {
  // Two drives on one home: two processes, each with its own lock.
  Drive otherProcess(home_.layout());
  for (int i = 0; i < 100; ++i) {
    const std::string source = home_.writeDocument(home_.documents() + "/file-" + std::to_string(i), "file");
    const std::string name = "name-" + std::to_string(i);
    const std::string destination = home_.documents() + "/" + name;
    std::optional<platform::Error> moveError;
    std::optional<platform::Error> addError;
    Drive::CloudDocument document;
    document.contents = "cloud";
    race([&] { moveError = home_.drive().moveItem(source, destination); },
         [&] {
           addError = otherProcess.cloudAdd(std::string(testing::kDefaultContainer) + "/Documents/" + name, document);
         });
    ASSERT_FALSE(!moveError && !addError) << i;
    const bool real = exists(destination);
    const bool placeholder = exists(placeholderPathFor(destination));
    EXPECT_FALSE(real && placeholder) << i;
    if (!moveError) {
      EXPECT_EQ(read(destination), "file") << i;
    } else {
      EXPECT_EQ(read(source), "file") << i;
    }
    if (!addError) {
      EXPECT_TRUE(placeholder) << i;
      EXPECT_EQ(read(home_.cloudPathOf(destination)), "cloud") << i;
    }
  }
}

// The drive held its one lock across whole-file copies (an eviction's upload,
// another device's new version): renaming anything waited for the copy.
TEST_F(DriveTest, MoveItem_DoesNotWaitForADocumentBeingCopied) {
  const std::string documents = home_.documents();
  DriveTestHome::writeRaw(documents + "/Evicted.mov", "only on the phone");
  home_.writeDocument(documents + "/Modified.mov", "old version");
  DriveTestHome::writeRaw(home_.layout().appData() + "/Incoming.mov", "from another device");
  const std::vector<std::pair<std::string, std::function<std::optional<platform::Error>()>>> copyingJobs = {
      {"eviction", [&] { return home_.drive().evictItem(documents + "/Evicted.mov"); }},
      {"new version",
       [&] {
         return home_.drive().cloudModify(relative(documents + "/Modified.mov"),
                                          Drive::CloudDocument{"new version", {}, {}, {}});
       }},
      {"new document",
       [&] {
         return home_.drive().cloudAdd(relative(documents + "/Added.mov"),
                                       Drive::CloudDocument{{}, {}, home_.layout().appData() + "/Incoming.mov", {}});
       }},
  };
  int round = 0;
  for (const auto& [job, copy] : copyingJobs) {
    const std::string from = home_.writeDocument(documents + "/Note " + std::to_string(round) + ".txt", "note");
    const std::string to = documents + "/Renamed " + std::to_string(round++) + ".txt";
    // The copy stays blocked until the rename is done (or the test has given up on it).
    testing::ThreadGate copying;
    testing::ThreadGate renamed;
    home_.drive().operations().setFaultInjector([&](std::string_view operation, const std::string&) {
      if (operation == "copy" && !copying.isOpen()) {
        copying.open();
        renamed.wait();
      }
      return 0;
    });
    std::optional<platform::Error> copyError;
    std::thread copier([&, copyJob = copy] { copyError = copyJob(); });
    ASSERT_TRUE(copying.wait()) << job;
    auto rename = std::async(std::launch::async, [&] { return home_.drive().moveItem(from, to); });
    const bool renamedDuringCopy = rename.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    renamed.open();
    copier.join();
    home_.drive().operations().setFaultInjector(nullptr);
    EXPECT_TRUE(renamedDuringCopy) << "the rename waited for the " << job << "'s copy";
    EXPECT_FALSE(rename.get()) << job;
    EXPECT_FALSE(copyError) << job;
    EXPECT_EQ(read(to), "note") << job;
  }
  EXPECT_EQ(home_.drive().stateOf(documents + "/Evicted.mov"), Drive::ItemState::CloudOnly);
  EXPECT_EQ(read(home_.cloudPathOf(documents + "/Evicted.mov")), "only on the phone");
  EXPECT_EQ(read(documents + "/Modified.mov"), "new version");
  EXPECT_EQ(read(home_.cloudPathOf(documents + "/Modified.mov")), "new version");
  EXPECT_EQ(home_.drive().stateOf(documents + "/Added.mov"), Drive::ItemState::CloudOnly);
  EXPECT_EQ(read(home_.cloudPathOf(documents + "/Added.mov")), "from another device");
}

// The copy of an eviction runs without the lock, so the document can change
// under it: the server must end up with the last version, not a torn or old one.
TEST_F(DriveTest, EvictItem_CopiesAgainWhatChangedDuringTheCopyAndGivesUpOnWhatKeepsChanging) {
  const std::string document = home_.documents() + "/Draft.txt";
  DriveTestHome::writeRaw(document, "first");
  int copies = 0;
  home_.drive().operations().setFaultInjector([&](std::string_view operation, const std::string&) {
    if (operation == "copy" && copies++ == 0) {
      DriveTestHome::writeRaw(document, "second, longer");
    }
    return 0;
  });
  EXPECT_FALSE(home_.drive().evictItem(document));
  EXPECT_EQ(copies, 2);
  EXPECT_EQ(read(home_.cloudPathOf(document)), "second, longer");
  auto metadata = home_.drive().readPlaceholder(document);
  ASSERT_TRUE(metadata.ok());
  EXPECT_EQ(metadata.value().size, std::string("second, longer").size());

  // Changed during every copy: refused, the phone keeps its document.
  const std::string busy = home_.documents() + "/Busy.txt";
  DriveTestHome::writeRaw(busy, "v");
  std::string version = "v";
  home_.drive().operations().setFaultInjector([&](std::string_view operation, const std::string&) {
    if (operation == "copy") {
      DriveTestHome::writeRaw(busy, version += "v");
    }
    return 0;
  });
  auto error = home_.drive().evictItem(busy);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteUnknown);
  EXPECT_EQ(home_.drive().stateOf(busy), Drive::ItemState::Present);
  EXPECT_EQ(read(busy), version);
  EXPECT_FALSE(exists(placeholderPathFor(busy)));
}

TEST_F(DriveTest, FileOperations_FallbackRenameNeverReplaces) {
  FileOperations operations;
  operations.setForceNoReplaceFallback(true);
  const std::string folder = home_.documents();
  DriveTestHome::writeRaw(folder + "/a", "a");
  DriveTestHome::writeRaw(folder + "/b", "b");
  EXPECT_EQ(operations.renameNoReplace(folder + "/a", folder + "/b"), EEXIST);
  EXPECT_EQ(read(folder + "/a"), "a");
  EXPECT_EQ(operations.renameNoReplace(folder + "/a", folder + "/c"), 0);
  EXPECT_EQ(read(folder + "/c"), "a");
  ASSERT_EQ(::mkdir((folder + "/d1").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((folder + "/d2").c_str(), 0755), 0);
  EXPECT_EQ(operations.renameNoReplace(folder + "/d1", folder + "/d2"), EEXIST);
  EXPECT_EQ(operations.renameNoReplace(folder + "/d1", folder + "/d3"), 0);
  EXPECT_TRUE(exists(folder + "/d3") && !exists(folder + "/d1"));
}

TEST_F(DriveTest, ContentsOfFolder_ShowsDocumentsByTheirNames) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Listing");
  home_.writeDocument(folder + "/b.txt", "b");
  home_.writeCloudOnly(folder + "/a.pdf", "%PDF");
  home_.writeDocument(folder + "/.hidden", "h");
  home_.makeFolder(folder + "/c");
  home_.drive().setAttributes(folder + "/b.txt", ItemAttributes{{"Red"}, false, "owner", false});
  DriveTestHome::writeRaw(folder + "/.vdtmp-1-2-3", "scratch");
  // A stale placeholder beside a present file: the file is the item.
  DriveTestHome::writeRaw(placeholderPathFor(folder + "/b.txt"), "{}");

  auto entries = home_.drive().contentsOfFolder(folder, false);
  ASSERT_TRUE(entries.ok());
  std::vector<std::string> names;
  for (const auto& entry : entries.value()) {
    names.push_back(entry.name);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"a.pdf", "b.txt", "c"}));
  const auto& cloud = entries.value()[0];
  EXPECT_TRUE(cloud.isCloudOnly);
  ASSERT_NE(cloud.url.physicalURL(), nullptr);
  EXPECT_EQ(cloud.url.physicalURL()->path(), placeholderPathFor(folder + "/a.pdf"));
  EXPECT_TRUE(entries.value()[2].isDirectory);
  EXPECT_TRUE(entries.value()[2].url.hasDirectoryPath());

  auto all = home_.drive().contentsOfFolder(folder, true);
  ASSERT_TRUE(all.ok());
  EXPECT_EQ(all.value().size(), 4U);
  EXPECT_FALSE(home_.drive().contentsOfFolder(folder + "/missing", false).ok());
}

TEST_F(DriveTest, CloudChanges_ReachThePhone) {
  const std::string rel = std::string(testing::kDrillrunContainer) + "/Documents/Plans/Plan.txt";
  const std::string path = home_.documents(testing::kDrillrunContainer) + "/Plans/Plan.txt";
  Drive::CloudDocument document;
  document.contents = "v1";
  document.attributes.tags = {"Work"};
  ASSERT_FALSE(home_.drive().cloudAdd(rel, document));
  EXPECT_EQ(home_.drive().stateOf(path), Drive::ItemState::CloudOnly);
  auto metadata = home_.drive().readPlaceholder(path);
  ASSERT_TRUE(metadata.ok());
  EXPECT_EQ(metadata.value().size, 2U);
  EXPECT_EQ(metadata.value().attributes.tags, std::vector<std::string>{"Work"});
  EXPECT_EQ(read(home_.cloudPathOf(path)), "v1");
  // Taken: refused, and the first document stays as it was.
  document.contents = "intruder";
  auto error = home_.drive().cloudAdd(rel, document);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteFileExists);
  EXPECT_EQ(read(home_.cloudPathOf(path)), "v1");

  // Modified while cloud-only: the placeholder learns the new size.
  document.contents = "version two";
  ASSERT_FALSE(home_.drive().cloudModify(rel, document));
  EXPECT_EQ(home_.drive().readPlaceholder(path).value().size, 11U);
  // Modified while on the phone: the new version arrives.
  const std::string present = home_.writeDocument(home_.documents(testing::kDrillrunContainer) + "/Here.txt", "old");
  ASSERT_FALSE(home_.drive().cloudModify(relative(present), document));
  EXPECT_EQ(read(present), "version two");

  ASSERT_FALSE(home_.drive().cloudMove(rel, std::string(testing::kDrillrunContainer) + "/Documents/Moved.txt"));
  EXPECT_EQ(home_.drive().stateOf(home_.documents(testing::kDrillrunContainer) + "/Moved.txt"),
            Drive::ItemState::CloudOnly);
  EXPECT_FALSE(exists(home_.cloudPathOf(path)));
  ASSERT_FALSE(home_.drive().cloudDelete(std::string(testing::kDrillrunContainer) + "/Documents/Moved.txt"));
  EXPECT_EQ(home_.drive().stateOf(home_.documents(testing::kDrillrunContainer) + "/Moved.txt"),
            Drive::ItemState::Missing);
  EXPECT_TRUE(home_.drive().cloudDelete(std::string(testing::kDrillrunContainer) + "/Documents/Moved.txt"));

  // A big document is kept sparse on the server.
  Drive::CloudDocument big;
  big.sparseSize = 150'000'000;
  ASSERT_FALSE(home_.drive().cloudAdd(std::string(testing::kDefaultContainer) + "/Documents/Film.mp4", big));
  struct stat info {};
  ASSERT_EQ(::stat(home_.cloudPathOf(home_.documents() + "/Film.mp4").c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 150'000'000);
  EXPECT_LT(info.st_blocks * 512, 1'000'000);
  EXPECT_EQ(home_.drive().readPlaceholder(home_.documents() + "/Film.mp4").value().size, 150'000'000U);
  // Paths outside the containers' documents are refused.
  EXPECT_TRUE(home_.drive().cloudAdd("com.vorlan.drive/Elsewhere.txt", document));
  EXPECT_TRUE(home_.drive().cloudAdd("../../escape.txt", document));
}

TEST_F(DriveTest, DeleteContainerContents_EmptiesBothSidesAndKeepsTheContainer) {
  const std::string docs = home_.documents(testing::kJotterContainer);
  home_.writeDocument(docs + "/One.txt", "1");
  home_.writeCloudOnly(docs + "/Two.txt", "2");
  home_.makeFolder(docs + "/Folder");
  home_.writeDocument(docs + "/.hidden", "h");
  ASSERT_FALSE(home_.drive().deleteContainerContents(testing::kJotterContainer));
  EXPECT_TRUE(exists(docs));
  EXPECT_TRUE(home_.drive().contentsOfFolder(docs, true).value().empty());
  auto cloudLeft = home_.drive().contentsOfFolder(home_.cloudDocuments(testing::kJotterContainer), true);
  ASSERT_TRUE(cloudLeft.ok());
  EXPECT_TRUE(cloudLeft.value().empty());
  // The other containers are untouched.
  const std::string other = home_.writeDocument(home_.documents() + "/Keep.txt", "k");
  EXPECT_EQ(read(other), "k");
  EXPECT_TRUE(home_.drive().deleteContainerContents("../escape"));
}

TEST_F(DriveTest, DocumentReferences_AreFollowedOnlyInsideTheDrive) {
  const std::string target = home_.writeDocument(home_.documents() + "/Target.txt", "t");
  const std::string reference = home_.documents() + "/Ref.vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(reference, target));
  EXPECT_EQ(home_.drive().documentReferenceTarget(reference).value(), target);
  EXPECT_TRUE(home_.drive().writeDocumentReference(reference, target));  // taken
  EXPECT_TRUE(home_.drive().writeDocumentReference(home_.documents() + "/Out.vdref", "/etc/passwd"));

  testing::TempDirectory outside;
  const std::string link = home_.documents() + "/OutLink";
  ASSERT_EQ(::symlink(outside.path().c_str(), link.c_str()), 0);
  const std::vector<std::pair<std::string, std::string>> broken = {
      {"corrupt", "{{{"},
      {"not an object", "[1, 2]"},
      {"no target", R"({"other": 1})"},
      {"escape", R"({"target": "../../../etc/passwd"})"},
      {"absolute outside", R"({"target": "/etc/passwd"})"},
      {"through a link", R"({"target": "com.vorlan.drive/Documents/OutLink/secret.txt"})"},
      {"the root", R"({"target": ""})"}};
  for (const auto& [what, text] : broken) {
    const std::string path = home_.documents() + "/" + what + ".vdref";
    DriveTestHome::writeRaw(path, text);
    EXPECT_FALSE(home_.drive().documentReferenceTarget(path).ok()) << what;
  }
}

TEST_F(DriveTest, Attributes_LiveInTheSidecarOrThePlaceholder) {
  const std::string file = home_.writeDocument(home_.documents() + "/Tagged.txt", "t");
  EXPECT_TRUE(home_.drive().readAttributes(file).value().isDefault());
  ASSERT_FALSE(home_.drive().setAttributes(file, ItemAttributes{{"Red", "Blue"}, true, "participant", true}));
  EXPECT_TRUE(exists(sidecarPathFor(file)));
  auto read = home_.drive().readAttributes(file);
  ASSERT_TRUE(read.ok());
  EXPECT_EQ(read.value(), (ItemAttributes{{"Red", "Blue"}, true, "participant", true}));
  // Back to no attributes: no sidecar is left.
  ASSERT_FALSE(home_.drive().setAttributes(file, ItemAttributes{}));
  EXPECT_FALSE(exists(sidecarPathFor(file)));

  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.txt", "c");
  ASSERT_FALSE(home_.drive().setAttributes(cloud, ItemAttributes{{"Green"}, false, "owner", false}));
  EXPECT_EQ(home_.drive().readPlaceholder(cloud).value().attributes.tags, std::vector<std::string>{"Green"});
  EXPECT_EQ(home_.drive().readPlaceholder(cloud).value().size, 1U);  // the rest of the placeholder is kept

  // A corrupt sidecar is an error, not silently no tags.
  DriveTestHome::writeRaw(sidecarPathFor(file), "garbage");
  EXPECT_FALSE(home_.drive().readAttributes(file).ok());
  EXPECT_FALSE(home_.drive().readAttributes(home_.documents() + "/None.txt").ok());
}

}  // namespace
}  // namespace velune::host
