#include "host/HomeFileReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/HomeJson.h"
#include "tests/support/DriveTestHome.h"

namespace velune::host {
namespace {

using testing::DriveTestHome;

TEST(HomeFileReader, OnlySmallRegularFilesAreRead) {
  // A link to /dev/zero ate memory until the reader aborted; a FIFO blocked it for ever.
  testing::TempDirectory dir;
  std::string contents = "left over";
  DriveTestHome::writeRaw(dir.file("small.json"), "{}");
  EXPECT_EQ(readHomeFile(dir.file("small.json"), 2, contents), 0);
  EXPECT_EQ(contents, "{}");
  EXPECT_EQ(readHomeFile(dir.file("small.json"), 1, contents), EFBIG) << "one byte over the limit";
  EXPECT_EQ(contents, "");

  ASSERT_EQ(::symlink("/dev/zero", dir.file("zero").c_str()), 0);
  EXPECT_EQ(readHomeFile(dir.file("zero"), kSettingsFileLimit, contents), ELOOP);
  ASSERT_EQ(::symlink(dir.file("small.json").c_str(), dir.file("link").c_str()), 0);
  EXPECT_EQ(readHomeFile(dir.file("link"), kSettingsFileLimit, contents), ELOOP) << "no link, even to a good file";
  ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0644), 0);
  EXPECT_EQ(readHomeFile(dir.file("fifo"), kSettingsFileLimit, contents), ENODEV);
  EXPECT_EQ(readHomeFile("/dev/zero", kSettingsFileLimit, contents), ENODEV);
  ASSERT_EQ(::mkdir(dir.file("folder").c_str(), 0755), 0);
  EXPECT_EQ(readHomeFile(dir.file("folder"), kSettingsFileLimit, contents), EISDIR);
  EXPECT_EQ(readHomeFile(dir.file("missing"), kSettingsFileLimit, contents), ENOENT);

  // The error says what was refused, for the logs and vdtool.
  const auto refused = readHomeFile(dir.file("zero"), kSettingsFileLimit);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().localizedDescription(), "“zero” is a symbolic link; it is not followed.");
  EXPECT_EQ(readHomeFile(dir.file("fifo"), kSettingsFileLimit).error().localizedDescription(),
            "“fifo” is not a regular file.");
  EXPECT_EQ(readHomeFile(dir.file("small.json"), 1).error().localizedDescription(), "“small.json” is too large to be read.");
  EXPECT_EQ(readHomeFile(dir.file("missing"), 1).error().code(), platform::ErrorCode::FileReadNoSuchFile);
}

TEST(HomeJson, DeepNestingIsRefusedBeforeParsingAndTextIsWrittenSafely) {
  // 100,000 nested levels overflowed the stack of the recursive conversions.
  const auto nested = [](size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
  bool tooDeep = true;
  EXPECT_TRUE(parseHomeJson(nested(kHomeJsonMaximumDepth), &tooDeep).is_array());
  EXPECT_FALSE(tooDeep);
  EXPECT_TRUE(parseHomeJson(nested(kHomeJsonMaximumDepth + 1), &tooDeep).is_discarded());
  EXPECT_TRUE(tooDeep);
  EXPECT_TRUE(parseHomeJson(nested(100000)).is_discarded());
  EXPECT_TRUE(parseHomeOrderedJson("{\"a\": " + nested(100000) + "}").is_discarded());
  // Brackets inside texts are no nesting; a broken file is not JSON, not "too deep".
  EXPECT_EQ(parseHomeJson("{\"name\": \"" + std::string(1000, '[') + "\\\"[\"}")["name"].get<std::string>().size(),
            1002u);
  EXPECT_TRUE(parseHomeJson("{ not json", &tooDeep).is_discarded());
  EXPECT_FALSE(tooDeep);

  // Text that is not UTF-8 (a tag from a command line) is written, not thrown on.
  EXPECT_EQ(homeJsonText(nlohmann::json{{"tag", "Bad \xff"}}), "{\n  \"tag\": \"Bad \xEF\xBF\xBD\"\n}\n");
}

}  // namespace
}  // namespace velune::host
