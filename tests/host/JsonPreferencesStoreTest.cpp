#include "host/JsonPreferencesStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "host/FileIO.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::Value;

std::string slurp(const std::string& path) {
  auto contents = readWholeFile(path);
  return contents.ok() ? contents.value() : std::string("<missing>");
}

TEST(JsonPreferencesStore, WritesThroughAndReadsWhatAnotherProcessWrote) {
  testing::TempDirectory dir;
  const std::string path = dir.file("Library/Preferences/standard.json");
  JsonPreferencesStore store(path);
  EXPECT_TRUE(store.objectForKey("missing").isNull());
  store.setObject("GridMode", Value(true));
  store.setObject("Token", Value(Value::Data{1, 2, 3}));
  // A second store on the same file (another process) sees both at once.
  JsonPreferencesStore other(path);
  EXPECT_TRUE(other.boolForKey("GridMode"));
  EXPECT_EQ(other.dataForKey("Token"), (Value::Data{1, 2, 3}));

  other.setObject("DRLogLevel", Value(7));
  EXPECT_EQ(store.integerForKey("DRLogLevel"), 0) << "not seen before synchronising";
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(store.integerForKey("DRLogLevel"), 7);

  store.removeObject("Token");
  EXPECT_FALSE(JsonPreferencesStore(path).dataForKey("Token").has_value());
}

TEST(JsonPreferencesStore, CorruptFileReadsAsEmptyAndIsKeptAsideBeforeTheFirstWrite) {
  testing::TempDirectory dir;
  const std::string path = dir.file("prefs.json");
  { std::ofstream(path) << "{ not json"; }
  JsonPreferencesStore store(path);
  EXPECT_TRUE(store.objectForKey("anything").isNull());
  EXPECT_EQ(slurp(path), "{ not json") << "reading never rewrites the file";
  store.setObject("GridMode", Value(false));
  EXPECT_EQ(slurp(path + ".corrupt"), "{ not json");
  EXPECT_FALSE(JsonPreferencesStore(path).boolForKey("GridMode"));
  EXPECT_FALSE(JsonPreferencesStore(path).objectForKey("GridMode").isNull());

  { std::ofstream(path) << "[1, 2]"; }  // valid JSON, but not an object
  JsonPreferencesStore array(path);
  EXPECT_TRUE(array.objectForKey("GridMode").isNull());
}

TEST(JsonPreferencesStore, UnreadableFileReadsAsEmptyAndIsKeptAsideNotOverwritten) {
  // A preferences file that could not be read was taken as empty and then overwritten.
  testing::TempDirectory dir;
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> kinds = {
      {"a link to /dev/zero", [](const std::string& path) { ASSERT_EQ(::symlink("/dev/zero", path.c_str()), 0); }},
      {"a FIFO", [](const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0); }},
      {"a folder", [](const std::string& path) { ASSERT_EQ(::mkdir(path.c_str(), 0755), 0); }},
      {"nested too deep", [&deep](const std::string& path) { std::ofstream(path) << deep; }},
      {"too large", [](const std::string& path) { std::ofstream(path) << "{\"k\": \"" << std::string(2 << 20, 'x') << "\"}"; }},
  };
  for (const auto& [kind, make] : kinds) {
    const std::string path = dir.file(std::to_string(std::hash<std::string>()(kind)) + ".json");
    make(path);
    JsonPreferencesStore store(path);
    EXPECT_TRUE(store.objectForKey("k").isNull()) << kind;
    store.setObject("GridMode", Value(true));
    struct stat aside {};
    EXPECT_EQ(::lstat((path + ".corrupt").c_str(), &aside), 0) << kind << " kept aside";
    EXPECT_TRUE(JsonPreferencesStore(path).boolForKey("GridMode")) << kind;
  }
}

// The folder of the preferences cannot be written (here: a file stands where
// the folder should be, which stops root too).
TEST(JsonPreferencesStore, FailedWriteStaysPendingAndSynchronizeReportsIt) {
  testing::TempDirectory dir;
  const std::string folder = dir.file("blocked");
  { std::ofstream(folder) << "a file, not a folder"; }
  JsonPreferencesStore store(folder + "/prefs.json");
  store.setObject("GridMode", Value(true));
  EXPECT_TRUE(store.boolForKey("GridMode")) << "the value is kept in memory";
  EXPECT_FALSE(store.synchronize());
  EXPECT_TRUE(store.boolForKey("GridMode"));
  ASSERT_EQ(unlink(folder.c_str()), 0);
  EXPECT_TRUE(store.synchronize()) << "the pending change is written once the folder can be made";
  EXPECT_TRUE(JsonPreferencesStore(folder + "/prefs.json").boolForKey("GridMode"));
}

TEST(JsonPreferencesStore, LaunchArgumentsOverrideStoredValues) {
  testing::TempDirectory dir;
  const char* argv[] = {"app", "--home", "/x", "-DRLogLevel", "7", "-Name", "two words", "-Flag", "true", "-Last"};
  const auto arguments = JsonPreferencesStore::argumentDomain(10, const_cast<char**>(argv));
  EXPECT_EQ(arguments.count("home"), 0u) << "double-dash options are the program's own";
  JsonPreferencesStore store(dir.file("p.json"), arguments);
  store.setObject("DRLogLevel", Value(3));
  EXPECT_EQ(store.integerForKey("DRLogLevel"), 7);
  EXPECT_EQ(store.objectForKey("Name"), Value("two words"));
  EXPECT_EQ(store.objectForKey("Flag"), Value(true));
  EXPECT_TRUE(store.objectForKey("Last").isNull());
  EXPECT_EQ(JsonPreferencesStore(dir.file("p.json")).integerForKey("DRLogLevel"), 3) << "arguments are never written";
}

}  // namespace
}  // namespace velune::host
