#include "host/LaunchURLChannel.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/BoundedJsonFile.h"
#include "platform/Error.h"

namespace velune::host {

using platform::Error;

bool LaunchURLChannel::makeAddress(const std::string& path, sockaddr_un& address, int& folderFd) {
  folderFd = -1;
  std::memset(&address, 0, sizeof(address));
  address.sun_family = AF_UNIX;
  std::string target = path;
  if (target.size() >= sizeof(address.sun_path)) {
    // Too long for an address: name it through the open folder instead.
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
      return false;
    }
    folderFd = ::open(path.substr(0, slash).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (folderFd < 0) {
      return false;
    }
    target = "/proc/self/fd/" + std::to_string(folderFd) + path.substr(slash);
    if (target.size() >= sizeof(address.sun_path)) {
      ::close(folderFd);
      folderFd = -1;
      return false;
    }
  }
  std::memcpy(address.sun_path, target.c_str(), target.size() + 1);
  return true;
}

platform::Result<LaunchURLReply> LaunchURLChannel::send(const HomeLayout& layout, const std::string& url,
                                                        const std::optional<std::string>& from) {
  nlohmann::json request{{"url", url}};
  if (from) {
    request["from"] = *from;
  }
  const std::string text = request.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  const std::string path = socketPath(layout);
  sockaddr_un address{};
  int folderFd = -1;
  if (!makeAddress(path, address, folderFd)) {
    return Error::fromErrno(ENAMETOOLONG, path, false);
  }
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    if (folderFd >= 0) {
      ::close(folderFd);
    }
    return Error::fromErrno(errno, path, false);
  }
  timeval timeout{kTimeoutSeconds, 0};
  ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
  ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
  const int connected = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  const int connectError = errno;
  if (folderFd >= 0) {
    ::close(folderFd);
  }
  if (connected != 0) {
    ::close(fd);
    return Error::fromErrno(connectError, path, false);
  }
  size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t n = ::send(fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      break;  // the app may refuse a long request before reading it all; its reply says why
    }
    sent += static_cast<size_t>(n);
  }
  ::shutdown(fd, SHUT_WR);
  std::string reply;
  char buffer[4096];
  while (reply.size() <= kMaxRequestBytes) {
    const ssize_t n = ::recv(fd, buffer, sizeof(buffer), 0);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      break;
    }
    reply.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  auto json = parseBoundedJson(reply, 4);
  if (!json.ok() || !json.value().is_object() || !json.value().contains("handled") ||
      !json.value()["handled"].is_boolean()) {
    return Error::fromErrno(EPROTO, path, false);
  }
  LaunchURLReply out;
  out.handled = json.value()["handled"].get<bool>();
  if (json.value().contains("error") && json.value()["error"].is_string()) {
    out.error = json.value()["error"].get<std::string>();
  }
  return out;
}

}  // namespace velune::host
