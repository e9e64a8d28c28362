#include "shell/ScreenEventDispatcher.h"

#include "platform/MainThread.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ListViewCell.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"

namespace velune::shell {

namespace {

using Outcome = ScreenEventDispatcher::Outcome;
using Status = ScreenEventDispatcher::Status;

Outcome handled(bool done, const char* whyNot) {
  return done ? Outcome{Status::Handled, {}} : Outcome{Status::Ignored, whyNot};
}

Outcome noSuchElement(const std::string& id) { return Outcome{Status::NoSuchElement, "no element " + id.substr(0, 128)}; }

// Every controller on screen, presented ones after their presenters.
void collectControllers(const std::shared_ptr<ui::ViewController>& controller,
                        std::vector<std::shared_ptr<ui::ViewController>>& out) {
  if (!controller) {
    return;
  }
  out.push_back(controller);
  for (const auto& child : controller->childViewControllers()) {
    collectControllers(child, out);
  }
  collectControllers(controller->presentedViewController(), out);
}

std::vector<std::shared_ptr<ui::ViewController>> controllersOf(const ui::Window& window) {
  std::vector<std::shared_ptr<ui::ViewController>> out;
  collectControllers(window.rootViewController(), out);
  return out;
}

std::shared_ptr<ui::BarButtonItem> findBarItem(const std::vector<std::shared_ptr<ui::ViewController>>& controllers,
                                               const std::string& id) {
  for (const auto& controller : controllers) {
    auto& item = controller->navigationItem();
    std::vector<std::shared_ptr<ui::BarButtonItem>> candidates = item.rightBarButtonItems();
    if (auto left = item.leftBarButtonItem()) {
      candidates.push_back(left);
    }
    candidates.insert(candidates.end(), controller->toolbarItems().begin(), controller->toolbarItems().end());
    if (auto* stack = dynamic_cast<ui::NavigationStackController*>(controller.get()); stack && stack->isViewLoaded()) {
      candidates.insert(candidates.end(), stack->toolbar().items().begin(), stack->toolbar().items().end());
    }
    for (const auto& candidate : candidates) {
      if (candidate->identifier() == id) {
        return candidate;
      }
    }
  }
  return nullptr;
}

struct FoundAction {
  std::shared_ptr<ui::AlertController> alert;
  std::shared_ptr<ui::AlertAction> action;
};

FoundAction findAlertAction(const std::vector<std::shared_ptr<ui::ViewController>>& controllers, const std::string& id) {
  for (const auto& controller : controllers) {
    if (auto alert = std::dynamic_pointer_cast<ui::AlertController>(controller)) {
      for (const auto& action : alert->actions()) {
        if (action->identifier() == id) {
          return {alert, action};
        }
      }
    }
  }
  return {};
}

// Whether a view is on screen: in the window, and neither it nor an ancestor hidden.
bool onScreen(const ui::View& view) { return !view.isHiddenOrHasHiddenAncestor(); }

}  // namespace

Outcome ScreenEventDispatcher::apply(const ScreenEvent& event, const std::shared_ptr<ui::Window>& window) const {
  VELUNE_ASSERT_MAIN_THREAD();
  using Type = ScreenEvent::Type;
  if (event.type == Type::Rotate) {
    return handled(rotate_ && rotate_(event.orientation), "the device cannot rotate");
  }
  if (!window) {
    return Outcome{Status::NoSuchElement, "no window"};
  }
  const auto controllers = controllersOf(*window);

  switch (event.type) {
    case Type::Tap:
    case Type::Choose: {
      if (auto found = findAlertAction(controllers, event.target); found.action) {
        return handled(found.alert->tapAction(found.action), "the action is disabled");
      }
      if (event.type == Type::Choose) {
        return noSuchElement(event.target);
      }
      if (auto item = findBarItem(controllers, event.target)) {
        return handled(item->tap(), "the item is disabled or does nothing");
      }
      auto view = window->findByIdentifier(event.target);
      if (!view) {
        return noSuchElement(event.target);
      }
      return handled(view->tap(), "the element takes no tap now");
    }
    case Type::Type:
    case Type::Return: {
      auto field = std::dynamic_pointer_cast<ui::TextField>(window->findByIdentifier(event.target));
      if (!field) {
        return noSuchElement(event.target);
      }
      if (!field->isEnabled() || !onScreen(*field)) {
        return handled(false, "the field takes no text now");
      }
      if (event.type == Type::Type) {
        field->typeText(event.text);
        return handled(field->text() == ui::sanitizedUTF8(event.text), "the field refused the text");
      }
      return handled(field->pressReturn(), "the return key did nothing");
    }
    case Type::Back: {
      // The stack whose bar was tapped, else the innermost stack that can go back.
      for (auto it = controllers.rbegin(); it != controllers.rend(); ++it) {
        auto stack = std::dynamic_pointer_cast<ui::NavigationStackController>(*it);
        if (!stack || !stack->isViewLoaded()) {
          continue;
        }
        if (!event.target.empty() && stack->navigationBar().identifier() != event.target) {
          continue;
        }
        if (stack->navigationBar().showsBackButton() && onScreen(stack->navigationBar())) {
          return handled(stack->popViewControllerAnimated(true) != nullptr, "nothing to go back to");
        }
      }
      return event.target.empty() ? handled(false, "nothing to go back to") : noSuchElement(event.target);
    }
    case Type::Dismiss: {
      // The topmost presentation (or the one named): a tap outside it.
      for (auto it = controllers.rbegin(); it != controllers.rend(); ++it) {
        const auto& controller = *it;
        if (!controller->presentingViewController()) {
          continue;
        }
        if (!event.target.empty() &&
            !(controller->isViewLoaded() && controller->view()->identifier() == event.target) &&
            controller->identifier() != event.target) {
          continue;
        }
        if (auto alert = std::dynamic_pointer_cast<ui::AlertController>(controller)) {
          if (alert->preferredStyle() == ui::AlertControllerStyle::Alert) {
            return handled(false, "an alert is dismissed by its buttons");
          }
          for (const auto& action : alert->actions()) {
            if (action->style() == ui::AlertActionStyle::Cancel) {
              return handled(alert->tapAction(action), "the cancel action is disabled");
            }
          }
        }
        controller->dismissViewControllerAnimated(true);
        return handled(true, "");
      }
      return event.target.empty() ? handled(false, "nothing is presented") : noSuchElement(event.target);
    }
    case Type::Swipe:
    case Type::Scroll: {
      auto view = window->findByIdentifier(event.target);
      if (!view) {
        return noSuchElement(event.target);
      }
      // Only lists scroll and only the rows of lists swipe; other views refuse.
      if (event.type == Type::Scroll) {
        auto list = std::dynamic_pointer_cast<ui::ListView>(view);
        if (!list || !onScreen(*list)) {
          return handled(false, "the element does not scroll");
        }
        list->setScrollOffset(event.offset);  // the list keeps it within its content
        return handled(true, "");
      }
      auto cell = std::dynamic_pointer_cast<ui::ListViewCell>(view);
      return handled(cell && cell->swipe(), "the element has no row actions");
    }
    case Type::Rotate:
      break;
  }
  return handled(false, "unknown event");
}

}  // namespace velune::shell
