#include "shell/ScreenSnapshot.h"

#include <gtest/gtest.h>

#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Label.h"
#include "platform/ui/Layer.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/TextField.h"
#include "shell/ImageRegistry.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;

// The node of an element, searched depth first.
const json* findNode(const json& node, const std::string& id) {
  if (node.is_object() && node.value("id", "") == id) {
    return &node;
  }
  if (node.is_object() && node.contains("children")) {
    for (const auto& child : node["children"]) {
      if (const json* found = findNode(child, id)) {
        return found;
      }
    }
  }
  return nullptr;
}

bool hasAction(const json& node, const std::string& action) {
  if (!node.contains("actions")) {
    return false;
  }
  for (const auto& a : node["actions"]) {
    if (a == action) {
      return true;
    }
  }
  return false;
}

class ScreenSnapshotTest : public testing::UITestCase {
 protected:
  json snapshot(const std::shared_ptr<ui::Window>& window) { return ScreenSnapshot::make(window, 7, images_); }
  ImageRegistry images_{"t"};
};

TEST_F(ScreenSnapshotTest, Elements_CarryIdentifierKindFrameFlagsLabelAndActions) {
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  auto title = ui::Label::make("Documents");
  title->setIdentifier("title");
  title->setFrame(ui::Rect(10, 20, 200, 22));
  auto open = ui::Button::buttonWithType(ui::ButtonType::System);
  open->setIdentifier("open");
  open->setTitle("Open", ui::ControlState::Normal);
  open->setFrame(ui::Rect(10, 50, 80, 44));
  open->addAction(ui::ControlEvent::TouchUpInside, [](ui::Control&) {});
  auto gone = ui::Button::buttonWithType(ui::ButtonType::System);
  gone->setIdentifier("gone");
  gone->setTitle("Gone", ui::ControlState::Normal);
  gone->setEnabled(false);
  auto hidden = ui::View::make(ui::Rect(0, 0, 10, 10));
  hidden->setIdentifier("hidden");
  hidden->setHidden(true);
  hidden->addSubview(ui::Label::make("never shown"));
  auto field = std::make_shared<ui::TextField>();
  field->setIdentifier("name");
  field->setPlaceholder("Name");
  auto icon = std::make_shared<ui::ImageView>(ui::Image::blank(ui::Size{20, 20}, 3));
  icon->setIdentifier("icon");
  icon->setAccessibilityLabel("Folder");
  for (const auto& view : std::vector<std::shared_ptr<ui::View>>{title, open, gone, hidden, field, icon}) {
    root->view()->addSubview(view);
  }
  testing::runMainUntilIdle();

  const json snap = snapshot(window);
  EXPECT_EQ(snap["format"], ScreenSnapshot::kFormat);
  EXPECT_EQ(snap["generation"], 7);
  EXPECT_EQ(snap["screen"]["width"], 390);
  EXPECT_EQ(snap["screen"]["idiom"], "phone");
  EXPECT_EQ(snap["screen"]["orientation"], "portrait");
  EXPECT_EQ(snap["window"]["kind"], "Window");

  const json* titleNode = findNode(snap["window"], "title");
  ASSERT_NE(titleNode, nullptr);
  EXPECT_EQ((*titleNode)["kind"], "Label");
  EXPECT_EQ((*titleNode)["frame"], json::array({10, 20, 200, 22}));
  EXPECT_EQ((*titleNode)["text"], "Documents");
  EXPECT_EQ((*titleNode)["label"], "Documents");
  EXPECT_FALSE(titleNode->contains("actions"));

  const json* openNode = findNode(snap["window"], "open");
  ASSERT_NE(openNode, nullptr);
  EXPECT_EQ((*openNode)["title"], "Open");
  EXPECT_TRUE(hasAction(*openNode, "tap"));
  EXPECT_FALSE(openNode->contains("enabled"));

  const json* goneNode = findNode(snap["window"], "gone");
  ASSERT_NE(goneNode, nullptr);
  EXPECT_EQ((*goneNode)["enabled"], false);
  EXPECT_FALSE(hasAction(*goneNode, "tap")) << "a disabled button answers nothing";

  const json* hiddenNode = findNode(snap["window"], "hidden");
  ASSERT_NE(hiddenNode, nullptr);
  EXPECT_EQ((*hiddenNode)["hidden"], true);
  EXPECT_FALSE(hiddenNode->contains("children")) << "what a hidden view holds is not sent";

  const json* fieldNode = findNode(snap["window"], "name");
  ASSERT_NE(fieldNode, nullptr);
  EXPECT_EQ((*fieldNode)["placeholder"], "Name");
  EXPECT_TRUE(hasAction(*fieldNode, "type"));
  EXPECT_TRUE(hasAction(*fieldNode, "return"));

  const json* iconNode = findNode(snap["window"], "icon");
  ASSERT_NE(iconNode, nullptr);
  EXPECT_EQ((*iconNode)["label"], "Folder");
  const std::string src = (*iconNode)["image"]["src"];
  EXPECT_EQ(src.rfind(ImageRegistry::kPathPrefix, 0), 0U) << src;
  EXPECT_EQ((*iconNode)["image"]["width"], 20);
}

TEST_F(ScreenSnapshotTest, NavigationStack_BarsShowTitlesBackButtonAndItemFrames) {
  auto first = std::make_shared<ui::ViewController>();
  first->setTitle("Velune Drive");
  auto second = std::make_shared<ui::ViewController>();
  second->setTitle("Photos");
  auto edit = ui::BarButtonItem::withTitle("Select", ui::BarButtonItemStyle::Plain, [](ui::BarButtonItem&) {});
  second->navigationItem().setRightBarButtonItem(edit);
  auto trash = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Trash, [](ui::BarButtonItem&) {});
  trash->setEnabled(false);
  second->setToolbarItems({ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace), trash});
  auto stack = ui::NavigationStackController::make(first);
  stack->setToolbarHidden(false, false);
  auto window = testing::showInWindow(stack);
  stack->pushViewController(second, false);
  testing::runMainUntilIdle();

  const json snap = snapshot(window);
  const json* bar = findNode(snap["window"], stack->navigationBar().identifier());
  ASSERT_NE(bar, nullptr);
  EXPECT_EQ((*bar)["title"], "Photos");
  EXPECT_EQ((*bar)["back"]["title"], "Velune Drive");
  EXPECT_TRUE(hasAction(*bar, "back"));
  ASSERT_EQ((*bar)["right"].size(), 1U);
  EXPECT_EQ((*bar)["right"][0]["title"], "Select");
  EXPECT_TRUE(hasAction((*bar)["right"][0], "tap"));

  const json* toolbar = findNode(snap["window"], stack->toolbar().identifier());
  ASSERT_NE(toolbar, nullptr);
  ASSERT_EQ((*toolbar)["items"].size(), 2U);
  EXPECT_EQ((*toolbar)["items"][0]["space"], true);
  EXPECT_EQ((*toolbar)["items"][1]["system"], "trash");
  EXPECT_EQ((*toolbar)["items"][1]["enabled"], false);
  EXPECT_FALSE(hasAction((*toolbar)["items"][1], "tap"));
  // The trash can sits at the trailing end of the 390-point bar.
  const json& frame = (*toolbar)["items"][1]["frame"];
  EXPECT_DOUBLE_EQ(frame[0].get<double>() + frame[2].get<double>(), 390 - ui::Toolbar::kMargin);

  stack->popViewControllerAnimated(false);
  testing::runMainUntilIdle();
  const json after = snapshot(window);
  const json* rootBar = findNode(after["window"], stack->navigationBar().identifier());
  ASSERT_NE(rootBar, nullptr);
  EXPECT_FALSE(rootBar->contains("back")) << "the root has nothing to go back to";
}

// Regression: a toolbar item made of a button was drawn and tapped as enabled
// after the item itself had been disabled.
TEST_F(ScreenSnapshotTest, Toolbar_ADisabledCustomButtonItemIsDrawnDisabledAndTakesNoTap) {
  auto screen = std::make_shared<ui::ViewController>();
  int taps = 0;
  auto button = ui::Button::buttonWithType(ui::ButtonType::System);
  button->setTitle("Move", ui::ControlState::Normal);
  button->sizeToFit();
  button->addAction(ui::ControlEvent::TouchUpInside, [&taps](ui::Control&) { ++taps; });
  auto move = ui::BarButtonItem::withCustomView(button);
  screen->setToolbarItems({move});
  auto stack = ui::NavigationStackController::make(screen);
  stack->setToolbarHidden(false, false);
  auto window = testing::showInWindow(stack);
  testing::runMainUntilIdle();

  move->setEnabled(false);
  json snap = snapshot(window);
  const json* drawn = findNode(snap["window"], button->identifier());
  ASSERT_NE(drawn, nullptr);
  EXPECT_EQ((*drawn)["enabled"], false);
  EXPECT_FALSE(hasAction(*drawn, "tap"));
  EXPECT_FALSE(button->tap());

  move->setEnabled(true);
  snap = snapshot(window);
  drawn = findNode(snap["window"], button->identifier());
  ASSERT_NE(drawn, nullptr);
  EXPECT_FALSE(drawn->contains("enabled"));
  EXPECT_TRUE(hasAction(*drawn, "tap"));
  EXPECT_TRUE(button->tap());
  EXPECT_EQ(taps, 1);
}

TEST_F(ScreenSnapshotTest, ActionSheetOnTablet_CarriesActionsAndItsPopoverAnchor) {
  testing::installDevice(ui::Size{820, 1180}, 2, ui::UserInterfaceIdiom::Tablet);
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  auto anchor = ui::View::make(ui::Rect(700, 100, 44, 44));
  anchor->setIdentifier("anchor");
  root->view()->addSubview(anchor);
  auto sheet = ui::AlertController::make(std::nullopt, "Photo.png", ui::AlertControllerStyle::ActionSheet);
  auto share = ui::AlertAction::make("Share", ui::AlertActionStyle::Default);
  auto remove = ui::AlertAction::make("Delete", ui::AlertActionStyle::Destructive);
  remove->setEnabled(false);
  sheet->addAction(share);
  sheet->addAction(remove);
  sheet->addAction(ui::AlertAction::make("Cancel", ui::AlertActionStyle::Cancel));
  sheet->popoverPresentationController().setSourceView(anchor);
  sheet->popoverPresentationController().setSourceRect(anchor->bounds());
  ASSERT_TRUE(root->presentViewController(sheet, true));
  testing::runMainUntilIdle();

  const json snap = snapshot(window);
  EXPECT_EQ(snap["screen"]["idiom"], "tablet");
  const json* sheetNode = findNode(snap["window"], sheet->view()->identifier());
  ASSERT_NE(sheetNode, nullptr);
  const json& presentation = (*sheetNode)["presentation"];
  EXPECT_EQ(presentation["style"], "popover");
  EXPECT_EQ(presentation["anchor"]["view"], "anchor");
  EXPECT_EQ(presentation["anchor"]["rect"], json::array({700, 100, 44, 44}));
  const json& alert = presentation["alert"];
  EXPECT_EQ(alert["style"], "actionSheet");
  EXPECT_EQ(alert["message"], "Photo.png");
  ASSERT_EQ(alert["actions"].size(), 3U);
  EXPECT_EQ(alert["actions"][0]["id"], share->identifier());
  EXPECT_TRUE(hasAction(alert["actions"][0], "choose"));
  EXPECT_EQ(alert["actions"][1]["style"], "destructive");
  EXPECT_EQ(alert["actions"][1]["enabled"], false);
  EXPECT_EQ(alert["actions"][2]["style"], "cancel");
  EXPECT_TRUE(hasAction(*sheetNode, "dismiss"));
  // The root's own view is a screen, not a presentation.
  const json* rootNode = findNode(snap["window"], root->view()->identifier());
  ASSERT_NE(rootNode, nullptr);
  EXPECT_EQ((*rootNode)["controller"], root->identifier());
  EXPECT_FALSE(rootNode->contains("presentation"));
}

// A view that draws itself: a filled circle, as the progress pies do.
class DotView : public ui::View {
 public:
  DotView() : View(ui::Rect(0, 0, 20, 20)) {}
  bool drawsContent() const override { return true; }
  void drawRect(ui::GraphicsContext& context, ui::Rect) override {
    context.setFillColor(ui::Color::red());
    context.fill(ui::BezierPath::circle(ui::Point{10, 10}, 8));
  }
};

TEST_F(ScreenSnapshotTest, ShapeLayersAndDrawnViews_ArriveAsPaths) {
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  auto ring = ui::View::make(ui::Rect(0, 0, 40, 40));
  ring->setIdentifier("ring");
  auto slice = std::make_shared<ui::ShapeLayer>();
  ui::BezierPath path;
  path.moveTo(ui::Point{20, 20});
  path.addArc(ui::Point{20, 20}, 18, -std::numbers::pi / 2, 0, true);
  path.close();
  slice->setPath(path);
  slice->setFillColor(ui::Color::systemBlue());
  ring->layer().addSublayer(slice);
  auto dot = std::make_shared<DotView>();
  dot->setIdentifier("dot");
  root->view()->addSubview(ring);
  root->view()->addSubview(dot);
  testing::runMainUntilIdle();

  const json snap = snapshot(window);
  const json* ringNode = findNode(snap["window"], "ring");
  ASSERT_NE(ringNode, nullptr);
  ASSERT_EQ((*ringNode)["layers"].size(), 1U);
  const std::string d = (*ringNode)["layers"][0]["path"];
  // From the centre to twelve o'clock, a quarter arc to three o'clock, closed.
  EXPECT_EQ(d.substr(0, 12), "M20.00 20.00");
  EXPECT_NE(d.find("L20.00 2.00"), std::string::npos) << d;
  EXPECT_NE(d.find("38.00 20.00"), std::string::npos) << d;
  EXPECT_EQ(d.back(), 'Z');
  EXPECT_EQ((*ringNode)["layers"][0]["fill"], ui::Color::systemBlue().hexString());

  const json* dotNode = findNode(snap["window"], "dot");
  ASSERT_NE(dotNode, nullptr);
  ASSERT_EQ((*dotNode)["drawing"].size(), 1U);
  EXPECT_EQ((*dotNode)["drawing"][0]["fill"], ui::Color::red().hexString());
}

TEST_F(ScreenSnapshotTest, Images_KeepTheirNameAndAreLetGoTwoRoundsAfterLastUse) {
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  auto imageView = std::make_shared<ui::ImageView>(ui::Image::blank(ui::Size{4, 4}, 1));
  imageView->setIdentifier("pic");
  root->view()->addSubview(imageView);
  testing::runMainUntilIdle();

  const std::string first = (*findNode(snapshot(window)["window"], "pic"))["image"]["src"];
  const std::string again = (*findNode(snapshot(window)["window"], "pic"))["image"]["src"];
  EXPECT_EQ(first, again);
  const std::string key = first.substr(std::string(ImageRegistry::kPathPrefix).size());
  const auto png = images_.pngData(key);
  ASSERT_TRUE(png.has_value());
  ASSERT_GT((*png)->size(), 8U);
  EXPECT_EQ((**png)[1], 'P');

  imageView->setImage(nullptr);
  snapshot(window);
  EXPECT_TRUE(images_.pngData(key).has_value()) << "a page one snapshot behind still finds it";
  snapshot(window);
  EXPECT_FALSE(images_.pngData(key).has_value());
  EXPECT_FALSE(images_.pngData("../../etc/passwd").has_value());
}

TEST_F(ScreenSnapshotTest, HostileTexts_GiveValidJsonAndDeepTreesAreCut) {
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  auto label = ui::Label::make(std::string("bad \xff\xfe bytes \"quoted\" </script>"));
  label->setIdentifier("bad");
  root->view()->addSubview(label);
  std::shared_ptr<ui::View> parent = root->view();
  for (int i = 0; i < 300; ++i) {
    auto child = ui::View::make(ui::Rect(0, 0, 1, 1));
    parent->addSubview(child);
    parent = child;
  }
  testing::runMainUntilIdle();

  const std::string text = ScreenSnapshot::text(window, 1, images_);
  const json parsed = json::parse(text, nullptr, false);
  ASSERT_FALSE(parsed.is_discarded());
  const json* bad = findNode(parsed["window"], "bad");
  ASSERT_NE(bad, nullptr);
  EXPECT_NE((*bad)["text"].get<std::string>().find("\"quoted\""), std::string::npos);
  EXPECT_LT(text.size(), 200'000U);
}

TEST_F(ScreenSnapshotTest, NoWindow_GivesTheScreenAndANullWindow) {
  const json snap = snapshot(nullptr);
  EXPECT_TRUE(snap["window"].is_null());
  EXPECT_EQ(snap["screen"]["height"], 844);
}

}  // namespace
}  // namespace velune::shell
