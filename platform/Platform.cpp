#include "platform/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace velune::platform {
namespace {

struct Installed {
  std::mutex mutex;
  std::shared_ptr<const Services> services = std::make_shared<const Services>();
  std::atomic<std::uint64_t> generation{0};
};

Installed& installed() {
  static auto* instance = new Installed();
  return *instance;
}

}  // namespace

std::shared_ptr<const Services> Platform::services() {
  auto& state = installed();
  std::lock_guard lock(state.mutex);
  return state.services;
}

void Platform::install(Services services) {
  auto replacement = std::make_shared<const Services>(std::move(services));
  auto& state = installed();
  std::shared_ptr<const Services> previous;
  {
    std::lock_guard lock(state.mutex);
    previous = std::move(state.services);
    state.services = std::move(replacement);
    state.generation.fetch_add(1, std::memory_order_release);
  }
  // `previous` is released outside the lock: services may log when they go.
}

std::uint64_t Platform::generation() { return installed().generation.load(std::memory_order_acquire); }

void Platform::missing(const char* name) {
  std::fprintf(stderr, "velune: the platform service '%s' is not installed\n", name);
  std::fflush(stderr);
  std::abort();
}

}  // namespace velune::platform
