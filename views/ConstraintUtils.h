#pragma once
// ConstraintUtils: the layout rules that hold a page's stack view inside its
// content area. Main thread only.

#include <memory>
#include <vector>

namespace velune::ui {
class LayoutConstraint;
class View;
}  // namespace velune::ui

namespace velune {

class ConstraintUtils {
 public:
  ConstraintUtils() = delete;

  // Four inactive rules, in this order: the subview's top, bottom, horizontal
  // centre and leading edge equal to the container's (equal centres and
  // leading edges make the widths equal too). The caller activates them.
  static std::vector<std::shared_ptr<ui::LayoutConstraint>> stretchSubviewConstraints(
      const std::shared_ptr<ui::View>& subview, const std::shared_ptr<ui::View>& container);
};

}  // namespace velune
