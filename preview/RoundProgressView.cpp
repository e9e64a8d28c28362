#include "preview/RoundProgressView.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/MainThread.h"
#include "platform/Timer.h"
#include "platform/ui/Layer.h"

namespace velune {

namespace {
constexpr float kInitialIncreaseRate = 0.0016666667F;  // 0.1 ÷ 60
constexpr float kMinimumIncreaseRate = 0.00016666666F;  // 1/6000
constexpr double kMinimumIncreaseRateAsDouble = 0.00016666666666666666;
constexpr double kFrameInterval = 0.016666666666666666;  // 1/60 s
constexpr float kStartAngle = 4.712389F;                 // 3π/2: twelve o'clock
constexpr float kMaximumCatchUpTime = 0.3F;
}  // namespace

RoundProgressView::RoundProgressView(ui::Rect frame, std::int32_t style)
    : ui::View(frame, "RoundProgressView"), style_(style) {}

RoundProgressView::~RoundProgressView() {
  if (progressTimer_) {
    progressTimer_->invalidate();
  }
}

std::shared_ptr<RoundProgressView> RoundProgressView::initWithFrame(ui::Rect frame) { return initWithFrame(frame, 0); }

std::shared_ptr<RoundProgressView> RoundProgressView::initWithFrame(ui::Rect frame, std::int32_t style) {
  auto view = std::make_shared<RoundProgressView>(frame, style);
  view->setBackgroundColor(ui::Color::clear());
  view->_setupSubviews();
  return view;
}

std::optional<ui::Color> RoundProgressView::styleColor() const {
  switch (style_) {
    case 0:
      return ui::Color::white();
    case 1:
      return ui::Color::lightGray();
    default:
      return std::nullopt;
  }
}

void RoundProgressView::_setupSubviews() {
  const ui::Rect b = bounds();
  const double lineWidth = b.width() < 40 ? 2 : 4;

  background_ = std::make_shared<ui::View>(b);
  background_->setIdentifier(identifier() + ".background");
  background_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleHeight);
  addSubview(background_);
  const auto color = styleColor();
  background_->setAlpha(style_ == 1 ? 0.5 : 1.0);

  double radius = std::min(b.width(), b.height()) / 2;
  if (style_ == 0) {
    radius -= lineWidth / 2;
  }
  setPieRadius(static_cast<float>(radius));
  setPieCenter(ui::Point{b.width() / 2, b.height() / 2});

  sliceLayer_ = std::make_shared<ui::ShapeLayer>();
  circleLayer_ = std::make_shared<ui::ShapeLayer>();
  resetProgress();

  sliceLayer_->setZPosition(0);
  sliceLayer_->setStrokeColor(std::nullopt);
  sliceLayer_->setFillColor(color);
  circleLayer_->setZPosition(0);
  circleLayer_->setStrokeColor(color);
  circleLayer_->setFillColor(std::nullopt);
  circleLayer_->setLineWidth(lineWidth);
  ui::BezierPath ring;
  ring.addArc(ui::Point{pieCenter_.x, pieCenter_.y}, static_cast<double>(pieRadius_) - 1, 0, 2 * std::numbers::pi,
              true);
  ring.close();
  circleLayer_->setPath(ring);
  background_->layer().addSublayer(circleLayer_);
  background_->layer().addSublayer(sliceLayer_);

  if (style_ == 0) {
    auto& layer = background_->layer();
    layer.setShadowColor(ui::Color::whiteWithAlpha(0, 0.75));
    layer.setShadowOffset(ui::Size{0, 0});
    layer.setShadowOpacity(1.0);
    layer.setShadowRadius(0.5);
  }
}

void RoundProgressView::setPieRadius(float radius) {
  VELUNE_ASSERT_MAIN_THREAD();
  pieRadius_ = radius;
  const ui::Rect old = frame();
  const double r = radius;
  // Keeps the pie's centre where it was.
  setFrame(ui::Rect(old.minX() + pieCenter_.x - r, old.minY() + pieCenter_.y - r, 2 * r, 2 * r));
  pieCenter_ = FloatPoint{radius, radius};
  layer().setCornerRadius(r);
}

void RoundProgressView::setPieCenter(ui::Point center) {
  VELUNE_ASSERT_MAIN_THREAD();
  setCenter(center);
  pieCenter_ = FloatPoint{static_cast<float>(frame().width() / 2), static_cast<float>(frame().height() / 2)};
}

float RoundProgressView::toRadian(float fraction) {
  return static_cast<float>(static_cast<double>(fraction + fraction) * std::numbers::pi);
}

void RoundProgressView::drawSlice() {
  if (!sliceLayer_) {
    return;
  }
  const ui::Point center{pieCenter_.x, pieCenter_.y};
  const float end = kStartAngle + toRadian(uiProgress_);
  ui::BezierPath slice;
  // Clockwise on screen from twelve o'clock.
  slice.moveTo(center).addArc(center, pieRadius_, kStartAngle, end, true).close();
  sliceLayer_->setPath(slice);
}

void RoundProgressView::resetProgress() {
  VELUNE_ASSERT_MAIN_THREAD();
  uiProgress_ = 0;
  increaseRate_ = kInitialIncreaseRate;
  realProgress_ = 0;
  prevUpdateTime_ = platform::Date::now();
  stopProgressTimer();
  drawSlice();
}

void RoundProgressView::startProgressTimer() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (uiProgress_ < 1 && !progressTimer_) {
    std::weak_ptr<RoundProgressView> weak = std::static_pointer_cast<RoundProgressView>(shared_from_this());
    progressTimer_ = platform::Timer::scheduledTimer(kFrameInterval, true, [weak](platform::Timer& timer) {
      if (auto self = weak.lock()) {
        self->increaseUIProgress(timer);
      } else {
        timer.invalidate();
      }
    });
  }
}

void RoundProgressView::stopProgressTimer() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (progressTimer_) {
    progressTimer_->invalidate();
    progressTimer_.reset();
  }
}

void RoundProgressView::recalculateIncreaseProgress(float progressDelta, double timeDiff) {
  float rate = progressDelta / static_cast<float>(timeDiff) / 60.0F;
  if (!(static_cast<double>(rate) >= kMinimumIncreaseRateAsDouble)) {  // also NaN
    rate = kMinimumIncreaseRate;
  }
  increaseRate_ = rate;
}

void RoundProgressView::setInitialIncreaseRatePerFrame(float rate) {
  if (!progressTimer_) {
    increaseRate_ = rate;
  }
}

void RoundProgressView::setProgress(float progress) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (std::isnan(progress)) {
    progress = 0;
  }
  progress_ = progress;
  if (!progressTimer_ && realProgress_ <= 1) {
    startProgressTimer();
  }
  if (progress <= 0) {
    return;
  }
  if (realProgress_ >= 1 || realProgress_ >= progress) {
    return;  // a report that does not advance
  }
  if (progress < 1) {
    const platform::Date now = platform::Date::now();
    double elapsed = now.timeIntervalSinceDate(prevUpdateTime_);
    prevUpdateTime_ = now;
    if (!(elapsed > 0)) {
      elapsed = kFrameInterval;
    }
    // The time the rest of the pie would take at the speed of the last step.
    auto remainingTime = static_cast<float>(elapsed * static_cast<double>((1 - uiProgress_) / (progress - realProgress_)));
    if (remainingTime > kMaximumCatchUpTime) {
      remainingTime = kMaximumCatchUpTime;
    }
    recalculateIncreaseProgress(1 - uiProgress_, remainingTime);
  } else {
    recalculateIncreaseProgress(1 - uiProgress_, 0.1);
  }
  realProgress_ = progress;
}

void RoundProgressView::increaseUIProgress(platform::Timer& /*timer*/) {
  float u = uiProgress_;
  const float r = realProgress_;
  const float rate = increaseRate_;
  if (!(r != 0 && u >= r)) {
    if (r < 1) {
      if (static_cast<float>(static_cast<double>(u) + 1.1 * static_cast<double>(rate)) >= 1) {
        stopProgressTimer();  // the pie never completes before the transfer has
        return;
      }
      if (r == 0 && u >= 0.25F) {
        stopProgressTimer();  // before the first report it creeps to a quarter at most
        return;
      }
      u = u + rate;
    } else {
      u = std::min(u + rate, 1.0F);
    }
    uiProgress_ = u;
    drawSlice();
  }
  if (u >= 1) {
    stopProgressTimer();
  }
}

}  // namespace velune
