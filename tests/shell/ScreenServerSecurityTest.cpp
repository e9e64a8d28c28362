// Security of the screen's server, against a running server: every route of
// the route table is tried without a secret, with a wrong one, with a wrong
// Host, from a foreign Origin and with the wrong method; a new route is
// covered by being added to the table. Documents that leave the drive (by
// "..", encoded or double-encoded, or by a symbolic link) are refused. Every
// refusal is logged.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <fstream>

#include "shell/PhoneControls.h"
#include "shell/ScreenPublisher.h"
#include "shell/ScreenServer.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

constexpr const char* kSecret = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

class ScreenServerSecurityTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    std::filesystem::create_directories(home_.file("Mobile Documents/com.vorlan.drive/Documents/Photos"));
    std::ofstream(home_.file("Mobile Documents/com.vorlan.drive/Documents/Notes.txt")) << "0123456789";
    std::ofstream(home_.file("secret.txt")) << "not for the page";
    publisher_ = ScreenPublisher::create("t");
    publisher_->start();
    auto server = ScreenServer::start(ScreenServer::Options{}, SessionSecret(kSecret),
                                      ScreenServer::Parts{publisher_, std::make_shared<PhoneControls>(host::HomeLayout(home_.path())),
                                                          nullptr, home_.file("Mobile Documents")});
    ASSERT_TRUE(server.ok());
    server_ = std::move(server.value());
    client_ = std::make_unique<httplib::Client>("127.0.0.1", server_->port());
    testing::clearLogs();
  }
  void TearDown() override {
    server_.reset();
    publisher_->stop();
    UITestCase::TearDown();
  }

  std::string host() const { return "127.0.0.1:" + std::to_string(server_->port()); }
  httplib::Headers authorized() const { return {{"Authorization", std::string("Bearer ") + kSecret}, {"Host", host()}}; }

  // A concrete path of a route (prefix routes get a name below them).
  static std::string pathOf(const ScreenServer::RouteInfo& route) {
    return route.path.size() > 1 && route.path.back() == '/' ? route.path + "x" : route.path;
  }

  httplib::Result request(const std::string& method, const std::string& path, const httplib::Headers& headers) {
    if (method == "POST") {
      return client_->Post(path.c_str(), headers, "{}", "application/json");
    }
    return client_->Get(path.c_str(), headers);
  }

  size_t refusalsLogged() { return refusalsLoggedOf("Screen server refused"); }
  static size_t refusalsLoggedOf(const std::string& prefix) {
    size_t count = 0;
    for (const auto& message : testing::loggedMessages()) {
      count += message.rfind(prefix, 0) == 0 ? 1 : 0;
    }
    return count;
  }

  static void expectSecurityHeaders(const httplib::Response& response, const std::string& what) {
    EXPECT_EQ(response.get_header_value("X-Frame-Options"), "DENY") << what;
    EXPECT_EQ(response.get_header_value("X-Content-Type-Options"), "nosniff") << what;
    const std::string csp = response.get_header_value("Content-Security-Policy");
    EXPECT_NE(csp.find("script-src 'self'"), std::string::npos) << what;
    EXPECT_EQ(csp.find("unsafe-inline"), std::string::npos) << what;
  }

  testing::TempDirectory home_;
  std::shared_ptr<ScreenPublisher> publisher_;
  std::unique_ptr<ScreenServer> server_;
  std::unique_ptr<httplib::Client> client_;
};

// A stop right after start once left the server's loop blocked in accept()
// for ever, so a SIGTERM early in the program's life hung it at exit.
TEST_F(ScreenServerSecurityTest, StopRightAfterStart_ReturnsEveryTime) {
  for (int i = 0; i < 50; ++i) {
    auto server = ScreenServer::start(ScreenServer::Options{}, SessionSecret(kSecret),
                                      ScreenServer::Parts{publisher_, nullptr, nullptr, home_.file("Mobile Documents")});
    ASSERT_TRUE(server.ok());
    server.value()->stop();  // the watchdog fails the test if this hangs
  }
}

TEST_F(ScreenServerSecurityTest, EveryRoute_RefusesMissingWrongSecretsBadHostsForeignOriginsAndWrongMethods) {
  const auto routes = ScreenServer::routes();
  ASSERT_GE(routes.size(), 10U);
  size_t refusals = 0;
  for (const auto& route : routes) {
    const std::string path = pathOf(route);
    const std::string method = route.changesState ? "POST" : "GET";
    struct Case {
      std::string name;
      std::string method;
      httplib::Headers headers;
      int status;
    };
    const std::vector<Case> cases = {
        {"no secret", method, {{"Host", host()}}, 401},
        {"wrong bearer", method, {{"Host", host()}, {"Authorization", "Bearer 0123"}}, 401},
        {"wrong secret of the right length", method,
         {{"Host", host()}, {"Authorization", std::string("Bearer ") + std::string(64, 'f')}}, 401},
        {"wrong cookie", method, {{"Host", host()}, {"Cookie", "velune_session=nope"}}, 401},
        {"rebound host", method, {{"Host", "evil.example:" + std::to_string(server_->port())}, {"Authorization", std::string("Bearer ") + kSecret}}, 421},
        {"wrong port", method, {{"Host", "127.0.0.1:1"}, {"Authorization", std::string("Bearer ") + kSecret}}, 421},
        {"other method", route.changesState ? "GET" : "POST", authorized(), 405},
    };
    for (const auto& c : cases) {
      const auto result = request(c.method, path, c.headers);
      ASSERT_TRUE(result) << route.path << ": " << c.name;
      EXPECT_EQ(result->status, c.status) << c.method << " " << path << ": " << c.name;
      expectSecurityHeaders(*result, path + ": " + c.name);
      ++refusals;
    }
    if (route.changesState) {
      auto foreign = authorized();
      foreign.emplace("Origin", "http://evil.example");
      const auto result = request("POST", path, foreign);
      ASSERT_TRUE(result);
      EXPECT_EQ(result->status, 403) << path << ": foreign origin";
      auto form = client_->Post(path.c_str(), authorized(), "a=b", "application/x-www-form-urlencoded");
      ASSERT_TRUE(form);
      EXPECT_EQ(form->status, 415) << path << ": a form's body";
      refusals += 2;
    }
  }
  EXPECT_EQ(refusalsLogged(), refusals) << "every refusal is logged";
}

TEST_F(ScreenServerSecurityTest, Token_LogsInWithAnHttpOnlyStrictCookieAndRedirectsWithoutIt) {
  const auto login = client_->Get((std::string("/?token=") + kSecret).c_str(), httplib::Headers{{"Host", host()}});
  ASSERT_TRUE(login);
  EXPECT_EQ(login->status, 303);
  EXPECT_EQ(login->get_header_value("Location"), "/");
  const std::string cookie = login->get_header_value("Set-Cookie");
  EXPECT_NE(cookie.find(std::string("velune_session=") + kSecret), std::string::npos);
  EXPECT_NE(cookie.find("HttpOnly"), std::string::npos);
  EXPECT_NE(cookie.find("SameSite=Strict"), std::string::npos);

  const auto page = client_->Get("/", httplib::Headers{{"Host", host()}, {"Cookie", std::string("velune_session=") + kSecret}});
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_NE(page->body.find("<script src=\"/assets/screen.js\""), std::string::npos);
  EXPECT_EQ(page->body.find("<script>"), std::string::npos) << "no inline script";

  // The token is taken on the page's address only, never by an API route.
  const auto api = client_->Get((std::string("/api/screen?token=") + kSecret).c_str(), httplib::Headers{{"Host", host()}});
  ASSERT_TRUE(api);
  EXPECT_EQ(api->status, 401);
  const auto wrongToken = client_->Get("/?token=abc", httplib::Headers{{"Host", host()}});
  ASSERT_TRUE(wrongToken);
  EXPECT_EQ(wrongToken->status, 401);
  EXPECT_TRUE(wrongToken->get_header_value("Set-Cookie").empty());
  EXPECT_NE(wrongToken->body.find("address that the app printed"), std::string::npos);
  for (const auto& message : testing::loggedMessages()) {
    EXPECT_EQ(message.find("abc"), std::string::npos) << "a presented secret is never logged: " << message;
  }
}

TEST_F(ScreenServerSecurityTest, Documents_ServedWithRangesOnlyFromInsideTheDrive) {
  const std::string documents = home_.file("Mobile Documents/com.vorlan.drive/Documents");
  std::filesystem::create_symlink(home_.file("secret.txt"), documents + "/Link out.txt");
  std::filesystem::create_symlink(home_.path(), documents + "/Home");
  std::filesystem::create_symlink(documents + "/Notes.txt", documents + "/Link in.txt");
  ASSERT_EQ(::mkfifo((documents + "/Pipe.txt").c_str(), 0600), 0);
  std::ofstream(documents + "/.Hidden.txt.placeholder") << "{}";

  auto range = authorized();
  range.emplace("Range", "bytes=2-5");
  const auto partial = client_->Get("/api/file/com.vorlan.drive/Documents/Notes.txt", range);
  ASSERT_TRUE(partial);
  EXPECT_EQ(partial->status, 206);
  EXPECT_EQ(partial->body, "2345");
  EXPECT_EQ(partial->get_header_value("Content-Range"), "bytes 2-5/10");
  EXPECT_EQ(partial->get_header_value("Content-Type"), "text/plain; charset=utf-8");
  EXPECT_NE(partial->get_header_value("Content-Security-Policy").find("sandbox"), std::string::npos);
  const auto whole = client_->Get("/api/file/com.vorlan.drive/Documents/Link%20in.txt", authorized());
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->status, 200) << "a link that stays inside the drive is fine";
  EXPECT_EQ(whole->body, "0123456789");
  testing::clearLogs();

  const std::vector<std::string> escapes = {
      "/api/file/com.vorlan.drive/Documents/../../../secret.txt",
      "/api/file/com.vorlan.drive/Documents/%2e%2e/%2e%2e/%2e%2e/secret.txt",
      "/api/file/com.vorlan.drive/Documents/%252e%252e/%252e%252e/%252e%252e/secret.txt",
      "/api/file/..%2f..%2f..%2fsecret.txt",
      "/api/file/%2Fetc%2Fpasswd",
      "/api/file//etc/passwd",
      "/api/file/com.vorlan.drive/Documents/Link%20out.txt",
      "/api/file/com.vorlan.drive/Documents/Home/secret.txt",
      "/api/file/com.vorlan.drive/Documents/Pipe.txt",
      "/api/file/com.vorlan.drive/Documents/Photos",
      "/api/file/com.vorlan.drive/Documents/.Hidden.txt.placeholder",
      "/api/file/com.vorlan.drive/Documents/Notes.txt%00.png",
      "/api/file/com.vorlan.drive/Documents/Missing.txt",
  };
  for (const auto& path : escapes) {
    const auto result = client_->Get(path.c_str(), authorized());
    ASSERT_TRUE(result) << path;
    EXPECT_TRUE(result->status == 403 || result->status == 404 || result->status == 400) << path << ": " << result->status;
    EXPECT_EQ(result->body.find("not for the page"), std::string::npos) << path;
  }
  EXPECT_GE(refusalsLoggedOf("Screen server refused the document"), escapes.size() - 1);
}

}  // namespace
}  // namespace velune::shell
