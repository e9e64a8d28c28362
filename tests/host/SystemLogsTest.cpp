#include "host/SystemLogs.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/FileIO.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

platform::SystemLogRecord record(const std::string& level, const std::string& message) {
  platform::SystemLogRecord r;
  r.set("Time", "1");
  r.set("Level", level);
  r.set("Message", message);
  r.set("Extra Key", "value with \"quotes\"");
  return r;
}

TEST(JsonLinesSystemLog, WritesOneObjectPerRecordInKeyOrderAndHonoursTheMask) {
  testing::TempDirectory dir;
  const std::string path = dir.file("Logs/system-log.jsonl");
  JsonLinesSystemLog log(path);
  auto* client = log.open(nullptr, "com.vorlan.VeluneDriveApp", 0);
  log.setFilterMask(client, 0x7F);
  log.send(client, record("6", "kept"));
  log.send(client, record("7", "dropped by the mask"));
  log.send(client, record("9", "level nine is never in a mask"));
  log.send(client, record("3", "bad \xFF byte"));
  log.close(client);
  EXPECT_EQ(readWholeFile(path).value(), "") << "records wait in the buffer until flushed";
  log.flush();

  const auto contents = readWholeFile(path);
  ASSERT_TRUE(contents.ok());
  std::istringstream lines(contents.value());
  std::vector<nlohmann::ordered_json> objects;
  for (std::string line; std::getline(lines, line);) {
    objects.push_back(nlohmann::ordered_json::parse(line));
  }
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0]["Message"], "kept");
  std::vector<std::string> keys;
  for (const auto& [key, value] : objects[0].items()) {
    keys.push_back(key);
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"Time", "Level", "Message", "Extra Key"}));
  EXPECT_EQ(objects[0]["Extra Key"], "value with \"quotes\"");
  EXPECT_EQ(objects[1]["Message"], "bad \xEF\xBF\xBD byte");
}

TEST(SystemLogs, RecordJsonEscapesControlCharactersAndQuotes) {
  platform::SystemLogRecord r;
  r.set("Message", std::string("tab\there \"quoted\" back\\slash\nnew\x01line"));
  const std::string json = systemLogRecordJson(r);
  EXPECT_EQ(json, R"({"Message":"tab\there \"quoted\" back\\slash\nnew\u0001line"})");
  EXPECT_EQ(nlohmann::json::parse(json)["Message"], "tab\there \"quoted\" back\\slash\nnew\x01line");
}

TEST(JsonLinesSystemLog, UnwritableFilesCountTheRecordsTheyLose) {
  JsonLinesSystemLog nowhere("/proc/velune-cannot-write-here/log.jsonl");
  auto* client = nowhere.open(nullptr, "f", 0);
  nowhere.send(client, record("3", "nowhere to go"));
  nowhere.send(client, record("3", "nor this"));
  nowhere.close(client);
  EXPECT_EQ(nowhere.lostRecords(), 2u);
}

TEST(JsonLinesSystemLog, AFullDiskLosesTheBufferedRecordsAndCountsThem) {
  if (::access("/dev/full", W_OK) != 0) {
    GTEST_SKIP() << "this machine has no /dev/full";
  }
  // A device that is always full: the buffered records are lost when flushed.
  JsonLinesSystemLog full("/dev/full");
  auto* client = full.open(nullptr, "f", 0);
  full.send(client, record("3", "one"));
  full.send(client, record("3", "two"));
  full.send(client, record("3", "three"));
  EXPECT_EQ(full.lostRecords(), 0u);
  full.flush();
  EXPECT_EQ(full.lostRecords(), 3u);
  full.close(client);
}

TEST(SystemLogs, ExplicitKindsAndTheFileFallback) {
  testing::TempDirectory dir;
  auto file = makeSystemLog(SystemLogKind::File, dir.file("log.jsonl"));
  EXPECT_NE(dynamic_cast<JsonLinesSystemLog*>(file.get()), nullptr);
  EXPECT_NE(dynamic_cast<SyslogSystemLog*>(makeSystemLog(SystemLogKind::Syslog, "").get()), nullptr);
  auto automatic = makeSystemLog(SystemLogKind::Automatic, dir.file("auto.jsonl"));
  ASSERT_NE(automatic, nullptr);
  if (journalAvailable()) {
    EXPECT_NE(dynamic_cast<JournalSystemLog*>(automatic.get()), nullptr);
  }
}

}  // namespace
}  // namespace velune::host
