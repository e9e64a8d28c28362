#pragma once
// ViewController: manages one screen's view and its life cycle.
//
// - The view is made on first use: loadView() (default: a plain view of the
//   main screen's size), then viewDidLoad().
// - Appearance: viewWillAppear / viewDidAppear / viewWillDisappear /
//   viewDidDisappear, called by whoever shows or hides the controller (a
//   window, a navigation stack, a presentation). "Will" callbacks run inside
//   the call that starts the change; "did" callbacks and completions of
//   navigation and presentation run on the next turn of the main run loop (a
//   window showing its root controller calls both at once). Animated changes
//   are recorded, not animated.
// - Presentation: presentViewController shows another controller modally
//   over this one (its view goes on top of the window); dismiss removes it.
//   A controller presents at most one other at a time; a second request is
//   refused (false, the completion is not called).
// - Containment: children (a navigation stack's controllers) know their
//   parent; navigationController() is the nearest navigation stack above.
// - Restoration: restorationIdentifier and encode/decode of a StateCoder.
// - Associated objects: other components may attach state to a controller
//   under a key for the controller's lifetime.
// Main thread only.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Element.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/TraitCollection.h"
#include "platform/ui/TransitionCoordinator.h"
#include "platform/ui/View.h"

namespace velune::ui {

class NavigationStackController;
class PopoverPresentationController;

// How a presented controller covers the presenter. The values are the platform's.
enum class ModalPresentationStyle {
  FullScreen = 0,
  PageSheet = 1,
  FormSheet = 2,
  CurrentContext = 3,
  Custom = 4,
  OverFullScreen = 5,
  OverCurrentContext = 6,
  Popover = 7,
  Automatic = -2,
};

enum class AppearanceState { Disappeared, Appearing, Appeared, Disappearing };

class ViewController : public Element, public std::enable_shared_from_this<ViewController> {
 public:
  ViewController();
  ~ViewController() override;

  std::string_view kind() const override { return "ViewController"; }

  // --- View ---
  std::shared_ptr<View> view();
  bool isViewLoaded() const { return view_ != nullptr; }
  void loadViewIfNeeded() { (void)view(); }
  void setView(std::shared_ptr<View> view);
  virtual void loadView();
  virtual void viewDidLoad() {}

  // --- Appearance ---
  virtual void viewWillAppear(bool /*animated*/) {}
  virtual void viewDidAppear(bool /*animated*/) {}
  virtual void viewWillDisappear(bool /*animated*/) {}
  virtual void viewDidDisappear(bool /*animated*/) {}
  AppearanceState appearanceState() const { return appearance_; }
  // Drive the callbacks (used by windows, navigation stacks, presentations).
  void beginAppearanceTransition(bool appearing, bool animated);
  void endAppearanceTransition();
  // The children that appear and disappear with this controller (default: all).
  virtual std::vector<std::shared_ptr<ViewController>> visibleChildViewControllers() const { return children_; }

  // The window changes size; the default tells the children and the presented controller.
  virtual void viewWillTransitionToSize(Size size, TransitionCoordinator& coordinator);
  virtual void traitCollectionDidChange(const TraitCollection& /*previous*/) {}
  TraitCollection traitCollection() const;

  // --- Title and bars ---
  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title);
  NavigationItem& navigationItem();
  const std::vector<std::shared_ptr<BarButtonItem>>& toolbarItems() const { return toolbarItems_; }
  void setToolbarItems(std::vector<std::shared_ptr<BarButtonItem>> items, bool animated = false);

  // --- Containment ---
  std::shared_ptr<ViewController> parentViewController() const { return parent_.lock(); }
  const std::vector<std::shared_ptr<ViewController>>& childViewControllers() const { return children_; }
  void addChildViewController(const std::shared_ptr<ViewController>& child);
  void removeFromParentViewController();
  std::shared_ptr<NavigationStackController> navigationController() const;

  // --- Presentation ---
  bool presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                             std::function<void()> completion = nullptr);
  // Dismisses what this controller presents, or, when it presents nothing,
  // this controller from its presenter. The completion always runs (on the
  // next turn of the main run loop).
  void dismissViewControllerAnimated(bool animated, std::function<void()> completion = nullptr);
  std::shared_ptr<ViewController> presentedViewController() const { return presented_; }
  std::shared_ptr<ViewController> presentingViewController() const { return presenting_.lock(); }
  ModalPresentationStyle modalPresentationStyle() const { return modalStyle_; }
  void setModalPresentationStyle(ModalPresentationStyle style) { modalStyle_ = style; }
  // Whether the last presentation (or dismissal) of this controller was animated.
  bool lastTransitionAnimated() const { return lastAnimated_; }
  // The anchor of a popover presentation (made on first use).
  PopoverPresentationController& popoverPresentationController();
  bool hasPopoverPresentationController() const { return popover_ != nullptr; }

  // --- Editing ---
  bool isEditing() const { return editing_; }
  virtual void setEditing(bool editing, bool animated);

  // --- Restoration ---
  const std::optional<std::string>& restorationIdentifier() const { return restorationIdentifier_; }
  void setRestorationIdentifier(std::optional<std::string> identifier) { restorationIdentifier_ = std::move(identifier); }
  virtual void encodeRestorableStateWithCoder(StateCoder& /*coder*/) {}
  virtual void decodeRestorableStateWithCoder(const StateCoder& /*coder*/) {}

  // --- Associated objects ---
  std::shared_ptr<void> associatedObject(std::string_view key) const;
  void setAssociatedObject(std::string key, std::shared_ptr<void> object);

  std::string description() const;

 protected:
  explicit ViewController(std::string_view kind);

 private:
  void dismissPresented(bool animated, std::function<void()> completion);

  std::shared_ptr<View> view_;
  bool loadingView_ = false;
  AppearanceState appearance_ = AppearanceState::Disappeared;
  bool appearanceAnimated_ = false;
  std::optional<std::string> title_;
  std::unique_ptr<NavigationItem> navigationItem_;
  std::vector<std::shared_ptr<BarButtonItem>> toolbarItems_;
  std::weak_ptr<ViewController> parent_;
  std::vector<std::shared_ptr<ViewController>> children_;
  std::shared_ptr<ViewController> presented_;
  std::weak_ptr<ViewController> presenting_;
  ModalPresentationStyle modalStyle_ = ModalPresentationStyle::FullScreen;
  bool lastAnimated_ = false;
  std::unique_ptr<PopoverPresentationController> popover_;
  bool editing_ = false;
  std::optional<std::string> restorationIdentifier_;
  std::map<std::string, std::shared_ptr<void>, std::less<>> associated_;
};

// Where a popover (or an action sheet on a tablet) points.
class PopoverPresentationController {
 public:
  // Bits of the permitted arrow directions; the values are the platform's.
  static constexpr unsigned kArrowUp = 1;
  static constexpr unsigned kArrowDown = 2;
  static constexpr unsigned kArrowLeft = 4;
  static constexpr unsigned kArrowRight = 8;
  static constexpr unsigned kArrowAny = 15;

  std::shared_ptr<View> sourceView() const { return sourceView_.lock(); }
  void setSourceView(const std::shared_ptr<View>& view) { sourceView_ = view; }
  Rect sourceRect() const { return sourceRect_; }
  void setSourceRect(Rect rect) { sourceRect_ = rect; }
  std::shared_ptr<BarButtonItem> barButtonItem() const { return barButtonItem_.lock(); }
  void setBarButtonItem(const std::shared_ptr<BarButtonItem>& item) { barButtonItem_ = item; }
  unsigned permittedArrowDirections() const { return arrows_; }
  void setPermittedArrowDirections(unsigned directions) { arrows_ = directions; }

 private:
  std::weak_ptr<View> sourceView_;
  Rect sourceRect_;
  std::weak_ptr<BarButtonItem> barButtonItem_;
  unsigned arrows_ = kArrowAny;
};

}  // namespace velune::ui
