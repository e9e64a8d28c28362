#pragma once
// LogRecord: one record of the process's log as a live log view shows it.

#include <cstdint>
#include <string>

#include "platform/Date.h"

namespace velune::platform {

struct LogRecord {
  // Numbers records from 1 in the order the log built them; a gap tells a
  // subscriber that records were dropped before it could receive them.
  std::uint64_t sequence = 0;
  // The syslog level the caller passed (may lie outside 0 to 7).
  int level = 0;
  // When the record was built.
  Date time;
  // The message as UTF-8 ("(null)" for a record without a message).
  std::string message;
  // The project-relative source path, the line (0: none) and the function.
  std::string source;
  unsigned line = 0;
  std::string function;
  // The label of the queue that logged, or empty.
  std::string thread;
};

}  // namespace velune::platform
