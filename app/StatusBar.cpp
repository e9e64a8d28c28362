#include "app/StatusBar.h"

#include "app/DocumentListControllerStatusBar.h"
#include "platform/DocumentListController.h"
#include "platform/MainThread.h"

namespace velune {

std::shared_ptr<DocumentListControllerStatusBar> StatusBar::statusBar(const platform::DocumentListController& listing) {
  return std::static_pointer_cast<DocumentListControllerStatusBar>(listing.associatedObject(kStatusBarAssociationKey));
}

void StatusBar::setStatusBar(platform::DocumentListController& listing,
                             std::shared_ptr<DocumentListControllerStatusBar> statusBar) {
  VELUNE_ASSERT_MAIN_THREAD();
  listing.setAssociatedObject(kStatusBarAssociationKey, std::move(statusBar));
}

void StatusBar::createStatusBar(platform::DocumentListController& listing) {
  VELUNE_ASSERT_MAIN_THREAD();
  auto made = std::make_shared<DocumentListControllerStatusBar>();
  setStatusBar(listing, made);
  made->createStatusBar();
}

void StatusBar::displayStatusBar(platform::DocumentListController& listing) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto bar = statusBar(listing);
  listing.setToolbarItems(bar ? bar->toolbarItems() : std::vector<std::shared_ptr<ui::BarButtonItem>>{});
}

}  // namespace velune
