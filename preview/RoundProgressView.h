#pragma once
// RoundProgressView: a progress pie inside a ring. The pie does not jump to
// each reported value: a main-thread timer (60 steps a second) grows it
// towards the last report at a speed derived from the pace of the reports,
// so that it catches up within 0.3 second, fills the rest in 0.1 second once
// the transfer is complete, never completes before the transfer has, and
// creeps up to a quarter before the first report.
//
// The arithmetic is done in 32-bit floats where the fields are floats, as the
// values are compared against fixed thresholds. Degenerate input has a
// defined result: a progress that is not a number counts as 0, and a report
// that arrives in the same instant as the previous one counts as one step
// (1/60 s) later.
//
// Main thread only: progress must reach it on the main thread.

#include <cstdint>
#include <memory>

#include "platform/Date.h"
#include "platform/Forward.h"
#include "platform/ui/Color.h"
#include "platform/ui/View.h"

namespace velune::ui {
class ShapeLayer;
}  // namespace velune::ui

namespace velune {

class RoundProgressView : public ui::View {
 public:
  struct FloatPoint {
    float x = 0;
    float y = 0;
  };

  static std::shared_ptr<RoundProgressView> initWithFrame(ui::Rect frame);
  static std::shared_ptr<RoundProgressView> initWithFrame(ui::Rect frame, std::int32_t style);
  ~RoundProgressView() override;

  std::string_view kind() const override { return "RoundProgressView"; }

  std::int32_t style() const { return style_; }
  float progress() const { return progress_; }
  void setProgress(float progress);
  void resetProgress();
  void startProgressTimer();
  void stopProgressTimer();
  void increaseUIProgress(platform::Timer& timer);
  void drawSlice();
  void recalculateIncreaseProgress(float progressDelta, double timeDiff);
  void setInitialIncreaseRatePerFrame(float rate);
  void setPieCenter(ui::Point center);
  void setPieRadius(float radius);
  static float toRadian(float fraction);

  // State, for the screen and for tests.
  float uiProgress() const { return uiProgress_; }
  float realProgress() const { return realProgress_; }
  float increaseRate() const { return increaseRate_; }
  FloatPoint pieCenter() const { return pieCenter_; }
  float pieRadius() const { return pieRadius_; }
  bool isTimerRunning() const { return progressTimer_ != nullptr; }
  const std::shared_ptr<ui::ShapeLayer>& sliceLayer() const { return sliceLayer_; }
  const std::shared_ptr<ui::ShapeLayer>& circleLayer() const { return circleLayer_; }
  const std::shared_ptr<ui::View>& backgroundView() const { return background_; }

  RoundProgressView(ui::Rect frame, std::int32_t style);

 private:
  void _setupSubviews();
  std::optional<ui::Color> styleColor() const;

  std::int32_t style_;
  float progress_ = 0;
  std::shared_ptr<ui::View> background_;
  std::shared_ptr<ui::ShapeLayer> sliceLayer_;
  std::shared_ptr<ui::ShapeLayer> circleLayer_;
  FloatPoint pieCenter_;
  float pieRadius_ = 0;
  std::shared_ptr<platform::Timer> progressTimer_;
  float uiProgress_ = 0;
  float realProgress_ = 0;
  float increaseRate_ = 0;
  platform::Date prevUpdateTime_;
};

}  // namespace velune
