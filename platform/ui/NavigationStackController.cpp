#include "platform/ui/NavigationStackController.h"

#include <algorithm>
#include <cmath>

#include "platform/DispatchQueue.h"
#include "platform/MainThread.h"
#include "platform/ui/Font.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {

// The stack's own view: places the bars along its edges on every layout.
class NavigationContainerView : public View {
 public:
  NavigationContainerView(Rect frame, std::shared_ptr<NavigationBar> bar, std::shared_ptr<Toolbar> toolbar)
      : View(frame, "NavigationView"), bar_(std::move(bar)), toolbar_(std::move(toolbar)) {}

  void layoutSubviews() override {
    double statusBar = 0;
    if (auto w = window(); w && w->screen()) {
      const Rect sb = w->screen()->statusBarFrame();
      statusBar = std::min(sb.width(), sb.height());
    }
    const Rect b = bounds();
    bar_->setFrame(Rect(0, statusBar, b.width(), NavigationBar::kHeight));
    toolbar_->setFrame(Rect(0, b.height() - Toolbar::kHeight, b.width(), Toolbar::kHeight));
  }

 private:
  std::shared_ptr<NavigationBar> bar_;
  std::shared_ptr<Toolbar> toolbar_;
};

// The width an item takes in a bar (spaces: see Toolbar::layoutSubviews).
double itemWidth(const BarButtonItem& item) {
  if (const auto& view = item.customView()) {
    if (view->frame().width() > 0) {
      return view->frame().width();
    }
    const Size fitted = view->sizeThatFits(Size{});
    return std::max(0.0, fitted.width);
  }
  if (item.systemItem() == BarButtonSystemItem::FixedSpace) {
    return item.width() > 0 ? item.width() : 8;
  }
  if (item.title() || item.systemItem() == BarButtonSystemItem::Cancel ||
      item.systemItem() == BarButtonSystemItem::Done) {
    return std::ceil(Font::systemFontOfSize(17).widthOfText(item.displayName())) + 16;
  }
  return 44;  // an icon's touch target
}

}  // namespace

NavigationBar::NavigationBar(std::weak_ptr<NavigationStackController> owner)
    : View(Rect(0, 0, 0, kHeight), "NavigationBar"), owner_(std::move(owner)) {
  setAutoresizingMask(Autoresizing::FlexibleWidth);
}

NavigationItem* NavigationBar::topItem() const {
  auto owner = owner_.lock();
  auto top = owner ? owner->topViewController() : nullptr;
  return top ? &top->navigationItem() : nullptr;
}

bool NavigationBar::showsBackButton() const {
  auto owner = owner_.lock();
  const NavigationItem* item = topItem();
  return owner && item && owner->viewControllers().size() > 1 && !item->hidesBackButton();
}

void NavigationBar::refresh() {
  for (const auto& view : customViews_) {
    if (view->superview().get() == this) {
      view->removeFromSuperview();
    }
  }
  customViews_.clear();
  if (NavigationItem* item = topItem()) {
    for (const auto& barItem : item->rightBarButtonItems()) {
      if (barItem->customView()) {
        customViews_.push_back(barItem->customView());
        addSubview(barItem->customView());
      }
    }
  }
  setNeedsLayout();
}

void NavigationBar::layoutSubviews() {
  // Right items from the trailing edge inwards (the first is the outermost).
  NavigationItem* item = topItem();
  if (item == nullptr) {
    return;
  }
  double x = bounds().width() - Toolbar::kMargin;
  for (const auto& barItem : item->rightBarButtonItems()) {
    const double width = itemWidth(*barItem);
    x -= width;
    if (const auto& view = barItem->customView()) {
      const double height = view->frame().height() > 0 ? view->frame().height() : kHeight;
      view->setFrame(Rect(x, (kHeight - height) / 2, width, height));
    }
  }
}

Toolbar::Toolbar() : View(Rect(0, 0, 0, kHeight), "Toolbar") {
  setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleTopMargin);
}

void Toolbar::setItems(std::vector<std::shared_ptr<BarButtonItem>> items) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  for (const auto& item : items_) {
    if (item->customView() && item->customView()->superview().get() == this) {
      item->customView()->removeFromSuperview();
    }
  }
  items_ = std::move(items);
  for (const auto& item : items_) {
    if (item->customView() && item->customView()->superview().get() != this) {
      addSubview(item->customView());
    }
  }
  setNeedsLayout();
}

void Toolbar::layoutSubviews() {
  const double available = bounds().width() - 2 * kMargin;
  double fixed = 0;
  int flexible = 0;
  for (const auto& item : items_) {
    if (item->isFlexibleSpace()) {
      ++flexible;
    } else {
      fixed += itemWidth(*item);
    }
  }
  const double flexibleWidth = flexible > 0 ? std::max(0.0, available - fixed) / flexible : 0;
  itemFrames_.clear();
  double x = kMargin;
  for (const auto& item : items_) {
    const double width = item->isFlexibleSpace() ? flexibleWidth : itemWidth(*item);
    itemFrames_.push_back(Rect(x, 0, width, kHeight));
    if (const auto& view = item->customView()) {
      const double height = view->frame().height() > 0 ? view->frame().height() : kHeight;
      view->setFrame(Rect(x, (kHeight - height) / 2, width, height));
    }
    x += width;
  }
}

NavigationStackController::NavigationStackController() : ViewController("NavigationStackController") {}

std::shared_ptr<NavigationStackController> NavigationStackController::make(const std::shared_ptr<ViewController>& root) {
  auto nav = std::make_shared<NavigationStackController>();
  if (root) {
    nav->setViewControllers({root}, false);
  }
  return nav;
}

void NavigationStackController::loadView() {
  navigationBar_ = std::make_shared<NavigationBar>(std::static_pointer_cast<NavigationStackController>(shared_from_this()));
  toolbar_ = std::make_shared<Toolbar>();
  const auto screen = Screen::mainScreen();
  auto container = std::make_shared<NavigationContainerView>(screen ? screen->bounds() : Rect(), navigationBar_, toolbar_);
  container->addSubview(navigationBar_);
  container->addSubview(toolbar_);
  navigationBar_->setHidden(navigationBarHidden_);
  toolbar_->setHidden(toolbarHidden_);
  setView(container);
  placeTopView();
  updateBars();
}

NavigationBar& NavigationStackController::navigationBar() {
  loadViewIfNeeded();
  return *navigationBar_;
}

Toolbar& NavigationStackController::toolbar() {
  loadViewIfNeeded();
  return *toolbar_;
}

void NavigationStackController::setNavigationBarHidden(bool hidden, bool /*animated*/) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  navigationBarHidden_ = hidden;
  if (navigationBar_) {
    navigationBar_->setHidden(hidden);
  }
}

void NavigationStackController::setToolbarHidden(bool hidden, bool /*animated*/) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  toolbarHidden_ = hidden;
  if (toolbar_) {
    toolbar_->setHidden(hidden);
  }
}

std::shared_ptr<ViewController> NavigationStackController::topViewController() const {
  return stack_.empty() ? nullptr : stack_.back();
}

std::shared_ptr<ViewController> NavigationStackController::visibleViewController() const {
  auto top = topViewController();
  if (auto presented = presentedViewController()) {
    return presented;
  }
  if (top && top->presentedViewController()) {
    return top->presentedViewController();
  }
  return top;
}

std::vector<std::shared_ptr<ViewController>> NavigationStackController::visibleChildViewControllers() const {
  if (auto top = topViewController()) {
    return {top};
  }
  return {};
}

void NavigationStackController::setViewControllers(std::vector<std::shared_ptr<ViewController>> controllers,
                                                   bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  std::vector<std::shared_ptr<ViewController>> unique;
  for (const auto& vc : controllers) {
    if (vc && vc.get() != this && std::find(unique.begin(), unique.end(), vc) == unique.end()) {
      unique.push_back(vc);
    }
  }
  const auto oldTop = topViewController();
  for (const auto& vc : std::vector<std::shared_ptr<ViewController>>(stack_)) {
    if (std::find(unique.begin(), unique.end(), vc) == unique.end()) {
      if (vc != oldTop && vc->isViewLoaded() && vc->view()->superview()) {
        vc->view()->removeFromSuperview();
      }
      vc->removeFromParentViewController();
    }
  }
  for (const auto& vc : unique) {
    addChildViewController(vc);
  }
  stack_ = std::move(unique);
  transition(oldTop, animated);
}

bool NavigationStackController::pushViewController(const std::shared_ptr<ViewController>& controller, bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!controller || controller.get() == this || controller->parentViewController() ||
      std::find(stack_.begin(), stack_.end(), controller) != stack_.end()) {
    return false;
  }
  const auto oldTop = topViewController();
  addChildViewController(controller);
  stack_.push_back(controller);
  transition(oldTop, animated);
  return true;
}

std::shared_ptr<ViewController> NavigationStackController::popViewControllerAnimated(bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (stack_.size() <= 1) {
    return nullptr;
  }
  auto popped = stack_.back();
  stack_.pop_back();
  transition(popped, animated);
  popped->removeFromParentViewController();
  return popped;
}

std::vector<std::shared_ptr<ViewController>> NavigationStackController::popToRootViewControllerAnimated(bool animated) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (stack_.size() <= 1) {
    return {};
  }
  std::vector<std::shared_ptr<ViewController>> popped(stack_.begin() + 1, stack_.end());
  setViewControllers({stack_.front()}, animated);
  return popped;
}

void NavigationStackController::placeTopView() {
  if (!isViewLoaded()) {
    return;
  }
  auto top = topViewController();
  if (!top) {
    return;
  }
  auto container = view();
  auto topView = top->view();
  if (topView->superview() != container) {
    topView->setFrame(container->bounds());
    topView->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
    container->insertSubview(topView, 0);
  }
}

void NavigationStackController::transition(const std::shared_ptr<ViewController>& oldTop, bool animated) {
  lastChangeAnimated_ = animated;
  auto newTop = topViewController();
  if (newTop == oldTop) {
    updateBars();
    return;
  }
  const bool onScreen =
      appearanceState() == AppearanceState::Appeared || appearanceState() == AppearanceState::Appearing;
  if (oldTop && oldTop->isViewLoaded() && isViewLoaded() && oldTop->view()->superview() == view()) {
    oldTop->view()->removeFromSuperview();
  }
  placeTopView();
  if (onScreen && oldTop) {
    oldTop->beginAppearanceTransition(false, animated);
  }
  if (auto d = delegate(); d && newTop) {
    d->navigationControllerWillShowViewController(*this, newTop, animated);
  }
  if (onScreen && newTop) {
    newTop->beginAppearanceTransition(true, animated);
  }
  updateBars();
  platform::DispatchQueue::main()->async(
      [weak = std::weak_ptr<NavigationStackController>(std::static_pointer_cast<NavigationStackController>(shared_from_this())),
       oldTop, newTop, animated, onScreen] {
        if (onScreen && oldTop) {
          oldTop->endAppearanceTransition();
        }
        auto self = weak.lock();
        if (!self) {
          return;
        }
        if (onScreen && newTop) {
          newTop->endAppearanceTransition();
        }
        if (newTop && self->topViewController() == newTop) {
          if (auto d = self->delegate()) {
            d->navigationControllerDidShowViewController(*self, newTop, animated);
          }
        }
      });
}

void NavigationStackController::updateBars() {
  if (!isViewLoaded()) {
    return;
  }
  navigationBar_->refresh();
  auto top = topViewController();
  toolbar_->setItems(top ? top->toolbarItems() : std::vector<std::shared_ptr<BarButtonItem>>{});
}

}  // namespace velune::ui
