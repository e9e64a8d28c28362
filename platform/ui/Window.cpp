#include "platform/ui/Window.h"

#include "platform/MainThread.h"
#include "platform/ui/TransitionCoordinator.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {
std::weak_ptr<Window>& keyWindowSlot() {
  static std::weak_ptr<Window> slot;
  return slot;
}

void tellTraitsChanged(ViewController& controller, const TraitCollection& previous) {
  controller.traitCollectionDidChange(previous);
  for (const auto& child : controller.childViewControllers()) {
    tellTraitsChanged(*child, previous);
  }
  if (auto presented = controller.presentedViewController()) {
    tellTraitsChanged(*presented, previous);
  }
}
}  // namespace

Window::Window(Rect frame, std::shared_ptr<Screen> screen) : View(frame, "Window"), screen_(std::move(screen)) {
  setHidden(true);
}

void Window::setScreen(std::shared_ptr<Screen> screen) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  screen_ = std::move(screen);
  setNeedsLayout();
}

void Window::setRootViewController(std::shared_ptr<ViewController> controller) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (controller == rootViewController_) {
    return;
  }
  const bool visible = !isHidden();
  auto old = rootViewController_;
  if (old) {
    if (visible) {
      old->beginAppearanceTransition(false, false);
    }
    if (old->isViewLoaded() && old->view()->superview().get() == this) {
      old->view()->removeFromSuperview();
    }
    if (visible) {
      old->endAppearanceTransition();
    }
  }
  rootViewController_ = std::move(controller);
  if (rootViewController_) {
    auto rootView = rootViewController_->view();
    rootView->setFrame(bounds());
    rootView->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
    insertSubview(rootView, 0);
    if (visible) {
      rootViewController_->beginAppearanceTransition(true, false);
      rootViewController_->endAppearanceTransition();
    }
  }
}

void Window::makeKeyAndVisible() {
  VELUNE_ASSERT_MAIN_THREAD();
  keyWindowSlot() = std::static_pointer_cast<Window>(shared_from_this());
  if (!isHidden()) {
    return;
  }
  setHidden(false);
  if (rootViewController_) {
    rootViewController_->beginAppearanceTransition(true, false);
    rootViewController_->endAppearanceTransition();
  }
}

bool Window::isKeyWindow() const { return keyWindowSlot().lock().get() == this; }

std::shared_ptr<Window> Window::keyWindow() { return keyWindowSlot().lock(); }

TraitCollection Window::windowTraits() const {
  if (!screen_) {
    return TraitCollection::forWindowSize(UserInterfaceIdiom::Unspecified, frame().size, 1.0);
  }
  return TraitCollection::forWindowSize(screen_->idiom(), frame().size, screen_->scale());
}

void Window::transitionToSize(Size size) {
  VELUNE_ASSERT_MAIN_THREAD();
  const TraitCollection previous = windowTraits();
  TransitionCoordinator coordinator(size);
  auto root = rootViewController_;
  if (root) {
    root->viewWillTransitionToSize(size, coordinator);
  }
  setFrame(Rect(frame().minX(), frame().minY(), size.width, size.height));
  coordinator.runAnimations();
  layoutIfNeeded();
  if (root && !(windowTraits() == previous)) {
    tellTraitsChanged(*root, previous);
  }
  coordinator.finish();
}

}  // namespace velune::ui
