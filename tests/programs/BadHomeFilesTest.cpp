// Every file of the home is the user's to break: nested a hundred thousand
// levels deep, a link to /dev/zero, a FIFO nobody writes, a folder, or far
// too big. Each such file in each place: vdtool's commands still end, by
// themselves, quickly, without a crash, and the app starts and stops cleanly.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/programs/ProgramTestHome.h"

namespace velune::testing {
namespace {

enum class Badness { DeeplyNested, LinkToDevZero, Fifo, Folder, Huge };

const char* badnessName(Badness badness) {
  switch (badness) {
    case Badness::DeeplyNested:
      return "DeeplyNested";
    case Badness::LinkToDevZero:
      return "LinkToDevZero";
    case Badness::Fifo:
      return "Fifo";
    case Badness::Folder:
      return "Folder";
    case Badness::Huge:
      return "Huge";
  }
  return "?";
}

struct HomeFile {
  const char* name;
  const char* relative;  // below the home
};

const HomeFile kHomeFiles[] = {
    {"DeviceJson", "device.json"},
    {"ContainersJson", "containers.json"},
    {"AppStateJson", "app-state.json"},
    {"StandardPreferences", "app-data/Library/Preferences/standard.json"},
    {"Placeholder", "Mobile Documents/com.vorlan.drive/Documents/.Annual Report.pdf.placeholder"},
    {"Sidecar", "Mobile Documents/com.vorlan.drive/Documents/.Welcome.txt.vdattrs"},
    {"DocumentReference", "Mobile Documents/com.vorlan.drive/Documents/Annual Report (link).vdref"},
    {"LogFile", "app-data/Logs/system-log.jsonl"},
};
// Read by the app only: at its start.
const HomeFile kSavedInterfaceState = {"SavedInterfaceState", "app-data/Library/Saved Application State/state.json"};

std::string deeplyNested(size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); }

void makeBad(const std::string& path, Badness badness) {
  host::FileOperations().removeTree(path);
  ASSERT_FALSE(host::makeDirectories(path.substr(0, path.rfind('/'))));
  switch (badness) {
    case Badness::DeeplyNested:
      DriveTestHome::writeRaw(path, deeplyNested(100000));
      break;
    case Badness::LinkToDevZero:
      ASSERT_EQ(::symlink("/dev/zero", path.c_str()), 0);
      break;
    case Badness::Fifo:
      ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0);
      break;
    case Badness::Folder:
      ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
      break;
    case Badness::Huge: {
      const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      ASSERT_GE(fd, 0);
      ASSERT_EQ(::ftruncate(fd, off_t{512} << 20), 0);  // sparse: costs no disk
      ::close(fd);
      break;
    }
  }
}

using Case = std::tuple<HomeFile, Badness>;

class BadHomeFileTest : public ::testing::TestWithParam<Case> {
 protected:
  ProgramTestHome home_;
};

TEST_P(BadHomeFileTest, EveryKindOfCommand_EndsWithoutCrashingOrHanging) {
  // Such files crashed every command (deep nesting), made them eat memory
  // until they aborted (/dev/zero) or hang for ever (a FIFO).
  const auto& [file, badness] = GetParam();
  makeBad(home_.home() + "/" + file.relative, badness);

  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"ls"},
           {"ls", "--json", "Velune Drive"},
           {"item", "Velune Drive/Annual Report.pdf"},
           {"item", "Velune Drive/Welcome.txt"},
           {"item", "Velune Drive/Annual Report (link).vdref"},
           {"network", "cellular"},
           {"evict", "Velune Drive/Welcome.txt"},
       }) {
    ProgramOptions options;
    options.timeoutSeconds = 15;
    const auto run = home_.vdtool(arguments, options);
    EXPECT_TRUE(run.exited && (run.status == 0 || run.status == 1))
        << arguments[0] << " " << arguments.back() << ": " << run.describe() << "\n" << run.err;
  }
  // Listing the containers needs none of these files: it still works.
  const auto listing = home_.vdtool({"ls"});
  EXPECT_NE(listing.out.find("Velune Drive"), std::string::npos) << listing.out << listing.err;
}

INSTANTIATE_TEST_SUITE_P(
    EveryHomeFile, BadHomeFileTest,
    ::testing::Combine(::testing::ValuesIn(kHomeFiles),
                       ::testing::Values(Badness::DeeplyNested, Badness::LinkToDevZero, Badness::Fifo,
                                         Badness::Folder, Badness::Huge)),
    [](const auto& parameter) {
      return std::string(std::get<0>(parameter.param).name) + "_" + badnessName(std::get<1>(parameter.param));
    });

// The app: started on a home with the bad file, it gets as far as its banner
// and ends cleanly on TERM.
class RunningApp {
 public:
  RunningApp(const ProgramTestHome& home, const std::string& errors) : errors_(errors) {
    ProgramOptions options;
    options.standardError = errors_;
    pid_ = startProgram({appBinary(), "--home", home.home(), "--system-log", "file"}, options);
  }
  ~RunningApp() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      waitForProgram(pid_, 60);
    }
  }
  RunningApp(const RunningApp&) = delete;
  RunningApp& operator=(const RunningApp&) = delete;

  // Waits until standard error holds `text` (or the app ended); whether it does.
  bool waitForOutput(const std::string& text, double seconds = 60) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < deadline) {
      if (DriveTestHome::read(errors_).find(text) != std::string::npos) {
        return true;
      }
      // Until then the app is waited on itself: an app that ended stops the wait.
      if (auto status = waitForProgram(pid_, 0.05)) {
        status_ = status;
        pid_ = -1;
        return DriveTestHome::read(errors_).find(text) != std::string::npos;
      }
    }
    return false;
  }
  // Sends `signal` and waits for the end; the wait status.
  std::optional<int> stop(int signal = SIGTERM) {
    if (pid_ > 0) {
      ::kill(pid_, signal);
      status_ = waitForProgram(pid_, 60);
      if (status_) {
        pid_ = -1;
      }
    }
    return status_;
  }
  std::string errors() const { return DriveTestHome::read(errors_); }

 private:
  std::string errors_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

bool exitedCleanly(const std::optional<int>& status) {
  return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

class BadHomeFileAppTest : public ::testing::TestWithParam<Case> {
 protected:
  ProgramTestHome home_;
};

TEST_P(BadHomeFileAppTest, AppStartsAndEndsCleanly) {
  // The app crashed at start on a deeply nested file and ate memory on /dev/zero.
  const auto& [file, badness] = GetParam();
  makeBad(home_.home() + "/" + file.relative, badness);
  RunningApp app(home_, home_.scratch("app.err"));
  // Up and running (a line of level 6, the level the defaults give).
  EXPECT_TRUE(app.waitForOutput("The screen is served on")) << app.errors();
  EXPECT_TRUE(exitedCleanly(app.stop())) << app.errors();
}

INSTANTIATE_TEST_SUITE_P(
    SettingsFiles, BadHomeFileAppTest,
    ::testing::Combine(::testing::Values(kHomeFiles[0], kHomeFiles[1], kHomeFiles[3], kHomeFiles[7],
                                         kSavedInterfaceState),
                       ::testing::Values(Badness::DeeplyNested, Badness::LinkToDevZero, Badness::Fifo)),
    [](const auto& parameter) {
      return std::string(std::get<0>(parameter.param).name) + "_" + badnessName(std::get<1>(parameter.param));
    });

TEST(BadAppsJsonWhileRunning, ALaunchURLFromAClaimedSourceIsAnsweredAndTheAppGoesOn) {
  // The installed applications are read for each launch URL that claims a
  // source: such a file there must neither hang the app's answer nor end it.
  ProgramTestHome home;
  RunningApp app(home, home.scratch("app.err"));
  ASSERT_TRUE(app.waitForOutput("The screen is served on")) << app.errors();
  for (const Badness badness : {Badness::DeeplyNested, Badness::LinkToDevZero, Badness::Fifo, Badness::Huge}) {
    makeBad(home.home() + "/apps.json", badness);
    ProgramOptions options;
    options.timeoutSeconds = 15;
    const auto run = home.vdtool({"open", "velunedriveapp:///Welcome.txt", "--from", "com.vorlan.Jotter"}, options);
    EXPECT_TRUE(run.exited && (run.status == 0 || run.status == 1))
        << badnessName(badness) << ": " << run.describe() << "\n" << run.err;
  }
  EXPECT_TRUE(app.waitForOutput("apps.json")) << "the problem is reported: " << app.errors();
  EXPECT_TRUE(exitedCleanly(app.stop())) << app.errors();
}

TEST(BadDeviceJsonWhileRunning, TheRunningAppReportsItAndGoesOn) {
  // Writing a deeply nested device.json (or linking it to /dev/zero) killed an app already running.
  ProgramTestHome home;
  RunningApp app(home, home.scratch("app.err"));
  ASSERT_TRUE(app.waitForOutput("The screen is served on")) << app.errors();
  const std::string device = home.home() + "/device.json";

  DriveTestHome::writeRaw(device + ".new", deeplyNested(100000));
  ASSERT_EQ(::rename((device + ".new").c_str(), device.c_str()), 0);
  EXPECT_TRUE(app.waitForOutput("device.json nests deeper than 64 levels")) << app.errors();

  ASSERT_EQ(::symlink("/dev/zero", (device + ".new").c_str()), 0);
  ASSERT_EQ(::rename((device + ".new").c_str(), device.c_str()), 0);
  EXPECT_TRUE(app.waitForOutput("is a symbolic link; it is not followed")) << app.errors();

  ASSERT_EQ(::mkfifo((device + ".new").c_str(), 0644), 0);
  ASSERT_EQ(::rename((device + ".new").c_str(), device.c_str()), 0);
  EXPECT_TRUE(app.waitForOutput("is not a regular file")) << app.errors();

  EXPECT_TRUE(exitedCleanly(app.stop())) << app.errors();
}

}  // namespace
}  // namespace velune::testing
