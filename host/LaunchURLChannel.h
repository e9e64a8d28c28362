#pragma once
// LaunchURLChannel: how another process hands a launch URL to the running
// app of a home (what `vdtool open` does): a Unix stream socket at
// HOME/app-data/launch/launch-url.sock, in a folder only the owner may enter,
// the socket itself owner-only. One request per connection:
//
//   request  {"url": "velunedriveapp:///...", "from": "com.vorlan.Drillrun"}   ("from" optional)
//   reply    {"handled": true}  or  {"handled": false, "error": "..."}
//
// The request is at most kMaxRequestBytes (the URL alone may not be larger);
// the app refuses anything longer, anything that is not such a JSON object,
// and a "url" that is not a URL, without passing it on. The sender's word
// "from" is not trusted as it stands: the app reports it as the source only
// when that application is installed (apps.json), and logs the sending
// process's pid and executable beside it.

#include <sys/un.h>

#include <optional>
#include <string>

#include "host/HomeLayout.h"
#include "platform/Result.h"

namespace velune::host {

struct LaunchURLReply {
  bool handled = false;
  std::string error;
};

class LaunchURLChannel {
 public:
  static constexpr size_t kMaxRequestBytes = 64 * 1024;
  static constexpr int kTimeoutSeconds = 5;

  static std::string socketFolder(const HomeLayout& layout) { return layout.appData() + "/launch"; }
  static std::string socketPath(const HomeLayout& layout) { return socketFolder(layout) + "/launch-url.sock"; }

  // Sends one request and waits (at most kTimeoutSeconds) for the reply.
  // An error when no app runs on the home or the reply does not come.
  static platform::Result<LaunchURLReply> send(const HomeLayout& layout, const std::string& url,
                                               const std::optional<std::string>& from);

  // A socket address for `path`, also for paths longer than a socket
  // address holds (through the folder's descriptor, which `folderFd` keeps
  // open until the caller closes it; -1 when not needed).
  static bool makeAddress(const std::string& path, struct sockaddr_un& address, int& folderFd);
};

}  // namespace velune::host
