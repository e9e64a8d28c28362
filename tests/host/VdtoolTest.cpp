// vdtool, run as its own process on a demo home, as people and scripts use it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <sys/stat.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>

#include "host/CloudTagDictionary.h"
#include "host/HostCloudKeyValueStore.h"
#include "host/drive/DemoHome.h"
#include "platform/Notifications.h"
#include "host/drive/HostFileCoordinationService.h"
#include "tests/host/RecordingPresenter.h"
#include "tests/support/DriveTestHome.h"

extern char** environ;

namespace velune::host {
namespace {

using testing::DriveTestHome;

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

// The vdtool built beside this test program.
std::string vdtoolPath() {
  char self[4096];
  const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) {
    return "vdtool";
  }
  std::string path(self, static_cast<size_t>(length));
  path = path.substr(0, path.rfind('/'));  // .../tests
  return path.substr(0, path.rfind('/')) + "/programs/vdtool";
}

class VdtoolTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(DemoHome::make(home_.path() + "/phone")); }

  ToolRun vdtool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {vdtoolPath(), "--home", home_.path() + "/phone"});
    std::vector<char*> argv;
    for (auto& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const std::string outPath = home_.path() + "/out.txt";
    const std::string errPath = home_.path() + "/err.txt";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    ToolRun run;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
      posix_spawn_file_actions_destroy(&actions);
      ADD_FAILURE() << "cannot start " << argv[0];
      return run;
    }
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    ::waitpid(pid, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = DriveTestHome::read(outPath);
    run.err = DriveTestHome::read(errPath);
    return run;
  }
  std::string drivePath(const std::string& relative) { return home_.path() + "/phone/Mobile Documents/" + relative; }

  testing::TempDirectory home_;
};

TEST_F(VdtoolTest, Item_PrintsTheRecordAsJson) {
  auto run = vdtool({"item", "Velune Drive/Annual Report.pdf"});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto json = nlohmann::json::parse(run.out);
  EXPECT_EQ(json["localizedName"], "Annual Report.pdf");
  EXPECT_EQ(json["isPromise"], true);
  EXPECT_EQ(json["isDownloaded"], false);
  EXPECT_GT(json["fileSize"].get<std::uint64_t>(), std::uint64_t{6291456});
  EXPECT_EQ(json["tags"], nlohmann::json::array({"Red"}));

  run = vdtool({"item", "--thumbnail", "Velune Drive/Photos/Sunset.png"});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto picture = nlohmann::json::parse(run.out);
  EXPECT_EQ(picture["isDownloaded"], true);
  EXPECT_EQ(picture["isPromise"], false);
  EXPECT_EQ(picture["thumbnail"]["width"], 1024);

  run = vdtool({"item", "com.vorlan.Drillrun/Documents"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(nlohmann::json::parse(run.out)["localizedName"], "Drillrun");
  EXPECT_EQ(nlohmann::json::parse(run.out)["renameable"], false);
}

TEST_F(VdtoolTest, Rename_TakenNamesGetTheFirstFreeVariantInvalidNamesAre514) {
  auto run = vdtool({"rename", "Velune Drive/Team Plan.md", "Notes \U0001F4DD"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "Notes \U0001F4DD 2.md\n");
  EXPECT_TRUE(DriveTestHome::exists(drivePath("com.vorlan.drive/Documents/Notes \U0001F4DD 2.md")));

  run = vdtool({"rename", "Velune Drive/Budget.csv", "a:b"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "vdtool: PlatformErrorDomain 514: The file name is invalid.\n");
  EXPECT_TRUE(DriveTestHome::exists(drivePath("com.vorlan.drive/Documents/Budget.csv")));
}

TEST_F(VdtoolTest, ChangesGoThroughTheAppsOperations) {
  auto run = vdtool({"mkdir", "Drillrun/Drills/New"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(DriveTestHome::exists(home_.path() + "/phone/cloud/com.vorlan.Drillrun/Documents/Drills/New"));
  run = vdtool({"mv", "Drillrun/Warmup.drill", "Drillrun/Drills/New"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, drivePath("com.vorlan.Drillrun/Documents/Drills/New/Warmup.drill") + "\n");
  run = vdtool({"evict", "Drillrun/Drills/New/Warmup.drill"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(DriveTestHome::exists(drivePath("com.vorlan.Drillrun/Documents/Drills/New/.Warmup.drill.placeholder")));
  run = vdtool({"rm", "Drillrun/Drills/New"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_FALSE(DriveTestHome::exists(drivePath("com.vorlan.Drillrun/Documents/Drills/New")));
  // The drive's own container is never deleted; an app's container is emptied.
  run = vdtool({"rm", "Velune Drive"});
  EXPECT_EQ(run.status, 1);
  run = vdtool({"rm", "Jotter"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(DriveTestHome::exists(drivePath("com.vorlan.Jotter/Documents")));
  EXPECT_FALSE(DriveTestHome::exists(drivePath("com.vorlan.Jotter/Documents/Shopping.txt")));
}

TEST_F(VdtoolTest, BadInputIsRefusedWithAnErrorOrUsage) {
  auto run = vdtool({"item", "Velune Drive/../../../etc/passwd"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("PlatformErrorDomain 257"), std::string::npos) << run.err;
  run = vdtool({"item", "No Such Container/x"});
  EXPECT_EQ(run.status, 1);
  run = vdtool({"item", "Velune Drive/Missing.txt"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find(" 4: "), std::string::npos) << run.err;
  EXPECT_EQ(vdtool({"item"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "add", "Jotter/x.txt", "--size", "-3"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "explode", "Jotter/x.txt"}).status, 64);
  EXPECT_EQ(vdtool({"mv", "Jotter/Shopping.txt"}).status, 64);
}

TEST_F(VdtoolTest, AnotherDevicesChangeReachesThisProcesssPresenters) {
  DriveServices services = DriveServices::make(HomeLayout(home_.path() + "/phone"));
  const std::string arriving = drivePath("com.vorlan.Jotter/Documents/From Laptop.txt");
  auto presenter = std::make_shared<testing::RecordingPresenter>(platform::URL::fileURLWithPath(arriving, false));
  services.coordination->addFilePresenter(presenter);

  auto run = vdtool(
      {"cloud", "add", "Jotter/From Laptop.txt", "--text", "hello", "--tags", "Blue,Work", "--shared", "participant"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(presenter->waitFor("changed"));
  EXPECT_EQ(services.drive->stateOf(arriving), Drive::ItemState::CloudOnly);
  auto attributes = services.drive->readAttributes(arriving);
  ASSERT_TRUE(attributes.ok());
  EXPECT_EQ(attributes.value().tags, (std::vector<std::string>{"Blue", "Work"}));
  EXPECT_TRUE(attributes.value().shared);

  run = vdtool({"cloud", "move", "Jotter/From Laptop.txt", "Jotter/Laptop.txt"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(presenter->waitFor("moved to " + drivePath("com.vorlan.Jotter/Documents/Laptop.txt")));
  run = vdtool({"cloud", "delete", "Jotter/Laptop.txt"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(presenter->waitFor("deleted"));
}

TEST_F(VdtoolTest, CloudSetTags_WritesTheDictionaryThatARunningStoreHears) {
  const HomeLayout layout(home_.path() + "/phone");
  auto store = HostCloudKeyValueStore::create(layout, platform::Platform::services()->notifications);
  std::mutex mutex;
  std::condition_variable heard;
  int notifications = 0;
  testing::notifications().addObserver(this, std::string(platform::kCloudKeyValueStoreDidChangeExternallyNotification),
                                       nullptr, [&](const platform::Notification& notification) {
                                         if (notification.object == store.get()) {
                                           std::lock_guard lock(mutex);
                                           ++notifications;
                                           heard.notify_all();
                                         }
                                       });
  store->start();
  auto run = vdtool({"cloud", "set-tags", "Red=red", "Mint=2", "a=b=9", "--version", "3"});
  ASSERT_EQ(run.status, 0) << run.err;
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(heard.wait_for(lock, std::chrono::seconds(10), [&] { return notifications >= 1; }));
  }
  const auto dictionary = store->objectForKey("TroverTagDict");
  EXPECT_EQ(dictionary["TroverTagDictVersion"].unsignedValue(), 3U);
  ASSERT_EQ(dictionary["TroverTags"].count(), 3U);
  EXPECT_EQ(*dictionary["TroverTags"].at(1)["n"].asString(), "Mint");
  EXPECT_EQ(dictionary["TroverTags"].at(1)["l"].unsignedValue(), 2U);
  EXPECT_EQ(*dictionary["TroverTags"].at(2)["n"].asString(), "a=b");  // the last "=" splits
  EXPECT_EQ(dictionary["TroverTags"].at(2)["l"].unsignedValue(), 9U);
  testing::notifications().removeObserver(this);

  // A raw value, whatever its shape.
  const std::string raw = home_.path() + "/raw.json";
  ASSERT_FALSE(writeFileAtomically(raw, R"({"TroverTagDictVersion": "2", "TroverTags": [{"n": 5, "l": "red"}]})"));
  run = vdtool({"cloud", "set-tags", "--json", raw});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto list = CloudTagDictionary::read(layout);
  ASSERT_TRUE(list.ok());
  EXPECT_EQ(list.value().version, 2U);
  EXPECT_TRUE(list.value().tags.empty());

  // Bad usage and unreadable input change nothing.
  const std::string before = DriveTestHome::read(HostCloudKeyValueStore::filePath(layout));
  EXPECT_EQ(vdtool({"cloud", "set-tags", "Red=pink"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "set-tags", "=red"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "set-tags", "Red"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "set-tags", "--version", "two"}).status, 64);
  EXPECT_EQ(vdtool({"cloud", "set-tags", "Red=6", "--json", raw}).status, 64);
  ASSERT_EQ(::mkfifo((home_.path() + "/fifo.json").c_str(), 0600), 0);
  run = vdtool({"cloud", "set-tags", "--json", home_.path() + "/fifo.json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("not a regular file"), std::string::npos) << run.err;
  EXPECT_EQ(DriveTestHome::read(HostCloudKeyValueStore::filePath(layout)), before);
}

}  // namespace
}  // namespace velune::host
