#pragma once
// Percent-encoding of URL parts, and UTF-8 validity.

#include <optional>
#include <string>
#include <string_view>

namespace velune::platform {

// Which characters stay literal when encoding.
enum class URLCharacterSet {
  Path,       // unreserved, sub-delims, ":", "@", "/"
  Query,      // Path plus "?"; "&", "=" and "+" are encoded inside query items
  QueryItem,  // for names and values of query items
  Fragment,
};

std::string addingPercentEncoding(std::string_view text, URLCharacterSet allowed);

// Decodes every "%XX". Nothing (no text) when an escape is broken ("%" not
// followed by two hexadecimal digits) or the decoded bytes are not UTF-8.
std::optional<std::string> removingPercentEncoding(std::string_view text);

// Decodes the escapes that are well formed and keeps the bytes as they are,
// valid UTF-8 or not. Used where a text is needed whatever the input.
std::string removingPercentEncodingLeniently(std::string_view text);

}  // namespace velune::platform
