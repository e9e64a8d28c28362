#pragma once
// URL: a file URL or a general URL, compared like the platform compares them:
// by their absolute string, so "file:///a/b/" (a directory) and "file:///a/b"
// are different URLs.
//
// A URL can carry a recorded physical URL: the promise mechanism of the drive
// records a placeholder file's URL on the logical URL of its document. The
// recorded URL travels with copies but is not part of equality or hashing.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/URLComponents.h"

namespace velune::platform {

class URL {
 public:
  // The empty URL: isEmpty() is true; equal only to another empty URL.
  URL() = default;

  // A file URL for an absolute path. The path is kept as given, except that a
  // directory URL ends in "/". Relative paths are made absolute against the
  // current working directory.
  static URL fileURLWithPath(std::string_view path, bool isDirectory);
  // Same, with the directory flag taken from a trailing "/".
  static URL fileURLWithPath(std::string_view path);
  // Nothing when the text is not a URL (see URLComponents::fromString).
  static std::optional<URL> URLWithString(std::string_view text);
  static URL fromComponents(const URLComponents& components);

  bool isEmpty() const { return parts_ == nullptr; }
  const std::string& absoluteString() const;
  std::string description() const { return absoluteString(); }

  const std::string& scheme() const;
  std::string host() const;
  bool isFileURL() const;
  // The decoded path without a trailing "/" ("/" for the root). Escapes that do
  // not decode to UTF-8 are kept as bytes.
  std::string path() const;
  const std::string& percentEncodedPath() const;
  bool hasDirectoryPath() const;
  // ["/", "a", "b"] for "/a/b".
  std::vector<std::string> pathComponents() const;
  std::string lastPathComponent() const;
  // The text after the last "." of the last component; empty when there is no
  // dot, or the only dot starts or ends the name.
  std::string pathExtension() const;

  URL URLByDeletingLastPathComponent() const;
  URL URLByAppendingPathComponent(std::string_view component, bool isDirectory) const;
  URL URLByDeletingPathExtension() const;
  URL URLByAppendingPathExtension(std::string_view extension) const;

  // The recorded physical URL, or null.
  const URL* physicalURL() const { return physical_.get(); }
  URL withPhysicalURL(const URL& physical) const;

  bool operator==(const URL& other) const;
  bool operator!=(const URL& other) const { return !(*this == other); }

 private:
  struct Parts;
  explicit URL(std::shared_ptr<const Parts> parts) : parts_(std::move(parts)) {}
  static URL withPath(const URL& base, const std::string& decodedPath, bool isDirectory);

  std::shared_ptr<const Parts> parts_;
  std::shared_ptr<const URL> physical_;
};

}  // namespace velune::platform

template <>
struct std::hash<velune::platform::URL> {
  size_t operator()(const velune::platform::URL& url) const noexcept {
    return std::hash<std::string>()(url.absoluteString());
  }
};
