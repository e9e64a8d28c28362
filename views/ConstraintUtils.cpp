#include "views/ConstraintUtils.h"

#include "platform/ui/LayoutConstraint.h"

namespace velune {

using ui::LayoutAttribute;
using ui::LayoutConstraint;

std::vector<std::shared_ptr<LayoutConstraint>> ConstraintUtils::stretchSubviewConstraints(
    const std::shared_ptr<ui::View>& subview, const std::shared_ptr<ui::View>& container) {
  return {
      LayoutConstraint::equal(subview, LayoutAttribute::Top, container, LayoutAttribute::Top),
      LayoutConstraint::equal(subview, LayoutAttribute::Bottom, container, LayoutAttribute::Bottom),
      LayoutConstraint::equal(subview, LayoutAttribute::CenterX, container, LayoutAttribute::CenterX),
      LayoutConstraint::equal(subview, LayoutAttribute::Leading, container, LayoutAttribute::Leading),
  };
}

}  // namespace velune
