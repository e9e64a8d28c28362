#include "platform/Log.h"

#include <mutex>
#include <utility>

namespace velune::platform {
namespace {

struct InstalledSink {
  std::mutex mutex;
  std::shared_ptr<LogSink> sink;
};

InstalledSink& installed() {
  static auto* instance = new InstalledSink();
  return *instance;
}

}  // namespace

void Log::installSink(std::shared_ptr<LogSink> sink) {
  auto& state = installed();
  std::shared_ptr<LogSink> previous;
  {
    std::lock_guard lock(state.mutex);
    previous = std::exchange(state.sink, std::move(sink));
  }
  // `previous` goes outside the lock: a sink may log or flush when it goes.
}

std::shared_ptr<LogSink> Log::sink() {
  auto& state = installed();
  std::lock_guard lock(state.mutex);
  return state.sink;
}

void Log::flush() {
  if (auto current = sink()) {
    current->flush();
  }
}

void Log::writev(const char* sourceFile, const char* functionName, unsigned line, int level, std::string_view format,
                 std::span<const FormatArg> arguments) {
  const auto current = sink();
  if (!current || !current->isLevelEnabled(level)) {
    return;
  }
  current->send(sourceFile, functionName, line, level, formatList(format, arguments));
}

}  // namespace velune::platform
