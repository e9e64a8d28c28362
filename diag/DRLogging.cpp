#include "diag/DRLogging.h"

#include <cmath>
#include <cstdio>
#include <mutex>
#include <unordered_map>

#include "diag/DRZSLClient.h"
#include "platform/Clock.h"
#include "platform/DispatchQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/UTF8.h"

namespace velune {
namespace {

using platform::Value;

struct PendingMessage {
  // Compiler-supplied literals: they live as long as the program.
  const char* sourceFile = "";
  const char* functionName = "";
  unsigned line = 0;
  std::string facility;
  int level = 0;
  std::optional<std::string> message;
  std::string queueLabel;
  std::optional<Value::Dictionary> extraKeys;
};

// Filled once, on the log queue, before the first record is built.
char gHostName[255];
char gProcessId[64];
std::once_flag gProcessBuffersOnce;

void fillProcessBuffers() {
  const auto host = platform::ProcessInfo::hostName();
  std::snprintf(gHostName, sizeof gHostName, "%s", host ? host->c_str() : "UnknownHost");
  std::snprintf(gProcessId, sizeof gProcessId, "%lu", platform::ProcessInfo::processIdentifier());
}

std::string number(unsigned long value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%lu", value);
  return buffer;
}

// The name shown for a compiler-supplied function name, computed once per call
// site. Used only on the log queue.
const std::string& displayedFunctionName(const char* functionName) {
  static auto* names = new std::unordered_map<const char*, std::string>();
  auto it = names->find(functionName);
  if (it == names->end()) {
    it = names->emplace(functionName, DRLogFunctionName(functionName)).first;
  }
  return it->second;
}

void buildAndSend(const PendingMessage& pending) {
  DRZSLClient& client = DRZSLClient::ZSLClient();
  const DRZSLClient::Sinks& sinks = client.sinks();
  // Messages are sent as UTF-8: stray bytes become U+FFFD.
  const std::optional<std::string> text =
      pending.message ? std::optional<std::string>(platform::validUTF8(*pending.message)) : std::nullopt;
  const auto& clock = platform::Clock::current();
  const std::optional<platform::Date> precise = clock.preciseNow();
  const platform::Date time = precise ? *precise : clock.now();
  const std::string& function = displayedFunctionName(pending.functionName);

  if (auto record = sinks.systemLog->newRecord()) {
    std::call_once(gProcessBuffersOnce, fillProcessBuffers);

    char buffer[64];
    if (precise) {
      const double seconds = std::floor(precise->timeIntervalSince1970());
      const auto micros = static_cast<int>(
          std::min(999999.0, std::round((precise->timeIntervalSince1970() - seconds) * 1e6)));
      record->set("Time", number(static_cast<unsigned long>(seconds)));
      std::snprintf(buffer, sizeof buffer, "%d", micros * 1000);
      record->set("TimeNanoSec", buffer);
    } else {
      record->set("Time", number(static_cast<unsigned long>(std::floor(time.timeIntervalSince1970()))));
    }

    const int level = pending.level >= 0 && pending.level <= 7 ? pending.level : 9;
    record->set("Level", std::string(1, static_cast<char>('0' + level)));
    record->set("Facility", kLogFacility);
    record->set("PID", gProcessId);
    record->set("Host", gHostName);
    if (text) {
      record->set("Message", *text);
    }
    record->set("Source", pending.sourceFile);
    if (pending.line >= 1) {
      std::snprintf(buffer, sizeof buffer, "%u", pending.line);
      record->set("Line", buffer);
    }
    record->set("Function", function);
    record->set("DRFacility", pending.facility);
    if (client.logLevel() >= 6) {
      record->set("DRLogToFile", "1");
    }
    if (!pending.queueLabel.empty()) {
      record->set("Thread", pending.queueLabel);
    }
    if (pending.extraKeys) {
      for (const auto& [key, value] : *pending.extraKeys) {
        record->set(key, value.description());
      }
    }
    sinks.systemLog->send(sinks.zslClient, *record);
  }
  const std::string consoleText = text ? *text : std::string("(null)");
  sinks.consoleLog->write(consoleText);
  if (sinks.tee) {
    platform::LogRecord copy;
    copy.level = pending.level;
    copy.time = time;
    copy.message = consoleText;
    copy.source = pending.sourceFile;
    copy.line = pending.line;
    copy.function = function;
    copy.thread = pending.queueLabel;
    sinks.tee->publish(std::move(copy));
  }
}

}  // namespace

namespace detail {

std::atomic<int> gCachedLogLevel{INT_MAX};

bool DRLogLevelEnabledSlow(int level) { return DRZSLClient::ZSLClient().logLevel() >= level; }

}  // namespace detail

int DRLogLevelForZSL() { return DRZSLClient::ZSLClient().logLevelForZSL(); }

void DRSetLogLevel(int level) { DRZSLClient::ZSLClient().setLogLevel(level); }

void DRLogv(const char* sourceFile, const char* functionName, unsigned line, std::string_view facility, int level,
            const void* context, const Value::Dictionary* extraKeys, std::string_view format,
            std::span<const platform::FormatArg> arguments) {
  if (!DRLogLevelEnabled(level)) {
    return;
  }
  std::string message = platform::formatList(format, arguments);
  std::optional<Value::Dictionary> extras;
  if (extraKeys != nullptr) {
    extras = *extraKeys;
  }
  DRLogSendMessage(sourceFile, functionName, line, facility, level, context, std::move(message), std::move(extras));
}

void DRLogSendMessage(const char* sourceFile, const char* functionName, unsigned line, std::string_view facility,
                      int level, const void* /*context: carried, written nowhere*/, std::optional<std::string> message,
                      std::optional<Value::Dictionary> extraKeys) {
  PendingMessage pending;
  pending.sourceFile = sourceFile ? sourceFile : "";
  pending.functionName = functionName ? functionName : "";
  pending.line = line;
  pending.facility = std::string(facility);
  pending.level = level;
  pending.message = std::move(message);
  pending.queueLabel = platform::DispatchQueue::currentLabel();
  pending.extraKeys = std::move(extraKeys);
  DRZSLClient::ZSLClient().performLoggingBlock(
      [pending = std::move(pending)] { buildAndSend(pending); });
}

void _VeluneDriveLogTest() {
  DRZSLClient& client = DRZSLClient::ZSLClient();
  const auto line = platform::format("ZSL log level is %@", DRLogLevelForZSL());
  client.performLoggingBlock([&client, line] { client.sinks().consoleLog->write(line); });
  DRLOG(kLogDebug, "LOG_DEBUG");
  DRLOG(kLogInfo, "LOG_INFO");
  DRLOG(kLogWarning, "LOG_WARNING");
  DRLOG(kLogErr, "LOG_ERR");
  DRLOG(kLogCrit, "LOG_CRIT");
  DRLOG(kLogAlert, "LOG_ALERT");
}

void DRLogFlush() {
  const auto& queue = DRZSLClient::ZSLClient().logQueue();
  if (queue->isCurrent()) {
    return;
  }
  queue->sync([] {});
}

std::string DRLogFunctionName(std::string_view prettyFunction) {
  std::string pretty(prettyFunction);
  for (const std::string_view noise :
       {std::string_view("(anonymous namespace)::"), std::string_view("{anonymous}::"), std::string_view("velune::")}) {
    for (size_t at = pretty.find(noise); at != std::string::npos; at = pretty.find(noise)) {
      pretty.erase(at, noise.size());
    }
  }
  // The qualified name ends at the first "(" outside template brackets.
  int depth = 0;
  size_t end = pretty.size();
  for (size_t i = 0; i < pretty.size(); ++i) {
    const char c = pretty[i];
    if (c == '<') {
      ++depth;
    } else if (c == '>' && depth > 0) {
      --depth;
    } else if (c == '(' && depth == 0) {
      // "operator()" is a name, not its parameter list.
      if (i >= 8 && pretty.compare(i - 8, 8, "operator") == 0 && i + 1 < pretty.size() && pretty[i + 1] == ')') {
        ++i;
        continue;
      }
      end = i;
      break;
    }
  }
  std::string_view name = std::string_view(pretty).substr(0, end);
  // Drop the return type: the name starts after the last blank outside brackets.
  depth = 0;
  size_t begin = 0;
  for (size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    if (c == '<') {
      ++depth;
    } else if (c == '>' && depth > 0) {
      --depth;
    } else if (c == ' ' && depth == 0) {
      begin = i + 1;
    }
  }
  std::string result(name.substr(begin));
  if (result.empty()) {
    return std::string(prettyFunction);
  }
  // g++ writes a lambda as "f()::<lambda()>", clang as "f()::(anonymous class)::operator()()".
  if (pretty.find("<lambda") != std::string::npos || pretty.find("(anonymous class)") != std::string::npos) {
    result += "_block_invoke";
  }
  return result;
}

}  // namespace velune
