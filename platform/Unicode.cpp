#include "platform/Unicode.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <vector>

namespace velune::platform::unicode {

std::optional<std::u32string> decodeUTF8(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  size_t i = 0;
  const size_t n = text.size();
  auto byteAt = [&](size_t index) { return static_cast<unsigned char>(text[index]); };
  while (i < n) {
    const unsigned char lead = byteAt(i);
    if (lead < 0x80) {
      out.push_back(lead);
      ++i;
      continue;
    }
    int length = 0;
    char32_t c = 0;
    char32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
      c = lead & 0x1FU;
      minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      c = lead & 0x0FU;
      minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      c = lead & 0x07U;
      minimum = 0x10000;
    } else {
      return std::nullopt;
    }
    if (i + static_cast<size_t>(length) > n) {
      return std::nullopt;
    }
    for (int k = 1; k < length; ++k) {
      const unsigned char next = byteAt(i + static_cast<size_t>(k));
      if ((next & 0xC0U) != 0x80U) {
        return std::nullopt;
      }
      c = (c << 6) | (next & 0x3FU);
    }
    if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      return std::nullopt;
    }
    out.push_back(c);
    i += static_cast<size_t>(length);
  }
  return out;
}

std::string encodeUTF8(std::u32string_view codePoints) {
  std::string out;
  out.reserve(codePoints.size());
  for (const char32_t c : codePoints) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

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

bool isASCII(std::string_view text) {
  for (const char ch : text) {
    if ((static_cast<unsigned char>(ch) & 0x80U) != 0) {
      return false;
    }
  }
  return true;
}

std::string normalizedNFC(std::string_view text) {
  if (isASCII(text)) {
    return std::string(text);
  }
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
  if (U_FAILURE(status) || !decodeUTF8(text)) {
    return std::string(text);
  }
  // UTF-8 → UTF-16 → NFC → UTF-8.
  int32_t length16 = 0;
  status = U_ZERO_ERROR;
  u_strFromUTF8(nullptr, 0, &length16, text.data(), static_cast<int32_t>(text.size()), &status);
  std::vector<UChar> source(static_cast<size_t>(length16) + 1);
  status = U_ZERO_ERROR;
  u_strFromUTF8(source.data(), length16 + 1, nullptr, text.data(), static_cast<int32_t>(text.size()), &status);
  if (U_FAILURE(status)) {
    return std::string(text);
  }
  std::vector<UChar> normalized(static_cast<size_t>(length16) * 3 + 16);
  status = U_ZERO_ERROR;
  const int32_t normalizedLength = unorm2_normalize(nfc, source.data(), length16, normalized.data(),
                                                    static_cast<int32_t>(normalized.size()), &status);
  if (U_FAILURE(status)) {
    return std::string(text);
  }
  int32_t length8 = 0;
  status = U_ZERO_ERROR;
  u_strToUTF8(nullptr, 0, &length8, normalized.data(), normalizedLength, &status);
  std::string out(static_cast<size_t>(length8), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8(out.data(), length8, nullptr, normalized.data(), normalizedLength, &status);
  if (U_FAILURE(status)) {
    return std::string(text);
  }
  return out;
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
