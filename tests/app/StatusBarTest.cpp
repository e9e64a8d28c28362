#include "app/StatusBar.h"

#include <gtest/gtest.h>

#include "app/DocumentListControllerStatusBar.h"
#include "app/Settings.h"
#include "platform/DocumentListController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Label.h"
#include "platform/ui/NavigationStackController.h"
#include "tests/support/UITestSupport.h"

namespace velune {
namespace {

using platform::DocumentListController;

// The rule of when a listing gets its status bar belongs to the listing
// configuration of the navigation controller and is tested there
// (tests/browse/NavControllerTest.cpp); these tests are of the bar itself.
class StatusBarTest : public testing::UITestCase {};

TEST_F(StatusBarTest, Create_ACentredFootnoteLabelBetweenOneFlexibleSpaceUsedTwice) {
  DocumentListControllerStatusBar bar;
  bar.createStatusBar();
  const auto& label = bar.statusLabel();
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(label->textColor(), ui::Color::black());
  EXPECT_EQ(label->textColor(), Settings::statusLabelColor());
  EXPECT_EQ(label->font().pointSize(), 13);
  EXPECT_EQ(label->font().textStyle(), ui::TextStyle::Footnote);
  const auto& items = bar.toolbarItems();
  ASSERT_EQ(items.size(), 3U);
  EXPECT_TRUE(items[0]->isFlexibleSpace());
  EXPECT_EQ(items[0], items[2]);
  EXPECT_EQ(items[1]->customView(), label);
  EXPECT_EQ(Settings::backgroundColor(), ui::Color::white());
}

TEST_F(StatusBarTest, Lifetime_TheStatusBarLivesExactlyAsLongAsItsListing) {
  auto listing = std::make_shared<DocumentListController>();
  StatusBar::createStatusBar(*listing);
  std::weak_ptr<DocumentListControllerStatusBar> watch = StatusBar::statusBar(*listing);
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(listing->associatedObject(kStatusBarAssociationKey), watch.lock());
  listing.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(StatusBarTest, Toolbar_TheLineSitsInTheMiddleOfTheListingsToolbar) {
  auto listing = std::make_shared<DocumentListController>();
  auto nav = ui::NavigationStackController::make(listing);
  nav->setToolbarHidden(false, false);
  auto window = testing::showInWindow(nav);
  StatusBar::createStatusBar(*listing);
  StatusBar::displayStatusBar(*listing);
  nav->updateBars();
  const auto label = StatusBar::statusBar(*listing)->statusLabel();
  label->setText("12 items, 1.5 GB available");
  label->sizeToFit();
  window->layoutIfNeeded();
  EXPECT_EQ(label->superview().get(), &nav->toolbar());
  EXPECT_NEAR(label->frame().midX(), nav->toolbar().bounds().midX(), 1e-9);
  EXPECT_EQ(label->frame().size, label->intrinsicContentSize());
}

}  // namespace
}  // namespace velune
