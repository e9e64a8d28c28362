#include "platform/MainThread.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace velune::platform {
namespace {
// Dynamic initialisation runs on the thread that starts the process.
const std::thread::id kMainThreadId = std::this_thread::get_id();
}  // namespace

bool isMainThread() { return std::this_thread::get_id() == kMainThreadId; }

void assertMainThread(const char* where) {
  if (!isMainThread()) {
    std::fprintf(stderr, "velune: %s must be called on the main thread\n", where);
    std::fflush(stderr);
    std::abort();
  }
}

}  // namespace velune::platform
