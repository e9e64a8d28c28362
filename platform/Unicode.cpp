#include "platform/Unicode.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "platform/UTF8.h"

namespace velune::platform::unicode {

bool isNoncharacter(char32_t c) {
  return (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFEU) == 0xFFFEU;
}

bool isAssignedCharacter(char32_t c) {
  if (c > 0x10FFFF || isNoncharacter(c)) {
    return false;
  }
  return u_charType(static_cast<UChar32>(c)) != U_UNASSIGNED;
}

bool isControlOrFormat(char32_t c) {
  const int8_t type = u_charType(static_cast<UChar32>(c));
  return type == U_CONTROL_CHAR || type == U_FORMAT_CHAR;
}

bool isLineBreak(char32_t c) {
  return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isWhitespaceOrLineBreak(char32_t c) {
  return u_isUWhiteSpace(static_cast<UChar32>(c)) != 0 || isLineBreak(c);
}

std::string trimmingWhitespaceAndLineBreaks(std::string_view text) {
  const auto points = decodeUTF8(text);
  if (!points) {
    // Not UTF-8: only ASCII blanks can be recognised at the ends.
    const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    size_t start = 0;
    size_t end = text.size();
    while (start < end && blank(text[start])) {
      ++start;
    }
    while (end > start && blank(text[end - 1])) {
      --end;
    }
    return std::string(text.substr(start, end - start));
  }
  size_t start = 0;
  size_t end = points->size();
  while (start < end && isWhitespaceOrLineBreak((*points)[start])) {
    ++start;
  }
  while (end > start && isWhitespaceOrLineBreak((*points)[end - 1])) {
    --end;
  }
  return encodeUTF8(std::u32string_view(*points).substr(start, end - start));
}

bool isASCII(std::string_view text) {
  for (const char ch : text) {
    if ((static_cast<unsigned char>(ch) & 0x80U) != 0) {
      return false;
    }
  }
  return true;
}

namespace {

// The NFC form of UTF-16 text, or nothing.
std::optional<std::u16string> normalizedNFC16(const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  const auto length = static_cast<int32_t>(text.size());
  status = U_ZERO_ERROR;
  const int32_t needed = unorm2_normalize(nfc, text.data(), length, nullptr, 0, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) {
    return std::nullopt;
  }
  std::u16string out(static_cast<size_t>(needed), u'\0');
  status = U_ZERO_ERROR;
  unorm2_normalize(nfc, text.data(), length, out.data(), needed, &status);
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  return out;
}

}  // namespace

std::string normalizedNFC(std::string_view text) {
  if (isASCII(text)) {
    return std::string(text);
  }
  const auto utf16 = toUTF16(text);
  if (!utf16) {
    return std::string(text);
  }
  const auto normalized = normalizedNFC16(*utf16);
  return normalized ? fromUTF16(*normalized) : std::string(text);
}

bool caseInsensitiveEqual(std::string_view a, std::string_view b) {
  if (a == b) {
    return true;
  }
  const auto a16 = toUTF16(a);
  const auto b16 = toUTF16(b);
  if (!a16 || !b16) {
    return false;
  }
  const auto aNFC = normalizedNFC16(*a16);
  const auto bNFC = normalizedNFC16(*b16);
  if (!aNFC || !bNFC) {
    return false;
  }
  UErrorCode status = U_ZERO_ERROR;
  const int32_t order = u_strCaseCompare(aNFC->data(), static_cast<int32_t>(aNFC->size()), bNFC->data(),
                                         static_cast<int32_t>(bNFC->size()), U_FOLD_CASE_DEFAULT, &status);
  return U_SUCCESS(status) && order == 0;
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) {
    return true;
  }
  if (isASCII(a) && isASCII(b)) {
    return false;
  }
  return normalizedNFC(a) == normalizedNFC(b);
}

}  // namespace velune::platform::unicode
