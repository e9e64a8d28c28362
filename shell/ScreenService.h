#pragma once
// ScreenService: the screen as a service of the application host. When the
// host starts it, it makes the per-launch secret, binds the server on
// 127.0.0.1 (the chosen port or a free one), starts watching the UI model and
// prints one line with the address to open:
//
//   Velune Drive screen: http://127.0.0.1:PORT/?token=SECRET
//
// and, when asked and a desktop is there, opens it in a browser. When the
// host stops, the streams end and the server's threads are joined.
// Main thread (the host calls it there).

#include <cstdio>
#include <memory>
#include <string>

#include "host/ApplicationHostService.h"
#include "host/HomeLayout.h"

namespace velune::shell {

class PhoneControls;
class ScreenPublisher;
class ScreenServer;

class ScreenService final : public host::ApplicationHostService {
 public:
  struct Options {
    int port = 0;
    bool openBrowser = false;
    FILE* announceTo = stdout;
  };

  // The log view follows the installed services' LogRecordTee.
  ScreenService(host::HomeLayout layout, Options options);
  ~ScreenService() override;

  std::optional<platform::Error> applicationHostWillRun(host::LinuxApplicationHost& host) override;
  void applicationHostDidStop(host::LinuxApplicationHost& host) override;

  // While running: the address printed at start.
  std::string loginURL() const;

 private:
  host::HomeLayout layout_;
  Options options_;
  std::shared_ptr<PhoneControls> phone_;
  std::shared_ptr<ScreenPublisher> publisher_;
  std::unique_ptr<ScreenServer> server_;
};

}  // namespace velune::shell
