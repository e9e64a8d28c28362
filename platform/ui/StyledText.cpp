#include "platform/ui/StyledText.h"

#include <algorithm>
#include <cmath>

namespace velune::ui {

namespace {
constexpr const char* kObjectReplacement = "\xEF\xBF\xBC";
}  // namespace

StyledText::StyledText(std::string text, TextAttributes attributes) { append(std::move(text), std::move(attributes)); }

StyledText& StyledText::append(std::string text, TextAttributes attributes) {
  if (!text.empty()) {
    runs_.push_back(StyledRun{std::move(text), std::move(attributes), std::nullopt});
  }
  return *this;
}

StyledText& StyledText::appendAttachment(TextAttachment attachment, TextAttributes attributes) {
  runs_.push_back(StyledRun{kObjectReplacement, std::move(attributes), std::move(attachment)});
  return *this;
}

std::string StyledText::string() const {
  std::string out;
  for (const auto& run : runs_) {
    out += run.text;
  }
  return out;
}

Size StyledText::measure(const Font& font) const {
  double width = 0;
  double above = 0;  // highest point above the baseline
  double below = 0;  // lowest point below it (positive)
  for (const auto& run : runs_) {
    const Font& runFont = run.attributes.font ? *run.attributes.font : font;
    const double raise = run.attributes.baselineOffset;
    if (run.attachment) {
      width += run.attachment->bounds.width();
      above = std::max(above, raise + run.attachment->bounds.minY() + run.attachment->bounds.height());
      below = std::max(below, -(raise + run.attachment->bounds.minY()));
    } else {
      width += runFont.widthOfText(run.text);
      // The line's own room: the font's line height split as ascender/descender.
      const double gap = runFont.lineHeight() - (runFont.ascender() - runFont.descender());
      above = std::max(above, raise + runFont.ascender() + gap);
      below = std::max(below, -runFont.descender() - raise);
    }
  }
  if (runs_.empty()) {
    return Size{};
  }
  return Size{std::ceil(width), std::ceil(std::max(above + below, font.lineHeight()))};
}

bool StyledText::operator==(const StyledText& other) const {
  if (runs_.size() != other.runs_.size()) {
    return false;
  }
  for (size_t i = 0; i < runs_.size(); ++i) {
    const auto& a = runs_[i];
    const auto& b = other.runs_[i];
    if (a.text != b.text || !(a.attributes == b.attributes) || a.attachment.has_value() != b.attachment.has_value()) {
      return false;
    }
    if (a.attachment && (a.attachment->image != b.attachment->image || !(a.attachment->bounds == b.attachment->bounds))) {
      return false;
    }
  }
  return true;
}

}  // namespace velune::ui
