// NavController: switching a listing in and out of edit mode, and the
// toolbar's edit actions.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncURLService.h"

namespace velune {

using platform::DocumentListController;

void NavController::beginEditMode() {
  DRLOG(kLogInfo, "Begin Edit mode");
  if (auto top = getTopDocumentListController()) {
    setEditModeAndUpdateUI(true, *top);
  }
}

void NavController::endEditMode() {
  auto top = getTopDocumentListController();
  const auto selected = top ? top->selectedItems() : std::vector<platform::URL>{};
  DRLOG(kLogDebug, "EndEditMode.  Selected %d items: %@", static_cast<int>(selected.size()), selected);
  if (top) {
    setEditModeAndUpdateUI(false, *top);
  }
}

void NavController::selectAllItems() {
  DRLOG(kLogInfo, "Pressed SelectAll");
  auto top = getTopDocumentListController();
  if (!top) {
    return;
  }
  DRLOG(kLogDebug, "DLC has %d contained items", static_cast<int>(top->containedItems().size()));
  top->setSelectedItems(top->containedItems());
  const auto selected = top->selectedItems();
  DRLOG(kLogDebug, "Selected all %d: %@", static_cast<int>(selected.size()), selected);
}

void NavController::setEditModeAndUpdateUI(bool editMode, DocumentListController& listing) {
  VELUNE_ASSERT_MAIN_THREAD();
  editMode_ = editMode;
  listing.setEditing(editMode, true);
  configureVisibleControllerForMode();
  if (editMode && barButtonNewFolder_) {
    barButtonNewFolder_->setEnabled(canEnableNewFolderForSelectedItems(listing));
  }
}

bool NavController::canShowMoveForSelectedItems(DocumentListController& listing) {
  const auto selected = listing.selectedItems();
  if (selected.empty() || numContainersInURLArray(selected) > 0) {
    return false;
  }
  if (containerSupportsAnyDepth(listing)) {
    return true;
  }
  // Where folders may not nest at any depth, a folder stays where it is.
  return numFoldersInURLArray(selected) == 0;
}

bool NavController::canShowDeleteForSelectedItems(DocumentListController& listing) {
  const auto selected = listing.selectedItems();
  if (selected.empty()) {
    return false;
  }
  const auto containers = numContainersInURLArray(selected);
  return containers == 0 || containers == selected.size();
}

namespace {

// The container of the folder a listing shows and the folder's depth below
// the container's documents folder; nothing (logged) when there is none.
std::shared_ptr<platform::SyncContainer> containerOfListing(DocumentListController& listing, std::size_t* depth) {
  const auto folder = listing.presentedURL();
  std::shared_ptr<platform::SyncContainer> container;
  std::vector<std::string> components;
  std::optional<platform::Error> error =
      folder ? FileUtils::containerAndRelativePathforURL(*folder, &container, &components) : std::nullopt;
  if (error || !container) {
    DRLOG(kLogErr, "Couldn't get container for URL %@: %@", folder, error);
    return nullptr;
  }
  if (depth != nullptr) {
    *depth = components.size();
  }
  return container;
}

}  // namespace

bool NavController::canEnableNewFolderForSelectedItems(DocumentListController& listing) {
  std::size_t depth = 0;
  const auto container = containerOfListing(listing, &depth);
  if (!container) {
    return false;
  }
  const auto& option = container->supportedFolderLevels();
  const std::string& identifier = container->identifier();
  if (option.isNull()) {
    DRLOG(kLogDebug, "Container %@ has no depth. Enabling new folder button", identifier);
    return true;
  }
  const std::string* value = option.asString();
  if (value != nullptr && *value == platform::kSupportedFolderLevelsNone) {
    DRLOG(kLogDebug, "Container %@ supports no folders. Disabling new folder button", identifier);
    return false;
  }
  if (value != nullptr && *value == platform::kSupportedFolderLevelsAny) {
    DRLOG(kLogDebug, "Container %@ supports any folder. Enabling new folder button", identifier);
    return true;
  }
  if (value != nullptr && *value == platform::kSupportedFolderLevelsOne) {
    if (depth == 0) {
      DRLOG(kLogDebug, "Container %@ supports one folder. File is depth 0. Enabling new folder button", identifier);
      return true;
    }
    DRLOG(kLogDebug, "Container %@ supports one folder. File is depth %u. Disabling new folder button", identifier,
          static_cast<unsigned>(depth));
    return false;
  }
  DRLOG(kLogWarning, "Container %@ has unknown depth option %@. Disabling new folder button", identifier, option);
  return false;
}

bool NavController::containerSupportsAnyDepth(DocumentListController& listing) {
  const auto container = containerOfListing(listing, nullptr);
  if (!container) {
    return false;
  }
  const auto& option = container->supportedFolderLevels();
  if (option.isNull()) {
    DRLOG(kLogDebug, "Container %@ has no depth. Enabling new folder button", container->identifier());
    return true;
  }
  if (const std::string* value = option.asString(); value != nullptr && *value == platform::kSupportedFolderLevelsAny) {
    DRLOG(kLogDebug, "Container %@ supports any folder. Enabling new folder button", container->identifier());
    return true;
  }
  return false;
}

std::size_t NavController::numContainersInURLArray(const std::vector<platform::URL>& urls) {
  const auto syncURLs = VELUNE_SERVICE(syncURLs);
  std::size_t count = 0;
  for (const auto& url : urls) {
    if (syncURLs->isDocumentsContainer(url)) {
      ++count;
    }
  }
  return count;
}

std::size_t NavController::numFoldersInURLArray(const std::vector<platform::URL>& urls) {
  for (const auto& url : urls) {
    const auto item = DRItem::initWithURL(url);
    if (item && item->isDirectory() && !item->isPackage()) {
      return 1;
    }
  }
  return 0;
}

}  // namespace velune
