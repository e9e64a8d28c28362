// NavController: switching a listing in and out of edit mode, and the
// toolbar's edit actions.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "platform/MainThread.h"

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

// Which selections may be moved or deleted, and where a folder may be made,
// depends on the containers' folder-depth rules; those rules are not written
// yet, so the three edit buttons stay disabled.
bool NavController::canShowMoveForSelectedItems(DocumentListController& /*listing*/) { return false; }
bool NavController::canShowDeleteForSelectedItems(DocumentListController& /*listing*/) { return false; }
bool NavController::canEnableNewFolderForSelectedItems(DocumentListController& /*listing*/) { return false; }

// The flows behind the toolbar's edit buttons (the new-folder prompt, the
// move target picker, the delete confirmation) are not written yet; the
// buttons are wired here and do nothing.
void NavController::promtForNewFolderAndCreate() {}
void NavController::showMoveTargetForSelectedItems() {}
void NavController::showWarningAndDeleteDocument() {}

}  // namespace velune
