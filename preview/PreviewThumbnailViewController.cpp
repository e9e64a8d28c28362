#include "preview/PreviewThumbnailViewController.h"

#include "platform/ui/LayoutConstraint.h"
#include "preview/PreviewItemManager.h"
#include "views/ThumbnailImageView.h"

namespace velune {

using ui::LayoutAttribute;
using ui::LayoutConstraint;

PreviewThumbnailViewController::PreviewThumbnailViewController()
    : PreviewBaseViewController("PreviewThumbnailViewController") {}

void PreviewThumbnailViewController::viewDidLoad() {
  PreviewBaseViewController::viewDidLoad();
  setupViewsAndConstraints();
}

void PreviewThumbnailViewController::setupViewsAndConstraints() {
  thumbnailView_ = ThumbnailImageView::initWithFrame(ui::Rect());
  thumbnailView_->setIdentifier(identifier() + ".thumbnail");
  thumbnailView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  const auto wrapper = wrapperView();
  wrapper->addSubview(thumbnailView_);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(thumbnailView_, LayoutAttribute::CenterX, wrapper, LayoutAttribute::CenterX),
      LayoutConstraint::lessOrEqual(thumbnailView_, LayoutAttribute::Width, wrapper, LayoutAttribute::Width),
      LayoutConstraint::equal(thumbnailView_, LayoutAttribute::Top, wrapper, LayoutAttribute::Top),
      LayoutConstraint::equal(thumbnailView_, LayoutAttribute::Bottom, wrapper, LayoutAttribute::Bottom),
  });
}

void PreviewThumbnailViewController::refreshItem() {
  PreviewBaseViewController::refreshItem();
  if (thumbnailView_) {
    const auto manager = itemManager();
    thumbnailView_->setItem(manager ? manager->item() : nullptr);
  }
}

void PreviewThumbnailViewController::updateProgress(const std::shared_ptr<platform::TransferProgress>& /*progress*/) {}

void PreviewThumbnailViewController::showProgress(bool show) {
  if (thumbnailView_) {
    thumbnailView_->showProgress(show);
  }
}

}  // namespace velune
