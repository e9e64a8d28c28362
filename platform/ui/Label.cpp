#include "platform/ui/Label.h"

#include <algorithm>
#include <cmath>

#include "platform/MainThread.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

Label::Label(Rect frame) : View(frame, "Label") { setUserInteractionEnabled(false); }

std::shared_ptr<Label> Label::make(std::string text) {
  auto label = std::make_shared<Label>();
  label->setText(std::move(text));
  return label;
}

std::string Label::text() const { return styledText_ ? styledText_->string() : text_; }

void Label::setText(std::string text) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!styledText_ && text == text_) {
    return;
  }
  text_ = std::move(text);
  styledText_.reset();
  textChanged();
}

void Label::setStyledText(std::optional<StyledText> text) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  styledText_ = std::move(text);
  text_.clear();
  textChanged();
}

void Label::textChanged() {
  measured_.clear();
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

void Label::setFont(Font font) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  font_ = std::move(font);
  textChanged();
}

void Label::setTextColor(Color color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  textColor_ = color;
  setNeedsDisplay();
}

void Label::setTextAlignment(TextAlignment alignment) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  alignment_ = alignment;
  setNeedsDisplay();
}

void Label::setNumberOfLines(int lines) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  numberOfLines_ = std::max(0, lines);
  textChanged();
}

void Label::setPreferredMaxLayoutWidth(double width) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  preferredMaxLayoutWidth_ = std::max(0.0, width);
  textChanged();
}

Size Label::measure(double width) const {
  // One line: the natural width; several: wrapped at `width`.
  const double wrap = styledText_ || numberOfLines_ == 1 ? kUnlimitedWidth : width;
  for (const auto& [asked, size] : measured_) {
    if (asked == wrap) {
      return size;
    }
  }
  const Size size = styledText_ ? styledText_->measure(font_) : TextLayout::make(text_, font_, wrap, numberOfLines_).size;
  if (measured_.size() >= 4) {
    measured_.erase(measured_.begin());
  }
  measured_.emplace_back(wrap, size);
  return size;
}

Size Label::intrinsicContentSize() const {
  return measure(preferredMaxLayoutWidth_ > 0 ? preferredMaxLayoutWidth_ : kUnlimitedWidth);
}

Size Label::intrinsicContentSizeForWidth(double width) const {
  if (numberOfLines_ == 1 || styledText_ || preferredMaxLayoutWidth_ > 0) {
    return intrinsicContentSize();
  }
  const Size wrapped = measure(width);
  // The label keeps its natural width as its wish; only the height follows.
  return Size{intrinsicContentSize().width, wrapped.height};
}

Size Label::sizeThatFits(Size size) const { return measure(size.width > 0 ? size.width : kUnlimitedWidth); }

TextLayout Label::displayedText() const {
  if (styledText_) {
    TextLayout layout;
    layout.lines.push_back(styledText_->string());
    layout.size = styledText_->measure(font_);
    return layout;
  }
  return TextLayout::make(text_, font_, frame().width() > 0 ? frame().width() : kUnlimitedWidth, numberOfLines_);
}

double Label::baselineOffsetFromTop(bool last) const {
  const TextLayout shown = displayedText();
  const double lines = last && !shown.lines.empty() ? static_cast<double>(shown.lines.size() - 1) : 0;
  return font_.ascender() + lines * font_.lineHeight();
}

void Label::drawRect(GraphicsContext& context, Rect rect) {
  if (styledText_) {
    double x = 0;
    const double baseline = (rect.height() - styledText_->measure(font_).height) / 2 + font_.ascender();
    for (const auto& run : styledText_->runs()) {
      const Font& runFont = run.attributes.font ? *run.attributes.font : font_;
      const double raise = run.attributes.baselineOffset;
      if (run.attachment) {
        const Rect& b = run.attachment->bounds;
        const Rect where(x, baseline - raise - b.minY() - b.height(), b.width(), b.height());
        if (run.attachment->image) {
          context.drawImage(*run.attachment->image, where);
        }
        x += b.width();
      } else {
        context.drawText(run.text, Point{x, baseline - raise - runFont.ascender()}, runFont,
                         run.attributes.color.value_or(textColor_));
        x += runFont.widthOfText(run.text);
      }
    }
    return;
  }
  const TextLayout shown = displayedText();
  // Text is centred vertically in the label, as the platform draws it.
  double y = std::max(0.0, (rect.height() - shown.size.height) / 2);
  for (const auto& line : shown.lines) {
    const double width = font_.widthOfText(line);
    double x = 0;
    if (alignment_ == TextAlignment::Center) {
      x = (rect.width() - width) / 2;
    } else if (alignment_ == TextAlignment::Right) {
      x = rect.width() - width;
    }
    context.drawText(line, Point{x, y}, font_, textColor_);
    y += font_.lineHeight();
  }
}

}  // namespace velune::ui
