// NavController: making folders and moving items between folders. The two
// are one flow: when the items' container has no folder to move them to, the
// person names a new one instead of facing an empty picker, and the folder is
// made and the items moved into it in one step.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "model/NewFolderPrompt.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/MoveTargetPicker.h"
#include "platform/Platform.h"
#include "platform/ResourceKeys.h"
#include "platform/SyncContainer.h"
#include "platform/ui/AlertController.h"
#include "views/UIUtils.h"

namespace velune {

using platform::DocumentListController;
using platform::URL;

void NavController::promtForNewFolderAndCreate() {
  DRLOG(kLogInfo, "Pressed NewFolder");
  if (auto top = getTopDocumentListController()) {
    showNewFolderPromptDuringMove(top->presentedURL(), {});
  }
}

void NavController::showMoveTargetForSelectedItems() {
  DRLOG(kLogInfo, "Pressed Move");
  auto top = getTopDocumentListController();
  if (!top) {
    return;
  }
  const auto selected = top->selectedItems();
  setEditModeAndUpdateUI(false, *top);
  showMoveTargetForItems(selected, top->presentedURL());
}

void NavController::showMoveTargetForItems(const std::vector<URL>& urls, const std::optional<URL>& folder) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogInfo, "Prompting for Move Target, %d items", static_cast<int>(urls.size()));
  if (!folder || containerHasSubfolders(*folder)) {
    auto picker = platform::MoveTargetPicker::make(urls);
    picker->setDelegate(self());
    picker->setModalPresentationStyle(ui::ModalPresentationStyle::OverCurrentContext);
    presentViewController(picker, true, [] { DRLOG(kLogDebug, "Presented moveTarget"); });
    return;
  }
  showNewFolderPromptDuringMove(folder, urls);
}

bool NavController::containerHasSubfolders(const URL& url) {
  std::shared_ptr<platform::SyncContainer> container;
  if (FileUtils::containerAndRelativePathforURL(url, &container, nullptr) || !container) {
    return true;  // unknown: the picker shows what there is
  }
  const auto documents = container->documentsURL();
  if (!documents) {
    return false;
  }
  auto entries = VELUNE_SERVICE(fileSystem)
                     ->enumeratorAtURL(*documents,
                                       platform::kSkipsSubdirectoryDescendants | platform::kSkipsPackageDescendants |
                                           platform::kSkipsHiddenFiles,
                                       [](const URL& failed, const platform::Error& error) {
                                         DRLOG(kLogInfo, "Error enumerating %@: %@", failed, error);
                                         return true;
                                       });
  while (const auto entry = entries->nextObject()) {
    const platform::Value isDirectory = FileUtils::getResourceValue(platform::resource_keys::IsDirectory, *entry);
    if (isDirectory.isNumber() && isDirectory.boolValue()) {
      return true;
    }
  }
  return false;
}

void NavController::documentTargetSelectionControllerDidSelectItemAtURL(platform::MoveTargetPicker& picker,
                                                                        const URL& folder) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto items = picker.urlsToMove();
  picker.dismissViewControllerAnimated(true);
  moveItemsToDirectoryAndShowErrors(items, folder);
}

std::vector<platform::Error> NavController::moveItemsToDirectory(const std::vector<URL>& urls, const URL& folder) {
  DRLOG(kLogDebug, "MoveTarget = %@", folder);
  DRLOG(kLogDebug, "ItemsToMove = %@", urls);
  std::vector<platform::Error> errors;
  for (const auto& url : urls) {
    const URL destination = folder.URLByAppendingPathComponent(url.lastPathComponent(), false);
    if (auto error = FileUtils::move(url, destination)) {
      errors.push_back(std::move(*error));
    }
  }
  return errors;
}

void NavController::moveItemsToDirectoryAndShowErrors(const std::vector<URL>& urls, const URL& folder) {
  const auto errors = moveItemsToDirectory(urls, folder);
  const auto top = topViewController();
  const std::shared_ptr<ui::ViewController> presenter = top ? top : self();
  if (errors.size() == 1) {
    UIUtils::showError(errors.front(), presenter);
  } else if (errors.size() > 1) {
    UIUtils::showAlert(platform::localizedFormat(".DICT.CANNOT_MOVE_ITEMS.%d", static_cast<int>(errors.size())),
                       std::nullopt, presenter);
  }
}

void NavController::showNewFolderPromptDuringMove(const std::optional<URL>& folder, const std::vector<URL>& items) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!folder) {
    DRLOG(kLogWarning, "dlc.presentedURL is nil");
    return;
  }
  const bool moving = !items.empty();
  const std::string title = moving ? platform::localizedFormat(".DICT.MOVE_ITEMS.%d", static_cast<int>(items.size()))
                                   : platform::localized("New Folder");
  const std::string done = platform::localized(moving ? "Move" : "Create");
  std::weak_ptr<NavController> weak = self();
  folderPromptAlert_ = NewFolderPrompt::newWithTitle(
      title, done,
      [weak, folder = *folder, items](const std::string& name, bool& mayClose) -> std::optional<std::string> {
        if (name.empty()) {
          return std::nullopt;
        }
        const URL newFolder = folder.URLByAppendingPathComponent(name, true);
        if (FileUtils::exists(newFolder)) {
          DRLOG(kLogInfo, "Item exists at path: %@", newFolder);
          return UIUtils::bestMessage(platform::Error::platform(platform::ErrorCode::FileWriteFileExists));
        }
        if (auto error = FileUtils::mkdir(newFolder)) {
          return UIUtils::bestMessage(error);
        }
        const auto strong = weak.lock();
        if (items.empty() || !strong) {
          mayClose = true;
          return std::nullopt;
        }
        const auto errors = strong->moveItemsToDirectory(items, newFolder);
        if (errors.empty()) {
          mayClose = true;
          return std::nullopt;
        }
        // The new folder stays; the prompt stays open with what went wrong.
        if (errors.size() == 1) {
          return UIUtils::bestMessage(errors.front());
        }
        return platform::localizedFormat(".DICT.CANNOT_MOVE_ITEMS.%d", static_cast<int>(errors.size()));
      });
  presentViewController(folderPromptAlert_->alert(), true);
}

}  // namespace velune
