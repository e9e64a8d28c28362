// NavController: deleting items after a confirmation. Documents and folders
// are removed with a coordinated delete; an application's container is
// emptied on the phone and on the server. Containers and other items are
// never deleted together, and the drive's own container never.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"
#include "views/UIUtils.h"

namespace velune {

using platform::DocumentListController;

void NavController::showWarningAndDeleteDocument() {
  auto top = getTopDocumentListController();
  if (!top) {
    return;
  }
  const auto selected = top->selectedItems();
  DRLOG(kLogInfo, "Pressed Delete after selecting %@ items: %@", selected.size(), selected);
  showWarningAndDeleteURLs(selected, nullptr, top, nullptr);
}

void NavController::showWarningAndDeleteURLs(const std::vector<platform::URL>& urls,
                                             const std::shared_ptr<ui::View>& usingView,
                                             const std::shared_ptr<DocumentListController>& listing,
                                             std::function<void()> finishedCompletion) {
  VELUNE_ASSERT_MAIN_THREAD();
  const std::size_t containers = numContainersInURLArray(urls);
  if (containers > 0 && containers < urls.size()) {
    DRLOG(kLogErr, "Not Deleting: mix of containers and items: %@", urls);
    if (finishedCompletion) {
      finishedCompletion();
    }
    return;
  }
  std::weak_ptr<NavController> weak = self();
  UIUtils::showDeleteWarningAlert(
      urls, containers > 0, self(), usingView, barButtonDeleteItem_,
      [weak, urls, listing, finishedCompletion = std::move(finishedCompletion)](const ui::AlertAction*,
                                                                                bool cancelled) {
        const auto strong = weak.lock();
        if (!strong) {
          if (finishedCompletion) {
            finishedCompletion();
          }
          return;
        }
        std::size_t failures = 0;
        std::optional<platform::Error> lastError;
        if (!cancelled) {
          if (listing) {
            strong->setEditModeAndUpdateUI(false, *listing);
          }
          for (const auto& url : urls) {
            strong->deleteOneItem(url, failures, lastError);
          }
        }
        if (finishedCompletion) {
          finishedCompletion();
        }
        const auto presenter = strong->topViewController();
        if (failures == 1) {
          UIUtils::showError(lastError, presenter ? presenter : strong);
        } else if (failures > 1) {
          UIUtils::showAlert(platform::localizedFormat(".DICT.CANNOT_DELETE_ITEMS.%d", static_cast<int>(failures)),
                             std::nullopt, presenter ? presenter : strong);
        }
      });
}

void NavController::deleteOneItem(const platform::URL& url, std::size_t& failures,
                                  std::optional<platform::Error>& lastError) {
  if (!VELUNE_SERVICE(syncURLs)->isDocumentsContainer(url)) {
    DRLOG(kLogInfo, "Deleting item %@", url);
    if (auto error = FileUtils::remove(url)) {
      DRLOG(kLogWarning, "Failed to delete URL %@: %@", url, error->description());
      lastError = std::move(error);
      ++failures;
    }
    return;
  }
  const auto containers = VELUNE_SERVICE(syncContainers);
  auto found = containers->containerForItemAtURL(url);
  if (!found.ok() || !found.value() || found.value()->identifier().empty()) {
    std::optional<platform::Error> lookupError;
    if (!found.ok()) {
      lookupError = found.error();
    }
    DRLOG(kLogWarning, "No container for URL %@: %@", url, lookupError);
    ++failures;
    return;
  }
  const auto& container = found.value();
  if (container->identifier() == containers->defaultContainerIdentifier()) {
    DRLOG(kLogErr, "NOT Deleting root container %@", container->description());
    ++failures;
    return;
  }
  DRLOG(kLogInfo, "Deleting container %@", container->description());
  if (auto error = container->deleteAllContentsOnClientAndServer()) {
    DRLOG(kLogWarning, "Failed to delete container %@: %@", container->description(), error->description());
    lastError = std::move(error);
    ++failures;
  }
}

}  // namespace velune
