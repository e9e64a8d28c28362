#pragma once
// PieProgressIndicatorView: a small pie drawn straight from its progress
// value, inside a thin circle, in light grey. The pie never looks empty or
// complete: progress is shown clamped to [0.005, 0.995] (a value that is not
// a number counts as 0.005). Main thread only.

#include <memory>

#include "platform/ui/View.h"

namespace velune {

class PieProgressIndicatorView : public ui::View {
 public:
  static std::shared_ptr<PieProgressIndicatorView> initWithFrame(ui::Rect frame);

  std::string_view kind() const override { return "PieProgressIndicatorView"; }

  float progress() const { return progress_; }
  // An equal value changes nothing; another one is stored and redrawn.
  void setProgress(float progress);

  bool drawsContent() const override { return true; }
  void drawRect(ui::GraphicsContext& context, ui::Rect rect) override;

  explicit PieProgressIndicatorView(ui::Rect frame);

 private:
  float progress_ = 0;
};

}  // namespace velune
