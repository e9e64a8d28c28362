// The details page on a temporary home: its structure, where the open-in
// button goes on a phone and on a tablet, the portrait and landscape rule
// sets switched by a size change, renaming by tapping the name, and odd items
// (long names in several scripts, deep folders, dates far away).

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>

#include "host/HostAppRegistry.h"
#include "host/drive/BuiltinTypeRegistry.h"
#include "host/drive/HostURLResourceService.h"
#include "model/RenamePrompt.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "platform/ui/TextField.h"
#include "tests/preview/PreviewTestFixture.h"
#include "views/FileInfoCell.h"
#include "views/FileInfoStackView.h"
#include "views/HairlineView.h"
#include "views/PreviewDetailsViewController.h"
#include "views/SimpleTextViewController.h"
#include "views/ThumbnailImageView.h"

namespace velune {
namespace {

using testing::runMainUntilIdle;
using ui::StackView;

// An application that opens PDF documents in place; nothing opens text.
constexpr const char* kApps = R"({"applications": [
  {"identifier": "com.example.pages", "name": "Pages Reader", "opensInPlace": true, "defaultFor": ["public.pdf"]}
]})";

class PreviewDetailsViewControllerTest : public testing::PreviewFixture {
 protected:
  void SetUp() override {
    testing::DriveTestHome::writeRaw(home_.layout().appsJson(), kApps);
    registry_ = std::make_shared<host::HostAppRegistry>(home_.layout().appsJson(), home_.driveServices().resources,
                                                        home_.driveServices().types);
    home_.services().apps = registry_;
    PreviewFixture::SetUp();
  }

  // Turns the simulated phone into a tablet (820 × 1180) with a new window.
  void becomeTablet() {
    navigation_->setViewControllers({root_}, false);
    runMainUntilIdle();
    auto services = home_.services();
    services.device = std::make_shared<platform::DeviceInfo>(ui::Size{820, 1180}, 2, ui::UserInterfaceIdiom::Tablet);
    platform::Platform::install(services);
    device_ = services.device;
    window_ = testing::showInWindow(navigation_);
  }

  // The details page of the document at `path`, on top of the stack and laid out.
  std::shared_ptr<PreviewDetailsViewController> detailsOf(const std::string& path) {
    auto manager = makeManager(1);
    manager->previewItem(itemAt(path));
    runMainUntilIdle();
    window_->layoutIfNeeded();
    keep_ = manager;
    return std::dynamic_pointer_cast<PreviewDetailsViewController>(top());
  }

  // Rotates the window (the device turns first, as the host does) and lets the
  // page's queued adjustment run.
  void rotateTo(ui::Size size) {
    device_->setOrientation(size.width > size.height ? ui::InterfaceOrientation::LandscapeRight
                                                     : ui::InterfaceOrientation::Portrait);
    window_->transitionToSize(size);
    runMainUntilIdle();
    window_->layoutIfNeeded();
  }

  ui::Rect inWindow(const std::shared_ptr<ui::View>& view) const {
    return view->convertRectToView(view->bounds(), window_.get());
  }

  static bool allActive(const std::vector<std::shared_ptr<ui::LayoutConstraint>>& rules) {
    for (const auto& rule : rules) {
      if (!rule->isActive()) {
        return false;
      }
    }
    return !rules.empty();
  }
  static bool noneActive(const std::vector<std::shared_ptr<ui::LayoutConstraint>>& rules) {
    for (const auto& rule : rules) {
      if (rule->isActive()) {
        return false;
      }
    }
    return true;
  }

  std::shared_ptr<host::HostAppRegistry> registry_;
  std::shared_ptr<PreviewItemManager> keep_;
};

TEST_F(PreviewDetailsViewControllerTest, Structure_OnAPhoneTheOpenInButtonSitsOnTheNavigationBarAndOpensOnce) {
  const std::string pdf = home_.writeDocument(home_.documents() + "/Brief.pdf", "%PDF-1.4\n%%EOF\n");
  const auto page = detailsOf(pdf);
  ASSERT_TRUE(page);

  // thumbnail, then the details: the name between two hairlines, then the rows.
  const auto& main = page->mainStackView();
  ASSERT_EQ(main->arrangedSubviews().size(), 2U);
  EXPECT_EQ(main->arrangedSubviews()[0], page->thumbnailView());
  EXPECT_EQ(main->arrangedSubviews()[1], page->fileDetailsView());
  EXPECT_EQ(main->spacing(), 15);
  EXPECT_EQ(main->superview(), page->wrapperView());
  const auto& details = page->fileDetailsView()->arrangedSubviews();
  ASSERT_EQ(details.size(), 2U);
  EXPECT_EQ(details[0], page->filenameStackView());
  EXPECT_EQ(details[1], page->fileInfoView());
  EXPECT_EQ(page->fileDetailsView()->spacing(), 15);
  const auto& name = page->filenameStackView()->arrangedSubviews();
  ASSERT_EQ(name.size(), 3U);
  ASSERT_EQ(page->hairlineViews().size(), 2U);
  EXPECT_EQ(name[0], page->hairlineViews()[0]);
  EXPECT_EQ(name[1], page->filenameTextField());
  EXPECT_EQ(name[2], page->hairlineViews()[1]);
  EXPECT_EQ(page->filenameStackView()->spacing(), 7);
  for (const auto& stack : {main, page->fileDetailsView(), page->filenameStackView()}) {
    EXPECT_EQ(stack->contentHuggingPriority(ui::Axis::Vertical), ui::kLayoutPriorityRequired);
  }
  EXPECT_EQ(page->thumbnailView()->contentHuggingPriority(ui::Axis::Horizontal), 249);
  EXPECT_EQ(page->thumbnailView()->contentCompressionResistancePriority(ui::Axis::Vertical),
            ui::kLayoutPriorityRequired);

  // The item's name and rows, its thumbnail.
  EXPECT_EQ(page->filenameTextField()->text(), "Brief.pdf");
  EXPECT_EQ(page->originalFilename(), std::optional<std::string>("Brief.pdf"));
  EXPECT_EQ(page->filenameTextField()->font().pointSize(), 24);
  EXPECT_EQ(page->filenameTextField()->frame().size.height, 1.2 * page->filenameTextField()->font().lineHeight());
  EXPECT_EQ(page->fileInfoView()->item(), keep_->item());
  EXPECT_EQ(page->thumbnailView()->item(), keep_->item());
  EXPECT_EQ(page->fileInfoView()->arrangedSubviews().size(), 5U) << "kind, size, where, created, modified";

  // On a phone the button is on the navigation bar, not in the page.
  ASSERT_TRUE(page->openInAppButton());
  EXPECT_EQ(page->openInAppButton()->titleForState(ui::ControlState::Normal), std::optional<std::string>("Open in “Pages Reader”"));
  EXPECT_FALSE(page->openInAppButton()->isDescendantOfView(page->view().get()));
  const auto right = page->navigationItem().rightBarButtonItem();
  ASSERT_TRUE(right);
  EXPECT_EQ(right->customView(), page->openInAppButton());

  // Every appearance configures the bars again; one tap still opens once.
  navigation_->pushViewController(std::make_shared<ui::ViewController>(), false);
  runMainUntilIdle();
  navigation_->popViewControllerAnimated(false);
  runMainUntilIdle();
  ASSERT_EQ(top(), page);
  EXPECT_EQ(page->openInAppButton()->actionCount(ui::ControlEvent::TouchUpInside), 1U);
  ASSERT_TRUE(page->openInAppButton()->tap());
  runMainUntilIdle();
  ASSERT_EQ(registry_->openedDocuments().size(), 1U);
  EXPECT_EQ(registry_->openedDocuments()[0].bundleIdentifier, "com.example.pages");
}

TEST_F(PreviewDetailsViewControllerTest, Structure_OnATabletTheButtonIsInThePageAndADocumentWithoutAppHasNone) {
  const std::string pdf = home_.writeDocument(home_.documents() + "/Brief.pdf", "%PDF-1.4\n%%EOF\n");
  const std::string text = home_.writeDocument(home_.documents() + "/Plain.txt", "plain");

  // A phone, a text without an application: no button anywhere.
  auto page = detailsOf(text);
  ASSERT_TRUE(page);
  EXPECT_FALSE(page->openInAppButton());
  EXPECT_FALSE(page->navigationItem().rightBarButtonItem());
  EXPECT_EQ(page->hairlineViews().size(), 2U);

  becomeTablet();
  page = detailsOf(pdf);
  ASSERT_TRUE(page);
  const auto& details = page->fileDetailsView()->arrangedSubviews();
  ASSERT_EQ(details.size(), 4U);
  ASSERT_EQ(page->hairlineViews().size(), 3U);
  EXPECT_EQ(details[2], page->hairlineViews()[2]);
  EXPECT_EQ(details[3], page->openInAppButton());
  EXPECT_EQ(page->openInAppButton()->titleFont().pointSize(), 24);
  for (const auto& item : page->navigationItem().rightBarButtonItems()) {
    EXPECT_NE(item->customView(), page->openInAppButton());
  }
  EXPECT_TRUE(navigation_->isToolbarHidden());
  EXPECT_FALSE(page->openInAppButton()->frame().isEmpty());
  ASSERT_TRUE(page->openInAppButton()->tap());
  runMainUntilIdle();
  EXPECT_EQ(registry_->openedDocuments().size(), 1U);

  // A tablet, a text: two hairlines, nothing below the rows.
  page = detailsOf(text);
  EXPECT_EQ(page->fileDetailsView()->arrangedSubviews().size(), 2U);
  EXPECT_EQ(page->hairlineViews().size(), 2U);
}

TEST_F(PreviewDetailsViewControllerTest, Rotation_SwitchesTheRuleSetsByTheNewSizesShape) {
  const std::string pdf = home_.writeDocument(home_.documents() + "/Brief.pdf", "%PDF-1.4\n%%EOF\n");
  becomeTablet();
  rotateTo(ui::Size{768, 1024});
  const auto page = detailsOf(pdf);
  ASSERT_TRUE(page);
  EXPECT_TRUE(allActive(page->verticalConstraints()));
  EXPECT_TRUE(noneActive(page->horizontalConstraints()));

  // Portrait: the thumbnail above the details, the hairlines across the page.
  EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Vertical);
  EXPECT_LE(inWindow(page->thumbnailView()).maxY(), inWindow(page->fileDetailsView()).minY());
  for (const auto& hairline : page->hairlineViews()) {
    EXPECT_EQ(inWindow(hairline).minX(), 0);
    EXPECT_EQ(inWindow(hairline).size.width, 768);
  }

  // 1024 × 768 is landscape: side by side in equal halves, the details
  // leading-aligned, the hairlines from the details to the page's edge.
  rotateTo(ui::Size{1024, 768});
  EXPECT_TRUE(allActive(page->horizontalConstraints()));
  EXPECT_TRUE(noneActive(page->verticalConstraints()));
  EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Horizontal);
  EXPECT_EQ(page->mainStackView()->distribution(), StackView::Distribution::FillEqually);
  EXPECT_EQ(page->fileDetailsView()->alignment(), StackView::Alignment::Leading);
  EXPECT_EQ(page->filenameStackView()->alignment(), StackView::Alignment::Leading);
  EXPECT_EQ(page->filenameTextField()->textAlignment(), ui::TextAlignment::Natural);
  const ui::Rect thumbnail = inWindow(page->thumbnailView());
  const ui::Rect details = inWindow(page->fileDetailsView());
  EXPECT_LE(thumbnail.maxX(), details.minX());
  EXPECT_EQ(thumbnail.size.width, details.size.width);
  EXPECT_LE(details.size.height, page->mainStackView()->frame().size.height);
  for (const auto& hairline : page->hairlineViews()) {
    EXPECT_EQ(inWindow(hairline).minX(), details.minX());
    EXPECT_EQ(inWindow(hairline).maxX(), 1024);
  }
  // The margins followed the new size (a regular tablet: 45 at the sides).
  EXPECT_EQ(page->parentLeadingConstraint()->constant(), 45);

  // A square and 768 × 1024 are portrait again.
  for (const ui::Size size : {ui::Size{900, 900}, ui::Size{768, 1024}}) {
    rotateTo(size);
    EXPECT_TRUE(allActive(page->verticalConstraints())) << size.width << " × " << size.height;
    EXPECT_TRUE(noneActive(page->horizontalConstraints()));
    EXPECT_EQ(page->mainStackView()->axis(), ui::Axis::Vertical);
    EXPECT_EQ(page->fileDetailsView()->alignment(), StackView::Alignment::Center);
    EXPECT_EQ(page->filenameTextField()->textAlignment(), ui::TextAlignment::Center);
  }
}

TEST_F(PreviewDetailsViewControllerTest, Rotation_OfAPageThatIsGoneBeforeItsAdjustmentRunsDoesNothing) {
  // The adjustment after a size change runs later on the main queue; a page
  // dropped in between must not be touched (the task holds it weakly).
  const std::string pdf = home_.writeDocument(home_.documents() + "/Brief.pdf", "%PDF-1.4\n%%EOF\n");
  std::weak_ptr<PreviewDetailsViewController> weak = detailsOf(pdf);
  ASSERT_FALSE(weak.expired());
  device_->setOrientation(ui::InterfaceOrientation::LandscapeRight);
  window_->transitionToSize(ui::Size{844, 390});
  navigation_->setViewControllers({root_}, false);
  keep_.reset();
  managers_.clear();
  runMainUntilIdle();
  EXPECT_TRUE(weak.expired());
}

TEST_F(PreviewDetailsViewControllerTest, Rename_ByTappingTheNameRenamesOrShowsWhyNot) {
  const std::string doc = home_.writeDocument(home_.documents() + "/Draft.txt", "draft");
  const auto page = detailsOf(doc);
  ASSERT_TRUE(page);
  ASSERT_TRUE(page->filenameTextField()->tap());
  const auto prompt = page->renamePrompt();
  ASSERT_TRUE(prompt);
  EXPECT_EQ(page->presentedViewController(), prompt->alert());
  EXPECT_TRUE(page->lastTransitionAnimated() || prompt->alert()->lastTransitionAnimated());
  auto& field = *prompt->alert()->textFields().front();
  EXPECT_EQ(field.text(), "Draft.txt");

  // A rename that fails (the document went away): the prompt stays with the reason.
  const std::string moved = home_.documents() + "/Elsewhere.txt";
  ASSERT_EQ(std::rename(doc.c_str(), moved.c_str()), 0);
  field.typeText("Final.txt");
  EXPECT_TRUE(prompt->alert()->tapAction(prompt->defaultAction()));
  runMainUntilIdle();
  EXPECT_EQ(page->presentedViewController(), prompt->alert());
  const std::string reason = prompt->errMsgViewController()->messageLabel()->text();
  EXPECT_FALSE(reason.empty());
  EXPECT_NE(reason, "Final.txt");
  ASSERT_EQ(std::rename(moved.c_str(), doc.c_str()), 0);

  // Done renames the document; the page shows the new name once the manager refreshes.
  EXPECT_TRUE(prompt->alert()->tapAction(prompt->defaultAction()));
  runMainUntilIdle();
  EXPECT_FALSE(page->presentedViewController());
  EXPECT_TRUE(testing::DriveTestHome::exists(home_.documents() + "/Final.txt"));
  EXPECT_FALSE(testing::DriveTestHome::exists(doc));
  keep_->refreshItem(home_.url(home_.documents() + "/Final.txt"));
  runMainUntilIdle();
  EXPECT_EQ(page->filenameTextField()->text(), "Final.txt");
}

TEST_F(PreviewDetailsViewControllerTest, Rename_OfAnItemThatCannotBeRenamedOrOfNoItemDoesNothing) {
  const std::string doc = home_.writeDocument(home_.documents() + "/Shared.txt", "shared");
  ASSERT_FALSE(home_.drive().setAttributes(doc, host::ItemAttributes{{}, true, "participant", false}));
  const auto page = detailsOf(doc);
  ASSERT_TRUE(page);
  ASSERT_FALSE(keep_->item()->renameable());
  page->filenameTextField()->tap();
  EXPECT_FALSE(page->renamePrompt());
  EXPECT_FALSE(page->presentedViewController());

  keep_->setItem(nullptr, false);
  page->refreshItem();
  EXPECT_EQ(page->originalFilename(), std::nullopt);
  EXPECT_EQ(page->filenameTextField()->text(), "");
  page->filenameWasTapped();
  EXPECT_FALSE(page->presentedViewController());
}

TEST_F(PreviewDetailsViewControllerTest, OddItems_LongNamesDeepFoldersAndFarDatesStillShowThePage) {
  std::string folder = home_.documents();
  for (int level = 0; level < 30; ++level) {
    folder += "/Level " + std::to_string(level);
  }
  home_.makeFolder(folder);
  // 255 bytes of names in three scripts: Latin, Arabic (two bytes a letter), emoji (four).
  const std::vector<std::string> names = {
      std::string(251, 'a') + ".txt",
      [] {
        std::string name;
        while (name.size() + 2 <= 251) name += "\u0645";
        return name + std::string(251 - name.size(), 'x') + ".txt";
      }(),
      [] {
        std::string name;
        while (name.size() + 4 <= 251) name += "\U0001F4DD";
        return name + std::string(251 - name.size(), 'y') + ".txt";
      }(),
  };
  rotateTo(ui::Size{844, 390});
  for (const auto& name : names) {
    ASSERT_EQ(name.size(), 255U);
    const std::string doc = home_.writeDocument(folder + "/" + name, "odd");
    ASSERT_EQ(::utimensat(AT_FDCWD, doc.c_str(),
                          std::array<timespec, 2>{timespec{253402300799, 0}, timespec{-62135596800, 0}}.data(), 0),
              0);
    const auto page = detailsOf(doc);
    ASSERT_TRUE(page) << name;
    EXPECT_EQ(page->filenameTextField()->text(), name);
    EXPECT_EQ(page->filenameTextField()->displayedText().lines.size(), 1U);
    // The name stays inside the page, the rows are all there, and "Where" keeps to three lines.
    EXPECT_LE(inWindow(page->filenameTextField()).maxX(), 844 + 8);
    const auto& rows = page->fileInfoView()->arrangedSubviews();
    ASSERT_GE(rows.size(), 4U);
    const auto where = std::static_pointer_cast<FileInfoCell>(rows[2]);
    EXPECT_LE(where->valueLabel()->displayedText().lines.size(), 3U);
    EXPECT_TRUE(page->fileInfoView()->modifiedDateCell());
    EXPECT_FALSE(page->fileInfoView()->modifiedDateCell()->valueLabel()->text().empty());
  }
}

}  // namespace
}  // namespace velune
