#pragma once
// DRPlatformLogSink: hands the records of the platform and the host to the
// shared DRZSLClient, so that they reach the same system log and console as
// the app's own DRLog calls, with the facility "DR". The programs (and the
// test main) install it as the platform's log sink at start.

#include "platform/Log.h"

namespace velune {

class DRPlatformLogSink final : public platform::LogSink {
 public:
  bool isLevelEnabled(int level) const override;
  void send(const char* sourceFile, const char* functionName, unsigned line, int level,
            std::string message) override;
  void flush() override;

  // Installs a new sink as the platform's.
  static void install();
};

}  // namespace velune
