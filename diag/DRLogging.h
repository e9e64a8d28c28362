#pragma once
// The log call of the whole system, and its companions.
//
//   DRLOG(kLogInfo, "Moved %@ to %@", source, destination);
//
// DRLog decides on the caller's thread whether the level is enabled; when it
// is not, the call returns at once: nothing is formatted, queued or allocated.
// Otherwise the message is formatted on the caller's thread and handed to the
// shared DRZSLClient, which builds and sends the system-log record, and writes
// the message to the console, on its own low-priority queue, in submission
// order. Logging never blocks on the log and never reports an error.

#include <atomic>
#include <climits>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Format.h"
#include "platform/Log.h"
#include "platform/Value.h"

namespace velune {

namespace detail {
// The shared client's level, copied at every change so that the level test is
// one relaxed load and one compare, inlined at the call. INT_MAX until the
// client has chosen its level: then every call takes the slow path, which
// makes the client.
extern std::atomic<int> gCachedLogLevel;
bool DRLogLevelEnabledSlow(int level);
}  // namespace detail

// True when the shared client's level is at least `level`. Any thread.
inline bool DRLogLevelEnabled(int level) {
  const int cached = detail::gCachedLogLevel.load(std::memory_order_relaxed);
  if (level > cached) [[likely]] {
    return false;
  }
  return cached != INT_MAX || detail::DRLogLevelEnabledSlow(level);
}
// The shared client's level, at most 7.
int DRLogLevelForZSL();
// Sets the shared client's level (and the system log's filter mask).
void DRSetLogLevel(int level);

void DRLogv(const char* sourceFile, const char* functionName, unsigned line, std::string_view facility, int level,
            const void* context, const platform::Value::Dictionary* extraKeys, std::string_view format,
            std::span<const platform::FormatArg> arguments);

// The source file and function name of these calls are the compiler's
// literals (__FILE__, __PRETTY_FUNCTION__): they must live as long as the
// program, since the record is built later on the log queue.

// Queues an already formatted message (or none); does not test the level.
void DRLogSendMessage(const char* sourceFile, const char* functionName, unsigned line, std::string_view facility,
                      int level, const void* context, std::optional<std::string> message,
                      std::optional<platform::Value::Dictionary> extraKeys);

template <typename... Args>
void DRLog(const char* sourceFile, const char* functionName, unsigned line, std::string_view facility, int level,
           const void* context, std::string_view format, const Args&... args) {
  if (!DRLogLevelEnabled(level)) {
    return;
  }
  if constexpr (sizeof...(Args) == 0) {
    DRLogv(sourceFile, functionName, line, facility, level, context, nullptr, format, {});
  } else {
    const platform::FormatArg list[] = {platform::FormatArg(args)...};
    DRLogv(sourceFile, functionName, line, facility, level, context, nullptr, format,
           std::span<const platform::FormatArg>(list, sizeof...(Args)));
  }
}

// A diagnostic entry point: a console line with the level, then one message at
// each of the levels 7, 6, 4, 3, 2 and 1. Nothing in the system calls it.
void _VeluneDriveLogTest();

// Waits until every message submitted so far has been sent and written. The
// application calls it before the process exits; tests call it before they
// look at the log. Does nothing when called on the log queue itself.
void DRLogFlush();

// The name the log shows for a compiler-supplied function name:
// "void velune::NetworkWatcher::start()" gives "NetworkWatcher::start".
std::string DRLogFunctionName(std::string_view prettyFunction);

}  // namespace velune

// The log call with this source file, function and line, and the facility "DR".
#define DRLOG(level, ...) ::velune::DRLog(__FILE__, __PRETTY_FUNCTION__, __LINE__, "DR", (level), nullptr, __VA_ARGS__)
