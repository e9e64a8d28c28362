#include <gtest/gtest.h>

#include "platform/Unicode.h"
#include "platform/UTF8.h"

namespace velune::platform::unicode {
namespace {

TEST(Unicode, DecodeUTF8_RefusesMalformedBytes) {
  EXPECT_EQ(decodeUTF8("a\u00E9\U0001F4DD"), std::u32string(U"a\u00E9\U0001F4DD"));
  for (const std::string& bad : std::vector<std::string>{
           std::string("\xC0\xAF"), std::string("\xE0\x80\xAF"), std::string("\xED\xA0\x80"),
           std::string("\xF4\x90\x80\x80"), std::string("\xE2\x82"), std::string("\x80"), std::string("\xFF")}) {
    EXPECT_FALSE(decodeUTF8(bad)) << bad;
  }
  EXPECT_EQ(encodeUTF8(U"x\u00E9\U0001F4DD"), "x\u00E9\U0001F4DD");
}

TEST(UTF8, OneCodec_ReplacesValidatesCountsAndConvertsAlike) {
  // Each ill-formed sequence becomes one U+FFFD; well-formed text is kept.
  EXPECT_EQ(validUTF8("ok \xC3\xA9"), "ok \xC3\xA9");
  EXPECT_EQ(validUTF8("a\xC3\x28"), "a\xEF\xBF\xBD(");
  EXPECT_EQ(validUTF8("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");  // a surrogate
  EXPECT_EQ(validUTF8("x\xE2\x82"), "x\xEF\xBF\xBD");  // truncated: one maximal subpart
  EXPECT_FALSE(isValidUTF8("abcdefgh\xC0\xAF"));
  EXPECT_TRUE(isValidUTF8("abcdefghijklmnop\U0001F4DD"));
  EXPECT_EQ(codePointCount("a\u00E9\U0001F4DD"), 3u);
  EXPECT_EQ(codePointCount("ab\xFF"), 3u);
  const auto utf16 = toUTF16("a\u00E9\U0001F4DD");
  ASSERT_TRUE(utf16);
  EXPECT_EQ(*utf16, std::u16string(u"a\u00E9\U0001F4DD"));
  EXPECT_EQ(fromUTF16(*utf16), "a\u00E9\U0001F4DD");
  EXPECT_FALSE(toUTF16("\xFF"));
  EXPECT_EQ(fromUTF16(std::u16string(1, u'\xD800')), "\xEF\xBF\xBD");
  EXPECT_EQ(encodeUTF8(std::u32string(1, char32_t{0x110000})), "\xEF\xBF\xBD");
}

TEST(Unicode, CaseInsensitiveEqual_FoldsEveryScript) {
  EXPECT_TRUE(caseInsensitiveEqual("PDF", "pdf"));
  EXPECT_TRUE(caseInsensitiveEqual("\u0394\u039F\u039A", "\u03B4\u03BF\u03BA"));  // Greek
  EXPECT_TRUE(caseInsensitiveEqual("\u0414\u041E\u041A", "\u0434\u043E\u043A"));  // Cyrillic
  EXPECT_TRUE(caseInsensitiveEqual("STRASSE", "stra\u00DFe"));                          // full folding
  EXPECT_TRUE(caseInsensitiveEqual("\u00C9T\u00C9", "e\u0301t\u00E9"));              // and NFC
  EXPECT_FALSE(caseInsensitiveEqual("pdf", "pdfx"));
  EXPECT_FALSE(caseInsensitiveEqual("\xFF", "\xFE"));
  EXPECT_TRUE(caseInsensitiveEqual("\xFF", "\xFF"));
}

TEST(Unicode, CharacterClasses) {
  EXPECT_TRUE(isAssignedCharacter(U'a'));
  EXPECT_TRUE(isAssignedCharacter(0xE000));  // private use is assigned
  EXPECT_FALSE(isAssignedCharacter(0x0378));
  EXPECT_FALSE(isAssignedCharacter(0xFDD0));
  EXPECT_FALSE(isAssignedCharacter(0x1FFFF));
  EXPECT_TRUE(isNoncharacter(0x10FFFE));
  EXPECT_TRUE(isControlOrFormat(U'\t'));
  EXPECT_TRUE(isControlOrFormat(0x200D));
  EXPECT_FALSE(isControlOrFormat(U'a'));
  EXPECT_TRUE(isLineBreak(0x2028));
  EXPECT_TRUE(isLineBreak(U'\r'));
  EXPECT_FALSE(isLineBreak(U' '));
}

TEST(Unicode, Normalization_ComposedAndDecomposedAreTheSameName) {
  EXPECT_EQ(normalizedNFC("Cafe\u0301"), "Caf\u00E9");
  EXPECT_TRUE(canonicallyEqual("Cafe\u0301", "Caf\u00E9"));
  EXPECT_FALSE(canonicallyEqual("Cafe", "Caf\u00E9"));
  EXPECT_EQ(normalizedNFC("plain"), "plain");
  EXPECT_EQ(normalizedNFC("\xFF bad"), "\xFF bad");  // not UTF-8: left as it is
}

}  // namespace
}  // namespace velune::platform::unicode
