#include "platform/URLComponents.h"

#include <charconv>

#include "platform/PercentEncoding.h"
#include "platform/URL.h"

namespace velune::platform {
namespace {

bool isURLCharacter(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
    return true;
  }
  switch (c) {
    case '-': case '.': case '_': case '~':                                   // unreserved
    case ':': case '/': case '?': case '#': case '[': case ']': case '@':     // gen-delims
    case '!': case '$': case '&': case '\'': case '(': case ')': case '*':    // sub-delims
    case '+': case ',': case ';': case '=':
    case '%':
      return true;
    default:
      return false;
  }
}

bool isHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool isSchemeStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isSchemeChar(char c) {
  return isSchemeStart(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

}  // namespace

std::optional<URLComponents> URLComponents::fromString(std::string_view text) {
  if (text.empty()) {
    return std::nullopt;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!isURLCharacter(c)) {
      return std::nullopt;
    }
    if (c == '%' && (i + 2 >= text.size() || !isHex(text[i + 1]) || !isHex(text[i + 2]))) {
      return std::nullopt;
    }
  }

  URLComponents parts;
  std::string_view rest = text;

  // Scheme: letters first, up to the first ":" that comes before any "/?#".
  const size_t colon = rest.find(':');
  if (colon != std::string_view::npos && colon > 0 && isSchemeStart(rest[0])) {
    bool valid = true;
    for (size_t i = 1; i < colon; ++i) {
      valid = valid && isSchemeChar(rest[i]);
    }
    if (valid) {
      parts.scheme_ = std::string(rest.substr(0, colon));
      rest.remove_prefix(colon + 1);
    }
  }

  // Fragment and query come off the end first.
  if (const size_t hash = rest.find('#'); hash != std::string_view::npos) {
    parts.fragment_ = std::string(rest.substr(hash + 1));
    rest = rest.substr(0, hash);
  }
  if (const size_t question = rest.find('?'); question != std::string_view::npos) {
    parts.query_ = std::string(rest.substr(question + 1));
    rest = rest.substr(0, question);
  }

  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    parts.hasAuthority_ = true;
    const size_t slash = rest.find('/');
    std::string_view authority = rest.substr(0, slash);
    rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
    if (const size_t at = authority.rfind('@'); at != std::string_view::npos) {
      std::string_view userInfo = authority.substr(0, at);
      authority.remove_prefix(at + 1);
      if (const size_t sep = userInfo.find(':'); sep != std::string_view::npos) {
        parts.password_ = std::string(userInfo.substr(sep + 1));
        userInfo = userInfo.substr(0, sep);
      }
      parts.user_ = std::string(userInfo);
    }
    // A port follows the last ":" unless it sits inside an IPv6 literal.
    const size_t portColon = authority.rfind(':');
    const size_t bracket = authority.rfind(']');
    if (portColon != std::string_view::npos && (bracket == std::string_view::npos || portColon > bracket)) {
      std::string_view port = authority.substr(portColon + 1);
      authority = authority.substr(0, portColon);
      if (!port.empty()) {
        int value = 0;
        const auto [end, ec] = std::from_chars(port.data(), port.data() + port.size(), value);
        if (ec != std::errc() || end != port.data() + port.size() || value < 0 || value > 65535) {
          return std::nullopt;
        }
        parts.port_ = value;
      }
    }
    parts.host_ = std::string(authority);
  }
  parts.path_ = std::string(rest);
  return parts;
}

std::optional<URLComponents> URLComponents::fromURL(const URL& url) {
  if (url.isEmpty()) {
    return std::nullopt;
  }
  return fromString(url.absoluteString());
}

std::string URLComponents::host() const { return removingPercentEncodingLeniently(host_); }

std::optional<std::string> URLComponents::path() const { return removingPercentEncoding(path_); }

std::vector<URLQueryItem> URLComponents::queryItems() const {
  std::vector<URLQueryItem> items;
  if (!query_) {
    return items;
  }
  std::string_view rest = *query_;
  while (true) {
    const size_t amp = rest.find('&');
    std::string_view piece = rest.substr(0, amp);
    URLQueryItem item;
    const size_t eq = piece.find('=');
    const std::string_view name = piece.substr(0, eq);
    item.name = removingPercentEncoding(name).value_or(std::string(name));
    if (eq != std::string_view::npos) {
      const std::string_view value = piece.substr(eq + 1);
      item.value = removingPercentEncoding(value).value_or(std::string(value));
    }
    items.push_back(std::move(item));
    if (amp == std::string_view::npos) {
      break;
    }
    rest.remove_prefix(amp + 1);
  }
  return items;
}

std::string URLComponents::string() const {
  std::string out;
  if (!scheme_.empty()) {
    out += scheme_;
    out += ':';
  }
  if (hasAuthority_) {
    out += "//";
    if (!user_.empty() || password_) {
      out += user_;
      if (password_) {
        out += ':';
        out += *password_;
      }
      out += '@';
    }
    out += host_;
    if (port_) {
      out += ':';
      out += std::to_string(*port_);
    }
  }
  out += path_;
  if (query_) {
    out += '?';
    out += *query_;
  }
  if (fragment_) {
    out += '#';
    out += *fragment_;
  }
  return out;
}

}  // namespace velune::platform
