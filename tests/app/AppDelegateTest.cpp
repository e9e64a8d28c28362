#include "app/AppDelegate.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "platform/ReachabilityService.h"
#include "platform/ui/Window.h"
#include "tests/support/BrowseTestHome.h"

namespace velune {
namespace {

using platform::URL;

class CountingReachability final : public platform::ReachabilityService {
 public:
  std::shared_ptr<platform::ReachabilityTarget> createWithName(const std::string& hostName) override {
    names.push_back(hostName);
    return nullptr;  // the watcher logs the failure and goes on as offline
  }
  std::vector<std::string> names;
};

class NoApplication final : public platform::ApplicationHost {
 public:
  int run(int, char**, const std::optional<std::string>&, const std::string&) override { return 0; }
  void terminate() override {}
};

TEST(AppDelegate, Launch_StartsTheSharedNetworkWatcherFirst) {
  auto reachability = std::make_shared<CountingReachability>();
  auto services = testing::baseServices();
  services.reachability = reachability;
  platform::Platform::install(std::move(services));

  AppDelegate::registerDelegateClass();
  AppDelegate::registerDelegateClass();  // once is enough; twice is harmless
  const auto delegate = platform::ApplicationDelegate::make("AppDelegate");
  ASSERT_TRUE(delegate);
  NoApplication application;
  EXPECT_TRUE(delegate->applicationWillFinishLaunchingWithOptions(application, {}));
  EXPECT_EQ(reachability->names, std::vector<std::string>{kNetworkWatcherHostName});
  EXPECT_EQ(NetworkWatcher::sharedNetworkWatcher().networkState(), NetworkStateNotConnected);
  EXPECT_TRUE(delegate->applicationDidFinishLaunchingWithOptions(application, {}));
  testing::runMainUntilIdle();
  testing::installBaseServices();
}

class AppDelegateLaunchURL : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    home_.services().reachability = std::make_shared<CountingReachability>();
    testing::installWithPhone(home_.services());
    home_.account().signIn("alice");
    home_.makeFolder(home_.documents() + "/Projects/Plans");
    home_.writeDocument(home_.documents() + "/Projects/Plans/My Doc.pdf", "pdf");
    home_.writeCloudOnly(home_.documents() + "/Projects/Cloud.pdf", "cloud");
    ASSERT_TRUE(delegate_.applicationWillFinishLaunchingWithOptions(application_, {}));
    testing::settleListings(home_);
    testing::clearLogs();
  }
  void TearDown() override { testing::runMainUntilIdle(); }

  NavController& nav() { return *std::static_pointer_cast<NavController>(delegate_.rootWindow()->rootViewController()); }
  bool open(const std::string& text, std::optional<std::string> source = std::string("com.vorlan.Drillrun")) {
    const auto url = URL::URLWithString(text);
    EXPECT_TRUE(url) << text;
    platform::Value::Dictionary options;
    if (source) {
      options[platform::kOpenURLOptionSourceApplication] = platform::Value(*source);
    }
    const bool handled = url && delegate_.applicationOpenURL(application_, *url, options);
    testing::settleListings(home_);
    return handled;
  }
  std::string drivePath(const std::string& relative) {
    // As a launch URL's path: escaped once for the URL.
    std::string path = home_.documents() + relative;
    std::string escaped;
    for (const char c : path) {
      escaped += c == ' ' ? std::string("%20") : std::string(1, c);
    }
    return escaped;
  }
  testing::BrowseTestHome home_;
  AppDelegate delegate_;
  NoApplication application_;
};

TEST_F(AppDelegateLaunchURL, Launch_OneWindowWithTheNavigationControllerAsRestorableRoot) {
  ASSERT_TRUE(delegate_.rootWindow());
  EXPECT_TRUE(delegate_.rootWindow()->isKeyWindow());
  EXPECT_EQ(delegate_.rootWindow()->backgroundColor(), ui::Color::white());
  EXPECT_EQ(nav().restorationIdentifier(), "Root");
  EXPECT_EQ(delegate_.window(), nullptr);
  EXPECT_TRUE(delegate_.applicationShouldSaveApplicationState(application_));
  EXPECT_TRUE(delegate_.applicationShouldRestoreApplicationState(application_));
  home_.account().signOut();
  EXPECT_FALSE(delegate_.applicationShouldSaveApplicationState(application_));
}

TEST_F(AppDelegateLaunchURL, Mode_ChoosesThePreviewModeFromTheQueryItemsInOrder) {
  const auto mode = [](const std::string& query) {
    return AppDelegate::previewModeForQuery(*URL::URLWithString("velunedriveapp:///a.pdf" + query));
  };
  EXPECT_EQ(mode(""), 0);
  EXPECT_EQ(mode("?mode=info"), 1);
  EXPECT_EQ(mode("?mode=details"), 1);
  EXPECT_EQ(mode("?mode=details&mode=bogus"), 1);
  EXPECT_EQ(mode("?mode=details&mode=preview"), 0);
  EXPECT_EQ(mode("?%6Dode=details"), 1);
  EXPECT_EQ(mode("?mode=%2564etails"), 1);  // the value is decoded twice too
  EXPECT_EQ(mode("?other=details"), 0);
  std::string many = "?mode=details";
  for (int i = 0; i < 5000; ++i) {
    many += "&mode=bogus";
  }
  EXPECT_EQ(mode(many), 1);
}

TEST_F(AppDelegateLaunchURL, Open_ATrustedSourceBuildsTheStackDownToTheDocument) {
  EXPECT_TRUE(open("velunedriveapp://ignored.host" + drivePath("/Projects/Plans/My%2520Doc.pdf") + "?mode=info"));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogInfo, "openURL: velunedriveapp://ignored.host"));
  // The listings down to the document's folder, topped by its details page.
  ASSERT_EQ(nav().viewControllers().size(), 4U);
  EXPECT_EQ(nav().viewControllers()[2]->title(), "Plans");
  EXPECT_EQ(nav().topViewController()->kind(), "PreviewDetailsViewController");
  // From the home screen, a cloud-only document: its folder and its download page.
  EXPECT_TRUE(open("velunedriveapp://" + drivePath("/Projects/Cloud.pdf"), "com.vorlan.lumiboard"));
  ASSERT_EQ(nav().viewControllers().size(), 3U);
  EXPECT_EQ(nav().viewControllers()[1]->title(), "Projects");
  EXPECT_EQ(nav().topViewController()->kind(), "PreviewDownloadViewController");
}

TEST_F(AppDelegateLaunchURL, Open_RefusesUntrustedSourcesOtherSchemesAndPathsThatLeaveTheDrive) {
  const auto stack = nav().viewControllers();
  const std::string good = "velunedriveapp://" + drivePath("/Projects/Plans/My%2520Doc.pdf");
  // Sources: another application, or none, are refused with the warning.
  EXPECT_FALSE(open(good, std::string("com.vorlan.Jotter")));
  EXPECT_TRUE(testing::loggedAt(kLogWarning, "Ignoring openURL launch from unknown source: com.vorlan.Jotter"));
  EXPECT_FALSE(open(good, std::nullopt));
  EXPECT_TRUE(testing::loggedAt(kLogWarning, "Ignoring openURL launch from unknown source: (null)"));
  // A scheme in other letters: refused without a log.
  testing::clearLogs();
  EXPECT_FALSE(open("VeluneDriveApp://" + drivePath("/Projects/Plans/My%2520Doc.pdf")));
  EXPECT_FALSE(testing::loggedPrefixAt(kLogWarning, "Ignoring"));
  // Paths that leave the drive once decoded, or cannot be decoded twice.
  EXPECT_FALSE(open("velunedriveapp://" + drivePath("/../../../../etc/passwd")));
  EXPECT_FALSE(open("velunedriveapp://" + drivePath("/%252e%252e/%252e%252e/x")));
  EXPECT_FALSE(open("velunedriveapp://" + drivePath("/100%25zz.pdf")));
  EXPECT_FALSE(open("velunedriveapp:///etc/passwd"));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Preview URL is not in the Mobile Documents dir: file:///etc/passwd"));
  ASSERT_EQ(::symlink("/etc", (home_.documents() + "/Projects/escape").c_str()), 0);
  EXPECT_FALSE(open("velunedriveapp://" + drivePath("/Projects/escape/passwd")));
  // A URL of 1 MiB is handled like any other: this one names nothing of the drive.
  EXPECT_FALSE(open("velunedriveapp:///" + std::string(1 << 20, 'a')));
  EXPECT_EQ(nav().viewControllers(), stack);
}

}  // namespace
}  // namespace velune
