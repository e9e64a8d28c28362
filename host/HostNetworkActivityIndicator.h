#pragma once
// HostNetworkActivityIndicator: the status bar's network-activity flag of the
// simulated phone. The screen reads it, or registers an observer that is
// called (on the setter's thread) at every change.

#include <atomic>
#include <functional>
#include <mutex>

#include "platform/NetworkActivityIndicator.h"

namespace velune::host {

class HostNetworkActivityIndicator final : public platform::NetworkActivityIndicator {
 public:
  void setNetworkActivityIndicatorVisible(bool visible) override;
  bool isNetworkActivityIndicatorVisible() const override { return visible_.load(); }

  void setObserver(std::function<void(bool visible)> observer);

 private:
  std::mutex mutex_;
  std::atomic<bool> visible_{false};
  std::function<void(bool)> observer_;
};

}  // namespace velune::host
