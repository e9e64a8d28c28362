#pragma once
// NavigationItem: what a view controller shows in the navigation bar while it
// is on top: its title, its left and right items, and whether the back button
// is hidden.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Element.h"

namespace velune::ui {

class NavigationItem : public Element {
 public:
  NavigationItem();

  std::string_view kind() const override { return "NavigationItem"; }

  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title);

  // The first right item (the outermost), or null.
  std::shared_ptr<BarButtonItem> rightBarButtonItem() const;
  void setRightBarButtonItem(std::shared_ptr<BarButtonItem> item);
  // Outermost first.
  const std::vector<std::shared_ptr<BarButtonItem>>& rightBarButtonItems() const { return rightItems_; }
  void setRightBarButtonItems(std::vector<std::shared_ptr<BarButtonItem>> items);
  std::shared_ptr<BarButtonItem> leftBarButtonItem() const;
  void setLeftBarButtonItem(std::shared_ptr<BarButtonItem> item);

  bool hidesBackButton() const { return hidesBackButton_; }
  void setHidesBackButton(bool hides, bool animated);
  // Whether the last change of the back button was animated.
  bool lastBackButtonChangeAnimated() const { return backButtonAnimated_; }

 private:
  std::optional<std::string> title_;
  std::vector<std::shared_ptr<BarButtonItem>> rightItems_;
  std::vector<std::shared_ptr<BarButtonItem>> leftItems_;
  bool hidesBackButton_ = false;
  bool backButtonAnimated_ = false;
};

}  // namespace velune::ui
