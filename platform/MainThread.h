#pragma once
// The main thread: the thread that started the process. All user-interface
// work runs there; main-thread-only classes assert it in their mutating
// methods so that a violation fails at once instead of racing later.

namespace velune::platform {

bool isMainThread();

// Aborts with a message naming `where` when called off the main thread.
void assertMainThread(const char* where);

}  // namespace velune::platform

#define VELUNE_ASSERT_MAIN_THREAD() ::velune::platform::assertMainThread(__PRETTY_FUNCTION__)
