#pragma once
// The system log's records as lines a test can search: level, message,
// function and the queue that logged them.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestSupport.h"

namespace velune::testing {

struct LogLine {
  int level = -1;
  std::string message;
  std::string function;
  std::string thread;  // the label of the queue that logged, when there was one
};

// Waits for the log queue, then returns every record sent since the last clearLogs().
inline std::vector<LogLine> logLines() {
  (void)loggedMessages();  // flushes the log queue
  std::vector<LogLine> lines;
  for (const auto& sent : systemLog().sent()) {
    const auto* message = sent.record.get("Message");
    const auto* function = sent.record.get("Function");
    const auto* thread = sent.record.get("Thread");
    lines.push_back({platform::systemLogRecordLevel(sent.record), message ? *message : std::string(),
                     function ? *function : std::string(), thread ? *thread : std::string()});
  }
  return lines;
}

// The lines whose message is exactly `message`.
inline std::vector<LogLine> linesWithMessage(std::string_view message) {
  std::vector<LogLine> matching;
  for (auto& line : logLines()) {
    if (line.message == message) {
      matching.push_back(std::move(line));
    }
  }
  return matching;
}

inline size_t countOf(std::string_view message) {
  return linesWithMessage(message).size();
}

// The lines whose message begins with `prefix`, in order.
inline std::vector<LogLine> linesStartingWith(std::string_view prefix) {
  std::vector<LogLine> matching;
  for (auto& line : logLines()) {
    if (line.message.starts_with(prefix)) {
      matching.push_back(std::move(line));
    }
  }
  return matching;
}

// Their messages only.
inline std::vector<std::string> messagesStartingWith(std::string_view prefix) {
  std::vector<std::string> messages;
  for (auto& line : linesStartingWith(prefix)) {
    messages.push_back(std::move(line.message));
  }
  return messages;
}

}  // namespace velune::testing
