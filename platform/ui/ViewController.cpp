#include "platform/ui/ViewController.h"

#include <algorithm>

#include "platform/DispatchQueue.h"
#include "platform/Format.h"
#include "platform/MainThread.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

ViewController::ViewController() : ViewController("ViewController") {}

ViewController::ViewController(std::string_view kind) : Element(kind) {}

ViewController::~ViewController() = default;

std::shared_ptr<View> ViewController::view() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!view_ && !loadingView_) {
    loadingView_ = true;
    loadView();
    if (!view_) {
      ViewController::loadView();
    }
    loadingView_ = false;
    viewDidLoad();
  }
  return view_;
}

void ViewController::setView(std::shared_ptr<View> view) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  view_ = std::move(view);
}

void ViewController::loadView() {
  const auto screen = Screen::mainScreen();
  view_ = std::make_shared<View>(screen ? screen->bounds() : Rect());
}

void ViewController::beginAppearanceTransition(bool appearing, bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  auto keep = shared_from_this();
  if (appearing) {
    if (appearance_ == AppearanceState::Appeared || appearance_ == AppearanceState::Appearing) {
      return;
    }
    loadViewIfNeeded();
    appearance_ = AppearanceState::Appearing;
    appearanceAnimated_ = animated;
    viewWillAppear(animated);
  } else {
    if (appearance_ == AppearanceState::Disappeared || appearance_ == AppearanceState::Disappearing) {
      return;
    }
    appearance_ = AppearanceState::Disappearing;
    appearanceAnimated_ = animated;
    viewWillDisappear(animated);
  }
  for (const auto& child : visibleChildViewControllers()) {
    child->beginAppearanceTransition(appearing, animated);
  }
}

void ViewController::endAppearanceTransition() {
  VELUNE_ASSERT_MAIN_THREAD();
  auto keep = shared_from_this();
  if (appearance_ == AppearanceState::Appearing) {
    appearance_ = AppearanceState::Appeared;
    viewDidAppear(appearanceAnimated_);
  } else if (appearance_ == AppearanceState::Disappearing) {
    appearance_ = AppearanceState::Disappeared;
    viewDidDisappear(appearanceAnimated_);
  } else {
    return;
  }
  for (const auto& child : visibleChildViewControllers()) {
    child->endAppearanceTransition();
  }
}

void ViewController::viewWillTransitionToSize(Size size, TransitionCoordinator& coordinator) {
  for (const auto& child : std::vector<std::shared_ptr<ViewController>>(children_)) {
    child->viewWillTransitionToSize(size, coordinator);
  }
  if (presented_) {
    presented_->viewWillTransitionToSize(size, coordinator);
  }
}

TraitCollection ViewController::traitCollection() const {
  if (view_) {
    return view_->traitCollection();
  }
  if (auto screen = Screen::mainScreen()) {
    return TraitCollection::forWindowSize(screen->idiom(), screen->bounds().size, screen->scale());
  }
  return TraitCollection{};
}

void ViewController::setTitle(std::optional<std::string> title) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  title_ = title;
  navigationItem().setTitle(std::move(title));
}

NavigationItem& ViewController::navigationItem() {
  if (!navigationItem_) {
    navigationItem_ = std::make_unique<NavigationItem>();
    navigationItem_->setTitle(title_);
  }
  return *navigationItem_;
}

void ViewController::setToolbarItems(std::vector<std::shared_ptr<BarButtonItem>> items, bool /*animated*/) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  toolbarItems_ = std::move(items);
  if (auto nav = navigationController(); nav && nav->topViewController().get() == this) {
    nav->updateBars();
  }
}

void ViewController::addChildViewController(const std::shared_ptr<ViewController>& child) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!child || child.get() == this) {
    return;
  }
  if (auto old = child->parentViewController(); old && old.get() != this) {
    child->removeFromParentViewController();
  }
  if (std::find(children_.begin(), children_.end(), child) == children_.end()) {
    children_.push_back(child);
  }
  child->parent_ = weak_from_this();
}

void ViewController::removeFromParentViewController() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  auto parent = parentViewController();
  if (!parent) {
    return;
  }
  auto keep = shared_from_this();
  auto& siblings = parent->children_;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), keep), siblings.end());
  parent_.reset();
}

std::shared_ptr<NavigationStackController> ViewController::navigationController() const {
  for (auto vc = parentViewController(); vc; vc = vc->parentViewController()) {
    if (auto nav = std::dynamic_pointer_cast<NavigationStackController>(vc)) {
      return nav;
    }
  }
  return nullptr;
}

bool ViewController::presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                                           std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!controller || controller.get() == this || presented_ || controller->presentingViewController() ||
      controller->parentViewController()) {
    return false;
  }
  presented_ = controller;
  controller->presenting_ = weak_from_this();
  controller->lastAnimated_ = animated;
  auto presentedView = controller->view();
  // The presented screen covers the window the presenter is in.
  if (auto window = view_ ? view_->window() : nullptr) {
    presentedView->setFrame(window->bounds());
    presentedView->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
    window->addSubview(presentedView);
  }
  controller->beginAppearanceTransition(true, animated);
  platform::DispatchQueue::main()->async([controller, completion = std::move(completion)] {
    controller->endAppearanceTransition();
    if (completion) {
      completion();
    }
  });
  return true;
}

void ViewController::dismissViewControllerAnimated(bool animated, std::function<void()> completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (presented_) {
    dismissPresented(animated, std::move(completion));
  } else if (auto presenter = presentingViewController()) {
    presenter->dismissPresented(animated, std::move(completion));
  } else if (completion) {
    platform::DispatchQueue::main()->async(std::move(completion));
  }
}

void ViewController::dismissPresented(bool animated, std::function<void()> completion) {
  auto controller = presented_;
  if (!controller) {
    if (completion) {
      platform::DispatchQueue::main()->async(std::move(completion));
    }
    return;
  }
  // What the dismissed controller presents goes with it, without animation.
  if (controller->presented_) {
    controller->dismissPresented(false, nullptr);
  }
  controller->lastAnimated_ = animated;
  controller->beginAppearanceTransition(false, animated);
  if (auto presentedView = controller->view_; presentedView && std::dynamic_pointer_cast<Window>(presentedView->superview())) {
    presentedView->removeFromSuperview();
  }
  presented_.reset();
  controller->presenting_.reset();
  platform::DispatchQueue::main()->async([controller, completion = std::move(completion)] {
    controller->endAppearanceTransition();
    if (completion) {
      completion();
    }
  });
}

PopoverPresentationController& ViewController::popoverPresentationController() {
  if (!popover_) {
    popover_ = std::make_unique<PopoverPresentationController>();
  }
  return *popover_;
}

void ViewController::setEditing(bool editing, bool /*animated*/) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  editing_ = editing;
}

std::shared_ptr<void> ViewController::associatedObject(std::string_view key) const {
  const auto found = associated_.find(key);
  return found == associated_.end() ? nullptr : found->second;
}

void ViewController::setAssociatedObject(std::string key, std::shared_ptr<void> object) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (object) {
    associated_[std::move(key)] = std::move(object);
  } else {
    associated_.erase(key);
  }
}

std::string ViewController::description() const {
  return platform::format("<%@ %@%@>", std::string(kind()), identifier(),
                          title_ ? std::string(" \"") + *title_ + "\"" : std::string());
}

}  // namespace velune::ui
