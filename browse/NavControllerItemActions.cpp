// NavController: what a listing reports when a document is tapped or a row
// action is chosen.

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "model/RenamePrompt.h"
#include "platform/ActionSheet.h"
#include "platform/DispatchQueue.h"
#include "platform/Error.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ShareMenuController.h"
#include "platform/ui/AlertController.h"
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

// The listing's completion ends every action, directly or through the flow
// it starts, except rename (3), which never calls it.
void NavController::documentListControllerPerformAction(DocumentListController& listing, DocumentListRowAction action,
                                                        const platform::URL& url,
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
      showActionsMenuFromView(originatingView, url, listing.presentedURL(), std::move(completion));
      return;
    case DocumentListRowAction::Details:
      showPreview(DRItem::initWithURL(url), 1);
      break;
    case DocumentListRowAction::Rename:
      DRLOG(kLogInfo, "Rename action: %@", url);
      showRenamePrompt(url);
      return;
    default:
      DRLOG(kLogWarning, "performAction:%@ -- unexpected value", static_cast<int>(action));
      break;
  }
  if (completion) {
    completion();
  }
}

void NavController::documentListControllerPerformAction(DocumentListController& listing, DocumentListRowAction action,
                                                        const platform::URL& url) {
  documentListControllerPerformAction(listing, action, url, view(), [] {});
}

void NavController::showActionsMenuFromView(const std::shared_ptr<ui::View>& view, const platform::URL& url,
                                            const std::optional<platform::URL>& presentedURL,
                                            std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto item = DRItem::initWithURL(url);
  if (!item) {
    return;
  }
  // Every entry ends with the listing's completion; it is shared by them.
  const auto done = std::make_shared<std::function<void()>>(std::move(completion));
  const auto finish = [done] {
    if (*done) {
      (*done)();
    }
  };
  std::weak_ptr<NavController> weak = self();
  auto sheet = platform::ActionSheet::make(std::nullopt, std::nullopt);
  std::vector<std::shared_ptr<ui::AlertAction>> entries;
  auto rename = ui::AlertAction::make(platform::localized("Rename Item…"), ui::AlertActionStyle::Default,
                                      [weak, url, finish](ui::AlertAction&) {
                                        if (const auto strong = weak.lock()) {
                                          strong->showRenamePrompt(url);
                                        }
                                        finish();
                                      });
  rename->setEnabled(item->renameable());
  entries.push_back(rename);
  if (!item->isDirectory()) {
    entries.push_back(ui::AlertAction::make(platform::localized("Share Item…"), ui::AlertActionStyle::Default,
                                            [weak, view, url, done, finish](ui::AlertAction&) {
                                              if (const auto strong = weak.lock()) {
                                                strong->showDIC(view, url, *done);
                                              }
                                              finish();
                                            }));
  }
  if (!item->isContainer() && containerHasSubfolders(url)) {
    entries.push_back(ui::AlertAction::make(platform::localized("Move to Folder…"), ui::AlertActionStyle::Default,
                                            [weak, url, presentedURL, finish](ui::AlertAction&) {
                                              if (const auto strong = weak.lock()) {
                                                strong->showMoveTargetForItems({url}, presentedURL);
                                              }
                                              finish();
                                            }));
  }
  for (const auto& entry : entries) {
    // An application's library is neither renamed, shared nor moved from here.
    if (item->isContainer()) {
      entry->setEnabled(false);
    }
    sheet->addAction(entry);
  }
  sheet->addAction(ui::AlertAction::make(platform::localized("Cancel"), ui::AlertActionStyle::Cancel,
                                         [finish](ui::AlertAction&) { finish(); }));
  platform::ActionSheet::anchorToView(*sheet, view);
  presentViewController(sheet, true);
}

void NavController::showDIC(const std::shared_ptr<ui::View>& view, const platform::URL& url,
                            std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (url.isEmpty() || !url.isFileURL()) {
    // Only a file's URL can be shared.
    DRLOG(kLogWarning, "showDIC: url is wrong class: %@", url.isEmpty() ? std::string("(empty URL)") : url.scheme());
    return;
  }
  DRLOG(kLogInfo, "showDIC: %@", url);
  performActionCompletionBlock_ = std::move(completion);
  const ui::Rect rect = platform::ActionSheet::middleOfBounds(view);
  documentInteractionController_ = platform::ShareMenuController::interactionControllerWithURL(url);
  documentInteractionController_->presentOptionsMenuFromRect(rect, view ? view : this->view(), self(), true);
}

void NavController::showRenamePrompt(const platform::URL& url) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto item = DRItem::initWithURL(url);
  if (!item) {
    return;
  }
  folderPromptAlert_ =
      RenamePrompt::newWithFilename(item->localizedName().value_or(url.lastPathComponent()),
                                    [url](const std::string& name, bool& mayClose) -> std::optional<std::string> {
                                      if (name.empty()) {
                                        return std::nullopt;
                                      }
                                      const auto error = UIUtils::renameItemAtURL(url, name);
                                      mayClose = !error;
                                      return UIUtils::bestMessage(error);
                                    });
  presentViewController(folderPromptAlert_->alert(), true);
}

}  // namespace velune
