#include "platform/ui/Color.h"

#include <algorithm>
#include <cmath>

#include "platform/Format.h"

namespace velune::ui {

namespace {
unsigned byte(double component) {
  if (!(component >= 0)) {  // also NaN
    return 0;
  }
  return static_cast<unsigned>(std::lround(std::min(component, 1.0) * 255));
}
}  // namespace

std::string Color::hexString() const {
  return platform::format("#%02X%02X%02X%02X", byte(r), byte(g), byte(b), byte(a));
}

std::string Color::description() const {
  return platform::format("rgba(%g, %g, %g, %g)", r, g, b, a);
}

}  // namespace velune::ui
