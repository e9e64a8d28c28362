#pragma once
// URLComponents: a URL string split into its parts (RFC 3986 shape):
//   scheme ":" [ "//" [user [":" password] "@"] host [":" port] ] path [ "?" query ] [ "#" fragment ]
// The percent-encoded parts are kept as written; the plain accessors decode them.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velune::platform {

class URL;

struct URLQueryItem {
  std::string name;
  std::optional<std::string> value;  // nothing for "?flag" (no "=")
  bool operator==(const URLQueryItem&) const = default;
};

class URLComponents {
 public:
  URLComponents() = default;

  // Nothing when the text is not a URL: empty, a character that a URL cannot
  // hold unencoded (blank, quote, angle bracket, non-ASCII, control), a broken
  // "%" escape, or a port that is not a number.
  static std::optional<URLComponents> fromString(std::string_view text);
  static std::optional<URLComponents> fromURL(const URL& url);

  const std::string& scheme() const { return scheme_; }
  const std::string& percentEncodedHost() const { return host_; }
  std::string host() const;
  std::optional<int> port() const { return port_; }
  const std::string& percentEncodedUser() const { return user_; }
  const std::string& percentEncodedPath() const { return path_; }
  // The decoded path; nothing when its escapes do not decode to UTF-8.
  std::optional<std::string> path() const;
  const std::optional<std::string>& percentEncodedQuery() const { return query_; }
  // Names and values percent-decoded once ("+" stays "+"); an item whose
  // escapes do not decode keeps its encoded text.
  std::vector<URLQueryItem> queryItems() const;
  const std::optional<std::string>& percentEncodedFragment() const { return fragment_; }
  bool hasAuthority() const { return hasAuthority_; }

  void setScheme(std::string scheme) { scheme_ = std::move(scheme); }
  void setPercentEncodedPath(std::string path) { path_ = std::move(path); }
  void setPercentEncodedHost(std::string host) {
    host_ = std::move(host);
    hasAuthority_ = true;
  }
  void setPercentEncodedQuery(std::optional<std::string> query) { query_ = std::move(query); }

  // The URL string of these parts.
  std::string string() const;

 private:
  std::string scheme_;
  std::string user_;
  std::optional<std::string> password_;
  std::string host_;
  std::optional<int> port_;
  bool hasAuthority_ = false;
  std::string path_;
  std::optional<std::string> query_;
  std::optional<std::string> fragment_;
};

}  // namespace velune::platform
