// A disabled log call must cost only the level test: no formatting, no
// queueing, and not one allocation. This program counts every operator new.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "diag/DRLogging.h"
#include "platform/URL.h"
#include "tests/support/TestSupport.h"

namespace {
std::atomic<long> gAllocations{0};
}  // namespace

void* operator new(std::size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) {
    return p;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace velune {
namespace {

TEST(DisabledLogAllocation, DisabledCallAllocatesNothing) {
  DRSetLogLevel(6);
  const auto url = platform::URL::fileURLWithPath("/tmp/some document.pdf", false);
  const std::string text = "a text argument that would need a copy";
  // Warm up: the shared client and its queue exist before counting.
  DRLOG(kLogDebug, "warm up %@", url);

  const long before = gAllocations.load();
  for (int i = 0; i < 1000; ++i) {
    DRLOG(kLogDebug, "Item %d of %@: %@ (%lf)", i, url, text, 0.5);
  }
  const long after = gAllocations.load();
  EXPECT_EQ(after - before, 0) << "a disabled log call allocated";

  // And the counter works: an enabled call does allocate.
  const long beforeEnabled = gAllocations.load();
  DRLOG(kLogInfo, "Item %d of %@", 1, url);
  EXPECT_GT(gAllocations.load() - beforeEnabled, 0);
  DRLogFlush();
}

}  // namespace
}  // namespace velune
