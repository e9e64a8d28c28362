#pragma once
// DateFormatter: dates as the platform shows them to people, in the app's
// language and the device's time zone, with the platform's style scale:
//   0 none, 1 short ("1/2/26"), 2 medium ("Jan 2, 2026"),
//   3 long ("January 2, 2026"), 4 full ("Friday, January 2, 2026").
// A date style of none with a time style gives only the time, and the
// reverse. Callable from any thread.

#include <string>
#include <string_view>

#include "platform/Date.h"

namespace velune::platform {

class DateFormatter {
 public:
  enum class Style : int { None = 0, Short = 1, Medium = 2, Long = 3, Full = 4 };

  // Styles outside 0..4 are taken as the nearest one. `timeZoneId` (an Olson
  // name such as "Europe/Paris") overrides the device's zone when not empty.
  static std::string localizedString(Date date, int dateStyle, int timeStyle, std::string_view timeZoneId = {});
};

}  // namespace velune::platform
