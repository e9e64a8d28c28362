#pragma once
// BarButtonItem: an item of a navigation bar or a toolbar: a system item
// (spaces, cancel, action, trash, organize...), a plain title, or a custom
// view. tap() runs its action when it is enabled; spaces do nothing. A
// custom view that is a control is enabled and disabled with the item.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/ui/Element.h"

namespace velune::ui {

class View;

enum class BarButtonSystemItem {
  Done = 0,
  Cancel = 1,
  Edit = 2,
  Save = 3,
  Add = 4,
  FlexibleSpace = 5,
  FixedSpace = 6,
  Compose = 7,
  Reply = 8,
  Action = 9,
  Organize = 10,
  Bookmarks = 11,
  Search = 12,
  Refresh = 13,
  Stop = 14,
  Camera = 15,
  Trash = 16,
};

enum class BarButtonItemStyle { Plain = 0, Done = 2 };

class BarButtonItem : public Element {
 public:
  using Action = std::function<void(BarButtonItem&)>;

  static std::shared_ptr<BarButtonItem> withSystemItem(BarButtonSystemItem item, Action action = nullptr);
  static std::shared_ptr<BarButtonItem> withTitle(std::string title, BarButtonItemStyle style, Action action = nullptr);
  static std::shared_ptr<BarButtonItem> withCustomView(std::shared_ptr<View> view);

  std::string_view kind() const override { return "BarButtonItem"; }

  std::optional<BarButtonSystemItem> systemItem() const { return systemItem_; }
  bool isFlexibleSpace() const { return systemItem_ == BarButtonSystemItem::FlexibleSpace; }
  bool isSpace() const { return isFlexibleSpace() || systemItem_ == BarButtonSystemItem::FixedSpace; }
  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title);
  BarButtonItemStyle style() const { return style_; }
  const std::shared_ptr<View>& customView() const { return customView_; }
  // The width of a fixed space (0: the default of 8 points).
  double width() const { return width_; }
  void setWidth(double width);
  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled);
  void setAction(Action action) { action_ = std::move(action); }
  bool hasAction() const { return static_cast<bool>(action_); }

  // A person's tap; false when disabled, a space, or without an action.
  bool tap();

  // The name shown for the item: the title, or the system item's name.
  std::string displayName() const;
  std::string description() const;

  BarButtonItem();

 private:
  std::optional<BarButtonSystemItem> systemItem_;
  std::optional<std::string> title_;
  BarButtonItemStyle style_ = BarButtonItemStyle::Plain;
  std::shared_ptr<View> customView_;
  double width_ = 0;
  bool enabled_ = true;
  Action action_;
};

}  // namespace velune::ui
