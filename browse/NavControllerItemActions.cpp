// NavController: what a listing reports when a document is tapped or a row
// action is chosen.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "platform/DispatchQueue.h"
#include "platform/Error.h"
#include "platform/MainThread.h"
#include "views/UIUtils.h"

namespace velune {

using platform::DocumentListController;
using platform::DocumentListRowAction;

// A tapped document goes to its default application when one opens it in
// place; otherwise it is previewed, as a separate task after the tap.
void NavController::documentListControllerDidSelectItemAtURL(DocumentListController& /*listing*/,
                                                             const platform::URL& url) {
  VELUNE_ASSERT_MAIN_THREAD();
  DRLOG(kLogDebug, "Picked URL: %@", url);
  auto item = DRItem::initWithURL(url);
  if (!item) {
    // The file vanished under the listing: say so and rebuild the stack behind the alert.
    UIUtils::showError(platform::Error::platform(platform::ErrorCode::FileReadNoSuchFile), self());
    platform::DispatchQueue::main()->async([weak = std::weak_ptr<NavController>(self())] {
      if (auto strong = weak.lock()) {
        strong->setupInitialViewController();
      }
    });
    return;
  }
  if (editMode_) {
    DRLOG(kLogDebug, "DLC Selection not allowed while in edit mode");
    return;
  }
  LaunchUtils::openInDefaultApp(item->url(), true, [this, &item](bool opened) {
    if (opened) {
      DRLOG(kLogDebug, "openInDefaultApp returned YES, app launched");
      return;
    }
    DRLOG(kLogDebug, "openInDefaultApp returned NO, showing preview");
    platform::DispatchQueue::main()->async([weak = std::weak_ptr<NavController>(self()), item] {
      if (auto strong = weak.lock()) {
        strong->showPreview(item, 0);
      }
    });
  });
}

// Row actions: delete (0) and details (2) are handled; the actions menu (1)
// and rename (3) are not written yet and end at once, calling the listing's
// completion except for rename, which never calls it.
void NavController::documentListControllerPerformAction(DocumentListController& /*listing*/,
                                                        DocumentListRowAction action, const platform::URL& url,
                                                        const std::shared_ptr<ui::View>& originatingView,
                                                        std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  switch (action) {
    case DocumentListRowAction::Delete:
      performActionCompletionBlock_ = completion;
      showWarningAndDeleteURLs({url}, originatingView, nullptr, [completion] {
        if (completion) {
          completion();
        }
      });
      return;
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
