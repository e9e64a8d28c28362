#include "diag/DRLogging.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

#include "diag/DRZSLClient.h"
#include "host/MemoryConsoleLog.h"
#include "host/MemorySystemLog.h"
#include "platform/DispatchQueue.h"
#include "platform/LogRecordTee.h"
#include "platform/ProcessInfo.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

using platform::SystemLogRecord;
using platform::Value;
namespace support = velune::testing;

// Counts how often the formatter asked for its description.
struct Probe {
  mutable int described = 0;
  std::string description() const {
    ++described;
    return "probe";
  }
};

std::vector<std::string> keysOf(const SystemLogRecord& record) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : record.fields()) {
    keys.push_back(key);
  }
  return keys;
}

std::string valueOf(const SystemLogRecord& record, const char* key) {
  const std::string* value = record.get(key);
  return value ? *value : "<absent>";
}

class DRLoggingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    support::installBaseServices();
    setLevelSources(std::nullopt, false);
    support::clearLogs();
  }
  void TearDown() override {
    support::manualClock().setPreciseTimeUnavailable(false);
    support::systemLog().setRecordCreationFails(false);
    setLevelSources(std::nullopt, false);
  }

  // Writes the preference file as another process would, places or removes the
  // marker, and announces the change, then waits for the client to re-read
  // and for every line that re-reading logs, so that none lands in a later
  // test's log.
  static void setLevelSources(std::optional<std::string> preferenceJson, bool marker) {
    const std::string& scratch = support::processScratchDirectory();
    {
      std::ofstream file(scratch + "/standard-preferences.json", std::ios::trunc);
      file << (preferenceJson ? "{\"DRLogLevel\": " + *preferenceJson + "}" : std::string("{}"));
    }
    const std::string markerPath = scratch + "/dr_hella_logging";
    if (marker) {
      std::ofstream(markerPath) << "";
    } else {
      std::remove(markerPath.c_str());
    }
    support::notifications().post(kManagedDefaultsDidChangeNotification);
    DRLogFlush();
    DRZSLClient::ZSLClient().noticeQueue()->sync([] {});
    DRLogFlush();
  }

  static std::vector<SystemLogRecord> records() {
    DRLogFlush();
    std::vector<SystemLogRecord> result;
    for (const auto& sent : support::systemLog().sent()) {
      result.push_back(sent.record);
    }
    return result;
  }

  static bool quotaVariableSet() {
    return platform::ProcessInfo::environmentVariable(kQuotaDisabledEnvironmentVariable) == "1";
  }
};

TEST_F(DRLoggingTest, Defaults_Level6_DebugDroppedBeforeFormatting_InfoKeptToFile) {
  EXPECT_EQ(DRZSLClient::ZSLClient().logLevel(), 6);
  EXPECT_EQ(DRLogLevelForZSL(), 6);
  EXPECT_EQ(support::systemLog().filterMask(), 0x7Fu);
  EXPECT_FALSE(quotaVariableSet());

  const Probe probe;
  DRLOG(kLogDebug, "detail %@", probe);
  EXPECT_EQ(probe.described, 0) << "a disabled message must not be formatted";
  DRLOG(kLogInfo, "event %@", probe);
  EXPECT_EQ(probe.described, 1);

  const auto sent = records();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(valueOf(sent[0], "Message"), "event probe");
  EXPECT_EQ(valueOf(sent[0], "DRLogToFile"), "1");
  EXPECT_EQ(support::consoleLog().lines(), (std::vector<std::string>{"event probe"}));
}

TEST_F(DRLoggingTest, PreferenceChoosesTheLevel) {
  struct Case {
    std::string preference;
    int level;
    std::uint32_t mask;
    bool unthrottled;
  };
  const Case cases[] = {
      {"2", 6, 0x7F, false},     {"3", 3, 0x0F, false},   {"7", 7, 0xFF, false},
      {"9", 9, 0xFF, true},      {"0", 6, 0x7F, false},   {"-5", 6, 0x7F, false},
      {"\"7\"", 7, 0xFF, false}, {"\"abc\"", 6, 0x7F, false}, {"[1]", 6, 0x7F, false},
      {"1e12", INT_MAX, 0xFF, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("DRLogLevel = " + c.preference);
    setLevelSources(c.preference, false);
    EXPECT_EQ(DRZSLClient::ZSLClient().logLevel(), c.level);
    EXPECT_EQ(support::systemLog().filterMask(), c.mask);
    EXPECT_EQ(quotaVariableSet(), c.unthrottled);
  }
}

TEST_F(DRLoggingTest, Level3_OnlyErrorsPassAndRecordsAreNotKeptToFile) {
  setLevelSources("3", false);
  support::clearLogs();
  DRLOG(kLogWarning, "warning");
  DRLOG(kLogErr, "error");
  const auto sent = records();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(valueOf(sent[0], "Message"), "error");
  EXPECT_EQ(sent[0].get("DRLogToFile"), nullptr);
}

// Counted after every line the level choice can log has arrived, so a late
// duplicate fails the test too.
TEST_F(DRLoggingTest, Level9_UnthrottlesOnceWithADebugLine) {
  setLevelSources("9", false);
  int lines = 0;
  for (const auto& message : support::systemLog().messages()) {
    lines += message == "Unthrottling logging" ? 1 : 0;
  }
  EXPECT_EQ(lines, 1);
  const auto sent = records();
  for (const auto& record : sent) {
    if (valueOf(record, "Message") == "Unthrottling logging") {
      EXPECT_EQ(valueOf(record, "Level"), "7");
      EXPECT_EQ(valueOf(record, "Function"), "DRZSLClient::_setLogLevelFromDefaults_block_invoke");
    }
  }
}

TEST_F(DRLoggingTest, MarkerFileSelectsLevel8WhateverThePreference) {
  setLevelSources("3", true);
  EXPECT_EQ(DRZSLClient::ZSLClient().logLevel(), 8);
  EXPECT_EQ(DRLogLevelForZSL(), 7);
  EXPECT_EQ(support::systemLog().filterMask(), 0xFFu);
  EXPECT_TRUE(quotaVariableSet());
  setLevelSources("3", false);
  EXPECT_EQ(DRZSLClient::ZSLClient().logLevel(), 3);
  EXPECT_FALSE(quotaVariableSet());
}

TEST_F(DRLoggingTest, ReevaluationChangesTheLevelWithoutRegisteringAgain) {
  setLevelSources("7", false);
  setLevelSources("4", false);
  setLevelSources(std::nullopt, false);
  EXPECT_EQ(DRZSLClient::ZSLClient().logLevel(), 6);
  EXPECT_EQ(support::notifications().observationCount(kManagedDefaultsDidChangeNotification), 1u);
}

TEST_F(DRLoggingTest, SetLogLevelChangesLevelAndMaskButNotTheEnvironment) {
  DRSetLogLevel(8);
  EXPECT_TRUE(DRLogLevelEnabled(8));
  EXPECT_EQ(support::systemLog().filterMask(), 0xFFu);
  EXPECT_FALSE(quotaVariableSet());
  DRSetLogLevel(-1);
  EXPECT_EQ(support::systemLog().filterMask(), 0u);
  EXPECT_FALSE(DRLogLevelEnabled(0));
  DRSetLogLevel(6);
}

TEST_F(DRLoggingTest, RecordHasTheKeysInOrder) {
  auto queue = platform::DispatchQueue::createSerial("com.example.worker");
  const unsigned line = __LINE__ + 1;
  queue->sync([] { DRLOG(kLogWarning, "from a queue %d", 7); });
  const auto sent = records();
  ASSERT_EQ(sent.size(), 1u);
  const SystemLogRecord& record = sent[0];
  EXPECT_EQ(keysOf(record), (std::vector<std::string>{"Time", "TimeNanoSec", "Level", "Facility", "PID", "Host",
                                                      "Message", "Source", "Line", "Function", "DRFacility",
                                                      "DRLogToFile", "Thread"}));
  EXPECT_EQ(valueOf(record, "Time"),
            std::to_string(static_cast<unsigned long>(support::manualClock().now().timeIntervalSince1970())));
  EXPECT_EQ(valueOf(record, "Level"), "4");
  EXPECT_EQ(valueOf(record, "Facility"), "com.vorlan.VeluneDriveApp");
  EXPECT_EQ(valueOf(record, "PID"), std::to_string(getpid()));
  EXPECT_FALSE(valueOf(record, "Host").empty());
  EXPECT_EQ(valueOf(record, "Message"), "from a queue 7");
  EXPECT_EQ(valueOf(record, "Source"), "tests/diag/DRLoggingTest.cpp");
  EXPECT_EQ(valueOf(record, "Line"), std::to_string(line));
  EXPECT_EQ(valueOf(record, "Function"),
            "DRLoggingTest_RecordHasTheKeysInOrder_Test::TestBody_block_invoke");
  EXPECT_EQ(valueOf(record, "DRFacility"), "DR");
  EXPECT_EQ(valueOf(record, "Thread"), "com.example.worker");
}

TEST_F(DRLoggingTest, EdgesOfTheRecord) {
  DRSetLogLevel(8);
  DRLog("file.cpp", "fn", 0, "DR", 8, nullptr, "level eight");
  DRLogSendMessage("file.cpp", "fn", 3, "DR", -2, nullptr, std::string("negative"), std::nullopt);
  DRLogSendMessage("file.cpp", "fn", 3, "XX", 6, nullptr, std::nullopt, Value::Dictionary{{"Extra", Value(5)}});
  std::thread([] { DRLOG(kLogInfo, "from a plain thread"); }).join();
  const Value::Dictionary extras{{"A", Value("1")}, {"B", Value(2)}};
  DRLogv("file.cpp", "fn", 9, "DR", 6, nullptr, &extras, "with extras %@", std::array{platform::FormatArg("x")});
  DRSetLogLevel(6);

  const auto sent = records();
  ASSERT_EQ(sent.size(), 5u);
  EXPECT_EQ(valueOf(sent[0], "Level"), "9");
  EXPECT_EQ(sent[0].get("Line"), nullptr) << "line 0 has no Line key";
  EXPECT_EQ(valueOf(sent[1], "Level"), "9");
  EXPECT_EQ(sent[2].get("Message"), nullptr);
  EXPECT_EQ(valueOf(sent[2], "DRFacility"), "XX");
  EXPECT_EQ(keysOf(sent[2]).back(), "Extra");
  EXPECT_EQ(sent[3].get("Thread"), nullptr) << "a thread that no queue owns has no label";
  EXPECT_EQ(valueOf(sent[4], "Message"), "with extras x");
  const auto keys = keysOf(sent[4]);
  ASSERT_GE(keys.size(), 2u);
  EXPECT_EQ((std::vector<std::string>(keys.end() - 2, keys.end())), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(valueOf(sent[4], "B"), "2");
  EXPECT_EQ(support::consoleLog().lines()[2], "(null)");
}

TEST_F(DRLoggingTest, FailuresOfTheSystemLogNeverReachTheCaller) {
  support::manualClock().setPreciseTimeUnavailable(true);
  DRLOG(kLogInfo, "whole seconds");
  DRLogFlush();
  support::systemLog().setRecordCreationFails(true);
  DRLOG(kLogInfo, "no record");
  const auto sent = records();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].get("TimeNanoSec"), nullptr);
  EXPECT_NE(sent[0].get("Time"), nullptr);
  EXPECT_EQ(support::consoleLog().lines(), (std::vector<std::string>{"whole seconds", "no record"}));
}

TEST_F(DRLoggingTest, BadInput_HugeMessagesAndInvalidUTF8) {
  const std::string big(1 << 20, 'm');
  DRLOG(kLogInfo, "%@", big);
  DRLOG(kLogInfo, "bad \xC3\x28 bytes \xFF");
  DRLOG(kLogInfo, "%d %d", 1);
  const auto messages = support::loggedMessages();
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_EQ(messages[0].size(), big.size());
  EXPECT_EQ(messages[1], "bad \xEF\xBF\xBD( bytes \xEF\xBF\xBD");
  EXPECT_EQ(messages[2], "1 %!d(MISSING)");
  EXPECT_EQ(support::consoleLog().lines()[1], messages[1]);
}

// Messages from several threads reach the system log and the console in the
// order in which they were submitted.
TEST_F(DRLoggingTest, MessagesFromTwoThreadsKeepSubmissionOrder) {
  std::mutex submission;
  std::vector<std::string> submitted;
  auto worker = [&](const char* name) {
    for (int i = 0; i < 200; ++i) {
      std::lock_guard lock(submission);
      const std::string text = platform::format("%s-%d", name, i);
      DRLOG(kLogInfo, "%@", text);
      submitted.push_back(text);
    }
  };
  std::thread a(worker, "A");
  std::thread b(worker, "B");
  a.join();
  b.join();
  EXPECT_EQ(support::loggedMessages(), submitted);
  EXPECT_EQ(support::consoleLog().lines(), submitted);
}

TEST_F(DRLoggingTest, DiagnosticEntryPoint) {
  DRSetLogLevel(7);
  _VeluneDriveLogTest();
  const auto sent = records();
  DRSetLogLevel(6);
  std::vector<std::string> levels;
  for (const auto& record : sent) {
    levels.push_back(valueOf(record, "Message") + "/" + valueOf(record, "Level"));
  }
  EXPECT_EQ(levels, (std::vector<std::string>{"LOG_DEBUG/7", "LOG_INFO/6", "LOG_WARNING/4", "LOG_ERR/3",
                                              "LOG_CRIT/2", "LOG_ALERT/1"}));
  const auto console = support::consoleLog().lines();
  ASSERT_FALSE(console.empty());
  EXPECT_EQ(console.front(), "ZSL log level is 7");
}

// The client used to keep the logs installed when it was made, so one log line
// during wiring sent the whole run's log to standard error.
TEST_F(DRLoggingTest, Reinstall_TheNextRecordGoesToTheNewLogsWithTheCurrentMask) {
  DRSetLogLevel(3);
  auto services = support::baseServices();
  auto newLog = std::make_shared<host::MemorySystemLog>();
  auto newConsole = std::make_shared<host::MemoryConsoleLog>();
  services.systemLog = newLog;
  services.consoleLog = newConsole;
  platform::Platform::install(services);
  DRLOG(kLogErr, "after the reinstall");
  DRLogFlush();
  DRSetLogLevel(6);
  support::installBaseServices();
  DRLOG(kLogErr, "back again");
  DRLogFlush();

  EXPECT_EQ(newLog->messages(), (std::vector<std::string>{"after the reinstall"}));
  EXPECT_EQ(newConsole->lines(), (std::vector<std::string>{"after the reinstall"}));
  EXPECT_EQ(newLog->openedFacility(), kLogFacility);
  EXPECT_EQ(newLog->liveClientCount(), 0u) << "the client of a log that is no longer installed is closed";
  EXPECT_EQ(support::systemLog().messages(), (std::vector<std::string>{"back again"}));
  EXPECT_EQ(support::systemLog().liveClientCount(), 1u);
  EXPECT_EQ(support::systemLog().filterMask(), 0x7Fu);
}

TEST_F(DRLoggingTest, LogDuringWiring_LaterRecordsReachTheLogsInstalledAfterIt) {
  platform::Platform::install(platform::Services{});
  DRLOG(kLogErr, "while wiring");  // to standard error
  DRLogFlush();
  support::installBaseServices();
  DRLOG(kLogInfo, "wired");
  EXPECT_EQ(support::loggedMessages(), (std::vector<std::string>{"wired"}));
  EXPECT_EQ(support::consoleLog().lines(), (std::vector<std::string>{"wired"}));
}

TEST_F(DRLoggingTest, Tee_ReceivesEveryRecordWithLevelTimeMessageSourceAndFunction) {
  auto tee = std::make_shared<platform::LogRecordTee>();
  auto services = support::baseServices();
  services.logRecordTee = tee;
  platform::Platform::install(services);
  std::mutex mutex;
  std::vector<platform::LogRecord> received;
  tee->subscribe([&](const platform::LogRecord& record) {
    std::lock_guard lock(mutex);
    received.push_back(record);
  });
  const unsigned line = __LINE__ + 1;
  DRLOG(kLogWarning, "teed %d", 1);
  DRLogSendMessage("file.cpp", "fn", 0, "DR", 3, nullptr, std::nullopt, std::nullopt);
  DRLogFlush();
  tee->waitUntilDelivered();
  support::installBaseServices();

  std::lock_guard lock(mutex);
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].level, kLogWarning);
  EXPECT_EQ(received[0].message, "teed 1");
  EXPECT_EQ(received[0].source, "tests/diag/DRLoggingTest.cpp");
  EXPECT_EQ(received[0].line, line);
  EXPECT_EQ(received[0].function, "DRLoggingTest_Tee_ReceivesEveryRecordWithLevelTimeMessageSourceAndFunction_Test::TestBody");
  EXPECT_EQ(received[0].time.timeIntervalSince1970(), support::manualClock().now().timeIntervalSince1970());
  EXPECT_EQ(received[1].message, "(null)");
  EXPECT_EQ(received[1].sequence, received[0].sequence + 1);
}

// A live viewer that stops reading must not stall the log queue.
TEST_F(DRLoggingTest, Tee_ABlockedSubscriberNeverBlocksTheLogQueue) {
  auto tee = std::make_shared<platform::LogRecordTee>(2);
  auto services = support::baseServices();
  services.logRecordTee = tee;
  platform::Platform::install(services);
  std::mutex mutex;
  std::condition_variable changed;
  bool blocked = false;
  bool release = false;
  tee->subscribe([&](const platform::LogRecord&) {
    std::unique_lock lock(mutex);
    blocked = true;
    changed.notify_all();
    changed.wait(lock, [&] { return release; });
  });
  DRLOG(kLogInfo, "first");
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return blocked; });
  }
  for (int i = 0; i < 10; ++i) {
    DRLOG(kLogInfo, "more %d", i);
  }
  EXPECT_EQ(support::loggedMessages().size(), 11u);  // the log queue ran on
  {
    std::lock_guard lock(mutex);
    release = true;
    changed.notify_all();
  }
  tee->waitUntilDelivered();
  support::installBaseServices();
}

TEST(DRLogFunctionName, ShowsClassAndMethod) {
  EXPECT_EQ(DRLogFunctionName("void velune::NetworkWatcher::start()"), "NetworkWatcher::start");
  EXPECT_EQ(DRLogFunctionName("int velune::main(int, char**)"), "main");
  EXPECT_EQ(DRLogFunctionName("static std::shared_ptr<velune::DRItem> velune::DRItem::initWithURL(const velune::platform::URL&)"),
            "DRItem::initWithURL");
  EXPECT_EQ(DRLogFunctionName("velune::QuotaFetcher::runWithInterval(double)::<lambda()>"),
            "QuotaFetcher::runWithInterval_block_invoke");
  EXPECT_EQ(DRLogFunctionName("auto velune::QuotaFetcher::runWithInterval(double)::(anonymous class)::operator()() const"),
            "QuotaFetcher::runWithInterval_block_invoke");
  EXPECT_EQ(DRLogFunctionName("void velune::{anonymous}::helper()"), "helper");
  EXPECT_EQ(DRLogFunctionName("void velune::(anonymous namespace)::helper()"), "helper");
  EXPECT_EQ(DRLogFunctionName("bool velune::Thing::operator()(int) const"), "Thing::operator()");
  EXPECT_EQ(DRLogFunctionName("plain"), "plain");
  EXPECT_EQ(DRLogFunctionName(""), "");
}

TEST(DRLogFilterMask, LevelsZeroToTheLevel) {
  EXPECT_EQ(DRLogFilterMask(-1), 0u);
  EXPECT_EQ(DRLogFilterMask(0), 0x1u);
  EXPECT_EQ(DRLogFilterMask(6), 0x7Fu);
  EXPECT_EQ(DRLogFilterMask(7), 0xFFu);
  EXPECT_EQ(DRLogFilterMask(INT_MAX), 0xFFu);
}

}  // namespace
}  // namespace velune
