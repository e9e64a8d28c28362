#pragma once
// TextLayout: text broken into lines for a width and a line limit, as labels
// show it. Lines break at the opportunities of the Unicode line-breaking rules
// (ICU), between graphemes when one word is wider than the line, and at every
// "\n". When the text needs more lines than allowed, the last line shown ends
// in "…" and still fits the width.
//
// Never fails: any bytes can be laid out (invalid UTF-8 shows as U+FFFD).

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {

struct TextLayout {
  std::vector<std::string> lines;
  // Width of the widest line; height = number of lines × the font's line height.
  Size size;
  // True when text was left out (more lines than allowed, or a line cut to fit).
  bool truncated = false;

  // `maxWidth` ≤ 0 or infinite: lines break only at "\n". `maxLines` 0: no limit.
  static TextLayout make(std::string_view text, const Font& font, double maxWidth, int maxLines);
};

inline constexpr double kUnlimitedWidth = std::numeric_limits<double>::infinity();

}  // namespace velune::ui
