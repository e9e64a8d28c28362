#include "platform/ui/NavigationItem.h"

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

NavigationItem::NavigationItem() : Element("NavigationItem") {}

void NavigationItem::setTitle(std::optional<std::string> title) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  title_ = std::move(title);
}

std::shared_ptr<BarButtonItem> NavigationItem::rightBarButtonItem() const {
  return rightItems_.empty() ? nullptr : rightItems_.front();
}

void NavigationItem::setRightBarButtonItem(std::shared_ptr<BarButtonItem> item) {
  setRightBarButtonItems(item ? std::vector<std::shared_ptr<BarButtonItem>>{std::move(item)}
                              : std::vector<std::shared_ptr<BarButtonItem>>{});
}

void NavigationItem::setRightBarButtonItems(std::vector<std::shared_ptr<BarButtonItem>> items) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  rightItems_ = std::move(items);
}

std::shared_ptr<BarButtonItem> NavigationItem::leftBarButtonItem() const {
  return leftItems_.empty() ? nullptr : leftItems_.front();
}

void NavigationItem::setLeftBarButtonItem(std::shared_ptr<BarButtonItem> item) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  leftItems_ = item ? std::vector<std::shared_ptr<BarButtonItem>>{std::move(item)}
                    : std::vector<std::shared_ptr<BarButtonItem>>{};
}

void NavigationItem::setHidesBackButton(bool hides, bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  hidesBackButton_ = hides;
  backButtonAnimated_ = animated;
}

}  // namespace velune::ui
