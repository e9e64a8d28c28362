#include "platform/UTF8.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <cstring>

namespace velune::platform {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Where the first non-ASCII byte is (text.size() when there is none): most
// names and log lines are ASCII, eight bytes at a time.
size_t asciiPrefix(std::string_view text) {
  size_t i = 0;
  const size_t n = text.size();
  while (i + 8 <= n) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + i, 8);
    if ((word & 0x8080808080808080ull) != 0) {
      break;
    }
    i += 8;
  }
  while (i < n && (static_cast<unsigned char>(text[i]) & 0x80U) == 0) {
    ++i;
  }
  return i;
}

// ICU's macros index with int32_t: longer texts are walked in windows that
// never split a sequence, so a 2 GiB log line is still handled.
template <typename Visit>
bool forEachCodePoint(std::string_view text, Visit visit) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  size_t offset = 0;
  while (offset < text.size()) {
    const size_t window = std::min<size_t>(text.size() - offset, size_t{1} << 30);
    const auto length = static_cast<std::int32_t>(window);
    std::int32_t i = 0;
    while (i < length) {
      // Near the window's end a sequence may continue in the next window.
      if (offset + window < text.size() && length - i < 4) {
        break;
      }
      const std::int32_t start = i;
      UChar32 c = 0;
      U8_NEXT(bytes + offset, i, length, c);
      if (!visit(c, text.substr(offset + static_cast<size_t>(start), static_cast<size_t>(i - start)))) {
        return false;
      }
    }
    offset += static_cast<size_t>(i);
  }
  return true;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  const size_t ascii = asciiPrefix(text);
  if (ascii == text.size()) {
    return true;
  }
  return forEachCodePoint(text.substr(ascii), [](UChar32 c, std::string_view) { return c >= 0; });
}

std::string validUTF8(std::string_view text) {
  if (isValidUTF8(text)) {
    return std::string(text);
  }
  std::string out;
  out.reserve(text.size() + 8);
  forEachCodePoint(text, [&](UChar32 c, std::string_view sequence) {
    out.append(c >= 0 ? sequence : kReplacement);
    return true;
  });
  return out;
}

std::optional<std::u32string> decodeUTF8(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  const bool valid = forEachCodePoint(text, [&](UChar32 c, std::string_view) {
    if (c < 0) {
      return false;
    }
    out.push_back(static_cast<char32_t>(c));
    return true;
  });
  if (!valid) {
    return std::nullopt;
  }
  return out;
}

std::string encodeUTF8(std::u32string_view codePoints) {
  std::string out;
  out.reserve(codePoints.size());
  for (const char32_t c : codePoints) {
    if (c > 0x10FFFF || U_IS_SURROGATE(c)) {
      out.append(kReplacement);
      continue;
    }
    std::uint8_t buffer[U8_MAX_LENGTH];
    std::int32_t length = 0;
    U8_APPEND_UNSAFE(buffer, length, static_cast<UChar32>(c));
    out.append(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
  }
  return out;
}

std::optional<std::u16string> toUTF16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  const bool valid = forEachCodePoint(text, [&](UChar32 c, std::string_view) {
    if (c < 0) {
      return false;
    }
    if (U_IS_BMP(c)) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      out.push_back(static_cast<char16_t>(U16_LEAD(c)));
      out.push_back(static_cast<char16_t>(U16_TRAIL(c)));
    }
    return true;
  });
  if (!valid) {
    return std::nullopt;
  }
  return out;
}

std::string fromUTF16(std::u16string_view text) {
  std::u32string codePoints;
  codePoints.reserve(text.size());
  const auto length = static_cast<std::int32_t>(std::min<size_t>(text.size(), INT32_MAX));
  std::int32_t i = 0;
  while (i < length) {
    UChar32 c = 0;
    U16_NEXT(text.data(), i, length, c);
    codePoints.push_back(U_IS_SURROGATE(c) ? U'\uFFFD' : static_cast<char32_t>(c));
  }
  return encodeUTF8(codePoints);
}

size_t codePointCount(std::string_view text) {
  const size_t ascii = asciiPrefix(text);
  size_t count = ascii;
  forEachCodePoint(text.substr(ascii), [&](UChar32, std::string_view) {
    ++count;
    return true;
  });
  return count;
}

}  // namespace velune::platform
