// NavController: what a listing reports when a document is tapped or a row
// action is chosen.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"

namespace velune {

using platform::DocumentListController;
using platform::DocumentListRowAction;

// Opening a tapped document (in its default application, else in the
// preview) is not written yet: the tap is logged and the item read, and the
// preview item manager is asked to preview it, which shows nothing yet.
void NavController::documentListControllerDidSelectItemAtURL(DocumentListController& /*listing*/,
                                                             const platform::URL& url) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogDebug, "Picked URL: %@", url);
  if (editMode_) {
    DRLOG(kLogDebug, "DLC Selection not allowed while in edit mode");
    return;
  }
  auto item = DRItem::initWithURL(url);
  if (!item) {
    return;
  }
  platform::DispatchQueue::main()->async([weak = std::weak_ptr<NavController>(self()), item] {
    if (auto strong = weak.lock()) {
      strong->showPreview(item, 0);
    }
  });
}

// Of the row actions only the details page (2) is handled, through the
// preview item manager; delete (0), the actions menu (1) and rename (3) are
// not written yet and end at once, calling the listing's completion except
// for rename, which never calls it.
void NavController::documentListControllerPerformAction(DocumentListController& /*listing*/,
                                                        DocumentListRowAction action, const platform::URL& url,
                                                        const std::shared_ptr<ui::View>& /*originatingView*/,
                                                        std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  switch (action) {
    case DocumentListRowAction::Delete:
      performActionCompletionBlock_ = completion;
      break;
    case DocumentListRowAction::ActionsMenu:
      break;
    case DocumentListRowAction::Details:
      showPreview(DRItem::initWithURL(url), 1);
      break;
    case DocumentListRowAction::Rename:
      DRLOG(kLogInfo, "Rename action: %@", url);
      return;
    default:
      DRLOG(kLogWarning, "performAction:%@ -- unexpected value", static_cast<int>(action));
      break;
  }
  if (completion) {
    completion();
  }
}

void NavController::documentListControllerPerformAction(DocumentListController& listing,
                                                        DocumentListRowAction action, const platform::URL& url) {
  documentListControllerPerformAction(listing, action, url, view(), [] {});
}

}  // namespace velune
