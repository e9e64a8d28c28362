#include "shell/DriveFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/Error.h"

namespace velune::shell {

namespace {

platform::Error refused(std::int64_t code, const std::string& why) {
  return platform::Error(std::string(platform::kPlatformErrorDomain), code,
                         {{std::string(platform::kLocalizedDescriptionKey), platform::Value(why)}});
}

std::optional<std::string> realPath(const std::string& path) {
  char buffer[PATH_MAX];
  if (::realpath(path.c_str(), buffer) == nullptr) {
    return std::nullopt;
  }
  return std::string(buffer);
}

bool inside(const std::string& path, const std::string& root) {
  return path.size() > root.size() && path.compare(0, root.size(), root) == 0 && path[root.size()] == '/';
}

std::string lowercaseExtension(const std::string& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || name.find('/', dot) != std::string::npos) {
    return {};
  }
  std::string extension = name.substr(dot + 1);
  for (char& c : extension) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return extension;
}

}  // namespace

OpenDocument::~OpenDocument() {
  if (fd >= 0) {
    ::close(fd);
  }
}

std::string DriveFiles::contentTypeFor(const std::string& name, bool* inlineView) {
  struct Type {
    const char* extension;
    const char* contentType;
  };
  // HTML, SVG and other active types are served as plain text or a download,
  // never as something the browser would run in the page's origin.
  static constexpr Type kTypes[] = {
      {"png", "image/png"},        {"jpg", "image/jpeg"},       {"jpeg", "image/jpeg"},
      {"gif", "image/gif"},        {"webp", "image/webp"},      {"heic", "image/heic"},
      {"pdf", "application/pdf"},  {"txt", "text/plain; charset=utf-8"},
      {"md", "text/plain; charset=utf-8"}, {"csv", "text/plain; charset=utf-8"},
      {"json", "text/plain; charset=utf-8"}, {"log", "text/plain; charset=utf-8"},
      {"html", "text/plain; charset=utf-8"}, {"htm", "text/plain; charset=utf-8"},
      {"svg", "text/plain; charset=utf-8"}, {"xml", "text/plain; charset=utf-8"},
      {"mp3", "audio/mpeg"},       {"m4a", "audio/mp4"},        {"wav", "audio/wav"},
      {"aac", "audio/aac"},        {"mp4", "video/mp4"},        {"m4v", "video/mp4"},
      {"mov", "video/quicktime"},  {"webm", "video/webm"},
  };
  const std::string extension = lowercaseExtension(name);
  for (const auto& type : kTypes) {
    if (extension == type.extension) {
      if (inlineView != nullptr) {
        *inlineView = true;
      }
      return type.contentType;
    }
  }
  if (inlineView != nullptr) {
    *inlineView = false;
  }
  return "application/octet-stream";
}

platform::Result<std::shared_ptr<OpenDocument>> DriveFiles::open(const std::string& relativePath) const {
  if (relativePath.empty() || relativePath.size() > 4096 || relativePath.front() == '/' ||
      relativePath.find('\0') != std::string::npos) {
    return refused(platform::ErrorCode::FileReadInvalidFileName, "not a path inside the drive");
  }
  size_t start = 0;
  while (start <= relativePath.size()) {
    const size_t end = std::min(relativePath.find('/', start), relativePath.size());
    const std::string_view part = std::string_view(relativePath).substr(start, end - start);
    if (part.empty() || part.front() == '.') {
      return refused(platform::ErrorCode::FileReadInvalidFileName, "an empty, hidden or \"..\" part");
    }
    start = end + 1;
  }
  const auto root = realPath(root_);
  if (!root) {
    return refused(platform::ErrorCode::FileReadNoSuchFile, "the drive is missing");
  }
  const auto real = realPath(root_ + "/" + relativePath);
  if (!real) {
    return refused(platform::ErrorCode::FileReadNoSuchFile, "no such document");
  }
  if (!inside(*real, *root)) {
    return refused(platform::ErrorCode::FileReadNoPermission, "the document is outside the drive");
  }
  const int fd = ::open(real->c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    return refused(errno == ELOOP ? platform::ErrorCode::FileReadNoPermission : platform::ErrorCode::FileReadNoSuchFile,
                   "the document cannot be opened");
  }
  auto document = std::make_shared<OpenDocument>();
  document->fd = fd;
  // What was opened, not what the name means now.
  struct stat info {};
  char link[PATH_MAX];
  const std::string self = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = ::readlink(self.c_str(), link, sizeof link - 1);
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    return refused(platform::ErrorCode::FileReadNoPermission, "not a regular file");
  }
  if (length <= 0 || !inside(std::string(link, static_cast<size_t>(length)), *root)) {
    return refused(platform::ErrorCode::FileReadNoPermission, "the document is outside the drive");
  }
  document->size = static_cast<std::uint64_t>(info.st_size);
  document->contentType = contentTypeFor(*real, &document->inlineView);
  return document;
}

}  // namespace velune::shell
