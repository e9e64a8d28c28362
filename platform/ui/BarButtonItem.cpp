#include "platform/ui/BarButtonItem.h"

#include "platform/Format.h"
#include "platform/MainThread.h"
#include "platform/ui/Control.h"
#include "platform/ui/View.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

BarButtonItem::BarButtonItem() : Element("BarButtonItem") {}

std::shared_ptr<BarButtonItem> BarButtonItem::withSystemItem(BarButtonSystemItem item, Action action) {
  auto made = std::make_shared<BarButtonItem>();
  made->systemItem_ = item;
  made->action_ = std::move(action);
  return made;
}

std::shared_ptr<BarButtonItem> BarButtonItem::withTitle(std::string title, BarButtonItemStyle style, Action action) {
  auto made = std::make_shared<BarButtonItem>();
  made->title_ = std::move(title);
  made->style_ = style;
  made->action_ = std::move(action);
  return made;
}

std::shared_ptr<BarButtonItem> BarButtonItem::withCustomView(std::shared_ptr<View> view) {
  auto made = std::make_shared<BarButtonItem>();
  made->customView_ = std::move(view);
  return made;
}

void BarButtonItem::setTitle(std::optional<std::string> title) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  title_ = std::move(title);
}

void BarButtonItem::setWidth(double width) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  width_ = width;
}

void BarButtonItem::setEnabled(bool enabled) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  enabled_ = enabled;
  // A custom control answers taps itself: it follows the item, so that a
  // disabled item neither takes a tap nor is drawn as if it would.
  if (auto* control = dynamic_cast<Control*>(customView_.get())) {
    control->setEnabled(enabled);
  }
}

bool BarButtonItem::tap() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!enabled_ || isSpace() || !action_) {
    return false;
  }
  Action action = action_;  // the action may replace this item's action
  action(*this);
  return true;
}

std::string BarButtonItem::displayName() const {
  if (title_) {
    return *title_;
  }
  if (!systemItem_) {
    return customView_ ? std::string(customView_->kind()) : std::string();
  }
  switch (*systemItem_) {
    case BarButtonSystemItem::Done:
      return "Done";
    case BarButtonSystemItem::Cancel:
      return "Cancel";
    case BarButtonSystemItem::Edit:
      return "Edit";
    case BarButtonSystemItem::Save:
      return "Save";
    case BarButtonSystemItem::Add:
      return "Add";
    case BarButtonSystemItem::FlexibleSpace:
      return "FlexibleSpace";
    case BarButtonSystemItem::FixedSpace:
      return "FixedSpace";
    case BarButtonSystemItem::Compose:
      return "Compose";
    case BarButtonSystemItem::Reply:
      return "Reply";
    case BarButtonSystemItem::Action:
      return "Action";
    case BarButtonSystemItem::Organize:
      return "Organize";
    case BarButtonSystemItem::Bookmarks:
      return "Bookmarks";
    case BarButtonSystemItem::Search:
      return "Search";
    case BarButtonSystemItem::Refresh:
      return "Refresh";
    case BarButtonSystemItem::Stop:
      return "Stop";
    case BarButtonSystemItem::Camera:
      return "Camera";
    case BarButtonSystemItem::Trash:
      return "Trash";
  }
  return {};
}

std::string BarButtonItem::description() const {
  return platform::format("<BarButtonItem %@ %@%s>", identifier(), displayName(), enabled_ ? "" : " disabled");
}

}  // namespace velune::ui
