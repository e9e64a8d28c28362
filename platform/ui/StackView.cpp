#include "platform/ui/StackView.h"

#include <algorithm>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

StackView::StackView(Rect frame) : View(frame, "StackView") {}

std::shared_ptr<StackView> StackView::make(const std::vector<std::shared_ptr<View>>& arrangedSubviews) {
  auto stack = std::make_shared<StackView>();
  for (const auto& view : arrangedSubviews) {
    stack->addArrangedSubview(view);
  }
  return stack;
}

void StackView::setAxis(Axis axis) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  axis_ = axis;
  setNeedsLayout();
}

void StackView::setDistribution(Distribution distribution) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  distribution_ = distribution;
  setNeedsLayout();
}

void StackView::setAlignment(Alignment alignment) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  alignment_ = alignment;
  setNeedsLayout();
}

void StackView::setSpacing(double spacing) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  spacing_ = spacing;
  setNeedsLayout();
}

void StackView::addArrangedSubview(const std::shared_ptr<View>& view) { insertArrangedSubview(view, arranged_.size()); }

void StackView::insertArrangedSubview(const std::shared_ptr<View>& view, size_t index) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!view || view.get() == this) {
    return;
  }
  const auto existing = std::find(arranged_.begin(), arranged_.end(), view);
  if (existing != arranged_.end()) {
    arranged_.erase(existing);
  }
  index = std::min(index, arranged_.size());
  arranged_.insert(arranged_.begin() + static_cast<std::ptrdiff_t>(index), view);
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  if (view->superview().get() != this) {
    addSubview(view);
  }
  setNeedsLayout();
}

void StackView::removeArrangedSubview(const View* view) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  arranged_.erase(std::remove_if(arranged_.begin(), arranged_.end(), [view](const auto& v) { return v.get() == view; }),
                  arranged_.end());
  setNeedsLayout();
}

void StackView::willRemoveSubview(const View* view) { removeArrangedSubview(view); }

}  // namespace velune::ui
