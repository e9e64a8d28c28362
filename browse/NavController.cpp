#include "browse/NavController.h"

#include "diag/DRLogging.h"
#include "diag/QuotaFetcher.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/AccountService.h"
#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/Platform.h"
#include "platform/PreferencesStore.h"
#include "platform/SearchOverlay.h"
#include "platform/SyncURLService.h"
#include "platform/UnavailableViewController.h"
#include "platform/ViewControllerClasses.h"
#include "preview/PreviewItemManager.h"
#include "views/UIUtils.h"

namespace velune {

using platform::DocumentListController;
using platform::URL;

std::shared_ptr<NavController> NavController::create() { return std::make_shared<NavController>(); }

NavController::NavController() = default;

NavController::~NavController() {
  if (const auto notifications = platform::Platform::services()->notifications) {
    notifications->removeObserver(this);
  }
}

std::shared_ptr<NavController> NavController::self() {
  return std::static_pointer_cast<NavController>(shared_from_this());
}

void NavController::viewDidLoad() {
  VELUNE_ASSERT_MAIN_THREAD();
  setDelegate(self());
  if (const auto notifications = platform::Platform::services()->notifications) {
    std::weak_ptr<NavController> weak = self();
    notifications->addObserver(this, std::string(platform::kApplicationDidBecomeActiveNotification),
                               platform::DispatchQueue::main(), [weak](const platform::Notification&) {
                                 if (auto strong = weak.lock()) {
                                   strong->didBecomeActiveNotification();
                                 }
                               });
    notifications->addObserver(this, std::string(platform::kAccountIdentityDidChangeNotification),
                               platform::DispatchQueue::main(), [weak](const platform::Notification&) {
                                 if (auto strong = weak.lock()) {
                                   strong->veluneAccountAvailabilityChanged();
                                 }
                               });
  }
  setupInitialViewController();
  ui::NavigationStackController::viewDidLoad();
}

bool NavController::checkVeluneState() const {
  const auto account = platform::Platform::services()->account;
  return account && account->identityToken().has_value();
}

void NavController::setupInitialViewController() {
  VELUNE_ASSERT_MAIN_THREAD();
  pickerIsAlive_ = false;
  if (checkVeluneState()) {
    DRLOG(kLogDebug, "Velune is enabled");
    setToolbarHidden(false, false);
    auto root = std::make_shared<DocumentListController>();
    DRLOG(kLogDebug, "Contained items: %@", root->containedItems());
    initNewListController(*root);
    setViewControllers({root}, false);
    quotaFetcher_ = QuotaFetcher::create();
    quotaFetcher_->setDelegate(self());
    quotaFetcher_->runWithInterval(kQuotaFetchInterval);
  } else {
    DRLOG(kLogWarning, "Velune is not enabled");
    if (auto unavailable = platform::ViewControllerClasses::make(platform::UnavailableViewController::kClassName)) {
      setViewControllers({unavailable}, false);
    } else {
      DRLOG(kLogErr, "UnavailableViewController creation failed");
      platform::DispatchQueue::main()->async([weak = std::weak_ptr<NavController>(self())] {
        if (auto strong = weak.lock()) {
          UIUtils::showAlert(std::string(), std::string("Velune is not enabled"), strong);
        }
      });
    }
    setToolbarHidden(true, false);
    quotaFetcher_.reset();
    quotaBytes_ = 0;
  }
  DRLOG(kLogDebug, "%@ viewDidLoad", kind());
}

void NavController::didBecomeActiveNotification() {
  DRLOG(kLogInfo, "Got AppBecameActiveNotification (nav)");
  handleAccountChanges();
}

void NavController::veluneAccountAvailabilityChanged() {
  DRLOG(kLogInfo, "Velune account availability changed");
  handleAccountChanges();
}

void NavController::handleAccountChanges() {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto services = platform::Platform::services();
  const std::optional<platform::IdentityToken> current =
      services->account ? services->account->identityToken() : std::nullopt;
  std::optional<platform::IdentityToken> stored;
  if (services->standardPreferences) {
    if (const auto data = services->standardPreferences->dataForKey(kUbiquityIdentityTokenKey)) {
      stored = platform::IdentityToken::fromArchivedData(*data);
    }
  }
  if ((current || stored) && stored != current) {
    DRLOG(kLogInfo, "Velune Token Changed, enabled=%@, reinitializing view", current ? "YES" : "NO");
    saveVeluneToken(current);
    setupInitialViewController();
  } else {
    DRLOG(kLogDebug, "Velune Token Matches");
  }
}

void NavController::saveVeluneToken(const std::optional<platform::IdentityToken>& token) {
  const auto preferences = platform::Platform::services()->standardPreferences;
  if (!preferences) {
    return;
  }
  if (token) {
    preferences->setObject(kUbiquityIdentityTokenKey, platform::Value(token->archivedData()));
  } else {
    preferences->removeObject(kUbiquityIdentityTokenKey);
  }
}

std::shared_ptr<DocumentListController> NavController::getTopDocumentListController() {
  const auto top = topViewController();
  if (!top) {
    DRLOG(kLogWarning, "ERROR: topViewController is nil");
    return nullptr;
  }
  return std::dynamic_pointer_cast<DocumentListController>(top);
}

void NavController::navigationControllerDidShowViewController(ui::NavigationStackController& /*navigationController*/,
                                                              const std::shared_ptr<ui::ViewController>& viewController,
                                                              bool /*animated*/) {
  auto listing = std::dynamic_pointer_cast<DocumentListController>(viewController);
  if (!listing) {
    return;
  }
  endPreview();
  if (editMode_) {
    editMode_ = listing->isEditing();
  }
  updateStatusUI(listing.get());
  initNewListController(*listing);
  setToolbarHidden(false, false);
}

void NavController::documentListControllerDidSelectContainerWithViewController(
    DocumentListController& listing, const std::shared_ptr<DocumentListController>& newListing) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (editMode_) {
    DRLOG(kLogWarning, "DLC Navigation not allowed while in edit mode");
    return;
  }
  if (!newListing) {
    return;
  }
  // A tap in the search results: the overlay is presented by the listing (or by this controller).
  std::shared_ptr<ui::ViewController> overlay = listing.presentedViewController();
  if (!std::dynamic_pointer_cast<platform::SearchOverlay>(overlay)) {
    overlay = presentedViewController();
  }
  if (std::dynamic_pointer_cast<platform::SearchOverlay>(overlay)) {
    overlay->dismissViewControllerAnimated(true);
    const auto folder = newListing->presentedURL();
    auto hierarchy = folder ? DocumentListController::listControllerHierarchyForURL(*folder) : std::nullopt;
    if (hierarchy) {
      std::vector<std::shared_ptr<ui::ViewController>> stack(hierarchy->begin(), hierarchy->end());
      setViewControllers(std::move(stack), false);
      return;
    }
    DRLOG(kLogErr, "Search folder tap: Couldn't build DLC stack for %@.", folder);
  }
  initNewListController(*newListing);
  pushViewController(newListing, true);
}

void NavController::endPreview() {
  if (itemManager_) {
    itemManager_->unregisterAsFilePresenter();
    itemManager_.reset();
  }
}

void NavController::replaceItemManager(std::int32_t previewMode) {
  if (itemManager_) {
    itemManager_->unregisterAsFilePresenter();
  }
  itemManager_ = PreviewItemManager::create();
  itemManager_->setMode(previewMode);
  itemManager_->setNavigationController(self());
}

bool NavController::showURLPreview(const std::optional<URL>& url, std::int32_t previewMode) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!url) {
    return false;
  }
  const auto syncURLs = platform::Platform::services()->syncURLs;
  if (!syncURLs || !syncURLs->relativePathToCloudRoot(*url)) {
    DRLOG(kLogDebug, "Preview URL is not in the Mobile Documents dir: %@", *url);
    return false;
  }
  std::optional<URL> folder;
  if (FileUtils::isDir(*url)) {
    folder = url->hasDirectoryPath() ? *url : URL::fileURLWithPath(url->path(), true);
  } else if (url->pathComponents().size() > 1) {
    folder = url->URLByDeletingLastPathComponent();
  }
  if (!folder) {
    DRLOG(kLogErr, "Can't get directory for %@. Not previewing", *url);
    return false;
  }
  DRLOG(kLogDebug, "Building DLC stack for %@", *folder);
  auto hierarchy = DocumentListController::listControllerHierarchyForURL(*folder);
  if (!hierarchy) {
    DRLOG(kLogErr, "Couldn't build DLC stack for %@. Not previewing", *folder);
    return false;
  }
  replaceItemManager(previewMode);
  auto item = DRItem::initWithURL(*url);
  if (!item) {
    return true;
  }
  std::vector<std::shared_ptr<ui::ViewController>> stack(hierarchy->begin(), hierarchy->end());
  if (auto page = itemManager_->prepareToPreviewItem(item)) {
    stack.push_back(page);
    setViewControllers(std::move(stack), true);
    itemManager_->finishPreviewingItem();
  } else {
    setViewControllers(std::move(stack), true);
  }
  return true;
}

void NavController::showPreview(const std::shared_ptr<DRItem>& item, std::int32_t previewMode) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!item) {
    return;
  }
  replaceItemManager(previewMode);
  itemManager_->previewItem(item);
}

void NavController::encodeRestorableStateWithCoder(ui::StateCoder& coder) {
  ui::NavigationStackController::encodeRestorableStateWithCoder(coder);
  if (itemManager_ && itemManager_->item() && !itemManager_->item()->url().isEmpty()) {
    coder.encodeObject(kRestorationURLKey, platform::Value(itemManager_->item()->url()));
    coder.encodeInteger(kRestorationPreviewModeKey, itemManager_->mode());
  }
}

void NavController::decodeRestorableStateWithCoder(const ui::StateCoder& coder) {
  ui::NavigationStackController::decodeRestorableStateWithCoder(coder);
  const platform::Value value = coder.decodeObject(kRestorationURLKey);
  const URL* url = value.asURL();
  // The saved state is a file of the home that anyone may have edited: a
  // document outside the drive (or reached through a link) is not opened.
  if (url != nullptr && !FileUtils::staysInsideDrive(*url)) {
    DRLOG(kLogNotice, "The restored document is not in the drive: %@", *url);
    return;
  }
  if (url == nullptr || !FileUtils::exists(*url) || !FileUtils::isFile(*url)) {
    return;
  }
  replaceItemManager(static_cast<std::int32_t>(coder.decodeInteger(kRestorationPreviewModeKey)));
  itemManager_->previewItem(DRItem::initWithURL(*url));
}

}  // namespace velune
