#pragma once
// Label: read-only text, plain or styled (with inline images). The intrinsic
// size is the text's measured size; with numberOfLines other than 1 the text
// wraps at the width the layout gives the label (or preferredMaxLayoutWidth)
// and grows in height, up to numberOfLines lines (0: no limit). Text that
// does not fit is cut with "…" (displayedText()).

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/ui/Font.h"
#include "platform/ui/StyledText.h"
#include "platform/ui/TextLayout.h"
#include "platform/ui/View.h"

namespace velune::ui {

enum class TextAlignment { Natural, Left, Center, Right, Justified };

class Label : public View {
 public:
  explicit Label(Rect frame = Rect());
  static std::shared_ptr<Label> make(std::string text = {});

  std::string_view kind() const override { return "Label"; }

  // The plain text (the styled text's characters when styled text was set).
  std::string text() const;
  void setText(std::string text);
  const std::optional<StyledText>& styledText() const { return styledText_; }
  void setStyledText(std::optional<StyledText> text);

  const Font& font() const { return font_; }
  void setFont(Font font);
  Color textColor() const { return textColor_; }
  void setTextColor(Color color);
  TextAlignment textAlignment() const { return alignment_; }
  void setTextAlignment(TextAlignment alignment);
  int numberOfLines() const { return numberOfLines_; }
  void setNumberOfLines(int lines);
  double preferredMaxLayoutWidth() const { return preferredMaxLayoutWidth_; }
  void setPreferredMaxLayoutWidth(double width);

  // The lines as shown at the label's current width.
  TextLayout displayedText() const;

  Size intrinsicContentSize() const override;
  Size intrinsicContentSizeForWidth(double width) const override;
  Size sizeThatFits(Size size) const override;
  double baselineOffsetFromTop(bool last) const override;

  bool drawsContent() const override { return true; }
  void drawRect(GraphicsContext& context, Rect rect) override;

 private:
  Size measure(double width) const;
  void textChanged();

  // Recent measurements (width asked → size), dropped when anything measured
  // changes; a layout pass asks for the natural and the wrapped size in turn.
  mutable std::vector<std::pair<double, Size>> measured_;
  std::string text_;
  std::optional<StyledText> styledText_;
  Font font_ = Font::systemFontOfSize(17);
  Color textColor_ = Color::black();
  TextAlignment alignment_ = TextAlignment::Natural;
  int numberOfLines_ = 1;
  double preferredMaxLayoutWidth_ = 0;
};

}  // namespace velune::ui
