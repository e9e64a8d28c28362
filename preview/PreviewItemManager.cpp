#include "preview/PreviewItemManager.h"

#include "diag/DRLogging.h"
#include "diag/NetworkIndicator.h"
#include "diag/NetworkWatcher.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/DispatchQueue.h"
#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/OperationQueue.h"
#include "platform/Platform.h"
#include "platform/ShareMenuController.h"
#include "platform/URLResourceService.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationStackController.h"
#include "preview/GlimpseItemController.h"
#include "preview/PreviewBaseViewController.h"
#include "preview/PreviewDownloadViewController.h"
#include "views/PreviewDetailsViewController.h"
#include "views/UIUtils.h"

namespace velune {

using platform::Error;
using platform::URL;
namespace ErrorCode = platform::ErrorCode;

namespace {

constexpr platform::FileCoordinatorReadingOptions kDownloadReadingOptions =
    platform::kReadingWithoutChanges | platform::kReadingResolvesSymbolicLink;  // 3

// One second, as the platform's nanoseconds.
constexpr double kChangeFoldingSeconds = 1.0;

const char* networkStateName(NetworkState state) {
  switch (state) {
    case NetworkStateWiFi:
      return "Wi-Fi";
    case NetworkStateCellular:
      return "cellular";
    case NetworkStateNotConnected:
      return "not connected";
    case NetworkStateUnknown:
      break;
  }
  return "unknown";
}

}  // namespace

std::shared_ptr<PreviewItemManager> PreviewItemManager::create() {
  auto manager = std::shared_ptr<PreviewItemManager>(new PreviewItemManager());
  manager->init();
  return manager;
}

PreviewItemManager::PreviewItemManager()
    : fcQueue_(std::make_unique<platform::OperationQueue>("PreviewItemManager.fcQueue")),
      downloadQueue_(platform::DispatchQueue::createSerial(kPreviewDownloadQueueLabel)) {}

void PreviewItemManager::init() {
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  const auto notifications = VELUNE_SERVICE(notifications);
  notifications->addObserver(this, std::string(platform::kApplicationDidBecomeActiveNotification),
                             platform::DispatchQueue::main(), [weakSelf](const platform::Notification& notification) {
                               if (const auto self = weakSelf.lock()) {
                                 self->didBecomeActiveNotification(notification);
                               }
                             });
  notifications->addObserver(this, std::string(platform::kApplicationWillResignActiveNotification),
                             platform::DispatchQueue::main(), [weakSelf](const platform::Notification& notification) {
                               if (const auto self = weakSelf.lock()) {
                                 self->willResignActiveNotification(notification);
                               }
                             });
  (void)GlimpseItemController::defaultController();
}

PreviewItemManager::~PreviewItemManager() {
  cancelDownload();
  {
    std::lock_guard guard(lock_);
    if (filePresenterRegistered_) {
      if (const auto coordination = platform::Platform::services()->fileCoordination) {
        coordination->removeFilePresenter(this);
      }
      filePresenterRegistered_ = false;
    }
  }
  if (const auto notifications = platform::Platform::services()->notifications) {
    notifications->removeObserver(this);
  }
}

// --- Properties ---

void PreviewItemManager::setNavigationController(std::shared_ptr<ui::NavigationStackController> navigation) {
  VELUNE_ASSERT_MAIN_THREAD();
  navigation_ = std::move(navigation);
}

void PreviewItemManager::setDocumentInteractionController(std::shared_ptr<platform::ShareMenuController> menu) {
  shareMenu_ = std::move(menu);
}

std::shared_ptr<platform::FileCoordinator> PreviewItemManager::downloadFC() const {
  std::lock_guard guard(sharedStateMutex_);
  return downloadFC_;
}

bool PreviewItemManager::filePresenterRegistered() const {
  std::lock_guard guard(lock_);
  return filePresenterRegistered_;
}

bool PreviewItemManager::refreshPending() const {
  std::lock_guard guard(lock_);
  return refreshPending_;
}

std::shared_ptr<PreviewDownloadViewController> PreviewItemManager::downloadViewController() const {
  std::lock_guard guard(sharedStateMutex_);
  return downloadViewController_;
}

platform::URL PreviewItemManager::resolvedItemURL() const { return itemURLs().resolvedURL; }

PreviewItemManager::ItemURLs PreviewItemManager::itemURLs() const {
  std::lock_guard guard(sharedStateMutex_);
  return urls_;
}

// --- Showing an item ---

void PreviewItemManager::setItem(const std::shared_ptr<DRItem>& item, bool updatePreview) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogDebug, "Previewing %@", item ? std::optional<URL>(item->url()) : std::nullopt);
  if (item && updatePreview) {
    if (const auto page = prepareToPreviewItem(item)) {
      replaceLastViewController(page);
      finishPreviewingItem();
    }
    return;
  }
  item_ = item;
  std::lock_guard guard(sharedStateMutex_);
  urls_ = item ? ItemURLs{item->url(), item->resolvedURL()} : ItemURLs{};
}

std::shared_ptr<ui::ViewController> PreviewItemManager::prepareToPreviewItem(const std::shared_ptr<DRItem>& item) {
  VELUNE_ASSERT_MAIN_THREAD();
  cancelDownload();
  if (!item_ || !item || !(item_->url() == item->url())) {
    unregisterAsFilePresenter();
  }
  item_ = item;
  {
    std::lock_guard guard(sharedStateMutex_);
    urls_ = item ? ItemURLs{item->url(), item->resolvedURL()} : ItemURLs{};
  }
  if (!item_ || item_->resolvedURL().path().empty()) {
    DRLOG(kLogWarning, "no preview URL, nothing to show");
    return nullptr;
  }
  modifiedDate_ = item_->contentModificationDate();
  registerAsFilePresenter();
  const bool exists = VELUNE_SERVICE(fileSystem)->fileExistsAtPath(item_->resolvedURL().path());
  {
    std::lock_guard guard(sharedStateMutex_);
    downloadViewController_.reset();
  }
  detailsViewController_.reset();
  std::shared_ptr<ui::ViewController> page;
  if (!exists) {
    if (mode_ == 0) {
      autoDownload_ = shouldAutoDownload();
      page = createDownloadViewController();
    } else {
      page = createDetailsViewController();
    }
    DRLOG(kLogDebug, "Preview: File doesn't exist, using %@", page->kind());
  } else {
    page = mode_ == 0 ? createGlimpseController() : createDetailsViewController();
    DRLOG(kLogDebug, "Preview: File exists, using %@", page->kind());
  }
  return page;
}

std::optional<std::string> PreviewItemManager::autoDownloadRefusal() const {
  const NetworkState state = NetworkWatcher::sharedNetworkWatcher().networkState();
  const std::uint64_t size = item_ ? item_->fileSize().value_or(0) : 0;
  if (state != NetworkStateWiFi) {
    return platform::format("network %@ (automatic downloads need Wi-Fi), size %@ bytes, limit %@ bytes",
                            networkStateName(state), size, kAutoDownloadLimit);
  }
  if ((size >> 21) > 2) {
    return platform::format("network Wi-Fi, size %@ bytes is not below the limit of %@ bytes", size,
                            kAutoDownloadLimit);
  }
  if (item_ && !item_->canPreview()) {
    return platform::format("network Wi-Fi, size %@ bytes below the limit of %@ bytes, but it cannot be previewed",
                            size, kAutoDownloadLimit);
  }
  return std::nullopt;
}

bool PreviewItemManager::shouldAutoDownload() {
  if (NetworkWatcher::sharedNetworkWatcher().networkState() != NetworkStateWiFi) {
    DRLOG(kLogInfo, "Not downloading %@ by itself: %@", item_ ? std::optional<URL>(item_->resolvedURL()) : std::nullopt,
          autoDownloadRefusal().value_or(""));
    return false;
  }
  const std::uint64_t size = item_ ? item_->fileSize().value_or(0) : 0;
  if ((size >> 21) > 2) {
    DRLOG(kLogInfo, "Not downloading %@ by itself: %@", item_->resolvedURL(), autoDownloadRefusal().value_or(""));
    return false;
  }
  const bool canPreview = item_ && item_->canPreview();
  DRLOG(kLogInfo, "CanPreview=%@ for %@", canPreview, item_ ? std::optional<URL>(item_->resolvedURL()) : std::nullopt);
  if (!canPreview) {
    DRLOG(kLogInfo, "Not downloading %@ by itself: %@", item_ ? std::optional<URL>(item_->resolvedURL()) : std::nullopt,
          autoDownloadRefusal().value_or(""));
  }
  return canPreview;
}

void PreviewItemManager::finishPreviewingItem() {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto download = downloadViewController();
  if (!autoDownload_ || !navigation_ || mode_ != 0 || !download) {
    return;
  }
  if (navigation_->topViewController() != std::static_pointer_cast<ui::ViewController>(download)) {
    return;
  }
  download->setDownloading(true);
  startDownload();
}

// --- Downloading ---

void PreviewItemManager::startDownload() {
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  startDownloading([weakSelf](const URL& oldURL, const std::optional<URL>& newURL, const std::optional<Error>& error) {
    if (const auto self = weakSelf.lock()) {
      self->standardCompletion(oldURL, newURL, error);
    }
  });
}

void PreviewItemManager::startDownloading(DownloadCompletion completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogDebug, "Dispatching download...");
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  downloadQueue_->async([weakSelf, completion = std::move(completion)] {
    if (auto self = weakSelf.lock()) {
      self->startDownloadingNow(completion);
      // This may be the last hold on the manager, which holds the navigation
      // controller and its listings: they must end on the main thread.
      platform::DispatchQueue::main()->async([self = std::move(self)] {});
    }
  });
}

void PreviewItemManager::startDownloadingNow(const DownloadCompletion& completion) {
  DRLOG(kLogDebug, "Download queue: changing FilePresenter");
  cancelDownload();
  const auto coordinator = VELUNE_SERVICE(fileCoordination)->makeCoordinator(shared_from_this());
  std::shared_ptr<PreviewDownloadViewController> page;
  {
    std::lock_guard guard(sharedStateMutex_);
    downloadFC_ = coordinator;
    page = downloadViewController_;
  }
  const URL resolved = itemURLs().resolvedURL;
  if (!FileUtils::exists(resolved)) {
    DRLOG(kLogInfo, "Dispatching download of %@", resolved);
    NetworkIndicator::sharedNetworkIndicator().show(kPreviewDownloadActivity);
  } else {
    DRLOG(kLogDebug, "Dispatching download -- although file is already local");
  }
  if (page) {
    page->registerForProgress();
  }
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  auto strongSelf = shared_from_this();
  bool reachable = true;
  const auto error = coordinator->coordinateReadingItemAtURL(resolved, kDownloadReadingOptions, [&](const URL& newURL) {
    DRLOG(kLogDebug, "coordinateReadingItemAtURL finished, old URL %@, new URL %@", itemURLs().resolvedURL, newURL);
    std::optional<Error> reachError;
    reachable = VELUNE_SERVICE(urlResources)->checkPromisedItemIsReachable(newURL, &reachError);
    if (!reachable) {
      DRLOG(kLogErr, "coordinateReadingItemAtURL: newURL does not exist, error %@",
            reachError ? reachError->description() : std::string("(null)"));
    }
    NetworkIndicator::sharedNetworkIndicator().hide(kPreviewDownloadActivity);
    // A successful read's completion holds the manager until it has run.
    platform::DispatchQueue::main()->async([strongSelf, completion, reachable, newURL] {
      std::optional<Error> notReachable;
      if (!reachable) {
        notReachable = Error::platform(ErrorCode::FileReadNoSuchFile);
      }
      if (completion) {
        completion(strongSelf->itemURLs().resolvedURL, newURL, notReachable);
      }
      std::lock_guard guard(strongSelf->sharedStateMutex_);
      strongSelf->downloadFC_.reset();
    });
  });
  if (!error) {
    return;
  }
  if (page) {
    page->unregisterProgress();
  }
  NetworkIndicator::sharedNetworkIndicator().hide(kPreviewDownloadActivity);
  if (error->code() != ErrorCode::UserCancelled) {
    DRLOG(kLogErr, "coordinateReadingItemAtURL failed, URL %@: %@", resolved, *error);
  } else {
    DRLOG(kLogDebug, "coordinateReadingItemAtURL was cancelled, URL %@", resolved);
    // Drops whatever part of the document came down.
    if (auto evictError = VELUNE_SERVICE(fileSystem)->evictUbiquitousItemAtURL(resolved)) {
      DRLOG(kLogInfo, "Failed to evict %@: %@", resolved, *evictError);
    } else {
      DRLOG(kLogDebug, "Evicted %@", resolved);
    }
  }
  strongSelf.reset();
  platform::DispatchQueue::main()->async([weakSelf, completion, resolved, readError = *error] {
    const auto self = weakSelf.lock();
    if (!self) {
      return;
    }
    if (completion) {
      completion(self->itemURLs().resolvedURL, std::nullopt, readError);
    }
    std::lock_guard guard(self->sharedStateMutex_);
    self->downloadFC_.reset();
  });
}

void PreviewItemManager::cancelDownload() {
  if (const auto coordinator = downloadFC()) {
    coordinator->cancel();
  }
  NetworkIndicator::sharedNetworkIndicator().hide(kPreviewDownloadActivity);
}

void PreviewItemManager::standardCompletion(const URL& oldURL, const std::optional<URL>& newURL,
                                            const std::optional<Error>& error) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (error) {
    DRLOG(kLogErr, "Error downloading %@: %@", oldURL, *error);
  } else {
    DRLOG(kLogInfo, "Showing preview of URL %@", newURL);
  }
  if (const auto page = downloadViewController()) {
    page->setDownloading(false);
  }
  if (!error && newURL) {
    if (const auto fresh = DRItem::initWithURL(*newURL)) {
      setItem(fresh, true);
    }
  } else {
    showDownloadError(error);
  }
}

void PreviewItemManager::showDownloadError(const std::optional<Error>& error) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!error || error->code() == ErrorCode::UserCancelled) {
    return;
  }
  std::string message = error->localizedDescription().value_or("");
  if (error->code() == ErrorCode::CloudServerNotAvailable && !NetworkWatcher::sharedNetworkWatcher().isConnected()) {
    message = platform::localized("Unable to download file. You are no longer connected to the Internet.");
  }
  if (!navigation_) {
    return;
  }
  const auto top = navigation_->topViewController();
  if (!top) {
    return;
  }
  auto alert = ui::AlertController::make(std::string(), message, ui::AlertControllerStyle::Alert);
  alert->addAction(ui::AlertAction::make(platform::localized("OK"), ui::AlertActionStyle::Default));
  UIUtils::topmostPresenter(top)->presentViewController(alert, true);
}

// --- Buttons ---

void PreviewItemManager::showWarningAndDeleteDocument(const std::shared_ptr<ui::ViewController>& page,
                                                      const std::shared_ptr<ui::BarButtonItem>& barButton) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!item_) {
    return;
  }
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  std::weak_ptr<ui::ViewController> weakPage = page;
  UIUtils::showDeleteWarningAlert({item_->url()}, false, page, nullptr, barButton,
                                  [weakSelf, weakPage](const ui::AlertAction*, bool cancelled) {
                                    const auto self = weakSelf.lock();
                                    const auto v = weakPage.lock();
                                    if (cancelled || !self || !v) {
                                      return;
                                    }
                                    if (const auto navigation = v->navigationController()) {
                                      navigation->popViewControllerAnimated(true);
                                    }
                                    if (!self->item_) {
                                      return;
                                    }
                                    if (auto error = FileUtils::remove(self->item_->url())) {
                                      UIUtils::showError(error, v);
                                    }
                                  });
}

void PreviewItemManager::showMoveTarget(const std::shared_ptr<ui::ViewController>& page) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogInfo, "Pressed Move");
  if (!item_ || !page) {
    return;
  }
  auto picker = platform::MoveTargetPicker::make({item_->url()});
  picker->setDelegate(std::static_pointer_cast<platform::MoveTargetPickerDelegate>(shared_from_this()));
  picker->setModalPresentationStyle(ui::ModalPresentationStyle::OverCurrentContext);
  const auto navigation = page->navigationController();
  const std::shared_ptr<ui::ViewController> presenter =
      navigation ? std::static_pointer_cast<ui::ViewController>(navigation) : page;
  presenter->presentViewController(picker, true, [] { DRLOG(kLogDebug, "Presented moveTarget"); });
}

void PreviewItemManager::documentTargetSelectionControllerDidSelectItemAtURL(platform::MoveTargetPicker& picker,
                                                                             const URL& folder) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogDebug, "MoveTarget = %@", folder);
  DRLOG(kLogDebug, "ItemsToMove = %@", picker.urlsToMove());
  const std::vector<URL> urls = picker.urlsToMove();
  picker.dismissViewControllerAnimated(true);
  for (const auto& url : urls) {
    const URL destination = folder.URLByAppendingPathComponent(url.lastPathComponent(), false);
    if (auto error = FileUtils::move(url, destination)) {
      UIUtils::showError(error, navigation_ ? navigation_->topViewController() : nullptr);
    }
  }
}

void PreviewItemManager::viewControllerWillDisappear(const std::shared_ptr<ui::ViewController>& page) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto download = downloadViewController();
  if (page && download && page == std::static_pointer_cast<ui::ViewController>(download)) {
    cancelDownload();
    std::lock_guard guard(sharedStateMutex_);
    downloadViewController_.reset();
  } else if (page && detailsViewController_ &&
             page == std::static_pointer_cast<ui::ViewController>(detailsViewController_)) {
    detailsViewController_.reset();
  }
}

// --- Presenting the file ---

void PreviewItemManager::registerAsFilePresenter() {
  std::lock_guard guard(lock_);
  if (!filePresenterRegistered_) {
    VELUNE_SERVICE(fileCoordination)->addFilePresenter(shared_from_this());
    filePresenterRegistered_ = true;
  }
}

void PreviewItemManager::unregisterAsFilePresenter() {
  std::lock_guard guard(lock_);
  if (filePresenterRegistered_) {
    VELUNE_SERVICE(fileCoordination)->removeFilePresenter(this);
    filePresenterRegistered_ = false;
  }
}

URL PreviewItemManager::presentedItemURL() const { return itemURLs().url; }

platform::OperationQueue* PreviewItemManager::presentedItemOperationQueue() const { return fcQueue_.get(); }

void PreviewItemManager::presentedItemDidChange() {
  const URL url = itemURLs().url;
  DRLOG(kLogInfo, "%@ changed", url);
  {
    std::lock_guard guard(lock_);
    if (refreshPending_) {
      return;  // folded into the refresh already scheduled
    }
    refreshPending_ = true;
  }
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->asyncAfterSeconds(kChangeFoldingSeconds, [weakSelf] {
    const auto self = weakSelf.lock();
    if (!self) {
      return;
    }
    self->refreshItem(self->itemURLs().url);
    std::lock_guard guard(self->lock_);
    self->refreshPending_ = false;
  });
}

void PreviewItemManager::presentedItemDidMoveToURL(const URL& newURL) {
  DRLOG(kLogInfo, "presentedItemDidMoveToURL: %@ changed to %@", itemURLs().url, newURL);
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->async([weakSelf, newURL] {
    if (const auto self = weakSelf.lock()) {
      self->refreshItem(newURL);
    }
  });
}

void PreviewItemManager::accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completionHandler) {
  DRLOG(kLogInfo, "%@ accommodate deletion", itemURLs().url);
  completionHandler(std::nullopt);
  unregisterAsFilePresenter();
  // Holds the manager until the preview has gone.
  auto self = shared_from_this();
  platform::DispatchQueue::main()->async([self] {
    if (self->navigation_) {
      self->navigation_->popViewControllerAnimated(true);
    }
  });
}

void PreviewItemManager::accommodatePresentedSubitemDeletionAtURL(const URL& url, CompletionHandler completionHandler) {
  DRLOG(kLogInfo, "%@ accommodate subitem deletion at %@", itemURLs().url, url);
  completionHandler(std::nullopt);
  unregisterAsFilePresenter();
  std::weak_ptr<PreviewItemManager> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->asyncAfterSeconds(kChangeFoldingSeconds, [weakSelf] {
    const auto self = weakSelf.lock();
    if (!self) {
      return;
    }
    DRLOG(kLogInfo, "Refreshing %@", self->itemURLs().url);
    const auto glimpse = GlimpseItemController::defaultController();
    if (glimpse->isVisible()) {
      glimpse->refreshCurrentPreviewItem();
    }
    std::lock_guard guard(self->lock_);
    self->refreshPending_ = false;
  });
}

void PreviewItemManager::refreshItem(const URL& url) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto fresh = DRItem::initWithURL(url);
  if (!fresh) {
    return;
  }
  DRLOG(kLogDebug, "%@: %@ vs %@", fresh->url(), modifiedDate_, fresh->contentModificationDate());
  const platform::Date* before = modifiedDate_.asDate();
  const platform::Date* after = fresh->contentModificationDate().asDate();
  const bool older = before != nullptr && after != nullptr && *before < *after;
  modifiedDate_ = fresh->contentModificationDate();
  const bool detailsHidden =
      !detailsViewController_ || (detailsViewController_->isViewLoaded() && detailsViewController_->view()->isHidden());
  const bool rebuild = item_ && !item_->isDownloaded() && fresh->isDownloaded() && detailsHidden;
  setItem(fresh, rebuild);
  DRLOG(kLogInfo, "Refreshing %@", item_ ? std::optional<URL>(item_->url()) : std::nullopt);
  const auto glimpse = GlimpseItemController::defaultController();
  if (older && glimpse->isVisible()) {
    glimpse->refreshCurrentPreviewItem();
  }
  if (detailsViewController_) {
    detailsViewController_->refreshItem();
  }
}

void PreviewItemManager::didBecomeActiveNotification(const platform::Notification&) {
  DRLOG(kLogDebug, "Becoming active for %@", item_ ? std::optional<URL>(item_->url()) : std::nullopt);
  registerAsFilePresenter();
}

void PreviewItemManager::willResignActiveNotification(const platform::Notification&) {
  DRLOG(kLogDebug, "Resigning active for %@", item_ ? std::optional<URL>(item_->url()) : std::nullopt);
  unregisterAsFilePresenter();
}

// --- Pages ---

std::shared_ptr<ui::ViewController> PreviewItemManager::createDownloadViewController() {
  auto page = std::make_shared<PreviewDownloadViewController>();
  page->setMode(mode_);
  page->setItemManager(shared_from_this());
  std::lock_guard guard(sharedStateMutex_);
  downloadViewController_ = page;
  return page;
}

std::shared_ptr<ui::ViewController> PreviewItemManager::createDetailsViewController() {
  auto page = std::make_shared<PreviewDetailsViewController>();
  page->setMode(mode_);
  page->setItemManager(shared_from_this());
  detailsViewController_ = page;
  return page;
}

std::shared_ptr<ui::ViewController> PreviewItemManager::createGlimpseController() {
  const auto glimpse = GlimpseItemController::defaultController();
  glimpse->glimpseNewItem(shared_from_this());
  return glimpse;
}

bool PreviewItemManager::isPreviewControllerDisplayed(const std::shared_ptr<ui::ViewController>& controller) {
  return std::dynamic_pointer_cast<PreviewBaseViewController>(controller) != nullptr ||
         std::dynamic_pointer_cast<GlimpseItemController>(controller) != nullptr;
}

void PreviewItemManager::replaceLastViewController(const std::shared_ptr<ui::ViewController>& page) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!navigation_ || !page) {
    return;
  }
  auto stack = navigation_->viewControllers();
  const auto last = stack.empty() ? nullptr : stack.back();
  if (last && isPreviewControllerDisplayed(last)) {
    stack.back() = page;
    navigation_->setViewControllers(stack, false);
    return;
  }
  if (const auto presented = navigation_->presentedViewController();
      presented && presented->kind() == "SearchOverlay") {
    std::weak_ptr<ui::NavigationStackController> weakNavigation = navigation_;
    presented->dismissViewControllerAnimated(true, [weakNavigation, page] {
      if (const auto navigation = weakNavigation.lock()) {
        navigation->pushViewController(page, true);
      }
    });
    return;
  }
  navigation_->pushViewController(page, true);
}

}  // namespace velune
