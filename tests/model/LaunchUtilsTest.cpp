// Choosing between another application and the system's own preview, on a
// temporary home with its apps.json.

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "host/HostAppRegistry.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/HostURLResourceService.h"
#include "model/LaunchUtils.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/LogLines.h"

namespace velune {
namespace {

using testing::DriveTestHome;

// The pictures' default is a photo editor that edits in place; PDFs go to a
// mail application that only imports copies; text to the app itself; drills
// to Drillrun.
constexpr const char* kApps = R"({"applications": [
  {"identifier": "com.example.photos", "name": "Photos Pro", "shortName": "Photos", "version": "3.1",
   "vendor": "Example", "executable": "PhotosPro", "description": "Edits pictures", "opensInPlace": true,
   "defaultFor": ["public.image"]},
  {"identifier": "org.example.mailer", "name": "Mailer", "opensInPlace": false, "defaultFor": ["public.pdf"]},
  {"identifier": "com.vorlan.VeluneDriveApp", "name": "Velune Drive", "opensInPlace": true,
   "defaultFor": ["public.plain-text"]},
  {"identifier": "com.vorlan.Drillrun", "name": "Drillrun", "opensInPlace": true,
   "defaultFor": ["com.vorlan.drillrun.drill"]},
  {"name": "no identifier"}
]})";

class LaunchUtilsTest : public ::testing::Test {
 protected:
  LaunchUtilsTest() {
    DRSetLogLevel(7);
    DriveTestHome::writeRaw(home_.layout().appsJson(), kApps);
    registry_ = std::make_shared<host::HostAppRegistry>(
        home_.layout().appsJson(), home_.driveServices().resources, home_.driveServices().types);
    home_.services().apps = registry_;
    platform::Platform::install(home_.services());
    testing::clearLogs();
  }

  std::optional<std::string> chosen(const std::string& path) {
    const auto app = LaunchUtils::defaultAppForDocument(home_.url(path), true);
    return app ? std::optional<std::string>(app->bundleIdentifier) : std::nullopt;
  }

  DriveTestHome home_;
  std::shared_ptr<host::HostAppRegistry> registry_;
};

TEST_F(LaunchUtilsTest, DefaultApp_KeepsMediaOfTheDrivesOwnContainerAndRefusesCopiesAndItself) {
  const std::string drivePicture = home_.writeDocument(home_.documents() + "/Sunset.png", "png");
  const std::string boardPicture =
      home_.writeDocument(home_.documents(testing::kLumiboardContainer) + "/Idea.png", "png");
  EXPECT_EQ(chosen(drivePicture), std::nullopt);
  EXPECT_EQ(testing::countOf("Preferring GP over default app to open " + home_.url(drivePicture).absoluteString()),
            1U);
  EXPECT_EQ(chosen(boardPicture), std::optional<std::string>("com.example.photos"));
  const auto line = testing::linesStartingWith("App for " + home_.url(boardPicture).absoluteString() + ": ");
  ASSERT_EQ(line.size(), 1U);
  EXPECT_EQ(line[0].level, 7);
  EXPECT_NE(line[0].message.find("Photos Pro.app, Photos Pro, Photos, 3.1, Example, com.example.photos, PhotosPro"),
            std::string::npos);

  const std::string pdf = home_.writeDocument(home_.documents() + "/Brochure.pdf", "%PDF");
  EXPECT_EQ(chosen(pdf), std::nullopt);
  EXPECT_EQ(testing::countOf("App <AppRecord org.example.mailer “Mailer”> does not support open in place. Ignoring"),
            1U);
  EXPECT_EQ(LaunchUtils::defaultAppForDocument(home_.url(pdf), false)->bundleIdentifier, "org.example.mailer");

  const std::string text = home_.writeDocument(home_.documents() + "/Welcome.txt", "hi");
  EXPECT_EQ(chosen(text), std::nullopt);
  EXPECT_EQ(testing::countOf("Ignoring <AppRecord com.vorlan.VeluneDriveApp “Velune Drive”> as default app"), 1U);

  const std::string unknown = home_.writeDocument(home_.documents() + "/Data.xyz", "?");
  EXPECT_EQ(chosen(unknown), std::nullopt);
  EXPECT_EQ(testing::countOf("No default app to open " + home_.url(unknown).absoluteString()), 1U);
  EXPECT_EQ(LaunchUtils::defaultAppNameForDocument(home_.url(boardPicture), true), std::optional<std::string>("Photos Pro"));
}

TEST_F(LaunchUtilsTest, OpenInDefaultApp_FollowsReferencesJudgesPlaceholdersAndRecordsTheOpening) {
  const std::string drill =
      home_.writeCloudOnly(home_.documents(testing::kDrillrunContainer) + "/Intervals.drill", "drill");
  bool answer = false;
  int calls = 0;
  LaunchUtils::openInDefaultApp(home_.url(drill), true, [&](bool opened) {
    answer = opened;
    ++calls;
  });
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(answer);
  EXPECT_EQ(testing::countOf("Assuming apps can open a promised document..."), 1U);
  ASSERT_EQ(registry_->openedDocuments().size(), 1U);
  EXPECT_EQ(registry_->openedDocuments()[0].bundleIdentifier, "com.vorlan.Drillrun");
  EXPECT_EQ(registry_->openedDocuments()[0].url.path(), drill);

  // A reference opens its target; the answer is about the target.
  const std::string reference = home_.documents() + "/Intervals (link).vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(reference, drill));
  LaunchUtils::openInDefaultApp(home_.url(reference), true, [&](bool opened) { answer = opened; });
  EXPECT_TRUE(answer);
  ASSERT_EQ(registry_->openedDocuments().size(), 2U);
  EXPECT_EQ(registry_->openedDocuments()[1].url.path(), drill);

  const std::string picture = home_.writeDocument(home_.documents() + "/Photo.png", "png");
  const std::string pictureReference = home_.documents() + "/Photo (link).vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(pictureReference, picture));
  LaunchUtils::openInDefaultApp(home_.url(pictureReference), true, [&](bool opened) { answer = opened; });
  EXPECT_FALSE(answer);
  EXPECT_EQ(registry_->openedDocuments().size(), 2U);
}

TEST_F(LaunchUtilsTest, Registry_ReadsOnlyASaneAppsJsonAndFollowsItsChanges) {
  EXPECT_EQ(registry_->installedApplications().size(), 4U);  // the entry without identifier is skipped
  DriveTestHome::writeRaw(home_.layout().appsJson(), std::string(300, '[') + std::string(300, ']'));
  EXPECT_TRUE(registry_->installedApplications().empty());
  DriveTestHome::writeRaw(home_.layout().appsJson(), "not json");
  EXPECT_TRUE(registry_->installedApplications().empty());
  ::unlink(home_.layout().appsJson().c_str());
  ASSERT_EQ(::mkfifo(home_.layout().appsJson().c_str(), 0600), 0);
  EXPECT_TRUE(registry_->installedApplications().empty());  // a FIFO is never opened for reading
  ::unlink(home_.layout().appsJson().c_str());
  DriveTestHome::writeRaw(home_.layout().appsJson(),
                          R"({"applications": [{"identifier": "com.example.one", "opensInPlace": "yes"}]})");
  const auto apps = registry_->installedApplications();
  ASSERT_EQ(apps.size(), 1U);
  EXPECT_FALSE(apps[0].supportsOpenInPlace);
  EXPECT_EQ(apps[0].localizedName, "com.example.one");
  platform::AppRecord gone;
  gone.bundleIdentifier = "com.example.gone";
  EXPECT_TRUE(registry_->openDocument(home_.url(home_.documents() + "/x.txt"), gone));
}

}  // namespace
}  // namespace velune
