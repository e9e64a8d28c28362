#pragma once
// NotificationService: process-wide named notifications.
//
// A registration names a notification and, optionally, the queue on which its
// handler runs (asynchronously, in posting order); without a queue the handler
// runs on the posting thread inside post(). Registrations belong to an owner
// (any address that identifies the observing object); removeObserver(owner)
// ends all of them, and a handler that was already queued but has not started
// does not run after that.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Value.h"

namespace velune::platform {

class DispatchQueue;

struct Notification {
  std::string name;
  const void* object = nullptr;  // the poster, when it names itself
  Value::Dictionary userInfo;
};

class NotificationService {
 public:
  using ObservationId = std::uint64_t;
  using Handler = std::function<void(const Notification&)>;

  virtual ~NotificationService() = default;

  virtual ObservationId addObserver(const void* owner, std::string name, std::shared_ptr<DispatchQueue> queue,
                                    Handler handler) = 0;
  virtual void removeObservation(ObservationId id) = 0;
  virtual void removeObserver(const void* owner) = 0;
  virtual void post(const Notification& notification) = 0;

  void post(std::string name, const void* object = nullptr) { post(Notification{std::move(name), object, {}}); }
};

}  // namespace velune::platform
