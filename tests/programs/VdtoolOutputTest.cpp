// What vdtool prints about names the file system allows but a terminal or a
// JSON reader does not: bytes that are not UTF-8 and control characters; the
// one rule for new names; and where an item went.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "platform/UTF8.h"
#include "tests/programs/ProgramTestHome.h"

namespace velune::testing {
namespace {

const std::string kNotUTF8 = "Bad \xff\xfe name.txt";
const std::string kEscapes = "Red \x1b[31mtext\x07.txt";

// Whether the text is UTF-8 without control characters other than line feeds.
bool isSafeForATerminal(const std::string& text) {
  if (!platform::isValidUTF8(text)) {
    return false;
  }
  for (const unsigned char c : text) {
    if ((c < 0x20 && c != '\n') || c == 0x7F) {
      return false;
    }
  }
  return true;
}

class VdtoolOutputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DriveTestHome::writeRaw(home_.documents(kNotUTF8), "bytes");
    DriveTestHome::writeRaw(home_.documents(kEscapes), "escapes");
  }
  ProgramTestHome home_;
};

TEST_F(VdtoolOutputTest, NamesThatAreNotUTF8OrHoldControls_AreEncodedInEveryOutput) {
  // One name with bytes that are not UTF-8 aborted ls --json and item with an
  // exception; control characters reached the terminal as they were.
  auto run = home_.vdtool({"ls", "--json", "Velune Drive"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  const auto listing = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_TRUE(listing.is_array()) << run.out;
  int found = 0;
  for (const auto& entry : listing) {
    const std::string name = entry["name"];
    found += name == "Bad \uFFFD\uFFFD name.txt" || name == "Red \x1b[31mtext\x07.txt";
  }
  EXPECT_EQ(found, 2) << run.out;

  run = home_.vdtool({"ls", "Velune Drive"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_TRUE(isSafeForATerminal(run.out)) << run.out;
  EXPECT_NE(run.out.find("Red \\x1b[31mtext\\x07.txt"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("Bad \uFFFD\uFFFD name.txt"), std::string::npos) << run.out;

  for (const auto& name : {kNotUTF8, kEscapes}) {
    run = home_.vdtool({"item", "Velune Drive/" + name});
    ASSERT_EQ(run.describe(), "exit 0") << run.err;
    EXPECT_TRUE(nlohmann::json::parse(run.out, nullptr, false).is_object()) << run.out;

    run = home_.vdtool({"mv", "Velune Drive/" + name, "Velune Drive/Projects"});
    ASSERT_EQ(run.describe(), "exit 0") << run.err;
    EXPECT_TRUE(isSafeForATerminal(run.out)) << run.out;
  }
  // Errors name what was asked for, made safe too.
  run = home_.vdtool({"item", "Velune Drive/Missing \x1b[2J.txt"});
  EXPECT_EQ(run.describe(), "exit 1");
  EXPECT_TRUE(isSafeForATerminal(run.err)) << run.err;
}

TEST_F(VdtoolOutputTest, NewNames_FollowOneRuleInMkdirCloudAddAndRename) {
  // Only rename refused names that mkdir and cloud add then made.
  for (const std::string& name : {std::string("a:b"), std::string("bad\xff"), std::string("line\nbreak"),
                                 std::string("bell\x07"), std::string(".hidden")}) {
    const auto before = ProgramTestHome::snapshot(home_.home());
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"mkdir", "Velune Drive/" + name},
             {"mkdir", "Velune Drive/" + name + "/Inner"},
             {"cloud", "add", "Velune Drive/" + name, "--text", "t"},
             {"cloud", "add", "Velune Drive/" + name + "/Inner.txt", "--text", "t"},
             {"rename", "Velune Drive/Budget.csv", name},
         }) {
      const auto run = home_.vdtool(arguments);
      EXPECT_EQ(run.describe(), "exit 1") << arguments[0] << " " << arguments[1];
      EXPECT_NE(run.err.find(" 514: "), std::string::npos) << run.err;
    }
    auto after = ProgramTestHome::snapshot(home_.home());
    after.erase("/app-data/Logs/system-log.jsonl");
    auto expected = before;
    expected.erase("/app-data/Logs/system-log.jsonl");
    EXPECT_EQ(after, expected) << "nothing made for " << name;
  }
}

TEST_F(VdtoolOutputTest, Mv_PrintsWhereTheItemIs) {
  // A move onto itself printed a new name ("Shopping 2.txt") and exit 0 while nothing moved.
  auto run = home_.vdtool({"mv", "Jotter/Shopping.txt", "Jotter"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_EQ(run.out, home_.drive("com.vorlan.Jotter/Documents/Shopping.txt") + "\n");
  run = home_.vdtool({"mv", "Jotter/Shopping.txt", "Jotter/Shopping.txt"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_EQ(run.out, home_.drive("com.vorlan.Jotter/Documents/Shopping.txt") + "\n");
  EXPECT_FALSE(DriveTestHome::exists(home_.drive("com.vorlan.Jotter/Documents/Shopping 2.txt")));
  // A taken name: the variant the move took.
  run = home_.vdtool({"mv", "Velune Drive/Welcome.txt", "Velune Drive/Budget.csv"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_EQ(run.out, home_.documents("Budget 2.csv") + "\n");
  run = home_.vdtool({"rename", "Velune Drive/Chime.wav", "Page"});
  ASSERT_EQ(run.describe(), "exit 0") << run.err;
  EXPECT_EQ(run.out, "Page.wav\n");
}

TEST(VdtoolHomeTest, RelativeHome_WorksForEveryDriveCommand) {
  // A relative --home broke every drive command.
  ProgramTestHome home;
  ProgramOptions options;
  options.workingDirectory = home.scratch("");
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"ls", "Velune Drive"},
           {"item", "Velune Drive/Welcome.txt"},
           {"mkdir", "Velune Drive/New"},
           {"mv", "Velune Drive/Welcome.txt", "Velune Drive/New"},
           {"rename", "Velune Drive/New/Welcome.txt", "Hello"},
           {"evict", "Velune Drive/New/Hello.txt"},
           {"cloud", "add", "Velune Drive/From Laptop.txt", "--text", "hi"},
           {"cloud", "modify", "Velune Drive/Budget.csv", "--text", "1,2"},
           {"cloud", "delete", "Velune Drive/From Laptop.txt"},
           {"rm", "Velune Drive/New"},
       }) {
    std::vector<std::string> command = {vdtoolBinary(), "--home", "./phone/../phone"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto run = runProgram(command, options);
    EXPECT_EQ(run.describe(), "exit 0") << arguments[0] << ": " << run.err;
  }
  EXPECT_EQ(DriveTestHome::read(home.documents("Budget.csv")), "1,2");
}

TEST(VdtoolHomeTest, ReadOnlyCommandsOnAMissingHome_CreateNothing) {
  // ls and item on a home that does not exist made its folders and a log file.
  TempDirectory folder;
  const std::string missing = folder.path() + "/no-such-home";
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"ls"}, {"ls", "--json", "Velune Drive"}, {"item", "Velune Drive/Welcome.txt"}, {"network"}, {"quota"}}) {
    std::vector<std::string> command = {vdtoolBinary(), "--home", missing};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto run = runProgram(command);
    EXPECT_TRUE(run.exited) << arguments[0];
    EXPECT_FALSE(DriveTestHome::exists(missing)) << arguments[0] << " made the home";
  }
}

}  // namespace
}  // namespace velune::testing
