#include "views/PieProgressIndicatorView.h"

#include <cmath>
#include <numbers>

#include "platform/MainThread.h"
#include "platform/ui/GraphicsContext.h"

namespace velune {

PieProgressIndicatorView::PieProgressIndicatorView(ui::Rect frame) : ui::View(frame, "PieProgressIndicatorView") {}

std::shared_ptr<PieProgressIndicatorView> PieProgressIndicatorView::initWithFrame(ui::Rect frame) {
  auto view = std::make_shared<PieProgressIndicatorView>(frame);
  view->setBackgroundColor(ui::Color::clear());
  return view;
}

void PieProgressIndicatorView::setProgress(float progress) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (progress == progress_) {
    return;
  }
  progress_ = progress;
  setNeedsDisplay();
}

void PieProgressIndicatorView::drawRect(ui::GraphicsContext& context, ui::Rect rect) {
  (void)rect;
  float shown = progress_;
  if (!(shown >= 0.005F)) {  // also NaN
    shown = 0.005F;
  } else if (shown > 0.995F) {
    shown = 0.995F;
  }
  const ui::Color grey = ui::Color::lightGray();
  context.setFillColor(grey);
  context.setStrokeColor(grey);
  const ui::Rect b = bounds();
  const ui::Point middle = b.center();
  const double radius = std::ceil(b.height() / 2);
  const auto end = static_cast<float>(2 * std::numbers::pi * static_cast<double>(shown) - std::numbers::pi / 2);
  ui::BezierPath pie;
  pie.moveTo(middle);
  pie.addArc(middle, radius, -std::numbers::pi / 2, static_cast<double>(end), true);
  pie.addLineTo(middle);
  context.fill(pie);
  context.stroke(ui::BezierPath::ovalInRect(b));
}

}  // namespace velune
