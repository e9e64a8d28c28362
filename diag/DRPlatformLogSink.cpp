#include "diag/DRPlatformLogSink.h"

#include <memory>
#include <utility>

#include "diag/DRLogging.h"

namespace velune {

bool DRPlatformLogSink::isLevelEnabled(int level) const { return DRLogLevelEnabled(level); }

void DRPlatformLogSink::send(const char* sourceFile, const char* functionName, unsigned line, int level,
                             std::string message) {
  DRLogSendMessage(sourceFile, functionName, line, "DR", level, nullptr, std::move(message), std::nullopt);
}

void DRPlatformLogSink::flush() { DRLogFlush(); }

void DRPlatformLogSink::install() { platform::Log::installSink(std::make_shared<DRPlatformLogSink>()); }

}  // namespace velune
