#include "platform/ui/ModelChanges.h"

#include <atomic>
#include <vector>

#include "platform/MainThread.h"
#include "platform/RunLoop.h"

namespace velune::ui {

namespace {

struct Registration {
  ModelChanges::ListenerId id;
  ModelChanges::Listener listener;
};

struct State {
  std::atomic<bool> dirty{false};
  std::atomic<std::uint64_t> generation{0};
  // Main thread only.
  std::vector<Registration> listeners;
  ModelChanges::ListenerId nextId = 1;
  platform::RunLoop::ObserverId observer = 0;
};

State& state() {
  // Never destroyed: views may note changes while the process exits.
  static auto* s = new State();
  return *s;
}

void endOfTurn() {
  State& s = state();
  if (!s.dirty.exchange(false)) {
    return;
  }
  const std::uint64_t generation = s.generation.fetch_add(1) + 1;
  const auto listeners = s.listeners;  // a listener may remove itself
  for (const auto& registration : listeners) {
    registration.listener(generation);
  }
}

}  // namespace

void ModelChanges::noteChanged() { state().dirty.store(true, std::memory_order_relaxed); }

bool ModelChanges::hasPendingChange() { return state().dirty.load(); }

std::uint64_t ModelChanges::generation() { return state().generation.load(); }

ModelChanges::ListenerId ModelChanges::addListener(Listener listener) {
  VELUNE_ASSERT_MAIN_THREAD();
  State& s = state();
  if (s.observer == 0) {
    s.observer = platform::RunLoop::main().addIdleObserver(endOfTurn);
  }
  const ListenerId id = s.nextId++;
  s.listeners.push_back(Registration{id, std::move(listener)});
  return id;
}

void ModelChanges::removeListener(ListenerId id) {
  VELUNE_ASSERT_MAIN_THREAD();
  State& s = state();
  std::erase_if(s.listeners, [id](const Registration& r) { return r.id == id; });
  if (s.listeners.empty() && s.observer != 0) {
    platform::RunLoop::main().removeIdleObserver(s.observer);
    s.observer = 0;
  }
}

}  // namespace velune::ui
