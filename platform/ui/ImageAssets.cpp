#include "platform/ui/ImageAssets.h"

#include <map>
#include <mutex>
#include <numbers>
#include <string>

#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/Screen.h"

namespace velune::ui {

namespace {

std::shared_ptr<Image> drawCloudload(double scale) {
  GraphicsContext context(Size{32, 32}, scale);
  const Color blue = Color::systemBlue();
  context.setFillColor(blue);
  // The cloud: three puffs over a flat base.
  BezierPath cloud;
  cloud.addArc(Point{10, 19}, 6, std::numbers::pi / 2, 3 * std::numbers::pi / 2, true);
  cloud.addArc(Point{16, 12}, 7.5, std::numbers::pi, 2 * std::numbers::pi, true);
  cloud.addArc(Point{23, 18}, 6, 3 * std::numbers::pi / 2, std::numbers::pi / 2 + 2 * std::numbers::pi, true);
  cloud.close();
  context.fill(cloud);
  // The arrow, cut out in white.
  context.setFillColor(Color::white());
  BezierPath arrow;
  arrow.moveTo(Point{14.5, 11})
      .addLineTo(Point{17.5, 11})
      .addLineTo(Point{17.5, 18})
      .addLineTo(Point{20.5, 18})
      .addLineTo(Point{16, 23})
      .addLineTo(Point{11.5, 18})
      .addLineTo(Point{14.5, 18})
      .close();
  context.fill(arrow);
  return context.makeImage();
}

}  // namespace

std::shared_ptr<Image> ImageAssets::named(std::string_view name, double scale) {
  if (!(scale > 0)) {
    const auto screen = Screen::mainScreen();
    scale = screen ? screen->scale() : 1.0;
  }
  static std::mutex mutex;
  static std::map<std::pair<std::string, double>, std::shared_ptr<Image>> cache;
  const std::lock_guard lock(mutex);
  const auto key = std::make_pair(std::string(name), scale);
  if (auto found = cache.find(key); found != cache.end()) {
    return found->second;
  }
  std::shared_ptr<Image> made;
  if (name == "Cloudload") {
    made = drawCloudload(scale);
  }
  if (made) {
    cache.emplace(key, made);
  }
  return made;
}

}  // namespace velune::ui
