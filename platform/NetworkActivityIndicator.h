#pragma once
// NetworkActivityIndicator: the status bar's spinning network-activity mark.
// One flag that the screen shows. Callable from any thread.

namespace velune::platform {

class NetworkActivityIndicator {
 public:
  virtual ~NetworkActivityIndicator() = default;

  virtual void setNetworkActivityIndicatorVisible(bool visible) = 0;
  virtual bool isNetworkActivityIndicatorVisible() const = 0;
};

}  // namespace velune::platform
