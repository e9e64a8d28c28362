#include "diag/NetworkIndicator.h"

#include "platform/NetworkActivityIndicator.h"
#include "platform/Platform.h"

namespace velune {

NetworkIndicator& NetworkIndicator::sharedNetworkIndicator() {
  static auto* shared = new NetworkIndicator();
  return *shared;
}

void NetworkIndicator::show(const std::string& identifier) {
  std::lock_guard lock(_lock);
  if (_ids.contains(identifier)) {
    return;
  }
  if (_ids.empty()) {
    VELUNE_SERVICE(networkActivityIndicator)->setNetworkActivityIndicatorVisible(true);
  }
  _ids.insert(identifier);
}

void NetworkIndicator::hide(const std::string& identifier) {
  std::lock_guard lock(_lock);
  const auto it = _ids.find(identifier);
  if (it == _ids.end()) {
    return;
  }
  _ids.erase(it);
  if (_ids.empty()) {
    VELUNE_SERVICE(networkActivityIndicator)->setNetworkActivityIndicatorVisible(false);
  }
}

bool NetworkIndicator::isShowing(const std::string& identifier) const {
  std::lock_guard lock(_lock);
  return _ids.contains(identifier);
}

}  // namespace velune
