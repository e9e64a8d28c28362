// The screen's view of a document preview: which viewer the page uses, the
// document's path below the drive, and the application a document went to.

#include <gtest/gtest.h>

#include "host/HostAppRegistry.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/HostURLResourceService.h"
#include "platform/DocumentPreviewController.h"
#include "platform/ui/NavigationStackController.h"
#include "shell/ImageRegistry.h"
#include "shell/ScreenSnapshot.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;
using testing::DriveTestHome;

const json* findKind(const json& node, const std::string& kind) {
  if (node.is_object() && node.value("kind", "") == kind) {
    return &node;
  }
  if (node.is_object() && node.contains("children")) {
    for (const auto& child : node["children"]) {
      if (const json* found = findKind(child, kind)) {
        return found;
      }
    }
  }
  return nullptr;
}

class OneDocument final : public platform::DocumentPreviewControllerDataSource {
 public:
  explicit OneDocument(std::optional<platform::URL> url) : url_(std::move(url)) {}
  std::size_t numberOfPreviewItemsInPreviewController(platform::DocumentPreviewController&) override {
    return url_ ? 1 : 0;
  }
  std::shared_ptr<platform::PreviewItem> previewControllerPreviewItemAtIndex(platform::DocumentPreviewController&,
                                                                             std::size_t) override {
    class Item final : public platform::PreviewItem {
     public:
      explicit Item(platform::URL url) : url_(std::move(url)) {}
      platform::URL previewItemURL() const override { return url_; }
      bool wantsDefaultMediaPlayer() const override { return true; }

     private:
      platform::URL url_;
    };
    return std::make_shared<Item>(*url_);
  }

 private:
  std::optional<platform::URL> url_;
};

class ScreenDocumentPreviewTest : public ::testing::Test {
 protected:
  ScreenDocumentPreviewTest() { testing::installWithPhone(home_.services()); }

  // The document node of a preview of `path` (or of nothing), as the page gets it.
  json documentOf(std::optional<std::string> path, json* whole = nullptr) {
    auto preview = std::make_shared<platform::DocumentPreviewController>();
    source_ = std::make_shared<OneDocument>(path ? std::optional<platform::URL>(home_.url(*path)) : std::nullopt);
    preview->setDataSource(source_);
    auto navigation = ui::NavigationStackController::make(std::make_shared<ui::ViewController>());
    navigation->pushViewController(preview, false);
    auto window = testing::showInWindow(navigation);
    preview->reloadData();
    const json snapshot = ScreenSnapshot::make(window, 1, images_, home_.root());
    if (whole != nullptr) {
      *whole = snapshot;
    }
    const json* node = findKind(snapshot["window"], "DocumentPreviewView");
    return node != nullptr && node->contains("document") ? (*node)["document"] : json();
  }

  DriveTestHome home_;
  ImageRegistry images_{"t"};
  std::shared_ptr<OneDocument> source_;
};

TEST_F(ScreenDocumentPreviewTest, Document_NamesItsPathBelowTheDriveAndTheViewerForItsType) {
  const struct {
    const char* name;
    const char* viewer;
  } cases[] = {{"Sunset.png", "image"}, {"Brochure.pdf", "pdf"}, {"Notes.md", "text"}, {"Page.html", "text"},
               {"Chime.wav", "audio"},  {"Film.mp4", "video"},   {"Archive.zip", "none"}};
  for (const auto& c : cases) {
    const std::string path = home_.writeDocument(home_.documents() + "/" + c.name, "x");
    const json document = documentOf(path);
    EXPECT_EQ(document.value("viewer", ""), c.viewer) << c.name;
    EXPECT_EQ(document.value("path", ""), std::string("com.vorlan.drive/Documents/") + c.name) << c.name;
    EXPECT_TRUE(document.value("mediaPlayer", false));
  }
  // Nothing to show, and a document outside the drive, are not named.
  EXPECT_EQ(documentOf(std::nullopt).value("viewer", ""), "none");
  EXPECT_FALSE(documentOf(std::nullopt).contains("path"));
  testing::TempDirectory elsewhere;
  DriveTestHome::writeRaw(elsewhere.file("outside.png"), "png");
  const json outside = documentOf(elsewhere.file("outside.png"));
  EXPECT_EQ(outside.value("viewer", ""), "none");
  EXPECT_FALSE(outside.contains("path"));
}

TEST_F(ScreenDocumentPreviewTest, Opened_TellsTheLastDocumentHandedToAnotherApplication) {
  DriveTestHome::writeRaw(home_.layout().appsJson(),
                          R"({"applications": [{"identifier": "com.vorlan.Drillrun", "name": "Drillrun",
                              "opensInPlace": true, "defaultFor": ["com.vorlan.drillrun.drill"]}]})");
  auto apps = std::make_shared<host::HostAppRegistry>(home_.layout().appsJson(), home_.driveServices().resources,
                                                      home_.driveServices().types);
  home_.services().apps = apps;
  platform::Platform::install(home_.services());
  json snapshot;
  documentOf(std::nullopt, &snapshot);
  EXPECT_FALSE(snapshot.contains("opened"));
  const std::string drill = home_.writeDocument(home_.documents(testing::kDrillrunContainer) + "/Warmup.drill", "d");
  const auto app = apps->defaultApplicationForDocument(home_.url(drill));
  ASSERT_TRUE(app);
  ASSERT_FALSE(apps->openDocument(home_.url(drill), *app));
  documentOf(std::nullopt, &snapshot);
  ASSERT_TRUE(snapshot.contains("opened"));
  EXPECT_EQ(snapshot["opened"]["name"], "Warmup.drill");
  EXPECT_EQ(snapshot["opened"]["app"], "Drillrun");
  EXPECT_EQ(snapshot["opened"]["sequence"], 1);
}

}  // namespace
}  // namespace velune::shell
