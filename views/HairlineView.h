#pragma once
// HairlineView: a separator line exactly one device pixel high, in the
// platform's colour for the hairline shadow of bars. Its height rule is made
// once, at creation, from the scale of the screen it is on then. Main thread only.

#include <memory>

#include "platform/ui/View.h"

namespace velune::ui {
class LayoutConstraint;
}  // namespace velune::ui

namespace velune {

class HairlineView : public ui::View {
 public:
  static std::shared_ptr<HairlineView> init();

  std::string_view kind() const override { return "HairlineView"; }

  // 1 ÷ the display scale of the screen of the view's window, or of the main
  // screen when the view is in no window (1 when there is no screen at all).
  double _hairline() const;
  // The active rule that fixes the height.
  const std::shared_ptr<ui::LayoutConstraint>& heightConstraint() const { return height_; }

  HairlineView();

 private:
  std::shared_ptr<ui::LayoutConstraint> height_;
};

}  // namespace velune
