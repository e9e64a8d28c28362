#pragma once
// RequestGuard: the checks every request to the screen's server passes before
// any route runs. A request is refused when:
//
// - its Host header is not 127.0.0.1, localhost or [::1] with the server's
//   port (a page of another site that rebinds its name to 127.0.0.1 sends
//   its own name: DNS rebinding);
// - it carries no secret, or a wrong one: the secret comes in the session
//   cookie, in "Authorization: Bearer SECRET", or, on the page's own address
//   only, as "?token=SECRET" (the URL the app prints), which logs the browser
//   in: the server sets the cookie and redirects to the address without it;
// - it changes state (a POST route) but is not a POST, or its Origin, when
//   present, is not the page's own, or its body is not declared as JSON (a
//   plain HTML form cannot declare that);
// - it is a POST to a route that changes nothing.
//
// Pure: the server hands in what it read; tests call it without a server.

#include <optional>
#include <string>

#include "shell/SessionSecret.h"

namespace velune::shell {

struct GuardedRequest {
  std::string method;
  std::string path;
  std::optional<std::string> host;
  std::optional<std::string> origin;
  std::optional<std::string> cookie;
  std::optional<std::string> authorization;
  std::optional<std::string> contentType;
  std::optional<std::string> token;  // the "token" query parameter
};

enum class Refusal { None, BadHost, NoSecret, WrongSecret, WrongMethod, ForeignOrigin, NotJson };

struct GuardVerdict {
  Refusal refusal = Refusal::None;
  int status = 200;
  std::string reason;
  // The request logs in with the token: set the cookie and redirect.
  bool tokenLogin = false;

  bool allowed() const { return refusal == Refusal::None; }
};

class RequestGuard {
 public:
  RequestGuard(SessionSecret secret, int port) : secret_(std::move(secret)), port_(port) {}

  // `changesState`: the route is a POST route; `acceptsToken`: the page's
  // address, where the printed URL's token logs in.
  GuardVerdict check(const GuardedRequest& request, bool changesState, bool acceptsToken) const;

  // The Set-Cookie value of a login.
  std::string sessionCookie() const;
  const SessionSecret& secret() const { return secret_; }
  int port() const { return port_; }

  static constexpr const char* kCookieName = "velune_session";
  static const char* refusalName(Refusal refusal);

 private:
  bool hostAllowed(const std::string& host) const;
  bool originAllowed(const std::string& origin, const std::string& host) const;
  std::optional<std::string> cookieSecret(const std::string& cookieHeader) const;

  SessionSecret secret_;
  int port_;
};

}  // namespace velune::shell
