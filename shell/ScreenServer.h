#pragma once
// ScreenServer: the screen's HTTP server on 127.0.0.1: the page, the screen's
// snapshots and updates, input events, images, the drive's documents for the
// preview, the control panel and the log. Every route is in one table
// (routes()); every request passes the RequestGuard first, and refusals are
// logged. Responses carry X-Frame-Options, a Content-Security-Policy without
// inline scripts, and nosniff. See docs/screen.md for each route.
//
// The server runs on its own threads (cpp-httplib: a listener and a pool);
// it reaches the UI model only through the ScreenPublisher. start() binds
// before it returns, so the port is known; stop() (also from the destructor)
// ends the streams and joins the threads.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/HomeLayout.h"
#include "platform/Result.h"
#include "shell/RequestGuard.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace velune::platform {
class LogRecordTee;
}

namespace velune::shell {

class PhoneControls;
class ScreenPublisher;
class DriveFiles;
class LogFollower;

class ScreenServer {
 public:
  struct Options {
    int port = 0;  // 0: a free one
    std::string address = "127.0.0.1";
  };
  struct Parts {
    std::shared_ptr<ScreenPublisher> screen;
    std::shared_ptr<PhoneControls> phone;                // may be null (no control panel)
    std::shared_ptr<platform::LogRecordTee> log;         // may be null (no log view)
    std::string driveRoot;                               // "HOME/Mobile Documents"
  };

  struct RouteInfo {
    std::string path;  // exact, or a prefix ending in "/"
    bool changesState;
    bool acceptsToken;
  };
  // Every route, for the documentation and the security tests.
  static std::vector<RouteInfo> routes();

  static platform::Result<std::unique_ptr<ScreenServer>> start(const Options& options, SessionSecret secret,
                                                               Parts parts);
  ~ScreenServer();
  ScreenServer(const ScreenServer&) = delete;
  ScreenServer& operator=(const ScreenServer&) = delete;

  int port() const { return port_; }
  // The address to open: http://127.0.0.1:PORT/?token=SECRET
  std::string loginURL() const;
  void stop();

 private:
  struct Route;
  ScreenServer(Parts parts, SessionSecret secret);
  void handle(const httplib::Request& request, httplib::Response& response);
  const Route* findRoute(const std::string& path) const;
  void buildRoutes();

  // Route handlers.
  void servePage(const httplib::Request&, httplib::Response&);
  void serveAsset(const httplib::Request&, httplib::Response&);
  void serveScreen(const httplib::Request&, httplib::Response&);
  void serveUpdates(const httplib::Request&, httplib::Response&);
  void serveEvent(const httplib::Request&, httplib::Response&);
  void serveImage(const httplib::Request&, httplib::Response&);
  void serveFile(const httplib::Request&, httplib::Response&);
  void servePhoneState(const httplib::Request&, httplib::Response&);
  void servePhoneAction(const httplib::Request&, httplib::Response&);
  void serveLog(const httplib::Request&, httplib::Response&);
  void serveLogStream(const httplib::Request&, httplib::Response&);

  Parts parts_;
  SessionSecret secret_;
  std::optional<RequestGuard> guard_;  // made once the port is known
  std::unique_ptr<DriveFiles> files_;
  std::unique_ptr<httplib::Server> server_;
  std::vector<Route> routes_;
  std::thread thread_;
  // The log streams' followers, woken by stop() so that their threads return.
  std::mutex followersMutex_;
  std::vector<std::weak_ptr<LogFollower>> followers_;
  bool stopping_ = false;
  int port_ = 0;
  std::string address_;
};

}  // namespace velune::shell
