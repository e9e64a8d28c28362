// Nothing outside the home is touched through a symbolic link, whatever
// command goes through it: each command runs on a fresh demo home where a
// folder leads outside, and the files out there must stay as they were.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/programs/ProgramTestHome.h"

namespace velune::testing {
namespace {

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  bool refused = true;  // else done, on this side of the link only
};

std::ostream& operator<<(std::ostream& out, const Command& command) { return out << command.name; }

// Every command that changes the drive or the cloud side, through the
// server's copy of "Projects", which is a link to a folder outside the home.
const Command kCloudSideCommands[] = {
    {"RmDocument", {"rm", "Velune Drive/Projects/Brochure.pdf"}},
    // The server's copy of the folder is the link itself: removed, not followed.
    {"RmFolder", {"rm", "Velune Drive/Projects"}, false},
    {"Evict", {"evict", "Velune Drive/Projects/Brochure.pdf"}},
    {"CloudModify", {"cloud", "modify", "Velune Drive/Projects/Brochure.pdf", "--text", "replaced"}},
    {"CloudAdd", {"cloud", "add", "Velune Drive/Projects/New.txt", "--text", "added"}},
    {"CloudAddFolder", {"cloud", "add", "Velune Drive/Projects/Plans/New", "--folder"}},
    {"CloudDelete", {"cloud", "delete", "Velune Drive/Projects/Brochure.pdf"}},
    {"CloudMoveOut", {"cloud", "move", "Velune Drive/Projects/Brochure.pdf", "Velune Drive/Moved.pdf"}},
    {"CloudMoveIn", {"cloud", "move", "Velune Drive/Welcome.txt", "Velune Drive/Projects/Welcome.txt"}},
    {"Mkdir", {"mkdir", "Velune Drive/Projects/Plans/New Folder"}},
    {"MvOut", {"mv", "Velune Drive/Projects/Plans/Roadmap.md", "Velune Drive"}},
    {"MvIn", {"mv", "Velune Drive/Welcome.txt", "Velune Drive/Projects"}},
    {"Rename", {"rename", "Velune Drive/Projects/Brochure.pdf", "Leaflet"}},
};

class CloudSideLinkTest : public ::testing::TestWithParam<Command> {
 protected:
  ProgramTestHome home_;
};

TEST_P(CloudSideLinkTest, Command_RefusesAndLeavesTheFilesOutsideAlone) {
  // A link on the cloud side let commands delete and overwrite files outside the home.
  ProgramTestHome::replaceByLink(home_.cloudDocuments("Projects"), home_.elsewhere());
  const auto outside = ProgramTestHome::snapshot(home_.elsewhere());
  const auto phone = ProgramTestHome::snapshot(home_.drive(""));

  const auto run = home_.vdtool(GetParam().arguments);

  EXPECT_EQ(ProgramTestHome::snapshot(home_.elsewhere()), outside);
  if (GetParam().refused) {
    EXPECT_EQ(run.describe(), "exit 1") << run.err;
    EXPECT_NE(run.err.find("outside Velune Drive"), std::string::npos) << run.err;
    EXPECT_EQ(ProgramTestHome::snapshot(home_.drive("")), phone) << "refused before anything changed";
  } else {
    EXPECT_EQ(run.describe(), "exit 0") << run.err;
    EXPECT_FALSE(DriveTestHome::exists(home_.cloudDocuments("Projects")));
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, CloudSideLinkTest, ::testing::ValuesIn(kCloudSideCommands),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(DriveSideLinkTest, LinkedFolder_IsNotListedAndNothingBehindItChanges) {
  // ls listed a linked folder that leads outside while item and rm refused it.
  ProgramTestHome home;
  ASSERT_EQ(::symlink(home.elsewhere().c_str(), home.documents("Linked").c_str()), 0);
  const auto outside = ProgramTestHome::snapshot(home.elsewhere());

  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"ls", "Velune Drive/Linked"},
           {"ls", "--json", "Velune Drive/Linked"},
           {"ls", "Velune Drive/Linked/Plans"},
           {"item", "Velune Drive/Linked/Brochure.pdf"},
           {"rm", "Velune Drive/Linked/Brochure.pdf"},
           {"evict", "Velune Drive/Linked/Brochure.pdf"},
           {"mkdir", "Velune Drive/Linked/New"},
           {"mv", "Velune Drive/Welcome.txt", "Velune Drive/Linked"},
           {"rename", "Velune Drive/Linked/Secret.txt", "Open"},
           {"cloud", "add", "Velune Drive/Linked/New.txt", "--text", "added"},
           {"cloud", "modify", "Velune Drive/Linked/Secret.txt", "--text", "replaced"},
           {"cloud", "delete", "Velune Drive/Linked/Secret.txt"},
       }) {
    const auto run = home.vdtool(arguments);
    EXPECT_EQ(run.describe(), "exit 1") << arguments[0] << " " << arguments.back() << ": " << run.out << run.err;
    EXPECT_TRUE(run.out.empty() || run.out == "[]\n") << arguments[0] << " listed: " << run.out;
  }
  // Removing the link removes the link only.
  const auto removed = home.vdtool({"rm", "Velune Drive/Linked"});
  EXPECT_EQ(removed.describe(), "exit 0") << removed.err;
  EXPECT_FALSE(DriveTestHome::exists(home.documents("Linked")));
  EXPECT_EQ(ProgramTestHome::snapshot(home.elsewhere()), outside);
}

TEST(CloudAddTreeTest, LinksAndSpecialFilesInACopiedFolder_AreNotCopiedIn) {
  // cloud add --file DIR copied links inside DIR, after which cloud delete
  // through them deleted files outside the home.
  ProgramTestHome home;
  const std::string source = home.scratch("Pack.board");
  DriveTestHome::writeRaw(source + "/Notes.txt", "inside");
  ASSERT_EQ(::symlink(home.elsewhere().c_str(), (source + "/Outside").c_str()), 0);
  ASSERT_EQ(::symlink((home.elsewhere() + "/Secret.txt").c_str(), (source + "/Secret.txt").c_str()), 0);
  ASSERT_EQ(::mkfifo((source + "/Pipe").c_str(), 0644), 0) << "a FIFO is not waited on either";
  const auto outside = ProgramTestHome::snapshot(home.elsewhere());

  auto run = home.vdtool({"cloud", "add", "Velune Drive/Pack.board", "--file", source});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  const auto copied = ProgramTestHome::snapshot(home.cloudDocuments("Pack.board"));
  ASSERT_EQ(copied.size(), 1u);
  EXPECT_EQ(copied.begin()->first, "/Notes.txt");
  EXPECT_EQ(DriveTestHome::read(home.cloudDocuments("Pack.board/Notes.txt")), "inside");

  run = home.vdtool({"cloud", "delete", "Velune Drive/Pack.board/Outside/Secret.txt"});
  EXPECT_EQ(run.describe(), "exit 1") << run.err;
  run = home.vdtool({"cloud", "delete", "Velune Drive/Pack.board"});
  EXPECT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_EQ(ProgramTestHome::snapshot(home.elsewhere()), outside);
}

}  // namespace
}  // namespace velune::testing
