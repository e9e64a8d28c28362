#pragma once
// Screen: a display of the device: its bounds (in the current orientation),
// its scale and idiom, the status bar's frame and the interface orientation.
// The main screen is the one of the installed DeviceInfo service; there is no
// main screen without one.

#include <memory>

#include "platform/Forward.h"
#include "platform/ui/Geometry.h"
#include "platform/ui/TraitCollection.h"

namespace velune::ui {

class Screen {
 public:
  explicit Screen(std::shared_ptr<platform::DeviceInfo> device);

  // The screen of the installed device, or null when none is installed.
  static std::shared_ptr<Screen> mainScreen();

  Rect bounds() const;
  double scale() const;
  UserInterfaceIdiom idiom() const;
  InterfaceOrientation interfaceOrientation() const;
  // The status bar along the top edge, 20 points thick; a phone hides it in
  // landscape (a zero rectangle then).
  Rect statusBarFrame() const;
  const std::shared_ptr<platform::DeviceInfo>& device() const { return device_; }

  static constexpr double kStatusBarHeight = 20;

 private:
  std::shared_ptr<platform::DeviceInfo> device_;
};

}  // namespace velune::ui
