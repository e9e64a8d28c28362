#include "platform/ui/Geometry.h"

#include "platform/Format.h"

namespace velune::ui {

std::string Rect::description() const {
  return platform::format("{{%g, %g}, {%g, %g}}", origin.x, origin.y, size.width, size.height);
}

}  // namespace velune::ui
