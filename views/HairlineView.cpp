#include "views/HairlineView.h"

#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"

namespace velune {

using ui::LayoutAttribute;

HairlineView::HairlineView() = default;

std::shared_ptr<HairlineView> HairlineView::init() {
  auto view = std::make_shared<HairlineView>();
  view->setBackgroundColor(ui::Color::barHairlineShadow());
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  view->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, ui::Axis::Vertical);
  view->height_ = ui::LayoutConstraint::fixed(view, LayoutAttribute::Height, view->_hairline());
  view->height_->setActive(true);
  return view;
}

double HairlineView::_hairline() const {
  std::shared_ptr<ui::Screen> screen;
  if (auto w = window()) {
    screen = w->screen();
  }
  if (!screen) {
    screen = ui::Screen::mainScreen();
  }
  const double scale = screen ? screen->scale() : 1.0;
  return 1.0 / (scale > 0 ? scale : 1.0);
}

}  // namespace velune
