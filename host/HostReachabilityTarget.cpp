#include "host/HostReachabilityTarget.h"

#include "platform/DispatchQueue.h"

namespace velune::host {

std::shared_ptr<HostReachabilityTarget> HostReachabilityTarget::create(std::string hostName,
                                                                       platform::ReachabilityFlags flags) {
  return std::shared_ptr<HostReachabilityTarget>(new HostReachabilityTarget(std::move(hostName), flags));
}

bool HostReachabilityTarget::setCallback(platform::ReachabilityCallback callback,
                                         const platform::ReachabilityContext* context) {
  std::unique_lock<std::recursive_mutex> running;
  if (callback == nullptr) {
    running = std::unique_lock(deliveryMutex_);
  }
  std::lock_guard lock(mutex_);
  const bool wasArmed = armedLocked();
  callback_ = callback;
  info_ = context != nullptr ? context->info : nullptr;
  if (callback == nullptr) {
    ++generation_;
  }
  if (!wasArmed && armedLocked()) {
    postLocked(flags_);
  }
  return true;
}

bool HostReachabilityTarget::setDispatchQueue(std::shared_ptr<platform::DispatchQueue> queue) {
  std::unique_lock<std::recursive_mutex> running;
  if (queue == nullptr) {
    running = std::unique_lock(deliveryMutex_);
  }
  std::lock_guard lock(mutex_);
  const bool wasArmed = armedLocked();
  if (queue != queue_) {
    // Deliveries queued on the old queue must not run as well.
    ++generation_;
  }
  queue_ = std::move(queue);
  if (!wasArmed && armedLocked()) {
    postLocked(flags_);
  }
  return true;
}

void HostReachabilityTarget::deliver(platform::ReachabilityFlags flags) {
  std::lock_guard lock(mutex_);
  if (flags == flags_) {
    return;
  }
  flags_ = flags;
  if (armedLocked()) {
    postLocked(flags);
  }
}

platform::ReachabilityFlags HostReachabilityTarget::flags() const {
  std::lock_guard lock(mutex_);
  return flags_;
}

void HostReachabilityTarget::postLocked(platform::ReachabilityFlags flags) {
  std::weak_ptr<HostReachabilityTarget> weakSelf = weak_from_this();
  queue_->async([weakSelf, generation = generation_, flags] {
    if (auto self = weakSelf.lock()) {
      self->run(generation, flags);
    }
  });
}

void HostReachabilityTarget::run(std::uint64_t generation, platform::ReachabilityFlags flags) {
  std::lock_guard running(deliveryMutex_);
  platform::ReachabilityCallback callback = nullptr;
  void* info = nullptr;
  {
    std::lock_guard lock(mutex_);
    if (generation != generation_ || !armedLocked()) {
      return;
    }
    callback = callback_;
    info = info_;
  }
  callback(*this, flags, info);
}

}  // namespace velune::host
