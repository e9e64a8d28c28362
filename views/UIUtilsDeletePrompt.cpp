// The confirmation before a permanent deletion: it reads the item records of
// the URLs, so it lives apart from the rest of UIUtils.

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/ActionSheet.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ui/AlertController.h"
#include "views/UIUtils.h"

namespace velune {

using platform::localized;
using platform::localizedFormat;

std::optional<std::string> UIUtils::messageForDeletePrompt(const std::vector<platform::URL>& urls) {
  if (urls.size() == 1) {
    const auto item = DRItem::initWithURL(urls.front());
    if (!item || !item->localizedName() || item->localizedName()->empty()) {
      return std::nullopt;
    }
    if (item->isContainer()) {
      return localizedFormat(
          "The %@ app library, and all its documents, will be permanently deleted from Velune Drive on all your "
          "devices. This action cannot be undone.",
          *item->localizedName());
    }
    return localizedFormat(
        "\"%@\" will be permanently deleted from Velune Drive on all your devices. This action cannot be undone.",
        *item->localizedName());
  }
  const std::string count = localizedFormat(".DICT.ITEMS.%d", static_cast<int>(urls.size()));
  return localizedFormat(
      "%@ will be permanently deleted from Velune Drive on all your devices. This action cannot be undone.", count);
}

void UIUtils::showDeleteWarningAlert(const std::vector<platform::URL>& urls, bool /*hasContainer*/,
                                     const std::shared_ptr<ui::ViewController>& viewController,
                                     const std::shared_ptr<ui::View>& usingView,
                                     const std::shared_ptr<ui::BarButtonItem>& usingButton,
                                     DeleteCompletion completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (urls.empty()) {
    if (completion) {
      completion(nullptr, true);
    }
    return;
  }
  const auto message = messageForDeletePrompt(urls);
  if (!message) {
    // Nothing can be said about the item (it went away or cannot be read):
    // ask nothing and end the caller's flow as a cancellation.
    DRLOG(kLogWarning, "Delete: no confirmation text for %@, nothing deleted", urls);
    if (completion) {
      completion(nullptr, true);
    }
    return;
  }

  auto sheet = platform::ActionSheet::make(std::string(), *message);
  auto shared = std::make_shared<DeleteCompletion>(std::move(completion));
  sheet->addAction(ui::AlertAction::make(localized("Delete from Velune Drive"), ui::AlertActionStyle::Destructive,
                                         [shared](ui::AlertAction& action) {
                                           DRLOG(kLogDebug, "Delete action");
                                           if (*shared) {
                                             (*shared)(&action, false);
                                           }
                                         }));
  sheet->addAction(
      ui::AlertAction::make(localized("Cancel"), ui::AlertActionStyle::Cancel, [shared](ui::AlertAction& action) {
        DRLOG(kLogInfo, "Delete: Cancel pressed");
        if (*shared) {
          (*shared)(&action, true);
        }
      }));

  if (usingView) {
    platform::ActionSheet::anchorToView(*sheet, usingView);
  } else {
    platform::ActionSheet::anchorToBarButtonItem(*sheet, usingButton);
  }
  // Over what the screen already presents, if anything.
  const auto presenter = topmostPresenter(viewController);
  if (!presenter || !presenter->presentViewController(sheet, true)) {
    // No one can answer a sheet that is not shown: end the caller's flow
    // without deleting, as for a cancellation.
    DRLOG(kLogWarning, "Could not show the delete confirmation over %@", viewController);
    if (*shared) {
      (*shared)(nullptr, true);
    }
  }
}

}  // namespace velune
