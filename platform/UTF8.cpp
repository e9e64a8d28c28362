#include "platform/UTF8.h"

#include <cstdint>

#include "platform/PercentEncoding.h"

namespace velune::platform {

std::string validUTF8(std::string_view text) {
  if (isValidUTF8(text)) {
    return std::string(text);
  }
  std::string out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      ++i;
      continue;
    }
    const size_t length = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
    bool valid = length > 0 && i + length <= text.size();
    std::uint32_t cp = length == 2 ? (c & 0x1Fu) : length == 3 ? (c & 0x0Fu) : (c & 0x07u);
    for (size_t k = 1; valid && k < length; ++k) {
      const auto cc = static_cast<unsigned char>(text[i + k]);
      valid = (cc & 0xC0) == 0x80;
      cp = (cp << 6) | (cc & 0x3Fu);
    }
    if (valid) {
      valid = !((length == 2 && cp < 0x80) || (length == 3 && cp < 0x800) || (length == 4 && cp < 0x10000) ||
                cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF));
    }
    if (valid) {
      out.append(text.substr(i, length));
      i += length;
    } else {
      out += "\xEF\xBF\xBD";
      ++i;
    }
  }
  return out;
}

}  // namespace velune::platform
