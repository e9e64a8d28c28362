#include "host/HostNetworkActivityIndicator.h"

namespace velune::host {

void HostNetworkActivityIndicator::setNetworkActivityIndicatorVisible(bool visible) {
  std::function<void(bool)> observer;
  {
    std::lock_guard lock(mutex_);
    if (visible_.exchange(visible) == visible) {
      return;
    }
    observer = observer_;
  }
  if (observer) {
    observer(visible);
  }
}

void HostNetworkActivityIndicator::setObserver(std::function<void(bool visible)> observer) {
  std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

}  // namespace velune::host
