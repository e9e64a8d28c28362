#include "host/LaunchURLReceiver.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <functional>
#include <mutex>

#include "host/FileIO.h"
#include "host/InstalledApplications.h"
#include "host/LaunchURLChannel.h"
#include "host/LinuxApplicationHost.h"
#include "host/drive/DemoHome.h"
#include "platform/RunLoop.h"
#include "platform/ui/Window.h"
#include "tests/support/UITestSupport.h"

namespace velune {
namespace {

using host::HomeLayout;
using host::LaunchURLChannel;
using host::LaunchURLReceiver;
using host::LaunchURLRequest;

class LaunchURLReceiverTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(layout_.ensureSkeleton()); }

  // A receiver whose handler records each request and answers `handled`.
  std::unique_ptr<LaunchURLReceiver> start(bool handled = true) {
    auto receiver = std::make_unique<LaunchURLReceiver>(
        layout_, [this, handled](const LaunchURLRequest& request, LaunchURLReceiver::Reply reply) {
          {
            std::lock_guard lock(mutex_);
            requests_.push_back(request);
          }
          reply(handled, handled ? "" : "refused by the app");
        });
    EXPECT_FALSE(receiver->start());
    return receiver;
  }
  // Sends raw bytes and returns the reply.
  std::string sendRaw(const std::string& bytes) {
    sockaddr_un address{};
    int folderFd = -1;
    EXPECT_TRUE(LaunchURLChannel::makeAddress(LaunchURLChannel::socketPath(layout_), address, folderFd));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    if (folderFd >= 0) {
      ::close(folderFd);
    }
    size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) {
        break;
      }
      sent += static_cast<size_t>(n);
    }
    ::shutdown(fd, SHUT_WR);
    std::string reply;
    char buffer[512];
    ssize_t n = 0;
    while ((n = ::recv(fd, buffer, sizeof(buffer), 0)) > 0) {
      reply.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    return reply;
  }
  std::vector<LaunchURLRequest> requests() {
    std::lock_guard lock(mutex_);
    return requests_;
  }

  testing::TempDirectory temp_;
  HomeLayout layout_{temp_.path() + "/a home with a name long enough that its socket path does not fit in a "
                                    "socket address of the kernel at all"};
  std::mutex mutex_;
  std::vector<LaunchURLRequest> requests_;
};

TEST_F(LaunchURLReceiverTest, Send_AnOwnerOnlySocketCarriesTheURLTheClaimAndTheSender) {
  ASSERT_GT(LaunchURLChannel::socketPath(layout_).size(), sizeof(sockaddr_un::sun_path));
  auto receiver = start();
  struct stat info {};
  ASSERT_EQ(::lstat(LaunchURLChannel::socketPath(layout_).c_str(), &info), 0);
  EXPECT_TRUE(S_ISSOCK(info.st_mode));
  EXPECT_EQ(info.st_mode & 0777, 0600U);
  ASSERT_EQ(::lstat(LaunchURLChannel::socketFolder(layout_).c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);

  auto reply = LaunchURLChannel::send(layout_, "velunedriveapp:///a/b.pdf?mode=info", std::string("com.vorlan.Drillrun"));
  ASSERT_TRUE(reply.ok());
  EXPECT_TRUE(reply.value().handled);
  ASSERT_EQ(requests().size(), 1U);
  EXPECT_EQ(requests()[0].url.absoluteString(), "velunedriveapp:///a/b.pdf?mode=info");
  EXPECT_EQ(requests()[0].claimedSource, "com.vorlan.Drillrun");
  EXPECT_EQ(requests()[0].pid, ::getpid());
  EXPECT_NE(requests()[0].executable.find("velune_host_tests"), std::string::npos);

  // A second app on the same home cannot take the socket over.
  LaunchURLReceiver second(layout_, [](const LaunchURLRequest&, LaunchURLReceiver::Reply answer) { answer(true, ""); });
  EXPECT_TRUE(second.start());
  receiver->stop();
  EXPECT_FALSE(LaunchURLChannel::send(layout_, "velunedriveapp:///x", std::nullopt).ok());
  // A socket left behind by an app that is gone is replaced.
  ASSERT_EQ(::mknod(LaunchURLChannel::socketPath(layout_).c_str(), S_IFSOCK | 0600, 0), 0);
  EXPECT_FALSE(second.start());
}

TEST_F(LaunchURLReceiverTest, Refuse_MessagesThatAreNotALaunchURLRequestNeverReachTheApp) {
  auto receiver = start();
  EXPECT_NE(sendRaw("not json at all").find("\"handled\":false"), std::string::npos);
  EXPECT_NE(sendRaw("{\"url\": 42}").find("not a launch URL request"), std::string::npos);
  EXPECT_NE(sendRaw("{\"url\": \"not a url\"}").find("not a URL"), std::string::npos);
  EXPECT_NE(sendRaw("{\"url\": \"velunedriveapp:///\xFF\"}").find("\"handled\":false"), std::string::npos);
  EXPECT_NE(sendRaw(std::string(100, '[') + std::string(100, ']')).find("\"handled\":false"), std::string::npos);
  // A URL of 1 MiB: refused as too long, whatever else it holds.
  auto reply = LaunchURLChannel::send(layout_, "velunedriveapp:///" + std::string(1 << 20, 'a'), std::nullopt);
  ASSERT_TRUE(reply.ok());
  EXPECT_FALSE(reply.value().handled);
  EXPECT_EQ(reply.value().error, "request too long");
  EXPECT_TRUE(requests().empty());
  // The receiver still serves after all that.
  EXPECT_TRUE(LaunchURLChannel::send(layout_, "velunedriveapp:///ok", std::nullopt).value().handled);
}

TEST(InstalledApplications, Read_OnlyARegularBoundedFileWithUsableEntries) {
  testing::TempDirectory temp;
  const std::string path = temp.file("apps.json");
  ASSERT_FALSE(host::writeFileAtomically(path, host::DemoHome::appsJson()));
  auto demo = host::InstalledApplications::read(path);
  EXPECT_TRUE(demo.isInstalled("com.vorlan.Drillrun"));
  EXPECT_TRUE(demo.isInstalled("com.vorlan.lumiboard"));
  EXPECT_TRUE(demo.isInstalled("com.vorlan.Jotter"));
  EXPECT_FALSE(demo.isInstalled("com.vorlan.drillrun"));
  EXPECT_TRUE(demo.applications()[0].opensInPlace);
  EXPECT_EQ(demo.applications()[0].shortName, "Drills");
  EXPECT_EQ(demo.applications()[0].description, "Training drills");

  std::vector<std::string> problems;
  ASSERT_FALSE(host::writeFileAtomically(
      path, R"({"applications": [{"identifier": "../evil"}, {"name": "no id"}, {"identifier": "ok.app", "opensInPlace": "yes"}]})"));
  auto mixed = host::InstalledApplications::read(path, &problems);
  ASSERT_EQ(mixed.applications().size(), 1U);
  EXPECT_EQ(mixed.applications()[0].identifier, "ok.app");
  EXPECT_FALSE(mixed.applications()[0].opensInPlace);
  EXPECT_EQ(problems.size(), 3U);

  // A link, a FIFO (which must not block), a deep nesting and a huge file list
  // nothing, and the problem says which of them the file was.
  const auto readsNothingBecause = [](const std::string& file, const std::string& why) {
    std::vector<std::string> found;
    EXPECT_TRUE(host::InstalledApplications::read(file, &found).applications().empty()) << why;
    ASSERT_EQ(found.size(), 1U) << why;
    EXPECT_NE(found[0].find(why), std::string::npos) << found[0];
  };
  const std::string link = temp.file("link.json");
  ASSERT_EQ(::symlink(path.c_str(), link.c_str()), 0);
  readsNothingBecause(link, "“link.json” is a symbolic link; it is not followed.");
  const std::string fifo = temp.file("fifo.json");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  readsNothingBecause(fifo, "“fifo.json” is not a regular file.");
  ASSERT_FALSE(host::writeFileAtomically(path, "{\"applications\": " + std::string(5000, '[') + std::string(5000, ']') + "}"));
  readsNothingBecause(path, "“apps.json” nests deeper than 8 levels.");
  ASSERT_FALSE(host::writeFileAtomically(path, std::string(host::InstalledApplications::kMaxFileBytes + 1, ' ')));
  readsNothingBecause(path, "“apps.json” is too large to be read.");
  ASSERT_FALSE(host::writeFileAtomically(path, "{\"applications\": ["));
  readsNothingBecause(path, "“apps.json” is not JSON.");
}

// Records what the host asks of its delegate.
class RecordingDelegate final : public platform::ApplicationDelegate {
 public:
  bool applicationOpenURL(platform::ApplicationHost&, const platform::URL& url,
                          const platform::Value::Dictionary& options) override {
    urls.push_back(url);
    const auto found = options.find(platform::kOpenURLOptionSourceApplication);
    sources.push_back(found == options.end() ? std::string("<none>") : *found->second.asString());
    return true;
  }
  bool applicationShouldSaveApplicationState(platform::ApplicationHost&) override { return save; }
  bool applicationShouldRestoreApplicationState(platform::ApplicationHost&) override { return restore; }
  std::vector<platform::URL> urls;
  std::vector<std::string> sources;
  bool save = true;
  bool restore = true;
};

// A root controller that saves and restores one value.
class RestorableController final : public ui::ViewController {
 public:
  void encodeRestorableStateWithCoder(ui::StateCoder& coder) override {
    coder.encodeObject("url", platform::Value(platform::URL::fileURLWithPath("/drive/doc.pdf")));
    coder.encodeInteger("PreviewMode", 1);
  }
  void decodeRestorableStateWithCoder(const ui::StateCoder& coder) override { decoded = coder.values(); }
  platform::Value::Dictionary decoded;
};

TEST(LinuxApplicationHost, OpenAndRestore_OnlyInstalledSourcesAreReportedAndTheStateSurvivesARelaunch) {
  testing::installDevice();
  testing::TempDirectory temp;
  HomeLayout layout(temp.path());
  ASSERT_FALSE(layout.ensureSkeleton());
  ASSERT_FALSE(host::writeFileAtomically(layout.appsJson(), host::DemoHome::appsJson()));
  auto host = std::make_shared<host::LinuxApplicationHost>();
  host->setHome(layout);
  auto delegate = std::make_shared<RecordingDelegate>();
  host->setDelegate(delegate);

  LaunchURLRequest request;
  request.url = *platform::URL::URLWithString("velunedriveapp:///x.pdf");
  request.claimedSource = "com.vorlan.Jotter";
  EXPECT_TRUE(host->openLaunchURL(request));
  request.claimedSource = "com.example.notinstalled";
  host->openLaunchURL(request);
  request.claimedSource.reset();
  host->openLaunchURL(request);
  EXPECT_EQ(delegate->sources, (std::vector<std::string>{"com.vorlan.Jotter", "<none>", "<none>"}));

  // Saved from the key window's root controller under its identifier, read back at the next launch.
  auto root = std::make_shared<RestorableController>();
  root->setRestorationIdentifier("Root");
  auto window = testing::showInWindow(root);
  delegate->save = false;
  host->saveApplicationState();
  EXPECT_FALSE(host::readWholeFile(host::LinuxApplicationHost::stateArchivePath(layout)).ok());
  delegate->save = true;
  host->saveApplicationState();
  auto next = std::make_shared<RestorableController>();
  next->setRestorationIdentifier("Root");
  window->setRootViewController(next);
  delegate->restore = false;
  host->restoreApplicationState();
  EXPECT_TRUE(next->decoded.empty());
  delegate->restore = true;
  host->restoreApplicationState();
  ASSERT_EQ(next->decoded.count("url"), 1U);
  EXPECT_EQ(*next->decoded["url"].asURL(), platform::URL::fileURLWithPath("/drive/doc.pdf"));
  EXPECT_EQ(next->decoded["PreviewMode"].integerValue(), 1);

  // A state file that is not what was saved restores nothing and harms nothing.
  ASSERT_FALSE(host::writeFileAtomically(host::LinuxApplicationHost::stateArchivePath(layout), "{\"Root\": [[[[[[[[[[[[]]]]]]]]]]]]}"));
  next->decoded.clear();
  host->restoreApplicationState();
  EXPECT_TRUE(next->decoded.empty());
  testing::runMainUntilIdle();
}

bool loggedWarningStartingWith(const std::string& prefix) {
  for (const auto& message : testing::loggedMessages()) {
    if (message.starts_with(prefix)) {
      return true;
    }
  }
  return false;
}

TEST(LinuxApplicationHost, UnusableStateAndAppsFiles_AreReportedAndNotUsed) {
  // A saved interface state or an apps.json that could not be used was
  // dropped without a word, so a broken home gave no clue why the app forgot.
  testing::installDevice();
  testing::TempDirectory temp;
  HomeLayout layout(temp.path());
  ASSERT_FALSE(layout.ensureSkeleton());
  auto host = std::make_shared<host::LinuxApplicationHost>();
  host->setHome(layout);
  auto delegate = std::make_shared<RecordingDelegate>();
  host->setDelegate(delegate);
  auto root = std::make_shared<RestorableController>();
  root->setRestorationIdentifier("Root");
  auto window = testing::showInWindow(root);

  // Nothing saved yet is no problem.
  testing::clearLogs();
  host->restoreApplicationState();
  EXPECT_FALSE(loggedWarningStartingWith("The saved interface state is not restored")) << "no file";

  const std::string state = host::LinuxApplicationHost::stateArchivePath(layout);
  ASSERT_FALSE(host::makeDirectories(state.substr(0, state.rfind('/'))));
  const struct {
    const char* name;
    std::function<void()> make;
    const char* why;
  } badStates[] = {
      {"link", [&] { ASSERT_EQ(::symlink("/dev/zero", state.c_str()), 0); }, "is a symbolic link"},
      {"fifo", [&] { ASSERT_EQ(::mkfifo(state.c_str(), 0600), 0); }, "is not a regular file"},
      {"deep", [&] { ASSERT_FALSE(host::writeFileAtomically(state, std::string(5000, '[') + std::string(5000, ']'))); },
       "nests deeper than"},
      {"huge", [&] { ASSERT_FALSE(host::writeFileAtomically(state, std::string(65 * 1024, ' '))); }, "is too large"},
      {"array", [&] { ASSERT_FALSE(host::writeFileAtomically(state, "[]")); }, "it is not a JSON object"},
  };
  for (const auto& bad : badStates) {
    ::unlink(state.c_str());
    bad.make();
    testing::clearLogs();
    root->decoded.clear();
    host->restoreApplicationState();
    EXPECT_TRUE(root->decoded.empty()) << bad.name;
    bool reported = false;
    for (const auto& message : testing::loggedMessages()) {
      reported = reported || (message.starts_with("The saved interface state is not restored") &&
                              message.find(bad.why) != std::string::npos);
    }
    EXPECT_TRUE(reported) << bad.name << ": " << ::testing::PrintToString(testing::loggedMessages());
  }

  // A claim checked against an apps.json that cannot be read: not reported
  // as the source, and the log says why.
  ASSERT_EQ(::mkfifo(layout.appsJson().c_str(), 0600), 0);
  testing::clearLogs();
  LaunchURLRequest request;
  request.url = *platform::URL::URLWithString("velunedriveapp:///x.pdf");
  request.claimedSource = "com.vorlan.Jotter";
  EXPECT_TRUE(host->openLaunchURL(request));
  EXPECT_EQ(delegate->sources, (std::vector<std::string>{"<none>"}));
  EXPECT_TRUE(loggedWarningStartingWith(layout.appsJson() + ": “apps.json” is not a regular file."))
      << ::testing::PrintToString(testing::loggedMessages());
  testing::runMainUntilIdle();
}

}  // namespace
}  // namespace velune
