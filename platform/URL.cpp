#include "platform/URL.h"

#include <unistd.h>

#include <optional>

#include "platform/PercentEncoding.h"

namespace velune::platform {

struct URL::Parts {
  URLComponents components;
  std::string absolute;
  // File URLs made from a path keep it, so that path() need not decode it again.
  std::optional<std::string> decodedPath;
};

namespace {

const std::string& emptyString() {
  static const auto* empty = new std::string();
  return *empty;
}

std::string currentDirectory() {
  char buffer[4096];
  if (getcwd(buffer, sizeof buffer) == nullptr) {
    return "/";
  }
  return buffer;
}

}  // namespace

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
  std::string absolute(path);
  if (absolute.empty() || absolute.front() != '/') {
    std::string base = currentDirectory();
    if (base.back() != '/') {
      base.push_back('/');
    }
    absolute = base + absolute;
  }
  if (isDirectory && absolute.back() != '/') {
    absolute.push_back('/');
  }
  if (!isDirectory && absolute.size() > 1 && absolute.back() == '/') {
    absolute.pop_back();
  }
  auto parts = std::make_shared<Parts>();
  parts->components.setScheme("file");
  parts->components.setPercentEncodedHost("");
  parts->components.setPercentEncodedPath(addingPercentEncoding(absolute, URLCharacterSet::Path));
  parts->absolute = parts->components.string();
  while (absolute.size() > 1 && absolute.back() == '/') {
    absolute.pop_back();
  }
  parts->decodedPath = std::move(absolute);
  return URL(std::move(parts));
}

URL URL::fileURLWithPath(std::string_view path) {
  return fileURLWithPath(path, !path.empty() && path.back() == '/');
}

std::optional<URL> URL::URLWithString(std::string_view text) {
  auto components = URLComponents::fromString(text);
  if (!components) {
    return std::nullopt;
  }
  auto parts = std::make_shared<Parts>();
  parts->components = std::move(*components);
  parts->absolute = std::string(text);
  return URL(std::move(parts));
}

URL URL::fromComponents(const URLComponents& components) {
  auto parts = std::make_shared<Parts>();
  parts->components = components;
  parts->absolute = components.string();
  return URL(std::move(parts));
}

const std::string& URL::absoluteString() const { return parts_ ? parts_->absolute : emptyString(); }

const std::string& URL::scheme() const { return parts_ ? parts_->components.scheme() : emptyString(); }

std::string URL::host() const { return parts_ ? parts_->components.host() : std::string(); }

bool URL::isFileURL() const { return scheme() == "file"; }

const std::string& URL::percentEncodedPath() const {
  return parts_ ? parts_->components.percentEncodedPath() : emptyString();
}

std::string URL::path() const {
  if (parts_ && parts_->decodedPath) {
    return *parts_->decodedPath;
  }
  std::string decoded = removingPercentEncodingLeniently(percentEncodedPath());
  while (decoded.size() > 1 && decoded.back() == '/') {
    decoded.pop_back();
  }
  return decoded;
}

bool URL::hasDirectoryPath() const {
  const std::string& encoded = percentEncodedPath();
  return !encoded.empty() && encoded.back() == '/';
}

std::vector<std::string> URL::pathComponents() const {
  std::vector<std::string> components;
  const std::string full = path();
  if (full.empty()) {
    return components;
  }
  size_t start = 0;
  if (full.front() == '/') {
    components.emplace_back("/");
    start = 1;
  }
  while (start < full.size()) {
    const size_t slash = full.find('/', start);
    const size_t end = slash == std::string::npos ? full.size() : slash;
    if (end > start) {
      components.push_back(full.substr(start, end - start));
    }
    start = end + 1;
  }
  return components;
}

std::string URL::lastPathComponent() const {
  const std::string full = path();
  if (full == "/" || full.empty()) {
    return full;
  }
  const size_t slash = full.rfind('/');
  return slash == std::string::npos ? full : full.substr(slash + 1);
}

std::string URL::pathExtension() const {
  const std::string name = lastPathComponent();
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
    return {};
  }
  return name.substr(dot + 1);
}

URL URL::withPath(const URL& base, const std::string& decodedPath, bool isDirectory) {
  if (base.isFileURL()) {
    URL result = fileURLWithPath(decodedPath, isDirectory);
    return result;
  }
  URLComponents components = base.parts_ ? base.parts_->components : URLComponents();
  std::string path = decodedPath;
  if (isDirectory && (path.empty() || path.back() != '/')) {
    path.push_back('/');
  }
  components.setPercentEncodedPath(addingPercentEncoding(path, URLCharacterSet::Path));
  components.setPercentEncodedQuery(std::nullopt);
  return fromComponents(components);
}

URL URL::URLByDeletingLastPathComponent() const {
  if (isEmpty()) {
    return {};
  }
  const std::string full = path();
  const size_t slash = full.rfind('/');
  if (full == "/" || slash == std::string::npos) {
    return withPath(*this, "/", true);
  }
  return withPath(*this, full.substr(0, slash + 1), true);
}

URL URL::URLByAppendingPathComponent(std::string_view component, bool isDirectory) const {
  if (isEmpty()) {
    return {};
  }
  std::string full = path();
  if (full.empty() || full.back() != '/') {
    full.push_back('/');
  }
  full.append(component);
  return withPath(*this, full, isDirectory);
}

URL URL::URLByDeletingPathExtension() const {
  const std::string extension = pathExtension();
  if (extension.empty()) {
    return *this;
  }
  std::string full = path();
  full.resize(full.size() - extension.size() - 1);
  return withPath(*this, full, hasDirectoryPath());
}

URL URL::URLByAppendingPathExtension(std::string_view extension) const {
  std::string full = path();
  full.push_back('.');
  full.append(extension);
  return withPath(*this, full, hasDirectoryPath());
}

URL URL::withPhysicalURL(const URL& physical) const {
  URL copy = *this;
  copy.physical_ = std::make_shared<const URL>(physical);
  return copy;
}

bool URL::operator==(const URL& other) const {
  if (parts_ == other.parts_) {
    return true;
  }
  return absoluteString() == other.absoluteString() && isEmpty() == other.isEmpty();
}

}  // namespace velune::platform
