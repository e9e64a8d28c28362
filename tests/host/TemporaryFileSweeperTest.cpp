#include "host/drive/TemporaryFileSweeper.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/HomeJson.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/TemporaryNames.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using testing::DriveTestHome;

// The pid of a process that has ended (and was reaped).
pid_t deadPid() {
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return child;
}

std::string nameOf(pid_t pid, std::uint64_t start, int counter, const std::string& suffix = {}) {
  return ".vdtmp-" + std::to_string(pid) + "-" + std::to_string(start) + "-" + std::to_string(counter) + "-7" +
         (suffix.empty() ? "" : "." + suffix);
}

class TemporaryFileSweeperTest : public ::testing::Test {
 protected:
  std::string own(int counter) { return nameOf(::getpid(), *processStartTime(::getpid()), counter); }
  std::string dead(int counter, const std::string& suffix = {}) { return nameOf(deadPid_, 1, counter, suffix); }
  TemporaryFileSweeper::Report sweep() {
    return TemporaryFileSweeper(home_.root(), home_.layout().cloud()).sweep();
  }

  DriveTestHome home_;
  const pid_t deadPid_ = deadPid();
};

TEST_F(TemporaryFileSweeperTest, RemovesOnlyWhatDeadProcessesLeft) {
  // A killed process's temporary files stayed for ever, counted against the quota.
  const std::string phone = home_.documents();
  const std::string cloud = home_.cloudDocuments();
  DriveTestHome::writeRaw(phone + "/" + dead(1), "half a download");
  DriveTestHome::writeRaw(cloud + "/Deep/er/" + dead(2) + "/inside", "half a package");
  DriveTestHome::writeRaw(phone + "/" + own(3), "a copy in progress");
  // This process's pid with another start time: a dead process whose pid came back.
  DriveTestHome::writeRaw(cloud + "/" + nameOf(::getpid(), *processStartTime(::getpid()) + 1, 4), "reused pid");
  DriveTestHome::writeRaw(phone + "/.vdtmp-1-2-3", "not a name this system makes");
  DriveTestHome::writeRaw(phone + "/Kept.txt", "a document");

  const auto report = sweep();
  EXPECT_EQ(report.removed, 3);
  EXPECT_FALSE(DriveTestHome::exists(phone + "/" + dead(1)));
  EXPECT_FALSE(DriveTestHome::exists(cloud + "/Deep/er/" + dead(2)));
  EXPECT_TRUE(DriveTestHome::exists(cloud + "/Deep/er"));
  EXPECT_FALSE(DriveTestHome::exists(cloud + "/" + nameOf(::getpid(), *processStartTime(::getpid()) + 1, 4)));
  EXPECT_TRUE(DriveTestHome::exists(phone + "/" + own(3))) << "a running process's file stays";
  EXPECT_TRUE(DriveTestHome::exists(phone + "/.vdtmp-1-2-3"));
  EXPECT_EQ(DriveTestHome::read(phone + "/Kept.txt"), "a document");
}

TEST_F(TemporaryFileSweeperTest, AnInterruptedReplacementEndsWithBothSidesEqual) {
  // A cloud modify killed between its two renames left the phone and the server disagreeing.
  const std::string phone = home_.documents();
  const std::string cloud = home_.cloudDocuments();
  auto journal = [&](const std::string& name, int counter) {
    DriveTestHome::writeRaw(phone + "/" + dead(counter, std::string(kReplacementJournalSuffix)),
                            homeJsonText(nlohmann::json{{"name", name},
                                                        {"staged", dead(counter + 1)},
                                                        {"cloudStaged", dead(counter + 2)}}));
  };
  // Killed after the server's copy was replaced: the phone gets the new version.
  home_.writeDocument(phone + "/Forward.txt", "old");
  DriveTestHome::writeRaw(cloud + "/Forward.txt", "new");
  DriveTestHome::writeRaw(phone + "/" + dead(11), "new");
  journal("Forward.txt", 10);
  // Killed before it: both keep the old version.
  home_.writeDocument(phone + "/Back.txt", "old");
  DriveTestHome::writeRaw(phone + "/" + dead(21), "new");
  DriveTestHome::writeRaw(cloud + "/" + dead(22), "new");
  journal("Back.txt", 20);
  // A journal naming files outside its folder is not obeyed.
  DriveTestHome::writeRaw(phone + "/" + dead(30, std::string(kReplacementJournalSuffix)),
                          homeJsonText(nlohmann::json{{"name", "../../Escape.txt"},
                                                      {"staged", dead(31)},
                                                      {"cloudStaged", dead(32)}}));
  DriveTestHome::writeRaw(phone + "/" + dead(31), "staged");

  const auto report = sweep();
  EXPECT_EQ(report.completed, 1);
  EXPECT_EQ(report.undone, 1);
  EXPECT_EQ(DriveTestHome::read(phone + "/Forward.txt"), "new");
  EXPECT_EQ(DriveTestHome::read(cloud + "/Forward.txt"), "new");
  EXPECT_EQ(DriveTestHome::read(phone + "/Back.txt"), "old");
  EXPECT_EQ(DriveTestHome::read(cloud + "/Back.txt"), "old");
  EXPECT_FALSE(DriveTestHome::exists(home_.root() + "/Escape.txt"));
  for (const auto& folder : {phone, cloud}) {
    std::vector<std::string> names;
    FileOperations::folderNames(folder, names);
    for (const auto& name : names) {
      EXPECT_FALSE(isTemporaryName(name)) << folder << "/" << name;
    }
  }
}

TEST(TemporaryNames, NameTheirMakerAndItsStartTime) {
  const std::string name = newTemporaryName("replace");
  const auto owner = temporaryNameOwner(name);
  ASSERT_TRUE(owner) << name;
  EXPECT_EQ(owner->pid, ::getpid());
  EXPECT_EQ(owner->startTime, processStartTime(::getpid()));
  EXPECT_TRUE(name.ends_with(".replace"));
  EXPECT_TRUE(isTemporaryOwnerRunning(*owner));
  EXPECT_FALSE(temporaryNameOwner(".vdtmp-12-3-4"));
  EXPECT_FALSE(temporaryNameOwner(".vdtmp-0-1-2-3"));
  EXPECT_FALSE(temporaryNameOwner("Report.pdf"));
}

}  // namespace
}  // namespace velune::host
