#pragma once
// StackView: lays out its arranged views in a line (axis), one after the
// other with `spacing` between them, sized along the axis by the distribution
// and placed across it by the alignment. Hidden arranged views take no room.
// Arranged views are subviews placed by constraints (adding one turns off its
// translatesAutoresizingMaskIntoConstraints). The layout pass turns all this
// into constraints; nothing here computes frames.

#include <memory>
#include <vector>

#include "platform/ui/View.h"

namespace velune::ui {

class StackView : public View {
 public:
  enum class Distribution { Fill, FillEqually, FillProportionally, EqualSpacing, EqualCentering };
  // Across the axis. For a horizontal stack Leading is the top, Trailing the bottom.
  enum class Alignment { Fill, Leading, FirstBaseline, Center, Trailing, LastBaseline };

  explicit StackView(Rect frame = Rect());

  static std::shared_ptr<StackView> make(const std::vector<std::shared_ptr<View>>& arrangedSubviews = {});

  std::string_view kind() const override { return "StackView"; }

  Axis axis() const { return axis_; }
  void setAxis(Axis axis);
  Distribution distribution() const { return distribution_; }
  void setDistribution(Distribution distribution);
  Alignment alignment() const { return alignment_; }
  void setAlignment(Alignment alignment);
  double spacing() const { return spacing_; }
  void setSpacing(double spacing);

  const std::vector<std::shared_ptr<View>>& arrangedSubviews() const { return arranged_; }
  void addArrangedSubview(const std::shared_ptr<View>& view);
  void insertArrangedSubview(const std::shared_ptr<View>& view, size_t index);
  // The view stays a subview (as on the platform); removeFromSuperview drops both.
  void removeArrangedSubview(const View* view);

  void willRemoveSubview(const View* view) override;

 private:
  Axis axis_ = Axis::Horizontal;
  Distribution distribution_ = Distribution::Fill;
  Alignment alignment_ = Alignment::Fill;
  double spacing_ = 0;
  std::vector<std::shared_ptr<View>> arranged_;
};

}  // namespace velune::ui
