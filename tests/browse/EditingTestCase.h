#pragma once
// EditingTestCase: the navigation controller on a test drive, driven as a
// person would: tap "Select", tap rows to select them, tap the toolbar's
// buttons, answer the sheet or the prompt that comes up.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "platform/DocumentListController.h"
#include "platform/PreferencesStore.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ListViewCell.h"
#include "platform/ui/TextField.h"
#include "tests/support/BrowseTestHome.h"
#include "tests/support/LogLines.h"

namespace velune::testing {

class EditingTestCase : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    home_.services().standardPreferences->removeObject(kUbiquityIdentityTokenKey);
    home_.account().signIn("alice");
  }
  void TearDown() override {
    if (nav_) {
      nav_->endPreview();
    }
    window_.reset();
    nav_.reset();
    runMainUntilIdle();
  }

  void launch() {
    nav_ = NavController::create();
    window_ = showInWindow(nav_);
    settle();
    clearLogs();
  }
  void settle() { settleListings(home_); }
  std::shared_ptr<platform::DocumentListController> top() { return nav_->getTopDocumentListController(); }

  static platform::URL folderURL(const std::string& path) { return platform::URL::fileURLWithPath(path, true); }
  static platform::URL fileURL(const std::string& path) { return platform::URL::fileURLWithPath(path, false); }

  // A tap on the row of `url` in the top listing; false when it has no row.
  bool tapRow(const platform::URL& url) {
    auto listing = top();
    const auto& items = listing->containedItems();
    for (size_t row = 0; row < items.size(); ++row) {
      if (items[row].path() == url.path()) {
        listing->rowsView().scrollToRow(row);
        auto cell = listing->rowsView().cellForRow(row);
        return cell && cell->tap();
      }
    }
    return false;
  }
  // Opens the folder of a root row, as a tap on it does.
  void openFolder(const platform::URL& url) {
    ASSERT_TRUE(tapRow(url)) << url.path();
    settle();
  }
  bool tapSelect() { return top()->navigationItem().rightBarButtonItem()->tap(); }
  bool tapCancel() { return top()->navigationItem().rightBarButtonItem()->tap(); }
  // A tap on one of the toolbar's edit buttons, through the button itself.
  static bool tapToolbarButton(const std::shared_ptr<ui::BarButtonItem>& item) {
    return item && item->customView() && item->customView()->tap();
  }

  // What the navigation controller presents now (sheet, prompt, alert, picker).
  // Alerts of a flow's end go over the top listing, the rest over the stack.
  std::shared_ptr<ui::ViewController> presented() {
    if (auto onStack = nav_->presentedViewController()) {
      return onStack;
    }
    auto topScreen = nav_->topViewController();
    return topScreen ? topScreen->presentedViewController() : nullptr;
  }
  std::shared_ptr<ui::AlertController> presentedAlert() {
    return std::dynamic_pointer_cast<ui::AlertController>(presented());
  }
  // The action of the presented alert titled `title`; null when there is none.
  std::shared_ptr<ui::AlertAction> action(const std::string& title) {
    if (auto alert = presentedAlert()) {
      for (const auto& a : alert->actions()) {
        if (a->title() == title) {
          return a;
        }
      }
    }
    return nullptr;
  }
  bool choose(const std::string& title) {
    auto alert = presentedAlert();
    auto chosen = action(title);
    const bool tapped = alert && chosen && alert->tapAction(chosen);
    settle();
    return tapped;
  }
  // Types `text` into the presented prompt's field, as edits do.
  void type(const std::string& text) {
    auto alert = presentedAlert();
    ASSERT_TRUE(alert);
    ASSERT_FALSE(alert->textFields().empty());
    alert->textFields().front()->typeText(text);
  }

  BrowseTestHome home_;
  std::shared_ptr<NavController> nav_;
  std::shared_ptr<ui::Window> window_;
};

}  // namespace velune::testing
