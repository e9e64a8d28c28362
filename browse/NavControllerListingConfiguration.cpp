// NavController: how every listing is configured (title, navigation bar,
// toolbar, row actions) and the status line with the item count and the free
// storage.

#include <cstdlib>

#include "app/DocumentListControllerStatusBar.h"
#include "app/Settings.h"
#include "app/StatusBar.h"
#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "diag/QuotaFetcher.h"
#include "model/FileUtils.h"
#include "platform/ByteCountFormatter.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ResourceKeys.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"

namespace velune {

using platform::DocumentListController;

namespace {

// The last contained-item count that was logged, for the whole process; the
// all-ones value first, so that the first count is always logged.
std::uint32_t lastLoggedItemCount = 0xFFFFFFFFU;

}  // namespace

void NavController::initNewListController(DocumentListController& listing) {
  VELUNE_ASSERT_MAIN_THREAD();
  viewTitle_ = listing.title().value_or(std::string());
  DRLOG(kLogDebug, "DLC title: %@", viewTitle_);
  const auto folder = listing.presentedURL();
  DRLOG(kLogDebug, "DLC URL: %@", folder);
  const auto value = [&folder](const char* key) {
    return folder ? FileUtils::getResourceValue(key, *folder) : platform::Value();
  };
  DRLOG(kLogDebug, "DLC Name: %@", value(platform::resource_keys::LocalizedName));
  DRLOG(kLogDebug, "DLC UTI: %@", value(platform::resource_keys::TypeIdentifier));
  DRLOG(kLogDebug, "DLC Type: %@", value(platform::resource_keys::LocalizedTypeDescription));
  DRLOG(kLogDebug, "DLC has %d items: %@", static_cast<int>(listing.containedItems().size()), listing.containedItems());
  // Delete, actions menu and details (7): the mask for quick launch, which is
  // always on (Settings::quickLaunch()); then rename, added to what the listing keeps.
  using Available = platform::DocumentListAvailableActions;
  listing.setAvailableActions(Available::Delete | Available::ActionsMenu | Available::Details);
  listing.setAvailableActions(listing.availableActions() | Available::Rename);
  configureNavBar(listing);
  if (!listing.title() || listing.title()->empty()) {
    DRLOG(kLogWarning, "Warning: newList title not set");
  }
  listing.view()->setBackgroundColor(Settings::backgroundColor());
  configureToolbar(listing);
  listing.setDelegate(self());
}

void NavController::configureNavBar(DocumentListController& listing) {
  auto& item = listing.navigationItem();
  std::weak_ptr<NavController> weak = self();
  if (editMode_) {
    auto cancel = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Cancel, [weak](ui::BarButtonItem&) {
      if (auto strong = weak.lock()) {
        strong->endEditMode();
      }
    });
    cancel->setIdentifier(listing.identifier() + ".cancel");
    item.setRightBarButtonItem(cancel);
    item.setHidesBackButton(true, false);
    listing.setTitle(platform::localized("Select Items"));
  } else {
    auto select = ui::BarButtonItem::withTitle(platform::localized("Select"), ui::BarButtonItemStyle::Plain,
                                               [weak](ui::BarButtonItem&) {
                                                 if (auto strong = weak.lock()) {
                                                   strong->beginEditMode();
                                                 }
                                               });
    select->setIdentifier(listing.identifier() + ".select");
    item.setRightBarButtonItem(select);
    item.setHidesBackButton(false, false);
    listing.setTitle(viewTitle_);
  }
  updateBars();
}

void NavController::configureToolbar(DocumentListController& listing) {
  barButtonNewFolder_.reset();
  barButtonDeleteItem_.reset();
  barButtonMoveItem_.reset();
  if (editMode_) {
    std::weak_ptr<NavController> weak = self();
    const auto makeButton = [&](const char* title, const std::string& name, void (NavController::*action)()) {
      auto button = ui::Button::buttonWithType(ui::ButtonType::System);
      button->setIdentifier(listing.identifier() + "." + name);
      button->setTitle(platform::localized(title), ui::ControlState::Normal);
      button->setAccessibilityLabel(platform::localized(title));
      button->sizeToFit();
      button->addAction(ui::ControlEvent::TouchUpInside, [weak, action](ui::Control&) {
        if (auto strong = weak.lock()) {
          ((*strong).*action)();
        }
      });
      return ui::BarButtonItem::withCustomView(button);
    };
    barButtonNewFolder_ = makeButton("New Folder", "newFolder", &NavController::promtForNewFolderAndCreate);
    barButtonMoveItem_ = makeButton("Move", "move", &NavController::showMoveTargetForSelectedItems);
    barButtonDeleteItem_ = makeButton("Delete", "delete", &NavController::showWarningAndDeleteDocument);
    const auto space = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace);
    listing.setToolbarItems({barButtonNewFolder_, space, barButtonMoveItem_, space, barButtonDeleteItem_});
  } else {
    if (!StatusBar::statusBar(listing)) {
      StatusBar::createStatusBar(listing);
    }
    StatusBar::displayStatusBar(listing);
    updateStatusUI(&listing);
  }
  updateBars();
}

void NavController::configureVisibleControllerForMode() {
  auto top = getTopDocumentListController();
  if (!top) {
    return;
  }
  configureNavBar(*top);
  configureToolbar(*top);
  updateStatusUI(top.get());
}

void NavController::updateStatusUI(DocumentListController* listing) {
  if (!pickerIsAlive_) {
    return;
  }
  std::shared_ptr<DocumentListController> top;
  if (listing == nullptr) {
    top = getTopDocumentListController();
    listing = top.get();
  }
  if (listing == nullptr) {
    return;
  }
  if (const auto bar = StatusBar::statusBar(*listing); bar && bar->statusLabel()) {
    bar->statusLabel()->setText(toolbarStatusText(static_cast<std::uint32_t>(listing->containedItems().size())));
    bar->statusLabel()->sizeToFit();
  }
  if (editMode_) {
    const size_t selected = listing->selectedItemCount();
    listing->setTitle(selected > 0 ? platform::localizedFormat(".DICT.ITEMS_SELECTED.%d", static_cast<int>(selected))
                                   : platform::localized("Select Items"));
    if (barButtonMoveItem_) {
      barButtonMoveItem_->setEnabled(canShowMoveForSelectedItems(*listing));
    }
    if (barButtonDeleteItem_) {
      barButtonDeleteItem_->setEnabled(canShowDeleteForSelectedItems(*listing));
    }
  }
  updateBars();
}

std::string NavController::toolbarStatusText(std::uint32_t count) const {
  const std::string items = platform::localizedFormat(".DICT.ITEMS.%d", count);
  if (okToShowQuota()) {
    return platform::localizedFormat("%1$@, %2$@", items, quotaAvailableString());
  }
  return items;
}

std::string NavController::quotaAvailableString() const {
  using platform::ByteCountFormatter;
  const auto bytes = static_cast<std::int64_t>(std::min<std::uint64_t>(quotaBytes_, INT64_MAX));
  const std::string withUnit = ByteCountFormatter::stringFromByteCount(bytes, ByteCountFormatter::CountStyle::Memory);
  const std::string number =
      ByteCountFormatter::stringFromByteCount(bytes, ByteCountFormatter::CountStyle::Memory, false);
  const double value = std::strtod(number.c_str(), nullptr);
  return platform::localizedFormat(".DICT.AVAILABLE.%g", value, withUnit);
}

void NavController::quotaFetcherDidUpdateValue(QuotaFetcher& /*fetcher*/, std::uint64_t bytesAvailable) {
  VELUNE_ASSERT_MAIN_THREAD();
  quotaBytes_ = bytesAvailable;
  lastQuotaFetch_ = platform::Date::now();
  DRLOG(kLogDebug, "updated quota at %@: %@ bytes avail", *lastQuotaFetch_, bytesAvailable);
  updateStatusUI(nullptr);
}

void NavController::documentListControllerItemsChanged(DocumentListController& listing) {
  VELUNE_ASSERT_MAIN_THREAD();
  pickerIsAlive_ = true;
  const auto top = topViewController();
  if (top.get() != &listing) {
    return;
  }
  if (editMode_) {
    DRLOG(kLogDebug, "DLC selected item count is %@", listing.selectedItemCount());
  } else {
    const auto count = static_cast<std::uint32_t>(listing.containedItems().size());
    if (count != lastLoggedItemCount) {
      lastLoggedItemCount = count;
      DRLOG(kLogDebug, "DLC items changed, count is %@", count);
    }
  }
  updateStatusUI(&listing);
}

}  // namespace velune
