#include "views/ThumbnailImageView.h"

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/DocumentIconService.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/LayoutConstraint.h"
#include "views/PieProgressIndicatorView.h"

namespace velune {

using ui::LayoutAttribute;
using ui::LayoutConstraint;

namespace {
constexpr double kProgressSide = 22;
}  // namespace

ThumbnailImageView::ThumbnailImageView(ui::Rect frame) : ui::View(frame, "ThumbnailImageView") {}

std::shared_ptr<ThumbnailImageView> ThumbnailImageView::initWithFrame(ui::Rect frame) {
  auto view = std::make_shared<ThumbnailImageView>(frame);
  view->setup();
  return view;
}

void ThumbnailImageView::setup() {
  auto self = shared_from_this();
  thumbnailView_ = std::make_shared<ui::ImageView>();
  thumbnailView_->setIdentifier(identifier() + ".image");
  thumbnailView_->setContentMode(ui::ContentMode::ScaleAspectFit);
  thumbnailView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  addSubview(thumbnailView_);

  progressView_ = PieProgressIndicatorView::initWithFrame(ui::Rect(0, 0, kProgressSide, kProgressSide));
  progressView_->setIdentifier(identifier() + ".progress");
  progressView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  progressView_->setHidden(true);
  addSubview(progressView_);

  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(thumbnailView_, LayoutAttribute::CenterX, self, LayoutAttribute::CenterX),
      LayoutConstraint::equal(thumbnailView_, LayoutAttribute::CenterY, self, LayoutAttribute::CenterY),
      LayoutConstraint::lessOrEqual(thumbnailView_, LayoutAttribute::Width, self, LayoutAttribute::Width),
      LayoutConstraint::lessOrEqual(thumbnailView_, LayoutAttribute::Height, self, LayoutAttribute::Height),
      LayoutConstraint::fixed(progressView_, LayoutAttribute::Width, kProgressSide),
      LayoutConstraint::fixed(progressView_, LayoutAttribute::Height, kProgressSide),
      LayoutConstraint::equal(progressView_, LayoutAttribute::Trailing, thumbnailView_, LayoutAttribute::Trailing),
      LayoutConstraint::equal(progressView_, LayoutAttribute::Bottom, thumbnailView_, LayoutAttribute::Bottom),
  });
}

void ThumbnailImageView::setItem(std::shared_ptr<DRItem> item) {
  VELUNE_ASSERT_MAIN_THREAD();
  item_ = std::move(item);
  if (!item_) {
    return;  // the picture stays as it was
  }
  if (auto thumbnail = item_->thumbnail()) {
    thumbnailView_->setImage(std::move(thumbnail));
  } else {
    showGenericImage();
  }
}

void ThumbnailImageView::showGenericImage() {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto icons = platform::Platform::services()->documentIcons;
  if (!item_ || !icons) {
    DRLOG(kLogWarning, "No document icon for %@", item_ ? item_->url() : platform::URL());
    return;
  }
  thumbnailView_->setImage(icons->iconForFile(item_->resolvedURL().lastPathComponent(), item_->typeIdentifier(),
                                              platform::kDocumentIconFormatLarge));
}

void ThumbnailImageView::showProgress(bool show) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (show) {
    progressView_->setProgress(0);
  }
  progressView_->setHidden(!show);
}

void ThumbnailImageView::updateProgress(double progress) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (progressView_->isHidden()) {
    return;
  }
  progressView_->setProgress(static_cast<float>(progress));
}

}  // namespace velune
