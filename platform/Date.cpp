#include "platform/Date.h"

#include <cmath>
#include <ctime>

#include "platform/Clock.h"

namespace velune::platform {

Date Date::now() { return Clock::current().now(); }

TimeInterval Date::timeIntervalSinceNow() const { return timeIntervalSinceDate(now()); }

std::string Date::description() const {
  if (!std::isfinite(seconds_)) {
    return "(invalid date)";
  }
  const auto whole = static_cast<std::time_t>(std::floor(seconds_));
  std::tm parts{};
  if (gmtime_r(&whole, &parts) == nullptr) {
    return "(invalid date)";
  }
  char buffer[64];
  const size_t length = std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S +0000", &parts);
  return std::string(buffer, length);
}

}  // namespace velune::platform
