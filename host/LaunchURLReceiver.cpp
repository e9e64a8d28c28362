#include "host/LaunchURLReceiver.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "host/BoundedJsonFile.h"
#include "host/LaunchURLChannel.h"

namespace velune::host {

using platform::Error;

namespace {

void writeReply(int fd, bool handled, const std::string& error) {
  nlohmann::json reply{{"handled", handled}};
  if (!error.empty()) {
    reply["error"] = error;
  }
  const std::string text = reply.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t n = ::send(fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return;
    }
    sent += static_cast<size_t>(n);
  }
}

std::string executableOf(pid_t pid) {
  char target[4096];
  const std::string link = "/proc/" + std::to_string(pid) + "/exe";
  const ssize_t n = ::readlink(link.c_str(), target, sizeof(target) - 1);
  return n > 0 ? std::string(target, static_cast<size_t>(n)) : std::string("(unknown)");
}

// The owner-only folder of the socket: made when missing; refused when it is
// a link, not a folder, or someone else's.
std::optional<Error> prepareFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    return Error::fromErrno(errno, folder, true);
  }
  struct stat info {};
  if (::lstat(folder.c_str(), &info) != 0) {
    return Error::fromErrno(errno, folder, false);
  }
  if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) {
    return Error::fromErrno(EPERM, folder, true);
  }
  if ((info.st_mode & 0077) != 0 && ::chmod(folder.c_str(), 0700) != 0) {
    return Error::fromErrno(errno, folder, true);
  }
  return std::nullopt;
}

}  // namespace

LaunchURLReceiver::LaunchURLReceiver(HomeLayout layout, Handler handler)
    : layout_(std::move(layout)), handler_(std::move(handler)) {}

LaunchURLReceiver::~LaunchURLReceiver() { stop(); }

std::optional<Error> LaunchURLReceiver::start() {
  if (thread_.joinable()) {
    return std::nullopt;
  }
  const std::string folder = LaunchURLChannel::socketFolder(layout_);
  const std::string path = LaunchURLChannel::socketPath(layout_);
  if (auto error = prepareFolder(folder)) {
    return error;
  }
  sockaddr_un address{};
  int folderFd = -1;
  if (!LaunchURLChannel::makeAddress(path, address, folderFd)) {
    return Error::fromErrno(ENAMETOOLONG, path, true);
  }
  const auto closeFolder = [&folderFd] {
    if (folderFd >= 0) {
      ::close(folderFd);
      folderFd = -1;
    }
  };
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) {
    if (!S_ISSOCK(info.st_mode)) {
      closeFolder();
      return Error::fromErrno(EEXIST, path, true);
    }
    // An app that still answers keeps its socket.
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool alive = probe >= 0 && ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    if (probe >= 0) {
      ::close(probe);
    }
    if (alive) {
      closeFolder();
      return Error::fromErrno(EADDRINUSE, path, true);
    }
    ::unlink(path.c_str());
  }
  listenFd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listenFd_ < 0) {
    closeFolder();
    return Error::fromErrno(errno, path, true);
  }
  if (::bind(listenFd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::chmod(path.c_str(), 0600) != 0 || ::listen(listenFd_, 8) != 0) {
    const int error = errno;
    closeFolder();
    ::close(listenFd_);
    listenFd_ = -1;
    return Error::fromErrno(error, path, true);
  }
  closeFolder();
  stopFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  thread_ = std::thread([this] { serve(); });
  return std::nullopt;
}

void LaunchURLReceiver::stop() {
  if (!thread_.joinable()) {
    return;
  }
  const std::uint64_t one = 1;
  (void)!::write(stopFd_, &one, sizeof(one));
  thread_.join();
  ::close(listenFd_);
  ::close(stopFd_);
  listenFd_ = -1;
  stopFd_ = -1;
  ::unlink(LaunchURLChannel::socketPath(layout_).c_str());
}

void LaunchURLReceiver::serve() {
  for (;;) {
    pollfd fds[2] = {{listenFd_, POLLIN, 0}, {stopFd_, POLLIN, 0}};
    if (::poll(fds, 2, -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;
    }
    if (fds[1].revents != 0) {
      return;
    }
    const int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
      continue;
    }
    handleConnection(fd);
    ::close(fd);
  }
}

void LaunchURLReceiver::handleConnection(int fd) {
  ucred peer{};
  socklen_t length = sizeof(peer);
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.uid != ::geteuid()) {
    writeReply(fd, false, "not allowed");
    return;
  }
  timeval timeout{LaunchURLChannel::kTimeoutSeconds, 0};
  ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
  ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
  std::string message;
  char buffer[8192];
  while (message.size() <= LaunchURLChannel::kMaxRequestBytes) {
    const ssize_t n = ::recv(fd, buffer, sizeof(buffer), 0);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      break;
    }
    message.append(buffer, static_cast<size_t>(n));
  }
  if (message.size() > LaunchURLChannel::kMaxRequestBytes) {
    writeReply(fd, false, "request too long");
    return;
  }
  auto json = parseBoundedJson(message, 4);
  if (!json.ok() || !json.value().is_object() || !json.value().contains("url") || !json.value()["url"].is_string()) {
    writeReply(fd, false, "not a launch URL request");
    return;
  }
  const auto url = platform::URL::URLWithString(json.value()["url"].get<std::string>());
  if (!url) {
    writeReply(fd, false, "not a URL");
    return;
  }
  LaunchURLRequest request;
  request.url = *url;
  if (json.value().contains("from") && json.value()["from"].is_string()) {
    request.claimedSource = json.value()["from"].get<std::string>();
  }
  request.pid = peer.pid;
  request.executable = executableOf(peer.pid);

  struct Answer {
    std::mutex mutex;
    std::condition_variable done;
    bool answered = false;
    bool handled = false;
    std::string error;
  };
  auto answer = std::make_shared<Answer>();
  handler_(request, [answer](bool handled, const std::string& error) {
    {
      std::lock_guard lock(answer->mutex);
      if (answer->answered) {
        return;
      }
      answer->answered = true;
      answer->handled = handled;
      answer->error = error;
    }
    answer->done.notify_all();
  });
  std::unique_lock lock(answer->mutex);
  // Real time on purpose: this bounds how long another process waits.
  if (!answer->done.wait_for(lock, std::chrono::seconds(LaunchURLChannel::kTimeoutSeconds),
                             [&] { return answer->answered; })) {
    lock.unlock();
    writeReply(fd, false, "not answered");
    return;
  }
  const bool handled = answer->handled;
  const std::string error = answer->error;
  lock.unlock();
  writeReply(fd, handled, error);
}

}  // namespace velune::host
