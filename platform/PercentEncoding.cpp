#include "platform/PercentEncoding.h"

#include "platform/UTF8.h"

#include <cstdint>
#include <cstring>

namespace velune::platform {
namespace {

bool isUnreserved(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~';
}

bool isSubDelim(unsigned char c) {
  switch (c) {
    case '!': case '$': case '&': case '\'': case '(': case ')':
    case '*': case '+': case ',': case ';': case '=':
      return true;
    default:
      return false;
  }
}

bool isAllowed(unsigned char c, URLCharacterSet set) {
  if (isUnreserved(c)) {
    return true;
  }
  switch (set) {
    case URLCharacterSet::Path:
      return isSubDelim(c) || c == ':' || c == '@' || c == '/';
    case URLCharacterSet::Query:
    case URLCharacterSet::Fragment:
      return isSubDelim(c) || c == ':' || c == '@' || c == '/' || c == '?';
    case URLCharacterSet::QueryItem:
      return (isSubDelim(c) && c != '&' && c != '=' && c != '+') || c == ':' || c == '@' || c == '/' || c == '?';
  }
  return false;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string addingPercentEncoding(std::string_view text, URLCharacterSet allowed) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (isAllowed(c, allowed)) {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 0xF]);
    }
  }
  return out;
}

std::optional<std::string> removingPercentEncoding(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out.push_back(text[i]);
      continue;
    }
    if (i + 2 >= text.size()) {
      return std::nullopt;
    }
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    out.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  if (!isValidUTF8(out)) {
    return std::nullopt;
  }
  return out;
}

std::string removingPercentEncodingLeniently(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        out.push_back(static_cast<char>(high * 16 + low));
        i += 2;
        continue;
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

}  // namespace velune::platform
