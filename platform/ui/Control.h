#pragma once
// Control: a view that people act on (buttons, text fields). Actions are
// registered per event and run, in the order they were added, when the event
// is sent. An action that refers to its owner should capture it weakly.
// tap() sends touch-up-inside when the control is enabled and can take input.

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/ui/View.h"

namespace velune::ui {

enum class ControlEvent { TouchUpInside, ValueChanged, EditingDidBegin, EditingChanged, EditingDidEnd, EditingDidEndOnExit };

class Control : public View {
 public:
  using Action = std::function<void(Control&)>;
  using ActionId = std::uint64_t;

  explicit Control(Rect frame = Rect()) : Control(frame, "Control") {}

  std::string_view kind() const override { return "Control"; }

  bool isEnabled() const { return enabled_; }
  virtual void setEnabled(bool enabled);
  bool isSelected() const { return selected_; }
  void setSelected(bool selected);

  ActionId addAction(ControlEvent event, Action action);
  void removeAction(ActionId id);
  // How many actions are registered for an event.
  size_t actionCount(ControlEvent event) const;
  void sendActionsForControlEvent(ControlEvent event);

  bool tap() override;

 protected:
  Control(Rect frame, std::string_view kind) : View(frame, kind) {}

 private:
  struct Registration {
    ActionId id;
    ControlEvent event;
    Action action;
  };
  bool enabled_ = true;
  bool selected_ = false;
  std::vector<Registration> actions_;
  ActionId nextId_ = 1;
};

}  // namespace velune::ui
