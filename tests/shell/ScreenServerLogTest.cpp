// The screen's log view against a running server: records logged by the
// app's code reach GET /api/log and the live stream through the services'
// log tee, filtered by level, and a reconnecting stream resumes after the
// last record it saw (or starts anew when that record is not of this run).

#include <gtest/gtest.h>
#include <httplib.h>

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>

#include "diag/DRLogging.h"
#include "platform/LogRecordTee.h"
#include "shell/ScreenPublisher.h"
#include "shell/ScreenServer.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;

constexpr const char* kSecret = "fedcba9876543210fedcba9876543210fedcba9876543210fedcba9876543210";
constexpr auto kPatience = std::chrono::seconds(20);

// Reads a server-sent event stream on its own thread and keeps its text.
class StreamReader {
 public:
  StreamReader(int port, httplib::Headers headers, std::string path) : client_("127.0.0.1", port) {
    thread_ = std::thread([this, headers = std::move(headers), path = std::move(path)] {
      client_.Get(path.c_str(), headers, [this](const char* data, size_t length) {
        const std::lock_guard lock(mutex_);
        text_.append(data, length);
        changed_.notify_all();
        return true;
      });
      const std::lock_guard lock(mutex_);
      ended_ = true;
      changed_.notify_all();
    });
  }
  ~StreamReader() {
    client_.stop();
    thread_.join();
  }

  // True once the stream's text holds `needle`.
  bool waitFor(const std::string& needle) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return text_.find(needle) != std::string::npos; });
  }
  bool waitUntilEnded() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return ended_; });
  }
  std::string text() {
    const std::lock_guard lock(mutex_);
    return text_;
  }

 private:
  httplib::Client client_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string text_;
  bool ended_ = false;
  std::thread thread_;
};

class ScreenServerLogTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    auto services = testing::baseServices();
    services.device = device_;
    services.logRecordTee = tee_;
    platform::Platform::install(services);
    publisher_ = ScreenPublisher::create("t");
    publisher_->start();
    auto server = ScreenServer::start(ScreenServer::Options{}, SessionSecret(kSecret),
                                      ScreenServer::Parts{publisher_, nullptr, tee_, home_.file("Mobile Documents")});
    ASSERT_TRUE(server.ok());
    server_ = std::move(server.value());
  }
  void TearDown() override {
    server_.reset();
    publisher_->stop();
    testing::installBaseServices();
    UITestCase::TearDown();
  }

  httplib::Headers authorized() const {
    return {{"Authorization", std::string("Bearer ") + kSecret},
            {"Host", "127.0.0.1:" + std::to_string(server_->port())}};
  }
  // Every record logged so far has reached the tee's subscribers.
  void delivered() {
    DRLogFlush();
    tee_->waitUntilDelivered();
  }
  json records(const std::string& query) {
    httplib::Client client("127.0.0.1", server_->port());
    const auto result = client.Get(("/api/log" + query).c_str(), authorized());
    EXPECT_TRUE(result);
    EXPECT_EQ(result ? result->status : 0, 200);
    return result ? json::parse(result->body) : json();
  }
  static const json* find(const json& list, const std::string& message) {
    for (const auto& record : list) {
      if (record.value("message", "") == message) {
        return &record;
      }
    }
    return nullptr;
  }

  std::shared_ptr<platform::LogRecordTee> tee_ = std::make_shared<platform::LogRecordTee>();
  testing::TempDirectory home_;
  std::shared_ptr<ScreenPublisher> publisher_;
  std::unique_ptr<ScreenServer> server_;
};

TEST_F(ScreenServerLogTest, AppRecords_ReachTheLogRouteAndItsStreamFilteredByLevel) {
  DRLOG(kLogWarning, "before the view %d", 1);
  DRLOG(kLogInfo, "an event");
  DRLOG(kLogWarning, "a name that is not UTF-8: %s", "\xff\xfe.txt");
  delivered();

  const json warnings = records("?level=4");
  const json* warning = find(warnings["records"], "before the view 1");
  ASSERT_NE(warning, nullptr) << warnings.dump();
  EXPECT_EQ((*warning)["level"], kLogWarning);
  EXPECT_EQ((*warning)["source"], "tests/shell/ScreenServerLogTest.cpp");
  EXPECT_NE((*warning)["function"].get<std::string>().find("TestBody"), std::string::npos);
  EXPECT_EQ(find(warnings["records"], "an event"), nullptr) << "level 6 is hidden at level 4";
  const std::uint64_t warningSequence = (*warning)["sequence"];
  EXPECT_GE(warnings["last"].get<std::uint64_t>(), warningSequence + 1) << "hidden records still count as seen";
  bool foundInvalid = false;
  for (const auto& record : warnings["records"]) {
    foundInvalid |= record["message"].get<std::string>().rfind("a name that is not UTF-8: ", 0) == 0;
  }
  EXPECT_TRUE(foundInvalid) << "a record with invalid UTF-8 is answered, not an error";
  const json everything = records("");
  EXPECT_NE(find(everything["records"], "an event"), nullptr);
  const json later = records("?after=" + std::to_string(warningSequence));
  EXPECT_EQ(find(later["records"], "before the view 1"), nullptr);
  EXPECT_NE(find(later["records"], "an event"), nullptr);

  // The stream starts with the kept records and then follows new ones. (One
  // connection at a time: the thread sanitizer cannot see the server
  // library's own synchronisation between its worker threads.)
  {
    StreamReader stream(server_->port(), authorized(), "/api/log/stream?level=4");
    ASSERT_TRUE(stream.waitFor("before the view 1")) << stream.text();
    DRLOG(kLogErr, "while viewing");
    DRLOG(kLogInfo, "an event the view hides");
    DRLOG(kLogErr, "after the hidden one");
    ASSERT_TRUE(stream.waitFor("after the hidden one")) << stream.text();
    EXPECT_NE(stream.text().find("while viewing"), std::string::npos);
    EXPECT_EQ(stream.text().find("an event the view hides"), std::string::npos);
    EXPECT_EQ(stream.text().find("an event"), std::string::npos);
  }

  // A reconnecting view names the last record it saw and gets only later ones.
  delivered();
  const json all = records("");
  const json* seen = find(all["records"], "while viewing");
  ASSERT_NE(seen, nullptr);
  auto resume = authorized();
  resume.emplace("Last-Event-ID", std::to_string((*seen)["sequence"].get<std::uint64_t>()));
  {
    StreamReader resumed(server_->port(), resume, "/api/log/stream?level=7");
    ASSERT_TRUE(resumed.waitFor("after the hidden one")) << resumed.text();
    EXPECT_NE(resumed.text().find("an event the view hides"), std::string::npos);
    EXPECT_EQ(resumed.text().find("while viewing"), std::string::npos);
    EXPECT_EQ(resumed.text().find("before the view 1"), std::string::npos);
  }

  // A number from an earlier run of the app starts a new view.
  auto stale = authorized();
  stale.emplace("Last-Event-ID", "999999");
  StreamReader fresh(server_->port(), stale, "/api/log/stream?level=7");
  EXPECT_TRUE(fresh.waitFor("before the view 1")) << fresh.text();
}

// A log stream waiting for records held a thread of the server's pool until
// its next keep-alive (10 s), so stop(), and the program's exit, waited that long.
TEST_F(ScreenServerLogTest, Stop_EndsOpenLogStreamsAtOnce) {
  DRLOG(kLogInfo, "something to show");
  delivered();
  StreamReader stream(server_->port(), authorized(), "/api/log/stream?level=3");
  ASSERT_TRUE(stream.waitFor("id: "));  // the record came, hidden at this level
  const auto start = std::chrono::steady_clock::now();
  server_->stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_TRUE(stream.waitUntilEnded());
}

}  // namespace
}  // namespace velune::shell
