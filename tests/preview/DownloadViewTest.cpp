// DownloadView on a drive with real items: its titles and texts, its two
// states, progress reports (also bad ones), the taps its delegate hears, and
// its layout as a stack.

#include "preview/DownloadView.h"

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/ByteCountFormatter.h"
#include "platform/Localization.h"
#include "platform/TransferProgress.h"
#include "platform/ui/Button.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageAssets.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "preview/RoundProgressView.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"

namespace velune {
namespace {

using platform::ByteCountFormatter;
using platform::TransferProgress;
using platform::URL;
using testing::DriveTestHome;
using ui::Rect;

class RecordingDelegate final : public DownloadViewDelegate {
 public:
  struct Call {
    bool start;
    std::optional<URL> url;
    float pieWhenTold;
    bool timerWhenTold;
  };
  void downloadViewDidPressStartDownload(DownloadView& view, const std::optional<URL>& url) override {
    calls.push_back({true, url, view.roundProgressView()->uiProgress(), view.roundProgressView()->isTimerRunning()});
  }
  void downloadViewDidPressCancelDownload(DownloadView& view, const std::optional<URL>& url) override {
    calls.push_back({false, url, view.roundProgressView()->uiProgress(), view.roundProgressView()->isTimerRunning()});
  }
  std::vector<Call> calls;
};

std::string fileCount(std::int64_t bytes) {
  return ByteCountFormatter::stringFromByteCount(bytes, ByteCountFormatter::CountStyle::File);
}

class DownloadViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::installWithPhone(home_.services());
    view_ = DownloadView::initWithFrame(Rect(0, 0, 300, 300));
    view_->setDelegate(delegate_);
    testing::clearLogs();
  }
  void TearDown() override { testing::runMainUntilIdle(); }

  // A cloud-only PDF of 2,000,000 bytes: previewable, size known.
  std::shared_ptr<DRItem> reportItem() {
    host::PlaceholderMetadata metadata;
    metadata.size = 2'000'000;
    auto item = DRItem::initWithURL(home_.url(home_.writeCloudOnly(home_.documents() + "/Report.pdf", "%PDF", metadata)));
    EXPECT_TRUE(item && item->canPreview() && item->fileSize() == 2'000'000U);
    return item;
  }
  // A cloud-only drill: a type the app cannot preview.
  std::shared_ptr<DRItem> drillItem() {
    auto item = DRItem::initWithURL(
        home_.url(home_.writeCloudOnly(home_.documents(testing::kDrillrunContainer) + "/Warmup.drill", "run")));
    EXPECT_TRUE(item && !item->canPreview());
    return item;
  }
  // A cloud-only PDF whose placeholder does not tell its size.
  std::shared_ptr<DRItem> unsizedItem() {
    const std::string path = home_.documents() + "/No Size.pdf";
    DriveTestHome::writeRaw(host::placeholderPathFor(path), R"({"type": "public.pdf"})");
    auto item = DRItem::initWithURL(home_.url(path));
    EXPECT_TRUE(item && !item->fileSize());
    return item;
  }
  static std::shared_ptr<TransferProgress> progress(std::int64_t completed, std::int64_t total) {
    auto made = std::make_shared<TransferProgress>(std::string(platform::kProgressKindFile), total);
    made->setCompletedUnitCount(completed);
    return made;
  }
  static void run(double seconds) { testing::advanceClockInSteps(seconds, 1.0 / 60); }

  DriveTestHome home_;
  std::shared_ptr<DownloadView> view_;
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
};

TEST_F(DownloadViewTest, Build_AFirmCentredStackOfSixViewsBeforeAnyItem) {
  EXPECT_EQ(view_->axis(), ui::Axis::Vertical);
  EXPECT_EQ(view_->distribution(), ui::StackView::Distribution::Fill);
  EXPECT_EQ(view_->alignment(), ui::StackView::Alignment::Center);
  EXPECT_EQ(view_->spacing(), 8);
  EXPECT_FALSE(view_->translatesAutoresizingMaskIntoConstraints());
  const std::vector<std::shared_ptr<ui::View>> order = {view_->filenameLabel(),      view_->sizeLabel(),
                                                        view_->roundProgressView(), view_->cloudButton(),
                                                        view_->downloadButton(),    view_->cancelButton()};
  EXPECT_EQ(view_->arrangedSubviews(), order);
  for (const auto& arranged : order) {
    EXPECT_EQ(arranged->contentHuggingPriority(ui::Axis::Vertical), ui::kLayoutPriorityRequired);
    EXPECT_EQ(arranged->contentCompressionResistancePriority(ui::Axis::Vertical), ui::kLayoutPriorityRequired);
  }
  EXPECT_EQ(view_->roundProgressView()->style(), 1);
  EXPECT_EQ(view_->cloudButton()->buttonType(), ui::ButtonType::Custom);
  EXPECT_EQ(view_->cloudButton()->imageForState(ui::ControlState::Normal), ui::ImageAssets::named("Cloudload"));
  EXPECT_EQ(view_->downloadButton()->buttonType(), ui::ButtonType::System);
  EXPECT_EQ(view_->cancelButton()->buttonType(), ui::ButtonType::System);
  EXPECT_EQ(view_->cancelButton()->currentTitle(), platform::localized("Cancel Download"));
  // No item yet: the pie is shown empty, Cancel is hidden, the title offers to view.
  EXPECT_EQ(view_->downloadButton()->currentTitle(), platform::localized("Download to View"));
  EXPECT_FALSE(view_->roundProgressView()->isHidden());
  EXPECT_TRUE(view_->cancelButton()->isHidden());
  EXPECT_FALSE(view_->downloading());
  EXPECT_EQ(view_->zeroProgressMsg(), platform::localized("Loading\u2026"));
}

TEST_F(DownloadViewTest, Texts_TitleBySupportForPreviewAndSizeOrLoading) {
  auto report = reportItem();
  view_->setItem(report);
  EXPECT_EQ(view_->filenameLabel()->text(), "Report.pdf");
  EXPECT_EQ(view_->sizeLabel()->text(), report->friendlyFileSize());
  EXPECT_EQ(view_->sizeLabel()->text(), "2 MB");
  EXPECT_EQ(view_->downloadButton()->currentTitle(), "Download to View");
  EXPECT_EQ(view_->zeroProgressMsg(), "Zero KB of 2 MB");
  EXPECT_EQ(view_->zeroProgressMsg(), platform::localizedFormat("%1$@ of %2$@", fileCount(0), fileCount(2'000'000)));

  view_->setItem(drillItem());
  EXPECT_EQ(view_->filenameLabel()->text(), "Warmup.drill");
  EXPECT_EQ(view_->downloadButton()->currentTitle(), "Download");

  view_->setItem(unsizedItem());
  EXPECT_EQ(view_->sizeLabel()->text(), "");
  EXPECT_EQ(view_->zeroProgressMsg(), "Loading\u2026");

  // Completed first, total second, at any size the counts can hold.
  EXPECT_EQ(DownloadView::progressMsgWithBytesCompleted(512'000, 2'000'000), "512 KB of 2 MB");
  EXPECT_EQ(DownloadView::progressMsgWithBytesCompleted(INT64_MAX, INT64_MAX),
            fileCount(INT64_MAX) + " of " + fileCount(INT64_MAX));
}

TEST_F(DownloadViewTest, States_DownloadingSwapsTheControlsAndSetItemReturnsToIdle) {
  view_->setItem(reportItem());
  auto shown = [this] {
    return std::vector<bool>{!view_->cloudButton()->isHidden(), !view_->downloadButton()->isHidden(),
                             !view_->cancelButton()->isHidden(), !view_->roundProgressView()->isHidden()};
  };
  EXPECT_EQ(shown(), (std::vector<bool>{true, true, false, false}));

  view_->setDownloading(true);
  EXPECT_TRUE(view_->downloading());
  EXPECT_EQ(shown(), (std::vector<bool>{false, false, true, true}));
  EXPECT_EQ(view_->sizeLabel()->text(), "Zero KB of 2 MB");

  view_->updateProgress(*progress(500'000, 2'000'000));
  EXPECT_EQ(view_->roundProgressView()->progress(), 0.25F);
  run(0.5);
  EXPECT_GT(view_->roundProgressView()->uiProgress(), 0);

  // Back to idle: the pie is emptied, the size comes back.
  view_->setDownloading(false);
  EXPECT_EQ(shown(), (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(view_->roundProgressView()->uiProgress(), 0);
  EXPECT_FALSE(view_->roundProgressView()->isTimerRunning());
  EXPECT_EQ(view_->sizeLabel()->text(), "2 MB");

  // A new item while downloading: idle again, with the new item's texts.
  view_->setDownloading(true);
  view_->setItem(drillItem());
  EXPECT_FALSE(view_->downloading());
  EXPECT_EQ(shown(), (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(view_->downloadButton()->currentTitle(), "Download");
  EXPECT_EQ(view_->sizeLabel()->text(), view_->item()->friendlyFileSize());
}

TEST_F(DownloadViewTest, Progress_IgnoredWhileIdleOrWithoutATotal) {
  view_->setItem(reportItem());
  view_->updateProgress(*progress(1'000'000, 2'000'000));
  EXPECT_TRUE(testing::loggedAt(kLogWarning, "Received progress when not downloading"));
  EXPECT_EQ(view_->sizeLabel()->text(), "2 MB");
  EXPECT_EQ(view_->roundProgressView()->progress(), 0);

  view_->setDownloading(true);
  for (const std::int64_t total : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN}) {
    view_->updateProgress(*progress(700, total));
    EXPECT_EQ(view_->sizeLabel()->text(), "Zero KB of 2 MB") << total;
    EXPECT_EQ(view_->roundProgressView()->progress(), 0) << total;
  }
  // A total that differs from the item's size is the one shown.
  view_->updateProgress(*progress(3'000'000, 6'000'000));
  EXPECT_EQ(view_->sizeLabel()->text(), "3 MB of 6 MB");
  EXPECT_EQ(view_->roundProgressView()->progress(), 0.5F);
  view_->updateProgress(*progress(6'000'000, 6'000'000));
  EXPECT_EQ(view_->roundProgressView()->progress(), 1.0F);
  run(0.2);
  EXPECT_EQ(view_->roundProgressView()->uiProgress(), 1.0F);
}

TEST_F(DownloadViewTest, Taps_StartFromBothButtonsAndCancelEmptiesThePieBeforeTheDelegateHears) {
  auto report = reportItem();
  view_->setItem(report);
  EXPECT_TRUE(view_->cloudButton()->tap());
  EXPECT_TRUE(view_->downloadButton()->tap());
  EXPECT_FALSE(view_->cancelButton()->tap());  // hidden while idle
  ASSERT_EQ(delegate_->calls.size(), 2U);
  for (const auto& call : delegate_->calls) {
    EXPECT_TRUE(call.start);
    EXPECT_EQ(call.url, report->url());
  }
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Pressed Start download..."));
  // Telling the delegate is all a tap does: the owner chooses the state.
  EXPECT_FALSE(view_->downloading());

  view_->setDownloading(true);
  view_->updateProgress(*progress(1'200'000, 2'000'000));
  run(0.3);
  ASSERT_GT(view_->roundProgressView()->uiProgress(), 0.5F);
  EXPECT_FALSE(view_->downloadButton()->tap());  // hidden while downloading
  EXPECT_TRUE(view_->cancelButton()->tap());
  ASSERT_EQ(delegate_->calls.size(), 3U);
  const auto& cancel = delegate_->calls.back();
  EXPECT_FALSE(cancel.start);
  EXPECT_EQ(cancel.url, report->url());
  EXPECT_EQ(cancel.pieWhenTold, 0);
  EXPECT_FALSE(cancel.timerWhenTold);
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Pressed Cancel download..."));

  // Without a delegate (or after it is gone) a tap only logs; without an item the URL is none.
  auto lone = DownloadView::initWithFrame(Rect(0, 0, 300, 300));
  EXPECT_TRUE(lone->downloadButton()->tap());
  lone->setDelegate(delegate_);
  EXPECT_TRUE(lone->cloudButton()->tap());
  ASSERT_EQ(delegate_->calls.size(), 4U);
  EXPECT_EQ(delegate_->calls.back().url, std::nullopt);
  // The view holds its delegate weakly.
  std::weak_ptr<RecordingDelegate> watch = delegate_;
  delegate_.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(view_->cancelButton()->tap());
}

TEST_F(DownloadViewTest, Layout_ThirtyTwoPointControlsCentredAndSpacedByEight) {
  auto page = ui::View::make(Rect(0, 0, 390, 600));
  page->addSubview(view_);
  ui::LayoutConstraint::activateConstraints({
      ui::LayoutConstraint::equal(view_, ui::LayoutAttribute::CenterX, page, ui::LayoutAttribute::CenterX),
      ui::LayoutConstraint::equal(view_, ui::LayoutAttribute::CenterY, page, ui::LayoutAttribute::CenterY),
  });
  view_->setItem(reportItem());
  page->layoutIfNeeded();
  const auto& name = view_->filenameLabel();
  const auto& size = view_->sizeLabel();
  const auto& cloud = view_->cloudButton();
  const auto& download = view_->downloadButton();
  EXPECT_EQ(cloud->frame().size, (ui::Size{32, 32}));
  EXPECT_EQ(size->frame().minY(), name->frame().maxY() + 8);
  EXPECT_EQ(cloud->frame().minY(), size->frame().maxY() + 8);
  EXPECT_EQ(download->frame().minY(), cloud->frame().maxY() + 8);
  EXPECT_EQ(view_->frame().height(), download->frame().maxY());
  for (const std::shared_ptr<ui::View>& arranged : std::vector<std::shared_ptr<ui::View>>{name, size, cloud, download}) {
    EXPECT_EQ(arranged->frame().midX(), view_->bounds().midX());
  }
  EXPECT_EQ(view_->frame().midY(), 300);
  EXPECT_EQ(view_->frame().midX(), 195);

  // Downloading: the pie takes the cloud's place, Cancel the button's.
  view_->setDownloading(true);
  page->layoutIfNeeded();
  const auto& pie = view_->roundProgressView();
  EXPECT_EQ(pie->frame().size, (ui::Size{32, 32}));
  EXPECT_EQ(pie->frame().minY(), size->frame().maxY() + 8);
  EXPECT_EQ(view_->cancelButton()->frame().minY(), pie->frame().maxY() + 8);
  EXPECT_EQ(pie->frame().midX(), view_->bounds().midX());
  EXPECT_TRUE(ui::LayoutEngine::lastConflicts().empty());
}

}  // namespace
}  // namespace velune
