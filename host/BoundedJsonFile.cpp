#include "host/BoundedJsonFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Error.h"

namespace velune::host {

using platform::Error;

namespace {

Error corrupt(const std::string& what) {
  return Error(std::string(platform::kPlatformErrorDomain), platform::ErrorCode::FileReadCorruptFile,
               {{std::string(platform::kFilePathErrorKey), platform::Value(what)}});
}

}  // namespace

platform::Result<nlohmann::json> parseBoundedJson(std::string_view text, int maxDepth) {
  int depth = 0;
  bool tooDeep = false;
  // The callback sees every opening and closing bracket before the parser
  // goes deeper; refusing there keeps a hostile file from exhausting the stack.
  const nlohmann::json::parser_callback_t limit = [&](int, nlohmann::json::parse_event_t event, nlohmann::json&) {
    if (event == nlohmann::json::parse_event_t::object_start || event == nlohmann::json::parse_event_t::array_start) {
      if (++depth > maxDepth) {
        tooDeep = true;
        throw std::range_error("too deep");
      }
    } else if (event == nlohmann::json::parse_event_t::object_end ||
               event == nlohmann::json::parse_event_t::array_end) {
      --depth;
    }
    return true;
  };
  try {
    return nlohmann::json::parse(text.begin(), text.end(), limit);
  } catch (const std::exception&) {
    return corrupt(tooDeep ? "nested too deeply" : "not JSON");
  }
}

platform::Result<nlohmann::json> readBoundedJsonFile(const std::string& path, size_t maxBytes, int maxDepth) {
  // O_NONBLOCK: opening a FIFO must not wait for a writer.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) {
    return Error::fromErrno(errno == ELOOP ? EINVAL : errno, path, false);
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return Error::fromErrno(EINVAL, path, false);
  }
  if (static_cast<size_t>(info.st_size) > maxBytes) {
    ::close(fd);
    return Error::fromErrno(EFBIG, path, false);
  }
  std::string text;
  text.resize(static_cast<size_t>(info.st_size) + 1);
  size_t got = 0;
  while (got < text.size()) {
    const ssize_t n = ::read(fd, text.data() + got, text.size() - got);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      break;
    }
    got += static_cast<size_t>(n);
  }
  ::close(fd);
  if (got > maxBytes) {
    return Error::fromErrno(EFBIG, path, false);  // it grew while being read
  }
  text.resize(got);
  return parseBoundedJson(text, maxDepth);
}

}  // namespace velune::host
