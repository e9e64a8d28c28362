#include "platform/DeviceInfo.h"

#include <algorithm>
#include <cmath>

namespace velune::platform {

DeviceInfo::DeviceInfo(ui::Size portraitSize, double scale, ui::UserInterfaceIdiom idiom,
                       ui::InterfaceOrientation orientation)
    : portraitSize_{std::max(0.0, std::min(portraitSize.width, portraitSize.height)),
                    std::max(0.0, std::max(portraitSize.width, portraitSize.height))},
      scale_(scale > 0 && std::isfinite(scale) ? scale : 1.0),
      idiom_(idiom),
      orientation_(orientation == ui::InterfaceOrientation::Unknown ? ui::InterfaceOrientation::Portrait : orientation) {}

ui::Size DeviceInfo::screenSize() const {
  const std::lock_guard lock(mutex_);
  if (ui::isLandscape(orientation_)) {
    return ui::Size{portraitSize_.height, portraitSize_.width};
  }
  return portraitSize_;
}

ui::Size DeviceInfo::portraitScreenSize() const {
  const std::lock_guard lock(mutex_);
  return portraitSize_;
}

double DeviceInfo::scale() const {
  const std::lock_guard lock(mutex_);
  return scale_;
}

ui::UserInterfaceIdiom DeviceInfo::idiom() const {
  const std::lock_guard lock(mutex_);
  return idiom_;
}

ui::InterfaceOrientation DeviceInfo::orientation() const {
  const std::lock_guard lock(mutex_);
  return orientation_;
}

void DeviceInfo::setIdiom(ui::UserInterfaceIdiom idiom) {
  const std::lock_guard lock(mutex_);
  idiom_ = idiom;
}

void DeviceInfo::setScreen(ui::Size portraitSize, double scale) {
  const std::lock_guard lock(mutex_);
  portraitSize_ = ui::Size{std::max(0.0, std::min(portraitSize.width, portraitSize.height)),
                           std::max(0.0, std::max(portraitSize.width, portraitSize.height))};
  if (scale > 0 && std::isfinite(scale)) {
    scale_ = scale;
  }
}

void DeviceInfo::setOrientation(ui::InterfaceOrientation orientation) {
  const std::lock_guard lock(mutex_);
  if (orientation != ui::InterfaceOrientation::Unknown) {
    orientation_ = orientation;
  }
}

}  // namespace velune::platform
