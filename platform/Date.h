#pragma once
// Date: a point in wall-clock time, as seconds since the Unix epoch, with the
// precision of a double (sub-microsecond for present-day dates).

#include <compare>
#include <string>

namespace velune::platform {

// Seconds, as a double; the unit of every "after N seconds" in the system.
using TimeInterval = double;

class Date {
 public:
  constexpr Date() = default;

  // The current time of the installed clock (Clock::current()).
  static Date now();
  static constexpr Date fromSecondsSince1970(double seconds) { return Date(seconds); }

  constexpr double timeIntervalSince1970() const { return seconds_; }
  constexpr TimeInterval timeIntervalSinceDate(Date other) const { return seconds_ - other.seconds_; }
  TimeInterval timeIntervalSinceNow() const;
  constexpr Date addingTimeInterval(TimeInterval interval) const { return Date(seconds_ + interval); }

  // "2026-11-23 00:35:46 +0000": the platform's description of a date, in UTC.
  std::string description() const;

  constexpr auto operator<=>(const Date&) const = default;

 private:
  constexpr explicit Date(double seconds) : seconds_(seconds) {}
  double seconds_ = 0;
};

}  // namespace velune::platform
