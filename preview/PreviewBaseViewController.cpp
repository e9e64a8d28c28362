#include "preview/PreviewBaseViewController.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/ShareMenuController.h"
#include "platform/TransferProgress.h"
#include "platform/ui/Button.h"
#include "platform/ui/Color.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Screen.h"
#include "preview/PreviewItemManager.h"
#include "views/UIUtils.h"

namespace velune {

using platform::TransferProgress;
using ui::LayoutAttribute;
using ui::LayoutConstraint;

namespace {

bool itemHasURL(const std::shared_ptr<PreviewItemManager>& manager) {
  return manager && manager->item() && !manager->item()->url().absoluteString().empty();
}

}  // namespace

PreviewBaseViewController::PreviewBaseViewController() : PreviewBaseViewController("PreviewBaseViewController") {}

PreviewBaseViewController::PreviewBaseViewController(std::string_view kind) : ui::ViewController(kind) {}

void PreviewBaseViewController::loadView() {
  ui::ViewController::loadView();
  wrapperView_ = std::make_shared<ui::View>(ui::Rect());
  wrapperView_->setIdentifier(identifier() + ".wrapper");
  wrapperView_->setTranslatesAutoresizingMaskIntoConstraints(false);
  view()->addSubview(wrapperView_);
  lastProgressChunk_ = -1;
}

void PreviewBaseViewController::viewDidLoad() {
  ui::ViewController::viewDidLoad();
  view()->setBackgroundColor(ui::Color::white());
}

void PreviewBaseViewController::viewWillAppear(bool animated) {
  ui::ViewController::viewWillAppear(animated);
  configureButtons();
  setupConstraints();
  refreshItem();
}

void PreviewBaseViewController::viewWillDisappear(bool animated) {
  unregisterProgress();
  if (const auto manager = itemManager()) {
    manager->viewControllerWillDisappear(std::static_pointer_cast<ui::ViewController>(shared_from_this()));
  }
  ui::ViewController::viewWillDisappear(animated);
}

void PreviewBaseViewController::setupConstraints() {
  if (!navigationController()) {
    return;
  }
  // Each appearance makes the four rules anew; the earlier ones go, so that
  // only one set insets the wrapper.
  LayoutConstraint::deactivateConstraints({parentLeadingConstraint_, parentTrailingConstraint_, parentTopConstraint_,
                                           parentBottomConstraint_});
  const auto root = view();
  parentLeadingConstraint_ = LayoutConstraint::equal(wrapperView_, LayoutAttribute::Leading, root,
                                                     LayoutAttribute::Leading, 8);
  parentTrailingConstraint_ = LayoutConstraint::equal(wrapperView_, LayoutAttribute::Trailing, root,
                                                      LayoutAttribute::Trailing, -8);
  parentTopConstraint_ = LayoutConstraint::equal(wrapperView_, LayoutAttribute::Top, root, LayoutAttribute::Top, 8);
  parentBottomConstraint_ = LayoutConstraint::equal(wrapperView_, LayoutAttribute::Bottom, root,
                                                    LayoutAttribute::Bottom, -8);
  configureMargins();
  LayoutConstraint::activateConstraints({parentLeadingConstraint_, parentTrailingConstraint_, parentTopConstraint_,
                                         parentBottomConstraint_});
}

void PreviewBaseViewController::configureMargins() {
  if (!parentLeadingConstraint_) {
    return;
  }
  const ui::TraitCollection traits = traitCollection();
  const bool regular = traits.horizontalSizeClass == ui::UserInterfaceSizeClass::Regular &&
                       traits.verticalSizeClass == ui::UserInterfaceSizeClass::Regular;
  const double side = regular ? 45 : 17;
  parentLeadingConstraint_->setConstant(side);
  parentTrailingConstraint_->setConstant(-side);
  const ui::Size size = view()->bounds().size;
  const double vertical = regular || size.height > 2 * size.width ? 45 : 17;
  const auto screen = ui::Screen::mainScreen();
  const ui::Rect statusBar = screen ? screen->statusBarFrame() : ui::Rect();
  const auto navigation = navigationController();
  const double navigationBarHeight = navigation ? navigation->navigationBar().frame().size.height : 0;
  const double toolbarHeight =
      navigation && !navigation->isToolbarHidden() ? navigation->toolbar().frame().size.height : 0;
  parentTopConstraint_->setConstant(std::min(statusBar.size.width, statusBar.size.height) + navigationBarHeight +
                                    vertical);
  parentBottomConstraint_->setConstant(-(vertical + toolbarHeight));
}

ui::InterfaceOrientation PreviewBaseViewController::currentPseudoOrientation() const {
  const ui::TraitCollection traits = traitCollection();
  if (traits.horizontalSizeClass == ui::UserInterfaceSizeClass::Compact &&
      traits.verticalSizeClass == ui::UserInterfaceSizeClass::Regular) {
    return ui::InterfaceOrientation::Portrait;
  }
  const auto screen = ui::Screen::mainScreen();
  return screen ? screen->interfaceOrientation() : ui::InterfaceOrientation::Portrait;
}

void PreviewBaseViewController::configureButtons() {
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  const auto page = [weakSelf]() { return std::static_pointer_cast<PreviewBaseViewController>(weakSelf.lock()); };
  auto flexible = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace);
  auto fixed = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FixedSpace);
  barButtonMoveItem_ = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Organize, [page](ui::BarButtonItem&) {
    if (const auto self = page()) {
      self->showMoveTarget();
    }
  });
  barButtonMoveItem_->setIdentifier(identifier() + ".move");
  barButtonDeleteItem_ = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Trash, [page](ui::BarButtonItem&) {
    if (const auto self = page()) {
      self->showWarningAndDeleteDocument();
    }
  });
  barButtonDeleteItem_->setIdentifier(identifier() + ".delete");
  barButtonActionItem_ = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Action, [page](ui::BarButtonItem&) {
    if (const auto self = page()) {
      self->showDocumentActivities();
    }
  });
  barButtonActionItem_->setIdentifier(identifier() + ".share");

  std::shared_ptr<ui::BarButtonItem> openInItem;
  // A page may hand out the same button at every appearance: the action of
  // the previous appearance goes first, so that one tap opens once.
  if (const auto previous = openInButton_.lock()) {
    previous->removeAction(openInActionId_);
  }
  openInButton_.reset();
  if (const auto button = openInAppNavControllerButton()) {
    openInButton_ = button;
    openInActionId_ = button->addAction(ui::ControlEvent::TouchUpInside, [page](ui::Control&) {
      if (const auto self = page()) {
        self->openInDefaultApp();
      }
    });
    button->sizeToFit();
    openInItem = ui::BarButtonItem::withCustomView(button);
  }
  if (!itemHasURL(itemManager())) {
    barButtonActionItem_->setEnabled(false);
    barButtonDeleteItem_->setEnabled(false);
    barButtonMoveItem_->setEnabled(false);
  }
  const auto navigation = navigationController();
  if (!UIUtils::tabloMode()) {
    setToolbarItems({barButtonActionItem_, flexible, barButtonDeleteItem_,
                     ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace), barButtonMoveItem_});
    if (navigation) {
      navigation->setToolbarHidden(false, false);
    }
    if (openInItem && mode_ == 1) {
      navigationItem().setRightBarButtonItem(openInItem);
    }
  } else {
    navigationItem().setRightBarButtonItems({barButtonActionItem_, fixed, barButtonDeleteItem_,
                                             ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FixedSpace),
                                             barButtonMoveItem_});
    if (navigation) {
      navigation->setToolbarHidden(true, false);
    }
  }
  if (navigation && navigation->topViewController().get() == this) {
    navigation->updateBars();
  }
}

void PreviewBaseViewController::refreshItem() {
  const bool hasURL = itemHasURL(itemManager());
  for (const auto& item : {barButtonActionItem_, barButtonDeleteItem_, barButtonMoveItem_}) {
    if (item) {
      item->setEnabled(hasURL);
    }
  }
  lastProgressChunk_ = -1;
}

void PreviewBaseViewController::updateProgress(const std::shared_ptr<TransferProgress>& /*progress*/) {}

std::shared_ptr<ui::Button> PreviewBaseViewController::openInAppNavControllerButton() { return nullptr; }

bool PreviewBaseViewController::hasProgressSubscription() const {
  std::lock_guard lock(progressMutex_);
  return subscriber_.has_value();
}

void PreviewBaseViewController::registerForProgress() {
  // Called on the manager's download queue: only what the manager shares
  // with other threads is read.
  const auto manager = itemManager();
  const platform::URL resolved = manager ? manager->resolvedItemURL() : platform::URL();
  const auto service = platform::Platform::services()->transferProgress;
  if (resolved.path().empty() || !service) {
    return;
  }
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  const auto token = service->addSubscriber(
      resolved,
      [weakSelf](const std::shared_ptr<TransferProgress>& progress) -> platform::TransferProgressService::UnpublishingHandler {
        const auto self = std::static_pointer_cast<PreviewBaseViewController>(weakSelf.lock());
        if (!self) {
          return nullptr;
        }
        return self->handlePublishedProgress(progress).value_or(nullptr);
      });
  std::optional<platform::TransferProgressService::SubscriptionToken> replaced;
  {
    std::lock_guard lock(progressMutex_);
    replaced = subscriber_;
    subscriber_ = token;
  }
  if (replaced) {
    service->removeSubscriber(*replaced);
  }
}

std::optional<platform::TransferProgressService::UnpublishingHandler> PreviewBaseViewController::handlePublishedProgress(
    const std::shared_ptr<TransferProgress>& progress) {
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  const auto observer = progress->addFractionCompletedObserver([weakSelf](TransferProgress& changed) {
    if (const auto self = std::static_pointer_cast<PreviewBaseViewController>(weakSelf.lock())) {
      self->observeFractionCompleted(changed.shared_from_this());
    }
  });
  if (progress->isFileKind()) {
    if (progress->fractionCompleted() != 0) {
      DRLOG(kLogDebug, "got progress %@", progress->description());
    } else {
      DRLOG(kLogDebug, "ignoring progress with no progress done yet %@", progress->description());
    }
  } else {
    DRLOG(kLogDebug, "ignoring progress with different kind %@, kind = %@", progress->description(), progress->kind());
  }
  std::weak_ptr<TransferProgress> weakProgress = progress;
  return [weakSelf, weakProgress, observer] {
    if (const auto p = weakProgress.lock()) {
      p->removeFractionCompletedObserver(observer);
    }
    if (const auto self = std::static_pointer_cast<PreviewBaseViewController>(weakSelf.lock())) {
      self->unregisterProgress();
    }
  };
}

void PreviewBaseViewController::observeFractionCompleted(const std::shared_ptr<TransferProgress>& progress) {
  const double completed = static_cast<double>(progress->completedUnitCount());
  const double total = static_cast<double>(progress->totalUnitCount());
  // A total of 0 (an unknown size) counts as no progress rather than a division by zero.
  double fraction = total > 0 ? completed / total : 0;
  if (!std::isfinite(fraction)) {
    fraction = 0;
  }
  const double scaled = std::clamp(fraction * 20, static_cast<double>(std::numeric_limits<std::int32_t>::min()),
                                   static_cast<double>(std::numeric_limits<std::int32_t>::max()));
  const auto chunk = static_cast<std::int32_t>(scaled);
  if (lastProgressChunk_.exchange(chunk) != chunk) {
    DRLOG(kLogInfo, "Progress %@%%: %@", fraction * 100, progress->description());
  } else {
    DRLOG(kLogDebug, "Progress %@%%: %@", fraction * 100, progress->description());
  }
  deliverProgressToMainThread(progress);
}

void PreviewBaseViewController::deliverProgressToMainThread(const std::shared_ptr<TransferProgress>& progress) {
  {
    std::lock_guard lock(progressMutex_);
    latestProgress_ = progress;
  }
  if (progressDeliveryPending_.exchange(true)) {
    return;  // the task already on its way shows the newest values
  }
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->async([weakSelf] {
    const auto self = std::static_pointer_cast<PreviewBaseViewController>(weakSelf.lock());
    if (!self) {
      return;
    }
    self->progressDeliveryPending_ = false;
    std::shared_ptr<TransferProgress> latest;
    {
      std::lock_guard lock(self->progressMutex_);
      latest = self->latestProgress_;
    }
    if (latest) {
      self->updateProgress(latest);
    }
  });
}

void PreviewBaseViewController::unregisterProgress() {
  std::optional<platform::TransferProgressService::SubscriptionToken> token;
  {
    std::lock_guard lock(progressMutex_);
    token.swap(subscriber_);
  }
  if (token) {
    if (const auto service = platform::Platform::services()->transferProgress) {
      service->removeSubscriber(*token);
    }
  }
}

void PreviewBaseViewController::showDocumentActivities() {
  const auto manager = itemManager();
  if (!manager || !manager->item()) {
    return;
  }
  const platform::URL resolved = manager->item()->resolvedURL();
  if (resolved.isFileURL() && !resolved.path().empty()) {
    DRLOG(kLogInfo, "showDocumentActivities: %@", resolved);
    auto menu = platform::ShareMenuController::interactionControllerWithURL(resolved);
    manager->setDocumentInteractionController(menu);
    menu->presentOptionsMenuFromBarButtonItem(barButtonActionItem_,
                                              std::static_pointer_cast<ui::ViewController>(shared_from_this()), true);
  } else {
    DRLOG(kLogWarning, "showDocumentActivities: url is wrong class: %@", resolved.absoluteString().empty() ? "" : "URL");
  }
}

void PreviewBaseViewController::showWarningAndDeleteDocument() {
  if (const auto manager = itemManager()) {
    manager->showWarningAndDeleteDocument(std::static_pointer_cast<ui::ViewController>(shared_from_this()),
                                          barButtonDeleteItem_);
  }
}

void PreviewBaseViewController::showMoveTarget() {
  if (const auto manager = itemManager()) {
    manager->showMoveTarget(std::static_pointer_cast<ui::ViewController>(shared_from_this()));
  }
}

void PreviewBaseViewController::openInDefaultApp() {
  const auto manager = itemManager();
  if (!manager || !manager->item()) {
    return;
  }
  LaunchUtils::openInDefaultApp(manager->item()->url(), true, [](bool) {});
}

}  // namespace velune
