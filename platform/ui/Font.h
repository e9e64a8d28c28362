#pragma once
// Font: a typeface at a size, and the metrics that layout reads (line height,
// cap height, ascender, descender). Text is measured with cairo in the system
// font (DejaVu Sans from fonts-dejavu-core; fontconfig substitutes another
// font when it is missing, so measuring never fails, only the numbers change).
//
// Text styles give the platform's standard sizes: footnote 13, subheadline 15,
// body 17, second-level title 22... A FontDescriptor carries a style and its
// size; fontWithDescriptor(descriptor, 0) takes the descriptor's size.
//
// Fonts are small values; metrics and widths come from a shared cache of cairo
// scaled fonts (thread-safe).

#include <optional>
#include <string>
#include <string_view>

namespace velune::ui {

enum class TextStyle {
  LargeTitle,
  Title1,
  Title2,
  Title3,
  Headline,
  Body,
  Callout,
  Subheadline,
  Footnote,
  Caption1,
  Caption2,
};

enum class FontWeight { Regular, Bold };

class FontDescriptor {
 public:
  static FontDescriptor preferredFontDescriptorWithTextStyle(TextStyle style);

  std::optional<TextStyle> textStyle() const { return textStyle_; }
  double pointSize() const { return pointSize_; }
  FontWeight weight() const { return weight_; }
  FontDescriptor withWeight(FontWeight weight) const;

 private:
  FontDescriptor(std::optional<TextStyle> style, double size, FontWeight weight)
      : textStyle_(style), pointSize_(size), weight_(weight) {}
  std::optional<TextStyle> textStyle_;
  double pointSize_;
  FontWeight weight_;
};

class Font {
 public:
  // The system font at 17 points.
  Font();

  static Font systemFontOfSize(double size);
  static Font boldSystemFontOfSize(double size);
  static Font preferredFontForTextStyle(TextStyle style);
  // `size` 0 (or less) keeps the descriptor's size.
  static Font fontWithDescriptor(const FontDescriptor& descriptor, double size);
  // The standard size of a text style.
  static double standardSizeForTextStyle(TextStyle style);

  const std::string& familyName() const { return family_; }
  double pointSize() const { return pointSize_; }
  FontWeight weight() const { return weight_; }
  std::optional<TextStyle> textStyle() const { return textStyle_; }
  Font withSize(double size) const;

  // Metrics in points. The descender is negative (below the baseline).
  double ascender() const;
  double descender() const;
  double capHeight() const;
  // Ascender − descender + the font's line gap: the distance between baselines.
  double lineHeight() const;

  // The advance width of one line of text (no wrapping; line breaks count as
  // nothing). Any bytes: invalid UTF-8 is measured as replacement characters.
  double widthOfText(std::string_view text) const;

  bool operator==(const Font& other) const {
    return family_ == other.family_ && pointSize_ == other.pointSize_ && weight_ == other.weight_;
  }
  std::string description() const;

 private:
  Font(double size, FontWeight weight, std::optional<TextStyle> style);

  std::string family_;
  double pointSize_;
  FontWeight weight_;
  std::optional<TextStyle> textStyle_;
};

// Text as cairo accepts it: invalid UTF-8 sequences and NUL become U+FFFD.
std::string sanitizedUTF8(std::string_view text);

}  // namespace velune::ui
