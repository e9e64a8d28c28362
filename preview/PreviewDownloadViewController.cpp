#include "preview/PreviewDownloadViewController.h"

#include "diag/NetworkWatcher.h"
#include "model/DRItem.h"
#include "platform/ByteCountFormatter.h"
#include "platform/DispatchQueue.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "preview/PreviewItemManager.h"
#include "views/ConstraintUtils.h"
#include "views/ThumbnailImageView.h"
#include "views/UIUtils.h"

namespace velune {

PreviewDownloadViewController::PreviewDownloadViewController()
    : PreviewBaseViewController("PreviewDownloadViewController") {}

void PreviewDownloadViewController::viewDidLoad() {
  PreviewBaseViewController::viewDidLoad();
  setupViewsAndConstraints();
}

void PreviewDownloadViewController::setupViewsAndConstraints() {
  thumbnailView_ = ThumbnailImageView::initWithFrame(ui::Rect());
  thumbnailView_->setIdentifier(identifier() + ".thumbnail");
  thumbnailView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  thumbnailView_->setContentHuggingPriority(249, ui::Axis::Horizontal);
  thumbnailView_->setContentHuggingPriority(249, ui::Axis::Vertical);
  thumbnailView_->setContentCompressionResistancePriority(1000, ui::Axis::Horizontal);
  thumbnailView_->setContentCompressionResistancePriority(1000, ui::Axis::Vertical);

  downloadView_ = DownloadView::initWithFrame(ui::Rect());
  downloadView_->setIdentifier(identifier() + ".download");
  downloadView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  downloadView_->setDelegate(std::static_pointer_cast<PreviewDownloadViewController>(shared_from_this()));
  for (const auto axis : {ui::Axis::Horizontal, ui::Axis::Vertical}) {
    downloadView_->setContentHuggingPriority(1000, axis);
    downloadView_->setContentCompressionResistancePriority(1000, axis);
  }

  mainStackView_ = ui::StackView::make({thumbnailView_, downloadView_});
  mainStackView_->setIdentifier(identifier() + ".stack");
  mainStackView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  mainStackView_->setAxis(ui::Axis::Vertical);
  mainStackView_->setDistribution(ui::StackView::Distribution::Fill);
  mainStackView_->setAlignment(ui::StackView::Alignment::Center);
  mainStackView_->setSpacing(15);
  wrapperView()->addSubview(mainStackView_);
  ui::LayoutConstraint::activateConstraints(ConstraintUtils::stretchSubviewConstraints(mainStackView_, wrapperView()));
  adjustViewsForOrientation(currentPseudoOrientation());
}

void PreviewDownloadViewController::viewWillAppear(bool animated) {
  PreviewBaseViewController::viewWillAppear(animated);
  if (downloading_) {
    downloadView_->setDownloading(true);
  }
}

void PreviewDownloadViewController::setDownloading(bool downloading) {
  VELUNE_ASSERT_MAIN_THREAD();
  downloading_ = downloading;
  if (isViewLoaded() && downloadView_) {
    downloadView_->setDownloading(downloading);
  }
}

void PreviewDownloadViewController::refreshItem() {
  PreviewBaseViewController::refreshItem();
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (downloadView_) {
    downloadView_->setItem(item);
  }
  if (thumbnailView_) {
    thumbnailView_->setItem(item);
  }
}

void PreviewDownloadViewController::updateProgress(const std::shared_ptr<platform::TransferProgress>& progress) {
  if (downloadView_ && progress) {
    downloadView_->updateProgress(*progress);
  }
}

void PreviewDownloadViewController::adjustViewsForOrientation(ui::InterfaceOrientation orientation) {
  if (!mainStackView_) {
    return;
  }
  if (ui::isLandscape(orientation)) {
    mainStackView_->setAxis(ui::Axis::Horizontal);
    mainStackView_->setDistribution(ui::StackView::Distribution::FillEqually);
  } else {
    mainStackView_->setAxis(ui::Axis::Vertical);
    mainStackView_->setDistribution(ui::StackView::Distribution::Fill);
  }
}

void PreviewDownloadViewController::viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) {
  PreviewBaseViewController::viewWillTransitionToSize(size, coordinator);
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->async([weakSelf, size] {
    const auto self = std::static_pointer_cast<PreviewDownloadViewController>(weakSelf.lock());
    if (!self) {
      return;
    }
    self->adjustViewsForOrientation(size.width > size.height ? ui::InterfaceOrientation::LandscapeRight
                                                             : ui::InterfaceOrientation::Portrait);
    self->configureMargins();
  });
}

void PreviewDownloadViewController::downloadViewDidPressStartDownload(DownloadView& view,
                                                                      const std::optional<platform::URL>& /*url*/) {
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  const std::uint64_t size = item ? item->fileSize().value_or(0) : 0;
  if (NetworkWatcher::sharedNetworkWatcher().networkState() == NetworkStateCellular && size > kCellularDownloadLimit) {
    const std::string title = platform::localizedFormat(
        "This item is over %@.",
        platform::ByteCountFormatter::stringFromByteCount(static_cast<std::int64_t>(kCellularDownloadLimit),
                                                          platform::ByteCountFormatter::CountStyle::Binary));
    const std::string message = platform::localizedFormat("“%@” will not download until you connect to Wi-Fi.",
                                                          item ? item->localizedName() : std::nullopt);
    UIUtils::showAlert(title, message, std::static_pointer_cast<ui::ViewController>(shared_from_this()));
    return;
  }
  view.setDownloading(true);
  if (manager) {
    manager->startDownload();
  }
}

void PreviewDownloadViewController::downloadViewDidPressCancelDownload(DownloadView& view,
                                                                       const std::optional<platform::URL>& /*url*/) {
  view.setDownloading(false);
  if (const auto manager = itemManager()) {
    manager->cancelDownload();
  }
}

}  // namespace velune
