#pragma once
// NavigationStackController: a stack of view controllers, the top one on
// screen, with a navigation bar (the top controller's navigation item, and a
// back button when there is something to go back to) and a toolbar (the top
// controller's toolbar items).
//
// Bars: the navigation bar is 44 points high under the status bar; the
// toolbar is 44 points high along the bottom edge; the top controller's view
// fills the whole stack's view, under both bars. Hidden bars keep their frames.
//
// Changing the stack calls the appearance callbacks of the old and new top
// controllers and the delegate's "will show" at once, and "did show" (and the
// "did" appearance callbacks) on the next turn of the main run loop.
// Main thread only.

#include <memory>
#include <vector>

#include "platform/ui/ViewController.h"

namespace velune::ui {

class NavigationStackController;

class NavigationStackControllerDelegate {
 public:
  virtual ~NavigationStackControllerDelegate() = default;
  virtual void navigationControllerWillShowViewController(NavigationStackController&,
                                                          const std::shared_ptr<ViewController>&, bool /*animated*/) {}
  virtual void navigationControllerDidShowViewController(NavigationStackController&,
                                                         const std::shared_ptr<ViewController>&, bool /*animated*/) {}
};

// The bar along the top: shows the top controller's navigation item.
class NavigationBar : public View {
 public:
  explicit NavigationBar(std::weak_ptr<NavigationStackController> owner);
  std::string_view kind() const override { return "NavigationBar"; }

  // The item shown (the top controller's), or null.
  NavigationItem* topItem() const;
  bool showsBackButton() const;
  void layoutSubviews() override;

  static constexpr double kHeight = 44;

 private:
  friend class NavigationStackController;
  void refresh();
  std::weak_ptr<NavigationStackController> owner_;
  std::vector<std::shared_ptr<View>> customViews_;
};

// The bar along the bottom: shows bar button items from left to right;
// flexible spaces share the room that is left.
class Toolbar : public View {
 public:
  Toolbar();
  std::string_view kind() const override { return "Toolbar"; }

  const std::vector<std::shared_ptr<BarButtonItem>>& items() const { return items_; }
  void setItems(std::vector<std::shared_ptr<BarButtonItem>> items);
  // The frame of each item in the toolbar (same order as items()), after layout.
  const std::vector<Rect>& itemFrames() const { return itemFrames_; }
  void layoutSubviews() override;

  static constexpr double kHeight = 44;
  static constexpr double kMargin = 8;

 private:
  std::vector<std::shared_ptr<BarButtonItem>> items_;
  std::vector<Rect> itemFrames_;
};

class NavigationStackController : public ViewController {
 public:
  NavigationStackController();
  static std::shared_ptr<NavigationStackController> make(const std::shared_ptr<ViewController>& root = nullptr);

  std::string_view kind() const override { return "NavigationStackController"; }

  const std::vector<std::shared_ptr<ViewController>>& viewControllers() const { return stack_; }
  void setViewControllers(std::vector<std::shared_ptr<ViewController>> controllers, bool animated);
  // Refused when the controller is already in a stack.
  bool pushViewController(const std::shared_ptr<ViewController>& controller, bool animated);
  // Null when only the root is left.
  std::shared_ptr<ViewController> popViewControllerAnimated(bool animated);
  std::vector<std::shared_ptr<ViewController>> popToRootViewControllerAnimated(bool animated);
  std::shared_ptr<ViewController> topViewController() const;
  // What is on screen: the top controller, or what it presents.
  std::shared_ptr<ViewController> visibleViewController() const;
  bool lastStackChangeAnimated() const { return lastChangeAnimated_; }

  std::shared_ptr<NavigationStackControllerDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<NavigationStackControllerDelegate> delegate) { delegate_ = std::move(delegate); }

  NavigationBar& navigationBar();
  bool isNavigationBarHidden() const { return navigationBarHidden_; }
  void setNavigationBarHidden(bool hidden, bool animated);
  Toolbar& toolbar();
  bool isToolbarHidden() const { return toolbarHidden_; }
  void setToolbarHidden(bool hidden, bool animated);
  // Shows the top controller's items again (after they changed).
  void updateBars();

  void loadView() override;
  std::vector<std::shared_ptr<ViewController>> visibleChildViewControllers() const override;

 private:
  void transition(const std::shared_ptr<ViewController>& oldTop, bool animated);
  void placeTopView();

  std::vector<std::shared_ptr<ViewController>> stack_;
  std::weak_ptr<NavigationStackControllerDelegate> delegate_;
  std::shared_ptr<NavigationBar> navigationBar_;
  std::shared_ptr<Toolbar> toolbar_;
  bool navigationBarHidden_ = false;
  bool toolbarHidden_ = true;
  bool lastChangeAnimated_ = false;
};

}  // namespace velune::ui
