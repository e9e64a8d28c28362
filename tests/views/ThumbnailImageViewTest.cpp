// ThumbnailImageView on a drive with real items: thumbnail or type icon, the
// picture kept when the item goes, the progress pie's rules, and its layout.

#include "views/ThumbnailImageView.h"

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "host/GeneratedDocumentIconService.h"
#include "model/DRItem.h"
#include "platform/DocumentIconService.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/LayoutEngine.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"
#include "views/PieProgressIndicatorView.h"

namespace velune {
namespace {

using platform::URL;
using testing::DriveTestHome;
using ui::Rect;

// The host's icons, with every request written down.
class RecordingIcons final : public platform::DocumentIconService {
 public:
  struct Request {
    std::string fileName;
    std::optional<std::string> typeIdentifier;
    int format;
  };
  std::shared_ptr<ui::Image> iconForFile(const std::string& fileName, const std::optional<std::string>& typeIdentifier,
                                         int format) override {
    requests.push_back({fileName, typeIdentifier, format});
    return generated_.iconForFile(fileName, typeIdentifier, format);
  }
  std::vector<Request> requests;

 private:
  host::GeneratedDocumentIconService generated_{3};
};

class ThumbnailImageViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    home_.services().documentIcons = icons_;
    testing::installWithPhone(home_.services());
  }
  void TearDown() override { testing::runMainUntilIdle(); }

  std::shared_ptr<DRItem> itemAt(const std::string& path) {
    auto item = DRItem::initWithURL(URL::fileURLWithPath(path, false));
    EXPECT_TRUE(item) << path;
    return item;
  }
  std::string picture(const std::string& name) {
    const std::string path = home_.documents() + "/" + name;
    auto image = ui::Image::blank({400, 300}, 1.0);
    EXPECT_FALSE(image->writePNG(path).has_value());
    return path;
  }

  DriveTestHome home_;
  std::shared_ptr<RecordingIcons> icons_ = std::make_shared<RecordingIcons>();
};

TEST_F(ThumbnailImageViewTest, SetItem_ThumbnailElseTheLargeTypeIconAndNoneKeepsThePicture) {
  auto view = ThumbnailImageView::initWithFrame(Rect(0, 0, 200, 200));
  EXPECT_EQ(view->thumbnailView()->image(), nullptr);

  auto photo = itemAt(picture("Sunset.png"));
  view->setItem(photo);
  ASSERT_NE(view->thumbnailView()->image(), nullptr);
  EXPECT_EQ(view->thumbnailView()->image(), photo->thumbnail());
  EXPECT_TRUE(icons_->requests.empty());

  // A text has no thumbnail: the large icon of its name and type.
  auto notes = itemAt(home_.writeDocument(home_.documents() + "/Notes.txt", "text"));
  view->setItem(notes);
  ASSERT_EQ(icons_->requests.size(), 1U);
  EXPECT_EQ(icons_->requests[0].fileName, "Notes.txt");
  EXPECT_EQ(icons_->requests[0].typeIdentifier, notes->typeIdentifier());
  EXPECT_EQ(icons_->requests[0].format, 12);
  const auto icon = view->thumbnailView()->image();
  ASSERT_NE(icon, nullptr);
  EXPECT_NE(icon, photo->thumbnail());
  EXPECT_EQ(icon->size(), (ui::Size{128, 128}));

  // No item: the last picture stays, and nothing is asked.
  view->setItem(nullptr);
  EXPECT_EQ(view->item(), nullptr);
  EXPECT_EQ(view->thumbnailView()->image(), icon);
  EXPECT_EQ(icons_->requests.size(), 1U);
}

TEST_F(ThumbnailImageViewTest, GenericImage_NamedByTheResolvedFileAndSafeForBrokenPictures) {
  auto view = ThumbnailImageView::initWithFrame(Rect(0, 0, 200, 200));
  // Cloud-only: the icon of the document's own name, not of its placeholder file.
  const std::string later = home_.writeCloudOnly(home_.documents() + "/Later.txt", "later");
  auto cloud = DRItem::initWithURL(home_.url(later));
  ASSERT_TRUE(cloud);
  view->setItem(cloud);
  ASSERT_EQ(icons_->requests.size(), 1U);
  EXPECT_EQ(icons_->requests[0].fileName, "Later.txt");

  // A reference shows the icon of its target.
  const std::string drill = home_.writeDocument(home_.documents(testing::kDrillrunContainer) + "/Warmup.drill", "run");
  const std::string reference = home_.documents() + "/Warmup.vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(reference, drill));
  view->setItem(itemAt(reference));
  ASSERT_EQ(icons_->requests.size(), 2U);
  EXPECT_EQ(icons_->requests[1].fileName, "Warmup.drill");
  EXPECT_EQ(icons_->requests[1].typeIdentifier, "com.vorlan.drillrun.drill");

  // A picture whose bytes cannot be decoded has no thumbnail: its type icon.
  const std::string broken = home_.writeDocument(home_.documents() + "/Broken.png", "not a picture at all");
  view->setItem(itemAt(broken));
  ASSERT_EQ(icons_->requests.size(), 3U);
  EXPECT_EQ(icons_->requests[2].fileName, "Broken.png");
  EXPECT_NE(view->thumbnailView()->image(), nullptr);

  // Without an icon service the picture stays and the view says why.
  auto services = home_.services();
  services.documentIcons = nullptr;
  platform::Platform::install(services);
  testing::clearLogs();
  const auto before = view->thumbnailView()->image();
  view->setItem(itemAt(home_.writeDocument(home_.documents() + "/Other.txt", "x")));
  EXPECT_EQ(view->thumbnailView()->image(), before);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "No document icon for "));
}

TEST_F(ThumbnailImageViewTest, Progress_IgnoredWhileHiddenAndStartsAtZeroWhenShown) {
  auto view = ThumbnailImageView::initWithFrame(Rect(0, 0, 200, 200));
  const auto& pie = view->progressView();
  EXPECT_TRUE(pie->isHidden());
  view->updateProgress(0.5);
  EXPECT_EQ(pie->progress(), 0);

  view->showProgress(true);
  EXPECT_FALSE(pie->isHidden());
  EXPECT_EQ(pie->progress(), 0);
  view->updateProgress(0.5);
  EXPECT_EQ(pie->progress(), 0.5F);
  view->updateProgress(0.1 + 0.2);  // narrowed to single precision
  EXPECT_EQ(pie->progress(), static_cast<float>(0.1 + 0.2));

  // Shown again: back to zero until the next update.
  view->showProgress(true);
  EXPECT_EQ(pie->progress(), 0);
  view->showProgress(false);
  EXPECT_TRUE(pie->isHidden());
  view->updateProgress(0.9);
  EXPECT_EQ(pie->progress(), 0);
}

TEST_F(ThumbnailImageViewTest, Layout_ImageCentredAndBoundedWithThePieOnItsLowerTrailingCorner) {
  auto view = ThumbnailImageView::initWithFrame(Rect(0, 0, 300, 200));
  view->setItem(itemAt(home_.writeDocument(home_.documents() + "/Notes.txt", "text")));
  view->showProgress(true);
  view->layoutIfNeeded();
  // The 128-point icon at its own size, in the middle.
  EXPECT_EQ(view->thumbnailView()->frame(), Rect(86, 36, 128, 128));
  EXPECT_EQ(view->progressView()->frame(), Rect(192, 142, 22, 22));

  // A large thumbnail is held inside the view on both axes, and fitted inside that.
  auto photo = itemAt(picture("Wide.png"));
  ASSERT_TRUE(photo->thumbnail());
  view->setItem(photo);
  view->setFrame(Rect(0, 0, 120, 80));
  view->layoutIfNeeded();
  EXPECT_EQ(view->thumbnailView()->frame(), Rect(0, 0, 120, 80));
  EXPECT_EQ(view->progressView()->frame(), Rect(98, 58, 22, 22));
  const Rect shown = view->thumbnailView()->displayedImageRect();
  EXPECT_LE(shown.width(), 120);
  EXPECT_LE(shown.height(), 80);
  EXPECT_EQ(shown.midX(), 60);
  EXPECT_EQ(shown.midY(), 40);
  EXPECT_TRUE(ui::LayoutEngine::lastConflicts().empty());
}

}  // namespace
}  // namespace velune
