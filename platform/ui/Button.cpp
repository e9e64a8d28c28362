#include "platform/ui/Button.h"

#include <algorithm>
#include <cmath>

#include "platform/MainThread.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {
constexpr double kSystemVerticalPadding = 6;
constexpr double kImageTitleSpacing = 4;
}  // namespace

Button::Button(ButtonType type) : Control(Rect(), "Button"), type_(type) {}

ControlState Button::currentState() const {
  if (!isEnabled()) {
    return ControlState::Disabled;
  }
  return isSelected() ? ControlState::Selected : ControlState::Normal;
}

std::optional<std::string> Button::titleForState(ControlState state) const {
  auto found = titles_.find(state);
  if (found == titles_.end()) {
    found = titles_.find(ControlState::Normal);
  }
  if (found == titles_.end()) {
    return std::nullopt;
  }
  return found->second;
}

void Button::setTitle(std::optional<std::string> title, ControlState state) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (title) {
    titles_[state] = std::move(*title);
  } else {
    titles_.erase(state);
  }
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

std::optional<std::string> Button::currentTitle() const { return titleForState(currentState()); }

std::shared_ptr<Image> Button::imageForState(ControlState state) const {
  auto found = images_.find(state);
  if (found == images_.end()) {
    found = images_.find(ControlState::Normal);
  }
  return found == images_.end() ? nullptr : found->second;
}

void Button::setImage(std::shared_ptr<Image> image, ControlState state) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (image) {
    images_[state] = std::move(image);
  } else {
    images_.erase(state);
  }
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

std::shared_ptr<Image> Button::currentImage() const { return imageForState(currentState()); }

void Button::setTitleFont(Font font) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  titleFont_ = std::move(font);
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

void Button::setTitleColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  titleColor_ = color;
  setNeedsDisplay();
}

void Button::setEnabled(bool enabled) {
  const bool changed = enabled != isEnabled();
  Control::setEnabled(enabled);
  if (changed) {
    invalidateIntrinsicContentSize();  // the disabled title may differ
  }
}

Size Button::intrinsicContentSize() const {
  const auto title = currentTitle();
  const auto image = currentImage();
  double width = 0;
  double height = 0;
  if (image) {
    width = image->size().width;
    height = image->size().height;
  }
  if (title && !title->empty()) {
    const double titleWidth = std::ceil(titleFont_.widthOfText(*title));
    const double titleHeight = std::ceil(titleFont_.lineHeight()) +
                               (type_ == ButtonType::System ? 2 * kSystemVerticalPadding : 0);
    width += (image ? kImageTitleSpacing : 0) + titleWidth;
    height = std::max(height, titleHeight);
  }
  return Size{width, height};
}

void Button::drawRect(GraphicsContext& context, Rect rect) {
  const Size content = intrinsicContentSize();
  double x = (rect.width() - content.width) / 2;
  if (const auto image = currentImage()) {
    const Size size = image->size();
    context.drawImage(*image, Rect(x, (rect.height() - size.height) / 2, size.width, size.height));
    x += size.width + kImageTitleSpacing;
  }
  if (const auto title = currentTitle(); title && !title->empty()) {
    Color color = titleColor_.value_or(type_ == ButtonType::System ? tintColor().value_or(Color::systemBlue())
                                                                   : Color::white());
    if (!isEnabled()) {
      color = color.withAlpha(0.35);
    }
    context.drawText(*title, Point{x, (rect.height() - titleFont_.lineHeight()) / 2}, titleFont_, color);
  }
}

Size Button::sizeThatFits(Size /*size*/) const { return intrinsicContentSize(); }

}  // namespace velune::ui
