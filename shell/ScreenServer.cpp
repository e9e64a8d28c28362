#include "shell/ScreenServer.h"

#include <unistd.h>

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "platform/Log.h"
#include "platform/LogRecordTee.h"
#include "platform/NetworkActivityIndicator.h"
#include "platform/Platform.h"
#include "shell/DriveFiles.h"
#include "shell/LogFollower.h"
#include "shell/PhoneControls.h"
#include "shell/ScreenPublisher.h"
#include "shell/WebAssets.h"

namespace velune::shell {

using nlohmann::json;

struct ScreenServer::Route {
  RouteInfo info;
  void (ScreenServer::*handler)(const httplib::Request&, httplib::Response&);
};

namespace {

// Streams send a comment this often, so that a vanished page is noticed.
constexpr std::chrono::seconds kKeepAliveInterval{10};
constexpr std::chrono::milliseconds kEventTimeout{3000};
constexpr size_t kMaxBody = 2 * 1024 * 1024;
// The records a new log view starts with.
constexpr size_t kLogViewStart = 200;

constexpr const char* kContentSecurityPolicy =
    "default-src 'self'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; media-src 'self'; "
    "object-src 'self'; frame-src 'self'; connect-src 'self'; frame-ancestors 'none'; base-uri 'none'; "
    "form-action 'self'";
// Documents of the drive: the browser's own viewers show them in a frame of
// the page, sandboxed so that nothing in them runs as the page.
constexpr const char* kDocumentSecurityPolicy = "sandbox; default-src 'none'; img-src 'self'; media-src 'self'; "
                                                "style-src 'unsafe-inline'; frame-ancestors 'self'";

void sendJson(httplib::Response& response, int status, const json& body) {
  response.status = status;
  response.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

void sendError(httplib::Response& response, int status, const std::string& message) {
  sendJson(response, status, json{{"error", message}});
}

std::optional<std::string> header(const httplib::Request& request, const char* name) {
  if (!request.has_header(name)) {
    return std::nullopt;
  }
  return request.get_header_value(name);
}

// Replaces a header that handle() set for every response.
void replaceHeader(httplib::Response& response, const char* name, const std::string& value) {
  response.headers.erase(name);
  response.set_header(name, value);
}

std::string errorText(const platform::Error& error) {
  return error.localizedDescription().value_or(error.description());
}

}  // namespace

std::vector<ScreenServer::RouteInfo> ScreenServer::routes() {
  std::vector<RouteInfo> out;
  ScreenServer probe(Parts{}, SessionSecret(""));
  for (const auto& route : probe.routes_) {
    out.push_back(route.info);
  }
  return out;
}

ScreenServer::ScreenServer(Parts parts, SessionSecret secret)
    : parts_(std::move(parts)), secret_(std::move(secret)), files_(std::make_unique<DriveFiles>(parts_.driveRoot)) {
  buildRoutes();
}

void ScreenServer::buildRoutes() {
  routes_ = {
      {{"/", false, true}, &ScreenServer::servePage},
      {{"/assets/", false, false}, &ScreenServer::serveAsset},
      {{"/api/screen", false, false}, &ScreenServer::serveScreen},
      {{"/api/updates", false, false}, &ScreenServer::serveUpdates},
      {{"/api/event", true, false}, &ScreenServer::serveEvent},
      {{"/api/image/", false, false}, &ScreenServer::serveImage},
      {{"/api/file/", false, false}, &ScreenServer::serveFile},
      {{"/api/phone", false, false}, &ScreenServer::servePhoneState},
      {{"/api/phone/network", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/account", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/app-state", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/device", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/bandwidth", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/launch-url", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/cloud", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/phone/tags", true, false}, &ScreenServer::servePhoneAction},
      {{"/api/log", false, false}, &ScreenServer::serveLog},
      {{"/api/log/stream", false, false}, &ScreenServer::serveLogStream},
  };
}

const ScreenServer::Route* ScreenServer::findRoute(const std::string& path) const {
  const Route* best = nullptr;
  for (const auto& route : routes_) {
    const std::string& pattern = route.info.path;
    const bool prefix = pattern.size() > 1 && pattern.back() == '/';
    if (prefix ? path.size() > pattern.size() && path.compare(0, pattern.size(), pattern) == 0 : path == pattern) {
      if (best == nullptr || pattern.size() > best->info.path.size()) {
        best = &route;
      }
    }
  }
  return best;
}

platform::Result<std::unique_ptr<ScreenServer>> ScreenServer::start(const Options& options, SessionSecret secret,
                                                                    Parts parts) {
  std::unique_ptr<ScreenServer> server(new ScreenServer(std::move(parts), std::move(secret)));
  server->address_ = options.address;
  server->server_ = std::make_unique<httplib::Server>();
  httplib::Server& http = *server->server_;
  // Streams hold a thread each for as long as a page is open; idle
  // keep-alive connections hold one for a few seconds.
  http.new_task_queue = [] { return new httplib::ThreadPool(24); };
  http.set_keep_alive_max_count(1000);
  http.set_keep_alive_timeout(5);
  // A frame goes out as several small writes (chunk size, data, end); with
  // Nagle's algorithm the last of them waited for the page's delayed
  // acknowledgement, some 40 ms on every update.
  http.set_tcp_nodelay(true);
  http.set_read_timeout(10, 0);
  http.set_write_timeout(10, 0);
  http.set_payload_max_length(kMaxBody);
  ScreenServer* self = server.get();
  const auto handler = [self](const httplib::Request& request, httplib::Response& response) {
    self->handle(request, response);
  };
  http.Get(".*", handler);
  http.Post(".*", handler);
  http.Put(".*", handler);
  http.Patch(".*", handler);
  http.Delete(".*", handler);
  http.Options(".*", handler);

  if (options.port == 0) {
    server->port_ = http.bind_to_any_port(options.address);
  } else if (http.bind_to_port(options.address, options.port)) {
    server->port_ = options.port;
  }
  if (server->port_ <= 0) {
    return phoneControlError("cannot listen on " + options.address + ":" + std::to_string(options.port) +
                             " (is the port in use?)");
  }
  server->guard_.emplace(server->secret_, server->port_);
  auto ended = std::make_shared<std::atomic<bool>>(false);
  server->thread_ = std::thread([self, ended] {
    self->server_->listen_after_bind();
    ended->store(true);  // a loop that ended at once must not be waited for
  });
  // The library's stop() does nothing until its loop runs, and a stop in that
  // gap would leave the loop blocked in accept() for ever (a SIGTERM right
  // after start hung the program). So start returns once the loop runs.
  while (!server->server_->is_running() && !ended->load()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return server;
}

ScreenServer::~ScreenServer() { stop(); }

void ScreenServer::stop() {
  if (!server_) {
    return;
  }
  // Streams wait on these; the pool's threads must come back before it joins them.
  {
    const std::lock_guard lock(followersMutex_);
    stopping_ = true;
    for (const auto& weak : followers_) {
      if (const auto follower = weak.lock()) {
        follower->close();
      }
    }
    followers_.clear();
  }
  server_->stop();
  if (thread_.joinable()) {
    thread_.join();
  }
  server_.reset();
}

std::string ScreenServer::loginURL() const {
  return "http://" + address_ + ":" + std::to_string(port_) + "/?token=" + secret_.text();
}

void ScreenServer::handle(const httplib::Request& request, httplib::Response& response) {
  response.set_header("X-Frame-Options", "DENY");
  response.set_header("Content-Security-Policy", kContentSecurityPolicy);
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Referrer-Policy", "no-referrer");
  response.set_header("Cache-Control", "no-store");

  const Route* route = findRoute(request.path);
  GuardedRequest guarded;
  guarded.method = request.method == "HEAD" ? "GET" : request.method;
  guarded.path = request.path;
  guarded.host = header(request, "Host");
  guarded.origin = header(request, "Origin");
  guarded.cookie = header(request, "Cookie");
  guarded.authorization = header(request, "Authorization");
  guarded.contentType = header(request, "Content-Type");
  if (request.has_param("token")) {
    guarded.token = request.get_param_value("token");
  }
  const GuardVerdict verdict =
      guard_->check(guarded, route ? route->info.changesState : guarded.method == "POST", route && route->info.acceptsToken);
  if (!verdict.allowed()) {
    // The path only: a query may hold a (wrong) secret, which is not logged.
    PLATFORM_LOG(kLogWarning, "Screen server refused %@ %@ from %@: %@ (%@)", request.method,
                 request.path.substr(0, 256), request.remote_addr, verdict.reason,
                 RequestGuard::refusalName(verdict.refusal));
    if (verdict.refusal == Refusal::NoSecret || verdict.refusal == Refusal::WrongSecret) {
      // A page without the secret (an old tab after a restart) learns how to log in.
      if (route && route->info.acceptsToken && guarded.method == "GET") {
        const auto page = std::find_if(webAssets().begin(), webAssets().end(),
                                       [](const WebAsset& a) { return a.name == "login.html"; });
        if (page != webAssets().end()) {
          response.status = verdict.status;
          response.set_content(std::string(page->content), std::string(page->contentType));
          return;
        }
      }
    }
    sendError(response, verdict.status, verdict.reason);
    return;
  }
  if (verdict.tokenLogin) {
    response.set_header("Set-Cookie", guard_->sessionCookie());
    response.set_redirect("/", 303);
    return;
  }
  if (!route) {
    sendError(response, 404, "no such route");
    return;
  }
  (this->*route->handler)(request, response);
}

void ScreenServer::servePage(const httplib::Request& request, httplib::Response& response) {
  httplib::Request page = request;
  page.path = "/assets/index.html";
  serveAsset(page, response);
}

void ScreenServer::serveAsset(const httplib::Request& request, httplib::Response& response) {
  const std::string name = request.path.substr(std::string("/assets/").size());
  for (const auto& asset : webAssets()) {
    if (asset.name == name) {
      response.set_content(std::string(asset.content), std::string(asset.contentType));
      return;
    }
  }
  sendError(response, 404, "no such file");
}

void ScreenServer::serveScreen(const httplib::Request&, httplib::Response& response) {
  const auto frame = parts_.screen->latest();
  if (!frame.text) {
    sendError(response, 503, "the screen is not ready yet");
    return;
  }
  response.set_content(*frame.text, "application/json");
}

void ScreenServer::serveUpdates(const httplib::Request& request, httplib::Response& response) {
  std::uint64_t after = 0;
  // A page that reconnects says what it has; it gets only newer frames.
  if (request.has_header("Last-Event-ID")) {
    after = std::strtoull(request.get_header_value("Last-Event-ID").c_str(), nullptr, 10);
  }
  auto screen = parts_.screen;
  auto last = std::make_shared<std::uint64_t>(after);
  response.set_header("X-Accel-Buffering", "no");
  response.set_chunked_content_provider(
      "text/event-stream", [screen, last](size_t /*offset*/, httplib::DataSink& sink) {
        if (screen->isStopped()) {
          sink.done();
          return true;
        }
        const auto frame = screen->waitForNewer(*last, kKeepAliveInterval);
        std::string message;
        if (frame.text && frame.sequence > *last) {
          *last = frame.sequence;
          message = "id: " + std::to_string(frame.sequence) + "\nevent: screen\ndata: " + *frame.text + "\n\n";
        } else {
          message = ": keep-alive\n\n";
        }
        return sink.write(message.data(), message.size());
      });
}

void ScreenServer::serveEvent(const httplib::Request& request, httplib::Response& response) {
  auto event = ScreenEvent::parse(request.body);
  if (!event.ok()) {
    PLATFORM_LOG(kLogWarning, "Screen server refused an event: %@", errorText(event.error()));
    sendError(response, 400, errorText(event.error()));
    return;
  }
  const std::string type = ScreenEvent::typeName(event.value().type);
  const std::string target = event.value().target;
  const auto outcome = parts_.screen->submit(std::move(event.value()), kEventTimeout);
  if (!outcome) {
    sendJson(response, 202, json{{"queued", true}});
    return;
  }
  switch (outcome->status) {
    case ScreenEventDispatcher::Status::Handled:
      sendJson(response, 200, json{{"handled", true}, {"sequence", parts_.screen->latest().sequence}});
      return;
    case ScreenEventDispatcher::Status::NoSuchElement:
      sendJson(response, 404, json{{"handled", false}, {"error", outcome->reason}});
      return;
    case ScreenEventDispatcher::Status::Ignored:
      PLATFORM_LOG(kLogDebug, "Screen event %@ on %@ did nothing: %@", type, target.substr(0, 128), outcome->reason);
      sendJson(response, 409, json{{"handled", false}, {"error", outcome->reason}});
      return;
  }
}

void ScreenServer::serveImage(const httplib::Request& request, httplib::Response& response) {
  const std::string key = request.path.substr(std::string(ImageRegistry::kPathPrefix).size());
  const auto png = parts_.screen->images().pngData(key);
  if (!png) {
    sendError(response, 404, "no such image");
    return;
  }
  // An image's name is never reused within a launch, and launches differ.
  replaceHeader(response, "Cache-Control", "private, max-age=31536000, immutable");
  const auto data = *png;
  response.set_content(std::string(reinterpret_cast<const char*>(data->data()), data->size()), "image/png");
}

void ScreenServer::serveFile(const httplib::Request& request, httplib::Response& response) {
  const std::string relative = request.path.substr(std::string("/api/file/").size());
  auto opened = files_->open(relative);
  if (!opened.ok()) {
    PLATFORM_LOG(kLogWarning, "Screen server refused the document %@: %@", relative.substr(0, 256),
                 errorText(opened.error()));
    const auto code = opened.error().code();
    sendError(response, code == platform::ErrorCode::FileReadNoSuchFile ? 404 : 403, errorText(opened.error()));
    return;
  }
  auto document = opened.value();
  // Framed by the page's own preview only.
  replaceHeader(response, "X-Frame-Options", "SAMEORIGIN");
  replaceHeader(response, "Content-Security-Policy", kDocumentSecurityPolicy);
  replaceHeader(response, "Cache-Control", "no-cache");
  if (!document->inlineView) {
    response.set_header("Content-Disposition", "attachment");
  }
  // cpp-httplib answers Range requests itself (206 with Content-Range) by
  // asking the provider for the ranges' bytes only.
  response.set_content_provider(
      static_cast<size_t>(document->size), document->contentType,
      [document](size_t offset, size_t length, httplib::DataSink& sink) {
        char buffer[64 * 1024];
        while (length > 0) {
          const ssize_t got = ::pread(document->fd, buffer, std::min(length, sizeof buffer), static_cast<off_t>(offset));
          if (got <= 0) {
            return false;  // the file shrank or failed: the response ends short
          }
          if (!sink.write(buffer, static_cast<size_t>(got))) {
            return false;
          }
          offset += static_cast<size_t>(got);
          length -= static_cast<size_t>(got);
        }
        return true;
      });
}

void ScreenServer::servePhoneState(const httplib::Request&, httplib::Response& response) {
  if (!parts_.phone) {
    sendError(response, 404, "this screen has no control panel");
    return;
  }
  json state = parts_.phone->state();
  const auto indicator = platform::Platform::services()->networkActivityIndicator;
  state["networkActivity"] = indicator && indicator->isNetworkActivityIndicatorVisible();
  sendJson(response, 200, state);
}

void ScreenServer::servePhoneAction(const httplib::Request& request, httplib::Response& response) {
  if (!parts_.phone) {
    sendError(response, 404, "this screen has no control panel");
    return;
  }
  if (request.body.size() > 64 * 1024 + 1024 * 1024) {
    sendError(response, 413, "the body is too large");
    return;
  }
  const json body = json::parse(request.body, nullptr, false);
  if (body.is_discarded() || !body.is_object()) {
    sendError(response, 400, "the body is not a JSON object");
    return;
  }
  const std::string action = request.path.substr(std::string("/api/phone/").size());
  PhoneControls& phone = *parts_.phone;
  std::optional<platform::Error> error;
  if (action == "network") {
    error = phone.setNetwork(body);
  } else if (action == "account") {
    error = phone.setAccount(body);
  } else if (action == "app-state") {
    error = phone.setApplicationState(body);
  } else if (action == "device") {
    error = phone.setDevice(body);
  } else if (action == "bandwidth") {
    error = phone.setBandwidth(body);
  } else if (action == "launch-url") {
    auto handled = phone.launchURL(body);
    if (!handled.ok()) {
      sendError(response, 400, errorText(handled.error()));
      return;
    }
    sendJson(response, 200, json{{"done", true}, {"handled", handled.value()}});
    return;
  } else if (action == "cloud") {
    error = phone.changeFromAnotherDevice(body);
  } else if (action == "tags") {
    error = phone.setTagDictionary(body);
  } else {
    sendError(response, 404, "no such control");
    return;
  }
  if (error) {
    sendError(response, 400, errorText(*error));
    return;
  }
  sendJson(response, 200, json{{"done", true}});
}

namespace {

int levelParameter(const httplib::Request& request) {
  if (!request.has_param("level")) {
    return 7;
  }
  const int level = std::atoi(request.get_param_value("level").c_str());
  return std::clamp(level, 0, 7);
}

json recordJson(const platform::LogRecord& record) {
  json out{{"sequence", record.sequence},
           {"level", record.level},
           {"time", record.time.timeIntervalSince1970()},
           {"message", record.message},
           {"function", record.function}};
  if (!record.source.empty()) {
    out["source"] = record.source;
    out["line"] = record.line;
  }
  if (!record.thread.empty()) {
    out["thread"] = record.thread;
  }
  return out;
}

// The records numbered above `after` at `level` or below, oldest first.
json recordsJson(const std::vector<platform::LogRecord>& records, std::uint64_t after, int level) {
  json list = json::array();
  for (const auto& record : records) {
    if (record.sequence > after && record.level <= level) {
      list.push_back(recordJson(record));
    }
  }
  return list;
}

}  // namespace

void ScreenServer::serveLog(const httplib::Request& request, httplib::Response& response) {
  if (!parts_.log) {
    sendError(response, 404, "this screen has no log view");
    return;
  }
  const std::uint64_t after =
      request.has_param("after") ? std::strtoull(request.get_param_value("after").c_str(), nullptr, 10) : 0;
  const auto records = parts_.log->backlog();
  const std::uint64_t last = records.empty() ? after : std::max(after, records.back().sequence);
  sendJson(response, 200, json{{"records", recordsJson(records, after, levelParameter(request))}, {"last", last}});
}

void ScreenServer::serveLogStream(const httplib::Request& request, httplib::Response& response) {
  if (!parts_.log) {
    sendError(response, 404, "this screen has no log view");
    return;
  }
  const int level = levelParameter(request);
  // A new view starts with the last records; a reconnecting one where it
  // was, unless it names a record this run has not logged (numbers start
  // again at 1 when the app restarts).
  const auto kept = parts_.log->backlog();
  std::uint64_t start = kept.size() > kLogViewStart ? kept[kept.size() - kLogViewStart - 1].sequence : 0;
  if (request.has_header("Last-Event-ID")) {
    const std::uint64_t seen = std::strtoull(request.get_header_value("Last-Event-ID").c_str(), nullptr, 10);
    if (!kept.empty() && seen <= kept.back().sequence) {
      start = seen;
    }
  }
  auto follower = std::make_shared<LogFollower>(parts_.log, start);
  {
    const std::lock_guard lock(followersMutex_);
    if (stopping_) {
      follower->close();
    }
    std::erase_if(followers_, [](const std::weak_ptr<LogFollower>& weak) { return weak.expired(); });
    followers_.push_back(follower);
  }
  response.set_header("X-Accel-Buffering", "no");
  response.set_chunked_content_provider(
      "text/event-stream", [follower, level](size_t, httplib::DataSink& sink) {
        if (follower->isClosed()) {
          sink.done();
          return true;
        }
        const auto records = follower->take(kKeepAliveInterval);
        std::string message;
        if (!records.empty()) {
          // A batch whose records are all above the level is sent empty: it
          // still moves the reconnection point on and tells the view how far
          // the log has been read.
          const json list = recordsJson(records, 0, level);
          message = "id: " + std::to_string(records.back().sequence) + "\nevent: records\ndata: " +
                    list.dump(-1, ' ', false, json::error_handler_t::replace) + "\n\n";
        } else {
          message = ": keep-alive\n\n";
        }
        return sink.write(message.data(), message.size());
      });
}

}  // namespace velune::shell
