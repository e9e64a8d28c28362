#include "platform/TimerService.h"

#include <pthread.h>

#include <vector>

namespace velune::platform {

TimerService& TimerService::shared() {
  // Never destroyed: its thread runs for the life of the process.
  static auto* service = new TimerService();
  return *service;
}

TimerService::TimerService() {
  std::thread([this] { threadLoop(); }).detach();
}

TimerService::Id TimerService::schedule(MonotonicTime deadline, std::function<void()> fire) {
  Id id = 0;
  {
    std::lock_guard lock(mutex_);
    id = nextId_++;
    entries_.emplace(Key(deadline, id), std::move(fire));
    deadlines_.emplace(id, deadline);
  }
  if (deadline <= Clock::current().monotonicNow()) {
    fireDue();
  } else {
    wake_.notify_all();
  }
  return id;
}

bool TimerService::cancel(Id id) {
  std::lock_guard lock(mutex_);
  const auto it = deadlines_.find(id);
  if (it == deadlines_.end()) {
    return false;
  }
  entries_.erase(Key(it->second, id));
  deadlines_.erase(it);
  return true;
}

void TimerService::clockDidAdvance() {
  fireDue();
  wake_.notify_all();
}

std::optional<MonotonicTime> TimerService::nextDeadline() const {
  std::lock_guard lock(mutex_);
  if (entries_.empty()) {
    return std::nullopt;
  }
  return entries_.begin()->first.first;
}

size_t TimerService::pendingCount() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

namespace {
// True while this thread fires deadlines; a deadline registered from inside a
// callback is then picked up by the running loop instead of a nested one.
thread_local bool tFiring = false;
}  // namespace

void TimerService::fireDue() {
  if (tFiring) {
    return;
  }
  std::lock_guard firing(fireMutex_);
  tFiring = true;
  struct Reset {
    ~Reset() { tFiring = false; }
  } reset;
  while (true) {
    std::function<void()> fire;
    {
      std::lock_guard lock(mutex_);
      if (entries_.empty()) {
        return;
      }
      const auto first = entries_.begin();
      if (first->first.first > Clock::current().monotonicNow()) {
        return;
      }
      fire = std::move(first->second);
      deadlines_.erase(first->first.second);
      entries_.erase(first);
    }
    // One at a time, outside the lock: a callback may schedule again.
    fire();
  }
}

void TimerService::threadLoop() {
  pthread_setname_np(pthread_self(), "velune.timers");
  std::unique_lock lock(mutex_);
  while (true) {
    Clock& clock = Clock::current();
    if (entries_.empty() || clock.isManual()) {
      wake_.wait(lock);
      continue;
    }
    const MonotonicTime next = entries_.begin()->first.first;
    const MonotonicTime now = clock.monotonicNow();
    if (next > now) {
      wake_.wait_for(lock, next - now);
      continue;
    }
    lock.unlock();
    fireDue();
    lock.lock();
  }
}

}  // namespace velune::platform
