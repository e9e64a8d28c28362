#include "shell/RequestGuard.h"

#include <algorithm>
#include <cctype>

namespace velune::shell {

namespace {

std::string lowercase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
    text.remove_prefix(1);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
    text.remove_suffix(1);
  }
  return std::string(text);
}

GuardVerdict refuse(Refusal refusal, int status, std::string reason) {
  return GuardVerdict{refusal, status, std::move(reason), false};
}

}  // namespace

const char* RequestGuard::refusalName(Refusal refusal) {
  switch (refusal) {
    case Refusal::None: return "none";
    case Refusal::BadHost: return "bad-host";
    case Refusal::NoSecret: return "no-secret";
    case Refusal::WrongSecret: return "wrong-secret";
    case Refusal::WrongMethod: return "wrong-method";
    case Refusal::ForeignOrigin: return "foreign-origin";
    case Refusal::NotJson: return "not-json";
  }
  return "unknown";
}

bool RequestGuard::hostAllowed(const std::string& host) const {
  const std::string port = ":" + std::to_string(port_);
  const std::string value = lowercase(host);
  for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
    if (value == std::string(name) + port) {
      return true;
    }
  }
  return false;
}

bool RequestGuard::originAllowed(const std::string& origin, const std::string& host) const {
  // The page's own origin: the scheme and the very host (and port) it was loaded from.
  return lowercase(origin) == "http://" + lowercase(host);
}

std::optional<std::string> RequestGuard::cookieSecret(const std::string& cookieHeader) const {
  size_t start = 0;
  while (start <= cookieHeader.size()) {
    const size_t end = std::min(cookieHeader.find(';', start), cookieHeader.size());
    const std::string pair = trimmed(std::string_view(cookieHeader).substr(start, end - start));
    const size_t equals = pair.find('=');
    if (equals != std::string::npos && pair.substr(0, equals) == kCookieName) {
      return pair.substr(equals + 1);
    }
    start = end + 1;
  }
  return std::nullopt;
}

GuardVerdict RequestGuard::check(const GuardedRequest& request, bool changesState, bool acceptsToken) const {
  if (!request.host || !hostAllowed(*request.host)) {
    return refuse(Refusal::BadHost, 421, "the Host header does not name this server");
  }
  // The secret: the cookie, else the bearer header, else (on the page) the token.
  std::optional<std::string> presented;
  bool viaToken = false;
  if (request.cookie) {
    presented = cookieSecret(*request.cookie);
  }
  if (!presented && request.authorization) {
    const std::string value = trimmed(*request.authorization);
    if (value.size() > 7 && lowercase(value.substr(0, 7)) == "bearer ") {
      presented = trimmed(value.substr(7));
    }
  }
  if (request.token && acceptsToken) {
    // A token in the address wins: it is how a browser logs in again after a restart.
    presented = request.token;
    viaToken = true;
  }
  if (!presented) {
    return refuse(Refusal::NoSecret, 401, "no secret: open the address that the app printed");
  }
  if (!secret_.matches(*presented)) {
    return refuse(Refusal::WrongSecret, 401, "wrong secret: open the address that the app printed");
  }
  const bool isPost = request.method == "POST";
  if (changesState != isPost) {
    return refuse(Refusal::WrongMethod, 405, changesState ? "this route changes state: use POST" : "use GET");
  }
  if (changesState) {
    if (request.origin && !originAllowed(*request.origin, *request.host)) {
      return refuse(Refusal::ForeignOrigin, 403, "the request comes from another origin");
    }
    const std::string type = request.contentType ? lowercase(*request.contentType) : std::string();
    if (type.rfind("application/json", 0) != 0) {
      return refuse(Refusal::NotJson, 415, "a state-changing request sends JSON");
    }
  }
  GuardVerdict verdict;
  verdict.tokenLogin = viaToken;
  return verdict;
}

std::string RequestGuard::sessionCookie() const {
  return std::string(kCookieName) + "=" + secret_.text() + "; Path=/; HttpOnly; SameSite=Strict";
}

}  // namespace velune::shell
