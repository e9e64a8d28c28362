#pragma once
// DeviceInfo: the device the app runs on, as the platform reports it: the
// screen's size (in points, in the current orientation), its scale (pixels
// per point), the interface idiom (phone or tablet) and the orientation.
// The host fills it from HOME/device.json; the control panel may rotate the
// device or change the idiom while the app runs. Thread-safe.

#include <mutex>

#include "platform/ui/Geometry.h"
#include "platform/ui/TraitCollection.h"

namespace velune::platform {

class DeviceInfo {
 public:
  // `portraitSize` is the screen held upright (the shorter side across).
  DeviceInfo(ui::Size portraitSize, double scale, ui::UserInterfaceIdiom idiom,
             ui::InterfaceOrientation orientation = ui::InterfaceOrientation::Portrait);

  // The screen's bounds in the current orientation (landscape swaps the sides).
  ui::Size screenSize() const;
  ui::Size portraitScreenSize() const;
  double scale() const;
  ui::UserInterfaceIdiom idiom() const;
  ui::InterfaceOrientation orientation() const;

  void setIdiom(ui::UserInterfaceIdiom idiom);
  // Another device's screen (the control panel turns a phone into a tablet).
  void setScreen(ui::Size portraitSize, double scale);
  void setOrientation(ui::InterfaceOrientation orientation);

 private:
  mutable std::mutex mutex_;
  ui::Size portraitSize_;
  double scale_;
  ui::UserInterfaceIdiom idiom_;
  ui::InterfaceOrientation orientation_;
};

}  // namespace velune::platform
