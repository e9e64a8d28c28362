#pragma once
// Log: the log call of the layers below the app (the platform itself and the
// host that implements it). The program installs one sink at start, and the
// app's log client is that sink, so every record of the process ends up in
// the one system log with the same keys and levels. Before a sink is
// installed, and after it is removed, records are dropped.
//
//   PLATFORM_LOG(kLogWarning, "can't read %@: %@", path, error);
//
// A disabled level returns before anything is formatted. Any thread.

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/Format.h"

namespace velune {

// Syslog levels; a smaller number is more severe. Shared by every layer.
inline constexpr int kLogAlert = 1;
inline constexpr int kLogCrit = 2;
inline constexpr int kLogErr = 3;
inline constexpr int kLogWarning = 4;
inline constexpr int kLogNotice = 5;
inline constexpr int kLogInfo = 6;
inline constexpr int kLogDebug = 7;

}  // namespace velune

namespace velune::platform {

// Where platform records go. The file and function names are compiler
// literals that live as long as the program.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual bool isLevelEnabled(int level) const = 0;
  virtual void send(const char* sourceFile, const char* functionName, unsigned line, int level,
                    std::string message) = 0;
  // Returns when every record sent so far has been written.
  virtual void flush() = 0;
};

class Log {
 public:
  // Replaces the sink (null removes it).
  static void installSink(std::shared_ptr<LogSink> sink);
  static std::shared_ptr<LogSink> sink();
  static void flush();

  static void writev(const char* sourceFile, const char* functionName, unsigned line, int level,
                     std::string_view format, std::span<const FormatArg> arguments);

  template <typename... Args>
  static void write(const char* sourceFile, const char* functionName, unsigned line, int level,
                    std::string_view format, const Args&... args) {
    if constexpr (sizeof...(Args) == 0) {
      writev(sourceFile, functionName, line, level, format, {});
    } else {
      const FormatArg list[] = {FormatArg(args)...};
      writev(sourceFile, functionName, line, level, format, std::span<const FormatArg>(list, sizeof...(Args)));
    }
  }
};

}  // namespace velune::platform

#define PLATFORM_LOG(level, ...) \
  ::velune::platform::Log::write(__FILE__, __PRETTY_FUNCTION__, __LINE__, (level), __VA_ARGS__)
