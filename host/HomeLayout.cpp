#include "host/HomeLayout.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "host/FileIO.h"

namespace velune::host {

HomeLayout::HomeLayout(std::string root) : root_(std::move(root)) {
  while (root_.size() > 1 && root_.back() == '/') {
    root_.pop_back();
  }
}

std::optional<platform::Error> HomeLayout::ensureSkeleton() const {
  for (const std::string& folder : {root_, mobileDocuments(), cloud(), appData(), appDocuments(), logsDirectory()}) {
    if (auto error = makeDirectories(folder)) {
      return error;
    }
  }
  struct stat info {};
  if (stat(standardPreferences().c_str(), &info) != 0) {
    if (auto error = writeFileAtomically(standardPreferences(), "{\n  \"DRLogLevel\": 7\n}\n")) {
      return error;
    }
  }
  return std::nullopt;
}

std::string HomeLayout::absoluteHome(const std::string& path) {
  std::string joined = path;
  if (path.empty() || path.front() != '/') {
    char* current = ::getcwd(nullptr, 0);
    if (current == nullptr) {
      return path;
    }
    joined = std::string(current) + "/" + path;
    std::free(current);
  }
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= joined.size()) {
    size_t end = joined.find('/', start);
    if (end == std::string::npos) {
      end = joined.size();
    }
    const std::string part = joined.substr(start, end - start);
    if (part == "..") {
      if (!parts.empty()) {
        parts.pop_back();
      }
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = end + 1;
  }
  std::string out;
  for (const auto& part : parts) {
    out += "/" + part;
  }
  return out.empty() ? "/" : out;
}

std::string HomeLayout::defaultDemoHome() {
  std::string base;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && xdg[0] == '/') {
    base = xdg;
  } else if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') {
    base = std::string(home) + "/.local/share";
  } else {
    base = "/tmp";
  }
  return base + "/velunedrive/demo-home";
}

}  // namespace velune::host
