#include "platform/ui/Control.h"

#include <algorithm>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

void Control::setEnabled(bool enabled) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (enabled_ != enabled) {
    enabled_ = enabled;
    setNeedsDisplay();
  }
}

void Control::setSelected(bool selected) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  selected_ = selected;
  setNeedsDisplay();
}

Control::ActionId Control::addAction(ControlEvent event, Action action) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  const ActionId id = nextId_++;
  actions_.push_back(Registration{id, event, std::move(action)});
  return id;
}

void Control::removeAction(ActionId id) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  actions_.erase(std::remove_if(actions_.begin(), actions_.end(), [id](const auto& r) { return r.id == id; }),
                 actions_.end());
}

size_t Control::actionCount(ControlEvent event) const {
  return static_cast<size_t>(
      std::count_if(actions_.begin(), actions_.end(), [event](const auto& r) { return r.event == event; }));
}

void Control::sendActionsForControlEvent(ControlEvent event) {
  VELUNE_ASSERT_MAIN_THREAD();
  // An action may remove actions or release this control: work on a copy.
  auto self = shared_from_this();
  const auto registered = actions_;
  for (const auto& r : registered) {
    if (r.event == event && r.action) {
      r.action(*this);
    }
  }
}

bool Control::tap() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!enabled_ || !acceptsInput()) {
    return false;
  }
  sendActionsForControlEvent(ControlEvent::TouchUpInside);
  return true;
}

}  // namespace velune::ui
