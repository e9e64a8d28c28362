// The file-name rule against the Unicode database of the ICU the project
// links, for every code point: alone, and after an ordinary letter (a name
// may not begin with "." either, so both places are tried).

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <string>

#include "model/FileUtils.h"

namespace velune {
namespace {

std::string utf8(char32_t c) {
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

// What the rule allows of one character, read straight from ICU.
bool allowedByICU(char32_t c) {
  const auto code = static_cast<UChar32>(c);
  const auto category = u_charType(code);
  const bool lineBreak = (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
  return c != '/' && c != ':' && category != U_UNASSIGNED && !u_hasBinaryProperty(code, UCHAR_NONCHARACTER_CODE_POINT) &&
         category != U_CONTROL_CHAR && category != U_FORMAT_CHAR && !lineBreak;
}

TEST(FilenameRuleUnicode, EveryCodePoint_AgreesWithICU) {
  size_t disagreements = 0;
  size_t allowed = 0;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) {
      continue;  // surrogates are no characters: their bytes are not UTF-8 (tried below)
    }
    const std::string character = utf8(c);
    const bool expected = allowedByICU(c);
    allowed += expected ? 1 : 0;
    if (FileUtils::isValidFilename("a" + character) != expected ||
        FileUtils::isValidFilename(character) != (expected && c != '.')) {
      if (++disagreements <= 10) {
        ADD_FAILURE() << "U+" << std::hex << static_cast<unsigned>(c) << ": ICU says " << expected;
      }
    }
  }
  EXPECT_EQ(disagreements, 0u);
  // The database is the real one: most code points are not assigned yet, and
  // the assigned ones run to well over a hundred thousand.
  EXPECT_GT(allowed, 100'000u);
  EXPECT_LT(allowed, 400'000u);
  for (char32_t c = 0xD800; c <= 0xDFFF; ++c) {
    EXPECT_FALSE(FileUtils::isValidFilename("a" + utf8(c)));
  }
}

}  // namespace
}  // namespace velune
