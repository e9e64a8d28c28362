#pragma once
// InProcessNotificationService: the process's notification centre.

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

#include "platform/NotificationService.h"

namespace velune::host {

class InProcessNotificationService final : public platform::NotificationService {
 public:
  ObservationId addObserver(const void* owner, std::string name, std::shared_ptr<platform::DispatchQueue> queue,
                            Handler handler) override;
  void removeObservation(ObservationId id) override;
  void removeObserver(const void* owner) override;
  void post(const platform::Notification& notification) override;
  using platform::NotificationService::post;

  // How many registrations exist for a name (for tests and diagnostics).
  size_t observationCount(std::string_view name) const;

 private:
  struct Observation {
    const void* owner;
    std::string name;
    std::shared_ptr<platform::DispatchQueue> queue;
    std::shared_ptr<Handler> handler;
    std::shared_ptr<std::atomic<bool>> alive;
  };

  mutable std::mutex mutex_;
  std::map<ObservationId, Observation> observations_;
  ObservationId nextId_ = 1;
};

}  // namespace velune::host
