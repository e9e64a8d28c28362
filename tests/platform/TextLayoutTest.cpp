#include "platform/ui/TextLayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/ui/Font.h"
#include "platform/ui/Label.h"
#include "platform/ui/StyledText.h"

namespace velune::ui {
namespace {

const std::string kEllipsis = "\xE2\x80\xA6";

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST(Font, Metrics_TextStylesHaveTheirSizesAndSaneMetrics) {
  const Font footnote = Font::preferredFontForTextStyle(TextStyle::Footnote);
  const Font subheadline = Font::preferredFontForTextStyle(TextStyle::Subheadline);
  const Font title = Font::fontWithDescriptor(FontDescriptor::preferredFontDescriptorWithTextStyle(TextStyle::Title2), 24);
  EXPECT_EQ(footnote.pointSize(), 13);
  EXPECT_EQ(subheadline.pointSize(), 15);
  EXPECT_EQ(title.pointSize(), 24);
  EXPECT_EQ(title.textStyle(), TextStyle::Title2);
  EXPECT_EQ(Font::fontWithDescriptor(FontDescriptor::preferredFontDescriptorWithTextStyle(TextStyle::Title2), 0).pointSize(), 22);
  for (const Font& font : {footnote, subheadline, title}) {
    EXPECT_LT(font.descender(), 0);
    EXPECT_GT(font.capHeight(), 0.5 * font.pointSize());
    EXPECT_LT(font.capHeight(), font.ascender());
    EXPECT_GE(font.lineHeight(), font.ascender() - font.descender());
    EXPECT_LT(font.lineHeight(), 1.5 * font.pointSize());
  }
  // Metrics scale with the size.
  EXPECT_NEAR(Font::systemFontOfSize(26).lineHeight(), 2 * footnote.lineHeight(), 0.05);
}

TEST(Font, Measure_AnyScriptAndAnyBytesGiveAWidth) {
  const Font font = Font::systemFontOfSize(17);
  EXPECT_EQ(font.widthOfText(""), 0);
  EXPECT_LT(font.widthOfText("i"), font.widthOfText("W"));
  EXPECT_NEAR(font.widthOfText("abcabc"), 2 * font.widthOfText("abc"), 0.01);
  for (const std::string text : {"مرحبا بالعالم", "日本語のテキスト", "👩‍👩‍👧 😀", "e\xCC\x81\xCC\x81", "שלום"}) {
    EXPECT_GT(font.widthOfText(text), 0) << text;
  }
  // Broken UTF-8, NUL bytes and control characters: measured, not refused.
  const std::string broken("ab\xFF\xC0\x80" "cd\0ef\x01", 11);
  EXPECT_GT(font.widthOfText(broken), font.widthOfText("abcdef"));
  EXPECT_EQ(sanitizedUTF8(broken), "ab\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" "cd\xEF\xBF\xBD" "ef\x01");
  // Surrogates and overlong forms are not UTF-8 either.
  EXPECT_EQ(sanitizedUTF8("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  // Nor is anything above U+10FFFF (four stray bytes), nor a sequence cut
  // short before a letter (one replacement for the whole cut sequence).
  EXPECT_EQ(sanitizedUTF8("\xF4\x90\x80\x80" "\xE2\x82" "a"),
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" "a");
  // A megabyte on one line.
  const std::string huge(1 << 20, 'x');
  EXPECT_NEAR(font.widthOfText(huge), font.widthOfText("x") * double(1 << 20), 1.0);
}

TEST(TextLayout, Wrap_BreaksAtWordsAndInsideWordsTooLongForALine) {
  const Font font = Font::systemFontOfSize(17);
  const double width = font.widthOfText("alpha beta") + 1;
  const TextLayout words = TextLayout::make("alpha beta gamma", font, width, 0);
  ASSERT_EQ(words.lines.size(), 2U);
  EXPECT_EQ(words.lines[0], "alpha beta");
  EXPECT_EQ(words.lines[1], "gamma");
  EXPECT_FALSE(words.truncated);
  EXPECT_EQ(words.size.height, std::ceil(2 * font.lineHeight()));

  const TextLayout longWord = TextLayout::make("abcdefghijklmnopqrstuvwxyz", font, font.widthOfText("abcdefgh"), 0);
  ASSERT_GT(longWord.lines.size(), 2U);
  std::string joined;
  for (const auto& line : longWord.lines) {
    EXPECT_LE(font.widthOfText(line), font.widthOfText("abcdefgh") + 0.001) << line;
    joined += line;
  }
  EXPECT_EQ(joined, "abcdefghijklmnopqrstuvwxyz");

  // Graphemes are never split: a family emoji stays whole.
  const std::string family = "👩‍👩‍👧";
  const TextLayout emoji = TextLayout::make(family + family + family, font, font.widthOfText(family) * 1.5, 0);
  for (const auto& line : emoji.lines) {
    EXPECT_EQ(line.size() % family.size(), 0U);
  }
}

TEST(TextLayout, Limit_ExtraLinesAreCutWithAnEllipsisThatFits) {
  const Font font = Font::preferredFontForTextStyle(TextStyle::Footnote);
  const TextLayout seven = TextLayout::make("one\ntwo\nthree\nfour\nfive\nsix\nseven", font, 200, 5);
  ASSERT_EQ(seven.lines.size(), 5U);
  EXPECT_TRUE(seven.truncated);
  EXPECT_EQ(seven.lines[3], "four");
  EXPECT_EQ(seven.lines[4], "five" + kEllipsis);

  const double width = 80;
  const TextLayout oneLine = TextLayout::make("A sentence that is much wider than eighty points", font, width, 1);
  ASSERT_EQ(oneLine.lines.size(), 1U);
  EXPECT_TRUE(endsWith(oneLine.lines[0], kEllipsis));
  EXPECT_LE(font.widthOfText(oneLine.lines[0]), width);
  EXPECT_LE(oneLine.size.width, width);

  // No limit on the width: lines only break at "\n"; a blank line counts.
  const TextLayout free = TextLayout::make("first\n\nthird", font, kUnlimitedWidth, 0);
  EXPECT_EQ(free.lines, (std::vector<std::string>{"first", "", "third"}));
}

TEST(Label, Size_IntrinsicSizeSizeToFitAndDisplayedLines) {
  auto label = Label::make("Hello, world");
  const Font& font = label->font();
  EXPECT_EQ(label->intrinsicContentSize(), (Size{std::ceil(font.widthOfText("Hello, world")), std::ceil(font.lineHeight())}));
  label->sizeToFit();
  EXPECT_EQ(label->frame().size, label->intrinsicContentSize());
  label->setText("");
  EXPECT_EQ(label->intrinsicContentSize(), (Size{0, 0}));

  // Seven lines in a five-line label show five, the last cut.
  auto message = Label::make("1\n2\n3\n4\n5\n6\n7");
  message->setNumberOfLines(5);
  EXPECT_EQ(message->intrinsicContentSize().height, std::ceil(5 * font.lineHeight()));
  message->setFrame(Rect(0, 0, 200, 200));
  EXPECT_EQ(message->displayedText().lines.size(), 5U);
  EXPECT_EQ(message->displayedText().lines.back(), "5" + kEllipsis);
}

TEST(StyledText, Measure_RunsWithInlineImagesAndRaisedText) {
  const Font font = Font::preferredFontForTextStyle(TextStyle::Subheadline);
  StyledText text;
  TextAttributes raised;
  raised.baselineOffset = -font.descender();
  text.appendAttachment(TextAttachment{nullptr, Rect(0, 0, 12, font.lineHeight())}, raised);
  text.append("Red ", raised);
  text.appendAttachment(TextAttachment{nullptr, Rect(0, 0, 12, font.lineHeight())}, raised);
  text.append("Blue", raised);
  EXPECT_EQ(text.string(), "\xEF\xBF\xBCRed \xEF\xBF\xBC" "Blue");
  const Size size = text.measure(font);
  EXPECT_EQ(size.width, std::ceil(24 + font.widthOfText("Red ") + font.widthOfText("Blue")));
  EXPECT_GE(size.height, std::ceil(font.lineHeight()));
  auto label = Label::make();
  label->setFont(font);
  label->setStyledText(text);
  EXPECT_EQ(label->text(), text.string());
  EXPECT_EQ(label->intrinsicContentSize(), size);
}

}  // namespace
}  // namespace velune::ui
