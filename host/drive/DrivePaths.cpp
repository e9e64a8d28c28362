#include "host/drive/DrivePaths.h"

#include <vector>

namespace velune::host {

namespace {
// Built by appending: GCC 12 warns falsely (-Wrestrict) on "." + std::string(...).
std::string hiddenNameWithSuffix(std::string_view name, std::string_view suffix) {
  std::string hidden;
  hidden.reserve(1 + name.size() + suffix.size());
  hidden.push_back('.');
  hidden.append(name);
  hidden.append(suffix);
  return hidden;
}
}  // namespace

std::string placeholderNameFor(std::string_view name) { return hiddenNameWithSuffix(name, kPlaceholderSuffix); }

std::string sidecarNameFor(std::string_view name) { return hiddenNameWithSuffix(name, kSidecarSuffix); }

namespace {
std::optional<std::string> innerName(std::string_view name, std::string_view suffix) {
  if (name.size() <= suffix.size() + 1 || name.front() != '.' || !name.ends_with(suffix)) {
    return std::nullopt;
  }
  return std::string(name.substr(1, name.size() - 1 - suffix.size()));
}
}  // namespace

std::optional<std::string> logicalNameOfPlaceholder(std::string_view name) {
  return innerName(name, kPlaceholderSuffix);
}

std::optional<std::string> logicalNameOfSidecar(std::string_view name) {
  return innerName(name, kSidecarSuffix);
}

bool isTemporaryName(std::string_view name) {
  return name.starts_with(kTemporaryPrefix);
}

std::string joinPath(std::string_view folder, std::string_view name) {
  std::string out(folder);
  if (out.empty() || out.back() != '/') {
    out.push_back('/');
  }
  out.append(name);
  return out;
}

std::string placeholderPathFor(std::string_view path) {
  const auto [folder, name] = splitParent(path);
  return joinPath(folder, placeholderNameFor(name));
}

std::string sidecarPathFor(std::string_view path) {
  const auto [folder, name] = splitParent(path);
  return joinPath(folder, sidecarNameFor(name));
}

namespace {
// Whether an absolute path is already normal: no empty, "." or ".." part and
// no trailing slash (the common case, answered without building a new path).
bool isNormal(std::string_view path) {
  if (path.size() > 1 && path.back() == '/') {
    return false;
  }
  for (size_t i = 0; i < path.size(); ++i) {
    if (path[i] != '/') {
      continue;
    }
    const std::string_view rest = path.substr(i + 1);
    if (rest.starts_with('/') || rest == "." || rest.starts_with("./") || rest == ".." || rest.starts_with("../")) {
      return false;
    }
  }
  return true;
}
}  // namespace

std::optional<std::string> lexicallyNormal(std::string_view path) {
  if (path.empty() || path.front() != '/') {
    return std::nullopt;
  }
  if (isNormal(path)) {
    return std::string(path);
  }
  std::vector<std::string_view> parts;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string_view::npos) {
      end = path.size();
    }
    const std::string_view part = path.substr(start, end - start);
    if (part.empty() || part == ".") {
      // skip
    } else if (part == "..") {
      if (!parts.empty()) {
        parts.pop_back();
      }
    } else {
      parts.push_back(part);
    }
    start = end + 1;
  }
  if (parts.empty()) {
    return std::string("/");
  }
  std::string out;
  for (const auto part : parts) {
    out.push_back('/');
    out.append(part);
  }
  return out;
}

bool isSameOrInside(std::string_view path, std::string_view ancestor) {
  if (ancestor == "/") {
    return !path.empty() && path.front() == '/';
  }
  if (!path.starts_with(ancestor)) {
    return false;
  }
  return path.size() == ancestor.size() || path[ancestor.size()] == '/';
}

std::optional<std::string> relativeTo(std::string_view path, std::string_view ancestor) {
  if (!isSameOrInside(path, ancestor)) {
    return std::nullopt;
  }
  if (path.size() == ancestor.size()) {
    return std::string();
  }
  const size_t skip = ancestor == "/" ? 1 : ancestor.size() + 1;
  return std::string(path.substr(skip));
}

}  // namespace velune::host
