#include "platform/DocumentListController.h"

#include <algorithm>

#include "platform/MainThread.h"

namespace velune::platform {

DocumentListController::DocumentListController() : ui::ViewController("DocumentListController") {}

void DocumentListController::setContainedItems(std::vector<URL> items) {
  VELUNE_ASSERT_MAIN_THREAD();
  containedItems_ = std::move(items);
  // The selection never holds items that are gone.
  std::vector<URL> kept;
  for (const auto& url : selectedItems_) {
    if (std::find(containedItems_.begin(), containedItems_.end(), url) != containedItems_.end()) {
      kept.push_back(url);
    }
  }
  selectedItems_ = std::move(kept);
  itemsChanged();
}

void DocumentListController::setSelectedItems(std::vector<URL> items) {
  VELUNE_ASSERT_MAIN_THREAD();
  std::vector<URL> kept;
  for (auto& url : items) {
    if (std::find(containedItems_.begin(), containedItems_.end(), url) != containedItems_.end() &&
        std::find(kept.begin(), kept.end(), url) == kept.end()) {
      kept.push_back(std::move(url));
    }
  }
  selectedItems_ = std::move(kept);
  itemsChanged();
}

void DocumentListController::setEditing(bool editing, bool animated) {
  ui::ViewController::setEditing(editing, animated);
  if (!editing && !selectedItems_.empty()) {
    selectedItems_.clear();
    itemsChanged();
  }
}

void DocumentListController::itemsChanged() {
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    d->documentListControllerItemsChanged(*this);
  }
}

}  // namespace velune::platform
