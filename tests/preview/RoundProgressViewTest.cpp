#include "preview/RoundProgressView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "platform/ui/Layer.h"
#include "tests/support/UITestSupport.h"

namespace velune {
namespace {

using ui::Rect;

constexpr double kFrame = 1.0 / 60;

class RoundProgressViewTest : public testing::UITestCase {
 protected:
  // Lets time pass as the main run loop would see it, one frame at a time.
  static void run(double seconds) { testing::advanceClockInSteps(seconds, kFrame); }
};

const ui::BezierPath::Arc& sliceArc(const RoundProgressView& view) {
  return std::get<ui::BezierPath::Arc>(view.sliceLayer()->path()->elements().at(1));
}

TEST_F(RoundProgressViewTest, Geometry_StyleOneIsTheDownloadViewsGreyPie) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  EXPECT_EQ(view->style(), 1);
  EXPECT_EQ(view->frame(), Rect(0, 0, 32, 32));
  EXPECT_EQ(view->pieRadius(), 16);
  EXPECT_EQ(view->pieCenter().x, 16);
  EXPECT_EQ(view->pieCenter().y, 16);
  EXPECT_EQ(view->layer().cornerRadius(), 16);
  EXPECT_EQ(view->backgroundView()->alpha(), 0.5);
  EXPECT_EQ(view->backgroundView()->frame(), Rect(0, 0, 32, 32));
  EXPECT_EQ(view->backgroundView()->layer().shadowOpacity(), 0);
  // The ring below the pie, in the style's colour.
  const auto& sublayers = view->backgroundView()->layer().sublayers();
  ASSERT_EQ(sublayers.size(), 2U);
  EXPECT_EQ(sublayers[0], view->circleLayer());
  EXPECT_EQ(sublayers[1], view->sliceLayer());
  EXPECT_EQ(view->circleLayer()->lineWidth(), 2);
  EXPECT_EQ(view->circleLayer()->strokeColor(), ui::Color::lightGray());
  EXPECT_EQ(view->circleLayer()->fillColor(), std::nullopt);
  const auto& ring = std::get<ui::BezierPath::Arc>(view->circleLayer()->path()->elements().at(0));
  EXPECT_EQ(ring.radius, 15);
  EXPECT_EQ(ring.endAngle - ring.startAngle, 2 * std::numbers::pi);
  EXPECT_EQ(view->sliceLayer()->fillColor(), ui::Color::lightGray());
  EXPECT_EQ(view->sliceLayer()->strokeColor(), std::nullopt);
  // Empty at first: the arc starts and ends at twelve o'clock.
  EXPECT_EQ(sliceArc(*view).startAngle, double(4.712389F));
  EXPECT_EQ(sliceArc(*view).endAngle, double(4.712389F));
  EXPECT_FALSE(view->isTimerRunning());
}

TEST_F(RoundProgressViewTest, Geometry_StyleZeroIsInsetWhiteWithAShadowAndOtherStylesHaveNoColour) {
  auto view = RoundProgressView::initWithFrame(Rect(10, 10, 100, 80));
  EXPECT_EQ(view->style(), 0);
  EXPECT_EQ(view->circleLayer()->lineWidth(), 4);
  EXPECT_EQ(view->pieRadius(), 38);  // half of 80, less half the ring
  // A square around the old middle of the bounds, as the superview sees it.
  EXPECT_EQ(view->frame(), Rect(12, 2, 76, 76));
  EXPECT_EQ(view->pieCenter().x, 38);
  EXPECT_EQ(view->sliceLayer()->fillColor(), ui::Color::white());
  const auto& shadowed = view->backgroundView()->layer();
  EXPECT_EQ(shadowed.shadowColor(), ui::Color::whiteWithAlpha(0, 0.75));
  EXPECT_EQ(shadowed.shadowOffset(), (ui::Size{0, 0}));
  EXPECT_EQ(shadowed.shadowOpacity(), 1.0);
  EXPECT_EQ(shadowed.shadowRadius(), 0.5);
  EXPECT_EQ(view->backgroundView()->alpha(), 1.0);

  auto odd = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 7);
  EXPECT_EQ(odd->sliceLayer()->fillColor(), std::nullopt);
  EXPECT_EQ(odd->circleLayer()->strokeColor(), std::nullopt);
  EXPECT_EQ(RoundProgressView::toRadian(0.5F), float(std::numbers::pi));
  EXPECT_EQ(RoundProgressView::toRadian(1), float(2 * std::numbers::pi));
}

TEST_F(RoundProgressViewTest, Smoothing_ASecondEqualReportIsIgnoredAndThePieCatchesUpWithinAFewFrames) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  run(1.0);
  view->setProgress(0.5F);
  EXPECT_TRUE(view->isTimerRunning());
  // A second of silence, then half: the rest would take 2 s, so the 0.3 s cap holds.
  const float expected = 1.0F / 0.3F / 60.0F;
  EXPECT_EQ(view->increaseRate(), expected);
  EXPECT_EQ(view->realProgress(), 0.5F);
  run(0.05);
  view->setProgress(0.5F);
  EXPECT_EQ(view->increaseRate(), expected);
  EXPECT_EQ(view->progress(), 0.5F);

  run(0.2);
  EXPECT_GE(view->uiProgress(), 0.5F);
  EXPECT_LT(view->uiProgress(), 0.5F + expected);
  EXPECT_NEAR(sliceArc(*view).endAngle, double(4.712389F + RoundProgressView::toRadian(view->uiProgress())), 1e-6);
  // Caught up, the pie waits for the next report; the timer keeps running.
  const float caughtUp = view->uiProgress();
  run(0.5);
  EXPECT_EQ(view->uiProgress(), caughtUp);
  EXPECT_TRUE(view->isTimerRunning());
}

TEST_F(RoundProgressViewTest, Smoothing_CompletionFillsTheRestInAboutATenthOfASecond) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  run(0.5);
  view->setProgress(0.4F);
  run(0.3);
  const float before = view->uiProgress();
  ASSERT_GE(before, 0.4F);
  view->setProgress(1.0F);
  EXPECT_EQ(view->increaseRate(), (1 - before) / 0.1F / 60.0F);
  run(0.05);
  EXPECT_LT(view->uiProgress(), 1.0F);
  run(0.06);
  EXPECT_EQ(view->uiProgress(), 1.0F);
  EXPECT_FALSE(view->isTimerRunning());
  // A later report changes nothing.
  view->setProgress(0.7F);
  EXPECT_EQ(view->realProgress(), 1.0F);
}

TEST_F(RoundProgressViewTest, Smoothing_WithoutReportsThePieCreepsToAQuarterAndStops) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  view->setProgress(0);  // starts the timer, reports nothing
  EXPECT_TRUE(view->isTimerRunning());
  run(2.4);
  EXPECT_LT(view->uiProgress(), 0.25F);
  EXPECT_TRUE(view->isTimerRunning());
  run(1.0);
  EXPECT_GE(view->uiProgress(), 0.25F);
  EXPECT_LT(view->uiProgress(), 0.25F + 0.0016666667F + 1e-6F);
  EXPECT_FALSE(view->isTimerRunning());
}

TEST_F(RoundProgressViewTest, Smoothing_ThePieNeverCompletesBeforeTheTransfer) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  run(0.1);
  view->setProgress(0.995F);
  run(2.0);
  EXPECT_LT(view->uiProgress(), 1.0F);
  EXPECT_FALSE(view->isTimerRunning());
}

TEST_F(RoundProgressViewTest, Reset_EmptiesThePieAtOnceAndBadInputIsDefined) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  run(0.2);
  view->setProgress(0.6F);
  run(0.3);
  ASSERT_GT(view->uiProgress(), 0);
  view->resetProgress();
  EXPECT_EQ(view->uiProgress(), 0);
  EXPECT_EQ(view->realProgress(), 0);
  EXPECT_EQ(view->increaseRate(), 0.0016666667F);
  EXPECT_FALSE(view->isTimerRunning());
  EXPECT_EQ(sliceArc(*view).endAngle, sliceArc(*view).startAngle);

  // The rate never falls below 1/6000 of the pie per frame.
  view->recalculateIncreaseProgress(0.001F, 100);
  EXPECT_EQ(view->increaseRate(), 0.00016666666F);
  view->recalculateIncreaseProgress(0, 0);
  EXPECT_EQ(view->increaseRate(), 0.00016666666F);
  // No initial rate while the timer runs.
  view->setInitialIncreaseRatePerFrame(0.01F);
  EXPECT_EQ(view->increaseRate(), 0.01F);
  view->setProgress(std::nanf(""));
  EXPECT_EQ(view->progress(), 0);
  EXPECT_EQ(view->realProgress(), 0);
  view->setInitialIncreaseRatePerFrame(0.5F);
  EXPECT_EQ(view->increaseRate(), 0.01F);
  // Two reports in the same instant: the second counts one frame later, not infinitely fast.
  view->setProgress(0.2F);
  view->setProgress(0.4F);
  EXPECT_TRUE(std::isfinite(view->increaseRate()));
  EXPECT_LT(view->increaseRate(), 1.0F);
}

TEST_F(RoundProgressViewTest, Lifetime_ARunningTimerDoesNotKeepTheViewAlive) {
  auto view = RoundProgressView::initWithFrame(Rect(0, 0, 32, 32), 1);
  std::weak_ptr<RoundProgressView> watch = view;
  view->setProgress(0.3F);
  view.reset();
  EXPECT_TRUE(watch.expired());
  run(0.2);  // the timer was stopped with the view: nothing runs
}

}  // namespace
}  // namespace velune
