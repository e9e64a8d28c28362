#include "preview/DownloadView.h"

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/ByteCountFormatter.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/TransferProgress.h"
#include "platform/ui/Button.h"
#include "platform/ui/ImageAssets.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "preview/RoundProgressView.h"

namespace velune {

using platform::localized;
using ui::Axis;
using ui::LayoutAttribute;
using ui::LayoutConstraint;

namespace {
constexpr double kControlSide = 32;

void holdFirmly(ui::View& view) {
  for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
    view.setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, axis);
    view.setContentHuggingPriority(ui::kLayoutPriorityRequired, axis);
  }
}
}  // namespace

DownloadView::DownloadView(ui::Rect frame) : ui::StackView(frame) {}

std::shared_ptr<DownloadView> DownloadView::initWithFrame(ui::Rect frame) {
  auto view = std::make_shared<DownloadView>(frame);
  view->setup();
  return view;
}

void DownloadView::setup() {
  setTranslatesAutoresizingMaskIntoConstraints(false);
  setAxis(Axis::Vertical);
  setDistribution(Distribution::Fill);
  setAlignment(Alignment::Center);
  setSpacing(8);

  filenameLabel_ = ui::Label::make();
  filenameLabel_->setIdentifier(identifier() + ".filename");

  roundProgressView_ = RoundProgressView::initWithFrame(ui::Rect(0, 0, kControlSide, kControlSide), 1);
  roundProgressView_->setIdentifier(identifier() + ".progress");
  holdFirmly(*roundProgressView_);
  const ui::Rect progressBounds = roundProgressView_->bounds();
  LayoutConstraint::activateConstraints({
      LayoutConstraint::fixed(roundProgressView_, LayoutAttribute::Width, progressBounds.width()),
      LayoutConstraint::fixed(roundProgressView_, LayoutAttribute::Height, progressBounds.height()),
  });

  cloudButton_ = ui::Button::buttonWithType(ui::ButtonType::Custom);
  cloudButton_->setIdentifier(identifier() + ".cloud");
  holdFirmly(*cloudButton_);
  cloudButton_->setImage(ui::ImageAssets::named("Cloudload"), ui::ControlState::Normal);
  LayoutConstraint::activateConstraints({
      LayoutConstraint::fixed(cloudButton_, LayoutAttribute::Width, progressBounds.width()),
      LayoutConstraint::fixed(cloudButton_, LayoutAttribute::Height, progressBounds.height()),
  });

  downloadButton_ = ui::Button::buttonWithType(ui::ButtonType::System);
  downloadButton_->setIdentifier(identifier() + ".download");
  cancelButton_ = ui::Button::buttonWithType(ui::ButtonType::System);
  cancelButton_->setIdentifier(identifier() + ".cancel");
  sizeLabel_ = ui::Label::make();
  sizeLabel_->setIdentifier(identifier() + ".size");

  downloadButton_->setTitle(downloadButtonTitle(), ui::ControlState::Normal);
  cancelButton_->setTitle(localized("Cancel Download"), ui::ControlState::Normal);
  std::weak_ptr<DownloadView> weak = std::static_pointer_cast<DownloadView>(shared_from_this());
  auto start = [weak](ui::Control&) {
    if (auto self = weak.lock()) {
      self->startDownloading();
    }
  };
  cloudButton_->addAction(ui::ControlEvent::TouchUpInside, start);
  downloadButton_->addAction(ui::ControlEvent::TouchUpInside, start);
  cancelButton_->addAction(ui::ControlEvent::TouchUpInside, [weak](ui::Control&) {
    if (auto self = weak.lock()) {
      self->cancelDownloading();
    }
  });
  cancelButton_->setHidden(true);

  const std::shared_ptr<ui::View> arranged[] = {filenameLabel_, sizeLabel_,     roundProgressView_,
                                                cloudButton_,   downloadButton_, cancelButton_};
  for (const auto& view : arranged) {
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    view->setContentHuggingPriority(ui::kLayoutPriorityRequired, Axis::Vertical);
    view->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);
    addArrangedSubview(view);
  }
  setContentHuggingPriority(ui::kLayoutPriorityRequired, Axis::Vertical);
  setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);
}

std::optional<platform::URL> DownloadView::itemURL() const {
  if (!item_) {
    return std::nullopt;
  }
  return item_->url();
}

void DownloadView::setItem(std::shared_ptr<DRItem> item) {
  VELUNE_ASSERT_MAIN_THREAD();
  item_ = std::move(item);
  filenameLabel_->setText(item_ ? item_->localizedName().value_or("") : std::string());
  downloadButton_->setTitle(downloadButtonTitle(), ui::ControlState::Normal);
  // Back to idle, which also shows the new item's size.
  setDownloading(false);
}

std::string DownloadView::downloadButtonTitle() const {
  if (!item_ || item_->canPreview()) {
    return localized("Download to View");
  }
  return localized("Download");
}

std::string DownloadView::zeroProgressMsg() const {
  if (!item_ || !item_->fileSize()) {
    return localized("Loading\u2026");
  }
  return progressMsgWithBytesCompleted(0, static_cast<std::int64_t>(*item_->fileSize()));
}

std::string DownloadView::progressMsgWithBytesCompleted(std::int64_t completed, std::int64_t total) {
  using platform::ByteCountFormatter;
  return platform::localizedFormat("%1$@ of %2$@",
                                   ByteCountFormatter::stringFromByteCount(completed, ByteCountFormatter::CountStyle::File),
                                   ByteCountFormatter::stringFromByteCount(total, ByteCountFormatter::CountStyle::File));
}

void DownloadView::setDownloading(bool downloading) {
  VELUNE_ASSERT_MAIN_THREAD();
  downloading_ = downloading;
  cloudButton_->setHidden(downloading);
  downloadButton_->setHidden(downloading);
  cancelButton_->setHidden(!downloading);
  roundProgressView_->setHidden(!downloading);
  if (downloading) {
    sizeLabel_->setText(zeroProgressMsg());
  } else {
    roundProgressView_->resetProgress();
    sizeLabel_->setText(item_ ? item_->friendlyFileSize().value_or("") : std::string());
  }
}

void DownloadView::updateProgress(const platform::TransferProgress& progress) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!downloading_) {
    DRLOG(kLogWarning, "Received progress when not downloading");
    return;
  }
  const std::int64_t total = progress.totalUnitCount();
  if (total <= 0) {
    return;  // an unknown size gives no fraction
  }
  roundProgressView_->setProgress(static_cast<float>(progress.fractionCompleted()));
  sizeLabel_->setText(progressMsgWithBytesCompleted(progress.completedUnitCount(), total));
}

void DownloadView::startDownloading() {
  DRLOG(kLogInfo, "Pressed Start download...");
  auto keep = shared_from_this();
  // Both delegate operations are required, so any delegate implements them.
  if (auto d = delegate()) {
    d->downloadViewDidPressStartDownload(*this, itemURL());
  }
}

void DownloadView::cancelDownloading() {
  DRLOG(kLogInfo, "Pressed Cancel download...");
  roundProgressView_->resetProgress();
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    d->downloadViewDidPressCancelDownload(*this, itemURL());
  }
}

}  // namespace velune
