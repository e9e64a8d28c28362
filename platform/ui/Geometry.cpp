#include "platform/ui/Geometry.h"

#include "platform/Format.h"

namespace velune::ui {

std::string Point::description() const { return platform::format("{%g, %g}", x, y); }

std::string Size::description() const { return platform::format("{%g, %g}", width, height); }

std::string Rect::description() const {
  return platform::format("{{%g, %g}, {%g, %g}}", origin.x, origin.y, size.width, size.height);
}

}  // namespace velune::ui
