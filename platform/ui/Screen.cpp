#include "platform/ui/Screen.h"

#include <mutex>

#include "platform/DeviceInfo.h"
#include "platform/Platform.h"

namespace velune::ui {

Screen::Screen(std::shared_ptr<platform::DeviceInfo> device) : device_(std::move(device)) {}

std::shared_ptr<Screen> Screen::mainScreen() {
  static std::mutex mutex;
  static std::shared_ptr<Screen> cached;
  const auto device = platform::Platform::services()->device;
  const std::lock_guard lock(mutex);
  if (!device) {
    return nullptr;
  }
  // One Screen object per installed device, so that windows can compare screens.
  if (!cached || cached->device_ != device) {
    cached = std::make_shared<Screen>(device);
  }
  return cached;
}

Rect Screen::bounds() const {
  const Size size = device_ ? device_->screenSize() : Size{};
  return Rect(0, 0, size.width, size.height);
}

double Screen::scale() const { return device_ ? device_->scale() : 1.0; }

UserInterfaceIdiom Screen::idiom() const { return device_ ? device_->idiom() : UserInterfaceIdiom::Unspecified; }

InterfaceOrientation Screen::interfaceOrientation() const {
  return device_ ? device_->orientation() : InterfaceOrientation::Portrait;
}

Rect Screen::statusBarFrame() const {
  if (idiom() == UserInterfaceIdiom::Phone && isLandscape(interfaceOrientation())) {
    return Rect();
  }
  return Rect(0, 0, bounds().width(), kStatusBarHeight);
}

}  // namespace velune::ui
