#pragma once
// LaunchURLReceiver: the app's end of the LaunchURLChannel. One thread
// accepts connections on the home's socket, one at a time, each bounded in
// time (a client that sends nothing is dropped after the channel's timeout)
// and in size. Only processes of the same user may connect (the folder and
// the socket are owner-only, and the peer's credentials are checked). A
// request that passes is handed to the handler on this thread with the
// sender's pid and executable; the handler answers through `reply`, from any
// thread, within the timeout (after it, the client hears "not answered").
//
// A socket left by an app that died is replaced; a socket on which another
// app still answers is left alone and start() fails.

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "host/HomeLayout.h"
#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::host {

struct LaunchURLRequest {
  platform::URL url;
  // What the sender claims to be (its "from"); not checked here.
  std::optional<std::string> claimedSource;
  pid_t pid = 0;
  std::string executable;
};

class LaunchURLReceiver {
 public:
  using Reply = std::function<void(bool handled, const std::string& error)>;
  using Handler = std::function<void(const LaunchURLRequest&, Reply)>;

  LaunchURLReceiver(HomeLayout layout, Handler handler);
  ~LaunchURLReceiver();
  LaunchURLReceiver(const LaunchURLReceiver&) = delete;
  LaunchURLReceiver& operator=(const LaunchURLReceiver&) = delete;

  std::optional<platform::Error> start();
  // Stops accepting, waits for the thread and removes the socket.
  void stop();

 private:
  void serve();
  void handleConnection(int fd);

  HomeLayout layout_;
  Handler handler_;
  int listenFd_ = -1;
  int stopFd_ = -1;
  std::thread thread_;
};

}  // namespace velune::host
