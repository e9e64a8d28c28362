#pragma once
// ScreenEventDispatcher: applies a ScreenEvent to the UI model of a window,
// as a person's finger would: tap() on the view, bar item or alert action
// named by the event, typeText()/pressReturn() on a text field, the back
// button of the navigation stack, a tap outside a popover (which, for an
// action sheet, chooses its cancel action), a scroll of a list.
//
// Elements are found by identifier among the window's views, the items of
// its navigation bars and toolbars, and the actions of presented alerts.
// A rotation is handed to the `rotate` hook (the phone's settings decide the
// screen; see PhoneControls).
//
// Main thread only: the server queues events onto the main run loop.

#include <functional>
#include <memory>
#include <string>

#include "shell/ScreenEvent.h"

namespace velune::ui {
class Window;
}

namespace velune::shell {

class ScreenEventDispatcher {
 public:
  enum class Status { Handled, NoSuchElement, Ignored };
  struct Outcome {
    Status status = Status::Ignored;
    std::string reason;  // why not, for the page and the log
  };

  using RotateHook = std::function<bool(ui::InterfaceOrientation)>;
  void setRotateHook(RotateHook hook) { rotate_ = std::move(hook); }

  Outcome apply(const ScreenEvent& event, const std::shared_ptr<ui::Window>& window) const;

 private:
  RotateHook rotate_;
};

}  // namespace velune::shell
