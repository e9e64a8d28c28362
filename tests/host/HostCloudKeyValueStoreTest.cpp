// The cloud key-value store of the simulated phone: its file, read as every
// home file is, the changed-from-elsewhere notification when another device
// (another process) changes the file, and the tag dictionary that vdtool and
// the control panel write into it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <set>
#include <nlohmann/json.hpp>

#include "host/CloudTagDictionary.h"
#include "host/FileIO.h"
#include "host/HostCloudKeyValueStore.h"
#include "host/drive/DemoHome.h"
#include "platform/Notifications.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::Value;

// Every changed-from-elsewhere notification of one store, as it arrives on
// the store's thread; waits are bounded and wake on arrival.
class ChangeRecorder {
 public:
  explicit ChangeRecorder(const void* store) {
    testing::notifications().addObserver(
        this, std::string(platform::kCloudKeyValueStoreDidChangeExternallyNotification), nullptr,
        [this, store](const platform::Notification& notification) {
          if (notification.object != store) {
            return;
          }
          std::lock_guard lock(mutex_);
          changes_.push_back(notification.userInfo);
          arrived_.notify_all();
        });
  }
  ~ChangeRecorder() { testing::notifications().removeObserver(this); }

  // The changed keys of the `count`th notification (1-based), waiting up to 10 s for it.
  std::vector<std::string> waitForChange(size_t count) {
    std::unique_lock lock(mutex_);
    if (!arrived_.wait_for(lock, std::chrono::seconds(10), [&] { return changes_.size() >= count; })) {
      return {"(no notification)"};
    }
    std::vector<std::string> keys;
    const auto& info = changes_[count - 1];
    EXPECT_EQ(info.at(std::string(platform::kCloudKeyValueStoreChangeReasonKey)).integerValue(), 0);
    if (const auto* list = info.at(std::string(platform::kCloudKeyValueStoreChangedKeysKey)).asArray()) {
      for (const auto& key : *list) {
        keys.push_back(key.asString() ? *key.asString() : "?");
      }
    }
    return keys;
  }
  size_t count() {
    std::lock_guard lock(mutex_);
    return changes_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<Value::Dictionary> changes_;
};

class HostCloudKeyValueStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(layout_.ensureSkeleton());
    testing::clearLogs();
  }
  std::shared_ptr<HostCloudKeyValueStore> makeStore() {
    return HostCloudKeyValueStore::create(layout_, platform::Platform::services()->notifications);
  }
  std::string file() const { return HostCloudKeyValueStore::filePath(layout_); }
  void write(const std::string& text) { ASSERT_FALSE(writeFileAtomically(file(), text)); }

  testing::TempDirectory temp_;
  HomeLayout layout_{temp_.path() + "/home"};
};

TEST_F(HostCloudKeyValueStoreTest, Values_ReadFromTheCloudSideWithTheirTypes) {
  EXPECT_EQ(file(), layout_.cloud() + "/kvstore.json");
  // No file yet: an empty store.
  EXPECT_TRUE(makeStore()->objectForKey("TroverTagDict").isNull());

  write(R"({"TroverTagDict": {"TroverTagDictVersion": 2, "TroverTags": [{"n": "Red", "l": 6}]},
            "count": -3, "ratio": 0.5, "name": "x"})");
  const auto store = makeStore();
  const Value dictionary = store->objectForKey("TroverTagDict");
  ASSERT_TRUE(dictionary.isDictionary());
  EXPECT_EQ(dictionary["TroverTagDictVersion"].unsignedValue(), 2U);
  EXPECT_EQ(*dictionary["TroverTags"].at(0)["n"].asString(), "Red");
  EXPECT_EQ(store->objectForKey("count").integerValue(), -3);
  EXPECT_EQ(store->objectForKey("ratio").doubleValue(), 0.5);
  EXPECT_EQ(*store->objectForKey("name").asString(), "x");
  EXPECT_TRUE(store->objectForKey("missing").isNull());
}

// A user-writable home holds anything where the file should be: each of
// these is refused without blocking or reading it whole, a later good file
// is read, and a bad file after a good one keeps the good values.
TEST_F(HostCloudKeyValueStoreTest, BadFiles_AreRefusedAndKeepTheValuesInForce) {
  const std::string outside = temp_.file("outside.json");
  ASSERT_FALSE(writeFileAtomically(outside, R"({"secret": 1})"));
  struct Case {
    const char* what;
    std::function<void(const std::string&)> make;
    const char* reason;
  };
  const std::vector<Case> cases = {
      {"a link to a JSON file outside the home", [&](const std::string& p) { ::symlink(outside.c_str(), p.c_str()); },
       "symbolic link"},
      {"a link to /dev/zero", [](const std::string& p) { ::symlink("/dev/zero", p.c_str()); }, "symbolic link"},
      {"a FIFO without a writer", [](const std::string& p) { ::mkfifo(p.c_str(), 0600); }, "not a regular file"},
      {"a folder", [](const std::string& p) { std::filesystem::create_directory(p); }, "not a regular file"},
      {"a file over 1 MiB",
       [](const std::string& p) {
         writeFileAtomically(p, "{\"k\": \"" + std::string(HostCloudKeyValueStore::kFileLimit, 'x') + "\"}");
       },
       "too large to be read"},
      {"100,000 levels of nesting",
       [](const std::string& p) {
         writeFileAtomically(p, "{\"k\": " + std::string(100'000, '[') + std::string(100'000, ']') + "}");
       },
       "nests deeper than 16 levels"},
      {"text that is not JSON", [](const std::string& p) { writeFileAtomically(p, "{\"k\": "); }, "not JSON"},
      {"invalid UTF-8", [](const std::string& p) { writeFileAtomically(p, "{\"k\": \"\xff\xfe\"}"); }, "not JSON"},
      {"a list", [](const std::string& p) { writeFileAtomically(p, "[1, 2]"); }, "not a JSON object"},
      {"a tagged value", [](const std::string& p) { writeFileAtomically(p, R"({"$date": 5})"); }, "not a JSON object"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::filesystem::remove_all(file());
    c.make(file());
    const auto read = HostCloudKeyValueStore::readValues(file());
    ASSERT_FALSE(read.ok());
    EXPECT_NE(read.error().description().find(c.reason), std::string::npos) << read.error().description();
    // Made now: empty. Holding good values: keeps them, says why.
    EXPECT_TRUE(makeStore()->objectForKey("k").isNull());
    std::filesystem::remove_all(file());
    write(R"({"k": "good"})");
    const auto store = makeStore();
    std::filesystem::remove_all(file());
    c.make(file());
    testing::clearLogs();
    store->reload();
    EXPECT_EQ(*store->objectForKey("k").asString(), "good");
    const auto lines = testing::linesStartingWith("The cloud key-value store keeps its values: ");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, 4);
  }
}

TEST_F(HostCloudKeyValueStoreTest, Reload_PostsOnlyTheKeysThatChanged) {
  write(R"({"a": 1, "b": [1, 2], "c": "same"})");
  const auto store = makeStore();
  ChangeRecorder recorder(store.get());
  store->reload();  // the same values: nothing to tell
  EXPECT_EQ(recorder.count(), 0U);

  write(R"({"a": 1, "b": [1, 3], "c": "same", "d": true})");
  store->reload();
  EXPECT_EQ(recorder.waitForChange(1), (std::vector<std::string>{"b", "d"}));
  EXPECT_EQ(store->objectForKey("b").at(1).integerValue(), 3);

  // Removing the file removes every value.
  std::filesystem::remove(file());
  store->reload();
  EXPECT_EQ(recorder.waitForChange(2), (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_TRUE(store->objectForKey("a").isNull());
}

// Another process changes the file while the store watches: by rewriting it
// in place, by renaming a new file over it (as editors save), and by
// removing it; with inotify and with polling.
TEST_F(HostCloudKeyValueStoreTest, Watching_HearsEditsRenamesAndRemovalsFromOtherProcesses) {
  for (const auto method : {HomeFileWatcher::Method::Automatic, HomeFileWatcher::Method::Polling}) {
    SCOPED_TRACE(method == HomeFileWatcher::Method::Automatic ? "inotify" : "polling");
    std::filesystem::remove(file());
    const auto store = makeStore();
    ChangeRecorder recorder(store.get());
    store->start(method);

    {  // in place, as `echo > kvstore.json` does
      const int fd = ::open(file().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      ASSERT_GE(fd, 0);
      const std::string text = R"({"TroverTagDict": {"TroverTagDictVersion": 2}})";
      ASSERT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
      ::close(fd);
    }
    EXPECT_EQ(recorder.waitForChange(1), std::vector<std::string>{"TroverTagDict"});
    EXPECT_EQ(store->objectForKey("TroverTagDict")["TroverTagDictVersion"].unsignedValue(), 2U);

    ASSERT_FALSE(CloudTagDictionary::write(layout_, {{"Red", 6}}));  // a rename over the file
    EXPECT_EQ(recorder.waitForChange(2), std::vector<std::string>{"TroverTagDict"});
    EXPECT_EQ(*store->objectForKey("TroverTagDict")["TroverTags"].at(0)["n"].asString(), "Red");

    std::filesystem::remove(file());
    EXPECT_EQ(recorder.waitForChange(3), std::vector<std::string>{"TroverTagDict"});
    EXPECT_TRUE(store->objectForKey("TroverTagDict").isNull());
  }
}

// The cloud folder itself is replaced (a restored backup): inotify loses it,
// and the store goes on by comparing the file's state.
TEST_F(HostCloudKeyValueStoreTest, Watching_GoesOnWhenTheCloudFolderIsReplaced) {
  const auto store = makeStore();
  ChangeRecorder recorder(store.get());
  store->start();
  std::filesystem::rename(layout_.cloud(), temp_.file("old-cloud"));
  std::filesystem::create_directory(layout_.cloud());
  ASSERT_FALSE(CloudTagDictionary::write(layout_, {{"Blue", 4}}));
  EXPECT_EQ(recorder.waitForChange(1), std::vector<std::string>{"TroverTagDict"});
  EXPECT_EQ(store->objectForKey("TroverTagDict")["TroverTags"].at(0)["l"].unsignedValue(), 4U);
}

TEST_F(HostCloudKeyValueStoreTest, SetValue_KeepsOtherKeysAndNeverReplacesWhatItCannotRead) {
  write(R"({"other": 7})");
  ASSERT_FALSE(HostCloudKeyValueStore::setValue(file(), "TroverTagDict", Value(Value::Dictionary{{"x", 1}})));
  auto values = HostCloudKeyValueStore::readValues(file());
  ASSERT_TRUE(values.ok());
  EXPECT_EQ(values.value().at("other").integerValue(), 7);
  EXPECT_EQ(values.value().at("TroverTagDict")["x"].integerValue(), 1);
  // A null value removes the key.
  ASSERT_FALSE(HostCloudKeyValueStore::setValue(file(), "other", Value()));
  EXPECT_EQ(HostCloudKeyValueStore::readValues(file()).value().count("other"), 0U);

  // Values over the store's limit are refused, and the file stays as it was.
  const Value huge(std::string(HostCloudKeyValueStore::kFileLimit, 'x'));
  const auto tooLarge = HostCloudKeyValueStore::setValue(file(), "big", huge);
  ASSERT_TRUE(tooLarge);
  EXPECT_EQ(tooLarge->code(), platform::ErrorCode::FileWriteOutOfSpace);
  EXPECT_EQ(HostCloudKeyValueStore::readValues(file()).value().count("big"), 0U);

  // Values nested deeper than any reader takes are refused too.
  Value deep(1);
  for (int level = 0; level < HostCloudKeyValueStore::kJsonDepthLimit; ++level) {
    deep = Value(Value::Array{deep});
  }
  const auto tooDeep = HostCloudKeyValueStore::setValue(file(), "deep", deep);
  ASSERT_TRUE(tooDeep);
  EXPECT_EQ(tooDeep->code(), platform::ErrorCode::FileWriteUnknown);
  EXPECT_EQ(HostCloudKeyValueStore::readValues(file()).value().count("deep"), 0U);

  // A file that cannot be read is not silently replaced.
  write("not json");
  EXPECT_TRUE(HostCloudKeyValueStore::setValue(file(), "k", Value(1)));
  EXPECT_EQ(readWholeFile(file()).value(), "not json");
}

TEST_F(HostCloudKeyValueStoreTest, TagDictionary_WritesReadsAndNamesColours) {
  EXPECT_EQ(CloudTagDictionary::colourNumber("red"), 6U);
  EXPECT_EQ(CloudTagDictionary::colourNumber("Gray"), 1U);
  EXPECT_EQ(CloudTagDictionary::colourNumber("GREY"), 1U);
  EXPECT_EQ(CloudTagDictionary::colourNumber("none"), 0U);
  EXPECT_EQ(CloudTagDictionary::colourNumber("9"), 9U);
  EXPECT_FALSE(CloudTagDictionary::colourNumber("pink"));
  EXPECT_FALSE(CloudTagDictionary::colourNumber("-1"));
  EXPECT_FALSE(CloudTagDictionary::colourNumber(""));
  EXPECT_FALSE(CloudTagDictionary::colourNumber("99999999999999999999"));

  ASSERT_FALSE(CloudTagDictionary::write(layout_, {{"Red", 6}, {"Work", 0}, {"Red", 4}}, 2));
  const auto json = nlohmann::json::parse(readWholeFile(file()).value());
  EXPECT_EQ(json["TroverTagDict"]["TroverTagDictVersion"], 2);
  EXPECT_EQ(json["TroverTagDict"]["TroverTags"],
            nlohmann::json::parse(R"([{"n": "Red", "l": 6}, {"n": "Work", "l": 0}, {"n": "Red", "l": 4}])"));
  const auto list = CloudTagDictionary::read(layout_);
  ASSERT_TRUE(list.ok());
  EXPECT_EQ(list.value().version, 2U);
  EXPECT_EQ(list.value().tags, (std::vector<CloudTag>{{"Red", 6}, {"Work", 0}, {"Red", 4}}));

  // Entries of the wrong shape: only those with a text name are listed.
  ASSERT_FALSE(CloudTagDictionary::writeValue(
      layout_, platform::Value(Value::Dictionary{
                   {"TroverTagDictVersion", Value("3")},
                   {"TroverTags", Value(Value::Array{Value(Value::Dictionary{{"n", Value(5)}, {"l", Value(1)}}),
                                                     Value("Red"),
                                                     Value(Value::Dictionary{{"n", Value("Blue")}, {"l", Value("x")}})})}})));
  EXPECT_EQ(CloudTagDictionary::read(layout_).value().version, 3U);
  EXPECT_EQ(CloudTagDictionary::read(layout_).value().tags, (std::vector<CloudTag>{{"Blue", 0}}));
}

TEST_F(HostCloudKeyValueStoreTest, DemoHome_HasADictionaryOfVersionTwoWithEveryColour) {
  ASSERT_FALSE(DemoHome::make(temp_.path() + "/demo"));
  const auto list = CloudTagDictionary::read(HomeLayout(temp_.path() + "/demo"));
  ASSERT_TRUE(list.ok());
  EXPECT_EQ(list.value().version, 2U);
  std::set<std::uint64_t> colours;
  for (const auto& tag : list.value().tags) {
    colours.insert(tag.colour);
  }
  EXPECT_EQ(colours, (std::set<std::uint64_t>{0, 1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
}  // namespace velune::host
