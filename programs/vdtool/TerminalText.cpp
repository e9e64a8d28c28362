#include "programs/vdtool/TerminalText.h"

#include <cstdio>

#include "platform/UTF8.h"

namespace velune::host::vdtool {

namespace {

bool isHarmful(char32_t c) {
  return c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F) || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

std::string terminalText(std::string_view text) {
  const std::string valid = platform::validUTF8(text);
  const auto codePoints = platform::decodeUTF8(valid);
  if (!codePoints) {
    return valid;  // cannot happen: validUTF8() gives UTF-8
  }
  std::string out;
  out.reserve(valid.size());
  for (const char32_t c : *codePoints) {
    if (!isHarmful(c)) {
      out += platform::encodeUTF8(std::u32string_view(&c, 1));
      continue;
    }
    char escape[16];
    if (c < 0x80) {
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(c));
    } else {
      std::snprintf(escape, sizeof escape, "\\u{%04X}", static_cast<unsigned>(c));
    }
    out += escape;
  }
  return out;
}

std::string jsonText(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace velune::host::vdtool
