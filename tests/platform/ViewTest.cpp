#include "platform/ui/View.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <set>

#include "platform/ui/Button.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageAssets.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Label.h"
#include "platform/ui/TextField.h"
#include "tests/support/UITestSupport.h"

namespace velune::ui {
namespace {

class ViewTest : public testing::UITestCase {
 protected:
};

TEST_F(ViewTest, Identifiers_AreUniqueStableAndFindable) {
  auto root = View::make();
  std::set<std::string> seen;
  for (int i = 0; i < 50; ++i) {
    auto child = i % 2 ? std::static_pointer_cast<View>(Label::make()) : View::make();
    EXPECT_TRUE(seen.insert(child->identifier()).second) << child->identifier();
    root->addSubview(child);
  }
  auto named = Button::buttonWithType(ButtonType::System);
  named->setIdentifier("download.cancel");
  root->subviews()[7]->addSubview(named);
  EXPECT_EQ(root->findByIdentifier("download.cancel"), named);
  EXPECT_EQ(root->findByIdentifier(root->subviews()[3]->identifier()), root->subviews()[3]);
  EXPECT_EQ(root->findByIdentifier("nobody"), nullptr);
  const std::string before = root->subviews()[3]->identifier();
  root->subviews()[3]->setFrame(Rect(1, 2, 3, 4));
  EXPECT_EQ(root->subviews()[3]->identifier(), before);
}

TEST_F(ViewTest, Hierarchy_AddMoveRemoveAndWindow) {
  auto a = View::make();
  auto b = View::make();
  auto child = View::make();
  a->addSubview(child);
  b->addSubview(child);  // moves
  EXPECT_TRUE(a->subviews().empty());
  EXPECT_EQ(child->superview(), b);
  b->addSubview(b);  // a view cannot contain itself
  child->addSubview(b);  // nor one of its ancestors
  EXPECT_EQ(b->superview(), nullptr);
  EXPECT_EQ(child->window(), nullptr);
  auto window = std::make_shared<Window>(Rect(0, 0, 100, 100));
  window->addSubview(b);
  EXPECT_EQ(child->window(), window);
  EXPECT_TRUE(child->isHiddenOrHasHiddenAncestor());  // windows start hidden
  window->makeKeyAndVisible();
  EXPECT_FALSE(child->isHiddenOrHasHiddenAncestor());
  EXPECT_EQ(Window::keyWindow(), window);
  child->removeFromSuperview();
  EXPECT_EQ(child->window(), nullptr);
}

TEST_F(ViewTest, Input_TapsReachOnlyVisibleEnabledControls) {
  auto root = View::make(Rect(0, 0, 100, 100));
  auto button = Button::buttonWithType(ButtonType::System);
  root->addSubview(button);
  int taps = 0;
  button->addAction(ControlEvent::TouchUpInside, [&taps](Control&) { ++taps; });
  EXPECT_TRUE(button->tap());
  button->setEnabled(false);
  EXPECT_FALSE(button->tap());
  button->setEnabled(true);
  root->setHidden(true);
  EXPECT_FALSE(button->tap());
  root->setHidden(false);
  root->setUserInteractionEnabled(false);
  EXPECT_FALSE(button->tap());
  root->setUserInteractionEnabled(true);
  EXPECT_TRUE(button->tap());
  EXPECT_EQ(taps, 2);

  // A label that takes taps through a recognizer.
  auto label = Label::make("name");
  label->setUserInteractionEnabled(true);
  int labelTaps = 0;
  label->addGestureRecognizer(std::make_shared<TapGestureRecognizer>([&labelTaps] { ++labelTaps; }));
  EXPECT_TRUE(label->tap());
  EXPECT_FALSE(View::make()->tap());
  EXPECT_EQ(labelTaps, 1);
}

class ReturnRecorder : public TextFieldDelegate {
 public:
  bool answer = true;
  int returns = 0;
  bool textFieldShouldReturn(TextField&) override {
    ++returns;
    return answer;
  }
};

TEST_F(ViewTest, TextField_TypingSendsEditingChangedAndReturnAsksTheDelegate) {
  auto field = std::make_shared<TextField>();
  auto delegate = std::make_shared<ReturnRecorder>();
  field->setDelegate(delegate);
  field->setEnablesReturnKeyAutomatically(true);
  field->setClearButtonMode(TextFieldViewMode::WhileEditing);
  std::vector<std::string> seen;
  field->addAction(ControlEvent::EditingChanged, [&seen](Control& c) { seen.push_back(static_cast<TextField&>(c).text()); });
  field->setText("from code");  // not a person's edit
  EXPECT_TRUE(seen.empty());
  field->setText("");
  EXPECT_FALSE(field->pressReturn());  // not editing
  field->typeText("");
  EXPECT_TRUE(field->isEditing());
  EXPECT_FALSE(field->isReturnKeyEnabled());
  EXPECT_FALSE(field->pressReturn());
  EXPECT_EQ(delegate->returns, 0);
  field->typeText("Notes");
  EXPECT_TRUE(field->showsClearButton());
  EXPECT_TRUE(field->pressReturn());
  delegate->answer = false;
  EXPECT_FALSE(field->pressReturn());
  EXPECT_EQ(delegate->returns, 2);
  EXPECT_EQ(seen, (std::vector<std::string>{"", "Notes"}));
  field->resignFirstResponder();
  EXPECT_FALSE(field->showsClearButton());
  // Bytes that are not UTF-8 never reach the field's text.
  field->typeText("a\xFF");
  EXPECT_EQ(field->text(), "a\xEF\xBF\xBD");
}

TEST_F(ViewTest, Buttons_TitlesImagesAndIntrinsicSizes) {
  auto system = Button::buttonWithType(ButtonType::System);
  system->setTitle("Download", ControlState::Normal);
  system->setTitle("Unavailable", ControlState::Disabled);
  EXPECT_EQ(system->currentTitle(), "Download");
  const Font& font = system->titleFont();
  EXPECT_EQ(system->intrinsicContentSize(), (Size{std::ceil(font.widthOfText("Download")), std::ceil(font.lineHeight()) + 12}));
  system->setEnabled(false);
  EXPECT_EQ(system->currentTitle(), "Unavailable");
  EXPECT_EQ(system->titleForState(ControlState::Selected), "Download");

  auto custom = Button::buttonWithType(ButtonType::Custom);
  custom->setImage(ImageAssets::named("Cloudload"), ControlState::Normal);
  EXPECT_EQ(custom->intrinsicContentSize(), (Size{32, 32}));
  custom->setImage(nullptr, ControlState::Normal);
  EXPECT_EQ(custom->intrinsicContentSize(), (Size{0, 0}));
}

TEST_F(ViewTest, Images_NamedAssetsPNGRoundTripAndUndecodableBytes) {
  const auto cloud = ImageAssets::named("Cloudload", 3);
  ASSERT_NE(cloud, nullptr);
  EXPECT_EQ(cloud->size(), (Size{32, 32}));
  EXPECT_EQ(cloud->pixelWidth(), 96);
  EXPECT_EQ(ImageAssets::named("Cloudload", 3), cloud);  // made once
  EXPECT_EQ(ImageAssets::named("NoSuchImage"), nullptr);
  // The main screen's scale is the default.
  EXPECT_EQ(ImageAssets::named("Cloudload")->scale(), 3);

  const auto png = cloud->pngData();
  ASSERT_TRUE(png.ok());
  const auto decoded = Image::fromPNGData(png.value(), 3);
  ASSERT_NE(decoded, nullptr);
  EXPECT_EQ(decoded->size(), cloud->size());
  EXPECT_EQ(Image::fromPNGData({1, 2, 3, 4}), nullptr);
  EXPECT_EQ(Image::fromPNGData({}), nullptr);

  ImageView view(decoded);
  view.setContentMode(ContentMode::ScaleAspectFit);
  view.setFrame(Rect(0, 0, 100, 50));
  EXPECT_EQ(view.displayedImageRect(), Rect(25, 0, 50, 50));
  view.setImage(nullptr);
  EXPECT_EQ(view.intrinsicContentSize(), (Size{kNoIntrinsicMetric, kNoIntrinsicMetric}));
}

std::uint32_t pixelAt(const Image& image, int x, int y) {
  cairo_surface_t* surface = image.surface();
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, data + y * stride + x * 4, 4);
  return pixel;
}

TEST_F(ViewTest, Drawing_FillsAndStrokesLandWhereThePathSays) {
  GraphicsContext context(Size{20, 10}, 2);
  context.setFillColor(Color::red());
  context.fillRect(Rect(0, 0, 10, 10));
  BezierPath line;
  line.moveTo(Point{15, 0}).addLineTo(Point{15, 10});
  line.setLineWidth(2);
  context.setStrokeColor(Color::blue());
  context.stroke(line);
  ASSERT_EQ(context.operations().size(), 2U);
  EXPECT_EQ(context.operations()[0].kind, GraphicsContext::Operation::Kind::Fill);
  EXPECT_EQ(context.operations()[1].lineWidth, 2);
  const auto image = context.makeImage();
  EXPECT_EQ(image->pixelWidth(), 40);
  EXPECT_EQ(pixelAt(*image, 5, 5), 0xFFFF0000U);    // red, opaque
  EXPECT_EQ(pixelAt(*image, 30, 10), 0xFF0000FFU);  // blue line at x = 15 points
  EXPECT_EQ(pixelAt(*image, 24, 10), 0U);           // untouched

  BezierPath arc;
  arc.addArc(Point{10, 10}, 5, 0, std::numbers::pi / 2, true);  // clockwise on screen: down to six o'clock
  EXPECT_NEAR(arc.bounds().maxY(), 15, 1e-9);
  EXPECT_NEAR(arc.bounds().minY(), 10, 1e-9);
}

}  // namespace
}  // namespace velune::ui
