#include <gtest/gtest.h>

#include "platform/Unicode.h"

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
