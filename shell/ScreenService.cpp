#include "shell/ScreenService.h"

#include <spawn.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "host/LinuxApplicationHost.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "shell/PhoneControls.h"
#include "shell/ScreenPublisher.h"
#include "shell/ScreenServer.h"

extern char** environ;

namespace velune::shell {

namespace {

// Tells this launch's image names from another's (not a secret).
std::string launchTag() {
  unsigned char bytes[4] = {};
  if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
    return "l" + std::to_string(::getpid());
  }
  static constexpr char kHex[] = "0123456789abcdef";
  std::string tag;
  for (const unsigned char b : bytes) {
    tag.push_back(kHex[b >> 4]);
    tag.push_back(kHex[b & 15]);
  }
  return tag;
}

void openInBrowser(const std::string& url) {
  const char* display = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  if ((display == nullptr || *display == '\0') && (wayland == nullptr || *wayland == '\0')) {
    return;  // no desktop: the printed address is for the person to open
  }
  std::string program = "xdg-open";
  std::string argument = url;
  char* argv[] = {program.data(), argument.data(), nullptr};
  pid_t pid = 0;
  if (::posix_spawnp(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0) {
    PLATFORM_LOG(kLogInfo, "No browser could be opened (xdg-open is missing); open the printed address");
    return;
  }
  // xdg-open returns once the browser runs; wait for it off the main thread.
  std::thread([pid] {
    int status = 0;
    ::waitpid(pid, &status, 0);
  }).detach();
}

}  // namespace

ScreenService::ScreenService(host::HomeLayout layout, Options options)
    : layout_(std::move(layout)), options_(options) {}

ScreenService::~ScreenService() = default;

std::optional<platform::Error> ScreenService::applicationHostWillRun(host::LinuxApplicationHost& host) {
  auto secret = SessionSecret::generate();
  if (!secret.ok()) {
    return secret.error();
  }
  phone_ = std::make_shared<PhoneControls>(layout_);
  std::weak_ptr<host::LinuxApplicationHost> weakHost = host.weak_from_this();
  phone_->setOpenURLHook([weakHost](const host::LaunchURLRequest& request, std::function<void(bool)> done) {
    if (const auto strong = weakHost.lock()) {
      strong->openURL(request, std::move(done));
    } else {
      done(false);
    }
  });
  publisher_ = ScreenPublisher::create(launchTag(), layout_.mobileDocuments());
  std::weak_ptr<PhoneControls> weakPhone = phone_;
  publisher_->dispatcher().setRotateHook([weakPhone](ui::InterfaceOrientation orientation) {
    const auto phone = weakPhone.lock();
    return phone && !phone->rotate(ui::isLandscape(orientation));
  });
  ScreenServer::Parts parts{publisher_, phone_, platform::Platform::services()->logRecordTee,
                           layout_.mobileDocuments()};
  auto server = ScreenServer::start(ScreenServer::Options{options_.port, "127.0.0.1"}, secret.value(), parts);
  if (!server.ok()) {
    publisher_.reset();
    return server.error();
  }
  server_ = std::move(server.value());
  publisher_->start();
  PLATFORM_LOG(kLogInfo, "The screen is served on 127.0.0.1:%@", server_->port());
  if (options_.announceTo != nullptr) {
    std::fprintf(options_.announceTo, "Velune Drive screen: %s\n", server_->loginURL().c_str());
    std::fflush(options_.announceTo);
  }
  if (options_.openBrowser) {
    openInBrowser(server_->loginURL());
  }
  return std::nullopt;
}

void ScreenService::applicationHostDidStop(host::LinuxApplicationHost&) {
  if (publisher_) {
    publisher_->stop();
  }
  if (server_) {
    server_->stop();
  }
}

std::string ScreenService::loginURL() const { return server_ ? server_->loginURL() : std::string(); }

}  // namespace velune::shell
