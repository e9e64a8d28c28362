#include "host/InProcessNotificationService.h"

#include <vector>

#include "platform/DispatchQueue.h"

namespace velune::host {

InProcessNotificationService::ObservationId InProcessNotificationService::addObserver(
    const void* owner, std::string name, std::shared_ptr<platform::DispatchQueue> queue, Handler handler) {
  std::lock_guard lock(mutex_);
  const ObservationId id = nextId_++;
  observations_.emplace(id, Observation{owner, std::move(name), std::move(queue),
                                        std::make_shared<Handler>(std::move(handler)),
                                        std::make_shared<std::atomic<bool>>(true)});
  return id;
}

void InProcessNotificationService::removeObservation(ObservationId id) {
  std::lock_guard lock(mutex_);
  const auto it = observations_.find(id);
  if (it != observations_.end()) {
    it->second.alive->store(false);
    observations_.erase(it);
  }
}

void InProcessNotificationService::removeObserver(const void* owner) {
  std::lock_guard lock(mutex_);
  for (auto it = observations_.begin(); it != observations_.end();) {
    if (it->second.owner == owner) {
      it->second.alive->store(false);
      it = observations_.erase(it);
    } else {
      ++it;
    }
  }
}

void InProcessNotificationService::post(const platform::Notification& notification) {
  std::vector<Observation> matching;
  {
    std::lock_guard lock(mutex_);
    for (const auto& [id, observation] : observations_) {
      if (observation.name == notification.name) {
        matching.push_back(observation);
      }
    }
  }
  for (const Observation& observation : matching) {
    if (observation.queue) {
      observation.queue->async([handler = observation.handler, alive = observation.alive, notification] {
        if (alive->load()) {
          (*handler)(notification);
        }
      });
    } else if (observation.alive->load()) {
      (*observation.handler)(notification);
    }
  }
}

size_t InProcessNotificationService::observationCount(std::string_view name) const {
  std::lock_guard lock(mutex_);
  size_t count = 0;
  for (const auto& [id, observation] : observations_) {
    count += observation.name == name ? 1 : 0;
  }
  return count;
}

}  // namespace velune::host
