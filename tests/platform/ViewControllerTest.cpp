#include "platform/ui/ViewController.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/NavigationStackController.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

// Records its life-cycle callbacks in one shared journal.
class RecordingController : public ViewController {
 public:
  RecordingController(std::string name, std::vector<std::string>& journal) : name_(std::move(name)), journal_(journal) {}
  void loadView() override {
    journal_.push_back(name_ + ".loadView");
    ViewController::loadView();
  }
  void viewDidLoad() override { journal_.push_back(name_ + ".viewDidLoad"); }
  void viewWillAppear(bool animated) override { journal_.push_back(name_ + ".willAppear" + (animated ? "(a)" : "")); }
  void viewDidAppear(bool) override { journal_.push_back(name_ + ".didAppear"); }
  void viewWillDisappear(bool) override { journal_.push_back(name_ + ".willDisappear"); }
  void viewDidDisappear(bool) override { journal_.push_back(name_ + ".didDisappear"); }
  void viewWillTransitionToSize(Size size, TransitionCoordinator& coordinator) override {
    journal_.push_back(name_ + ".transition " + size.description());
    ViewController::viewWillTransitionToSize(size, coordinator);
  }
  void traitCollectionDidChange(const TraitCollection&) override { journal_.push_back(name_ + ".traits"); }

 private:
  std::string name_;
  std::vector<std::string>& journal_;
};

class ShowRecorder : public NavigationStackControllerDelegate {
 public:
  std::vector<std::string> shown;
  void navigationControllerWillShowViewController(NavigationStackController&, const std::shared_ptr<ViewController>& vc,
                                                  bool animated) override {
    shown.push_back("will " + vc->title().value_or("?") + (animated ? " animated" : ""));
  }
  void navigationControllerDidShowViewController(NavigationStackController&, const std::shared_ptr<ViewController>& vc,
                                                 bool animated) override {
    shown.push_back("did " + vc->title().value_or("?") + (animated ? " animated" : ""));
  }
};

class ViewControllerTest : public testing::UITestCase {
 protected:
  std::shared_ptr<RecordingController> make(const std::string& name) {
    auto vc = std::make_shared<RecordingController>(name, journal_);
    vc->setTitle(name);
    return vc;
  }
  std::vector<std::string> journal_;
};

TEST_F(ViewControllerTest, LifeCycle_ViewLoadsOnceAndDidCallbacksComeOnTheNextTurn) {
  auto root = make("root");
  EXPECT_FALSE(root->isViewLoaded());
  auto view = root->view();
  EXPECT_EQ(root->view(), view);
  EXPECT_EQ(view->frame(), Rect(0, 0, 390, 844));  // the main screen's size
  auto window = testing::showInWindow(root);
  auto modal = make("modal");
  int completions = 0;
  ASSERT_TRUE(root->presentViewController(modal, true, [&completions] { ++completions; }));
  EXPECT_EQ(journal_, (std::vector<std::string>{"root.loadView", "root.viewDidLoad", "root.willAppear",
                                                "root.didAppear", "modal.loadView", "modal.viewDidLoad",
                                                "modal.willAppear(a)"}));
  EXPECT_EQ(completions, 0);
  testing::runMainUntilIdle();
  EXPECT_EQ(journal_.back(), "modal.didAppear");
  EXPECT_EQ(completions, 1);
  EXPECT_TRUE(modal->lastTransitionAnimated());
  EXPECT_EQ(modal->view()->superview(), window);  // over the root's view
  EXPECT_EQ(window->subviews().back(), modal->view());
}

TEST_F(ViewControllerTest, Presentation_OneAtATimeAndDismissalTakesTheChain) {
  auto root = make("root");
  auto window = testing::showInWindow(root);
  auto first = make("first");
  auto second = make("second");
  auto third = make("third");
  ASSERT_TRUE(root->presentViewController(first, false));
  EXPECT_FALSE(root->presentViewController(second, false));  // already presenting
  EXPECT_FALSE(second->presentViewController(first, false));  // first is already presented
  ASSERT_TRUE(first->presentViewController(second, true));
  ASSERT_TRUE(second->presentViewController(third, true));
  testing::runMainUntilIdle();
  journal_.clear();
  int dismissed = 0;
  root->dismissViewControllerAnimated(true, [&dismissed] { ++dismissed; });
  EXPECT_EQ(root->presentedViewController(), nullptr);
  EXPECT_EQ(first->presentingViewController(), nullptr);
  EXPECT_EQ(third->presentingViewController(), nullptr);
  EXPECT_TRUE(first->lastTransitionAnimated());
  EXPECT_FALSE(third->lastTransitionAnimated());  // the ones above go without animation
  testing::runMainUntilIdle();
  EXPECT_EQ(dismissed, 1);
  EXPECT_EQ(window->subviews().size(), 1U);
  for (const char* name : {"first", "second", "third"}) {
    EXPECT_NE(std::find(journal_.begin(), journal_.end(), std::string(name) + ".didDisappear"), journal_.end()) << name;
  }
  // Dismissing with nothing presented still completes.
  root->dismissViewControllerAnimated(false, [&dismissed] { ++dismissed; });
  testing::runMainUntilIdle();
  EXPECT_EQ(dismissed, 2);
}

TEST_F(ViewControllerTest, Navigation_PushPopReplaceAndTheDelegateHearsDidShowLater) {
  auto root = make("root");
  auto nav = NavigationStackController::make(root);
  auto recorder = std::make_shared<ShowRecorder>();
  nav->setDelegate(recorder);
  auto window = testing::showInWindow(nav);
  recorder->shown.clear();
  journal_.clear();

  auto folder = make("folder");
  ASSERT_TRUE(nav->pushViewController(folder, true));
  EXPECT_FALSE(nav->pushViewController(folder, true));  // already in the stack
  EXPECT_EQ(nav->topViewController(), folder);
  EXPECT_EQ(folder->navigationController(), nav);
  EXPECT_EQ(recorder->shown, (std::vector<std::string>{"will folder animated"}));
  EXPECT_EQ(journal_, (std::vector<std::string>{"folder.loadView", "folder.viewDidLoad", "root.willDisappear",
                                                "folder.willAppear(a)"}));
  testing::runMainUntilIdle();
  EXPECT_EQ(recorder->shown.back(), "did folder animated");
  EXPECT_EQ(journal_.back(), "folder.didAppear");
  EXPECT_TRUE(nav->navigationBar().showsBackButton());
  EXPECT_EQ(nav->navigationBar().topItem(), &folder->navigationItem());

  EXPECT_EQ(nav->popViewControllerAnimated(true), folder);
  EXPECT_EQ(folder->navigationController(), nullptr);
  EXPECT_EQ(nav->popViewControllerAnimated(true), nullptr);  // the root stays
  EXPECT_FALSE(nav->navigationBar().showsBackButton());

  auto a = make("a");
  auto b = make("b");
  nav->setViewControllers({a, b}, false);
  EXPECT_EQ(nav->viewControllers(), (std::vector<std::shared_ptr<ViewController>>{a, b}));
  EXPECT_EQ(root->parentViewController(), nullptr);
  EXPECT_FALSE(nav->lastStackChangeAnimated());
  testing::runMainUntilIdle();
  EXPECT_EQ(recorder->shown.back(), "did b");
  EXPECT_EQ(b->view()->superview(), nav->view());
  EXPECT_EQ(a->view()->superview(), nullptr);
}

TEST_F(ViewControllerTest, Bars_FramesHiddenFlagsAndTheTopControllersItems) {
  auto root = make("root");
  auto nav = NavigationStackController::make(root);
  auto window = testing::showInWindow(nav);
  EXPECT_TRUE(nav->isToolbarHidden());  // toolbars start hidden
  nav->setToolbarHidden(false, false);
  window->layoutIfNeeded();
  EXPECT_EQ(nav->navigationBar().frame(), Rect(0, 20, 390, 44));
  EXPECT_EQ(nav->toolbar().frame(), Rect(0, 800, 390, 44));
  EXPECT_FALSE(nav->toolbar().isHidden());
  EXPECT_EQ(root->view()->frame(), Rect(0, 0, 390, 844));  // under both bars

  auto label = std::make_shared<View>(Rect(0, 0, 100, 16));
  auto space = BarButtonItem::withSystemItem(BarButtonSystemItem::FlexibleSpace);
  root->setToolbarItems({space, BarButtonItem::withCustomView(label), space});
  EXPECT_EQ(nav->toolbar().items().size(), 3U);
  window->layoutIfNeeded();
  // Centred between the two flexible spaces.
  EXPECT_EQ(label->frame(), Rect(145, 14, 100, 16));
  EXPECT_EQ(label->superview().get(), &nav->toolbar());

  // Another controller on top shows its own (empty) items.
  auto other = make("other");
  nav->pushViewController(other, false);
  EXPECT_TRUE(nav->toolbar().items().empty());
  EXPECT_EQ(label->superview(), nullptr);
}

TEST_F(ViewControllerTest, Traits_IdiomSizeClassesAndATransitionToANewSize) {
  auto root = make("root");
  auto nav = NavigationStackController::make(root);
  auto window = testing::showInWindow(nav);
  TraitCollection traits = root->traitCollection();
  EXPECT_EQ(traits.idiom, UserInterfaceIdiom::Phone);
  EXPECT_EQ(traits.horizontalSizeClass, UserInterfaceSizeClass::Compact);
  EXPECT_EQ(traits.verticalSizeClass, UserInterfaceSizeClass::Regular);
  EXPECT_EQ(traits.displayScale, 3);

  journal_.clear();
  device_->setOrientation(InterfaceOrientation::LandscapeRight);
  window->transitionToSize(Size{844, 390});
  EXPECT_EQ(journal_, (std::vector<std::string>{"root.transition {844, 390}", "root.traits"}));
  EXPECT_EQ(root->view()->frame(), Rect(0, 0, 844, 390));
  EXPECT_EQ(root->traitCollection().verticalSizeClass, UserInterfaceSizeClass::Compact);
  EXPECT_EQ(root->traitCollection().horizontalSizeClass, UserInterfaceSizeClass::Regular);
  // A phone hides its status bar in landscape: the bar moves up.
  EXPECT_EQ(nav->navigationBar().frame(), Rect(0, 0, 844, 44));

  auto tablet = TraitCollection::forWindowSize(UserInterfaceIdiom::Tablet, Size{768, 1024}, 2);
  EXPECT_EQ(tablet.horizontalSizeClass, UserInterfaceSizeClass::Regular);
  EXPECT_EQ(tablet.verticalSizeClass, UserInterfaceSizeClass::Regular);
}

// A page inset from its bars as the preview pages do it: the status bar's
// thickness in either orientation, the navigation bar's height and the
// toolbar's height while it is shown, plus a margin by size class.
TEST_F(ViewControllerTest, Bars_ATabletKeepsItsStatusBarInLandscapeAndAHiddenToolbarTakesNoRoom) {
  device_ = testing::installDevice(Size{768, 1024}, 2, UserInterfaceIdiom::Tablet);
  auto page = make("page");
  auto nav = NavigationStackController::make(page);
  auto window = testing::showInWindow(nav);
  auto wrapper = std::make_shared<View>();
  wrapper->setTranslatesAutoresizingMaskIntoConstraints(false);
  page->view()->addSubview(wrapper);
  auto leading = LayoutConstraint::equal(wrapper, LayoutAttribute::Leading, page->view(), LayoutAttribute::Leading);
  auto trailing = LayoutConstraint::equal(wrapper, LayoutAttribute::Trailing, page->view(), LayoutAttribute::Trailing);
  auto top = LayoutConstraint::equal(wrapper, LayoutAttribute::Top, page->view(), LayoutAttribute::Top);
  auto bottom = LayoutConstraint::equal(wrapper, LayoutAttribute::Bottom, page->view(), LayoutAttribute::Bottom);
  LayoutConstraint::activateConstraints({leading, trailing, top, bottom});
  auto configureMargins = [&] {
    const bool regular = page->traitCollection().horizontalSizeClass == UserInterfaceSizeClass::Regular &&
                         page->traitCollection().verticalSizeClass == UserInterfaceSizeClass::Regular;
    const double side = regular ? 45 : 17;
    const Size pageSize = page->view()->bounds().size;
    const double vertical = regular || pageSize.height > 2 * pageSize.width ? 45 : 17;
    const Rect status = window->screen()->statusBarFrame();
    leading->setConstant(side);
    trailing->setConstant(-side);
    top->setConstant(std::min(status.width(), status.height()) + nav->navigationBar().frame().height() + vertical);
    bottom->setConstant(-(vertical + (nav->isToolbarHidden() ? 0 : nav->toolbar().frame().height())));
    window->layoutIfNeeded();
  };

  configureMargins();
  EXPECT_EQ(window->screen()->statusBarFrame(), Rect(0, 0, 768, 20));
  EXPECT_EQ(nav->navigationBar().frame(), Rect(0, 20, 768, 44));
  EXPECT_EQ(wrapper->frame(), Rect(45, 20 + 44 + 45, 768 - 90, 1024 - 109 - 45));

  // Turned, with the toolbar shown: the status bar stays on a tablet.
  device_->setOrientation(InterfaceOrientation::LandscapeLeft);
  window->transitionToSize(Size{1024, 768});
  nav->setToolbarHidden(false, false);
  window->layoutIfNeeded();
  configureMargins();
  EXPECT_EQ(window->screen()->statusBarFrame(), Rect(0, 0, 1024, 20));
  EXPECT_EQ(nav->navigationBar().frame(), Rect(0, 20, 1024, 44));
  EXPECT_EQ(nav->toolbar().frame(), Rect(0, 768 - 44, 1024, 44));
  EXPECT_EQ(page->traitCollection().horizontalSizeClass, UserInterfaceSizeClass::Regular);
  EXPECT_EQ(wrapper->frame(), Rect(45, 109, 1024 - 90, 768 - 109 - 45 - 44));
}

TEST_F(ViewControllerTest, AssociatedObjects_LiveAsLongAsTheController) {
  auto controller = make("listing");
  auto state = std::make_shared<int>(42);
  std::weak_ptr<int> watch = state;
  controller->setAssociatedObject("key", state);
  state.reset();
  EXPECT_EQ(*std::static_pointer_cast<int>(controller->associatedObject("key")), 42);
  EXPECT_EQ(controller->associatedObject("other"), nullptr);
  controller.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ViewControllerTest, Restoration_CoderKeepsValuesByKey) {
  StateCoder coder;
  coder.encodeObject("url", platform::Value(std::string("file:///a")));
  coder.encodeInteger("PreviewMode", 1);
  EXPECT_EQ(coder.decodeInteger("PreviewMode"), 1);
  EXPECT_EQ(coder.decodeInteger("missing"), 0);
  EXPECT_TRUE(coder.decodeObject("missing").isNull());
  EXPECT_EQ(*coder.decodeObject("url").asString(), "file:///a");
  EXPECT_EQ(coder.decodeInteger("url"), 0);  // not a number
}

}  // namespace
}  // namespace velune::ui
