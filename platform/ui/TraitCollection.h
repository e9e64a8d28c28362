#pragma once
// TraitCollection: the traits of a screen or window that layouts adapt to:
// the device idiom and the size classes of each axis, with the display scale.

#include "platform/ui/Geometry.h"

namespace velune::ui {

enum class UserInterfaceIdiom { Unspecified = -1, Phone = 0, Tablet = 1 };
enum class UserInterfaceSizeClass { Unspecified = 0, Compact = 1, Regular = 2 };
// Orientation of the interface; 3 and 4 are the two landscape orientations.
enum class InterfaceOrientation { Unknown = 0, Portrait = 1, PortraitUpsideDown = 2, LandscapeRight = 3, LandscapeLeft = 4 };

inline bool isLandscape(InterfaceOrientation o) {
  return o == InterfaceOrientation::LandscapeLeft || o == InterfaceOrientation::LandscapeRight;
}

struct TraitCollection {
  UserInterfaceIdiom idiom = UserInterfaceIdiom::Unspecified;
  UserInterfaceSizeClass horizontalSizeClass = UserInterfaceSizeClass::Unspecified;
  UserInterfaceSizeClass verticalSizeClass = UserInterfaceSizeClass::Unspecified;
  double displayScale = 0;

  // A tablet is regular on both axes. A phone is compact across and regular
  // down in portrait, compact down in landscape, and regular across only when
  // its landscape width reaches 800 points.
  static TraitCollection forWindowSize(UserInterfaceIdiom idiom, Size size, double scale) {
    TraitCollection traits;
    traits.idiom = idiom;
    traits.displayScale = scale;
    if (idiom == UserInterfaceIdiom::Tablet) {
      traits.horizontalSizeClass = UserInterfaceSizeClass::Regular;
      traits.verticalSizeClass = UserInterfaceSizeClass::Regular;
      return traits;
    }
    const bool landscape = size.width > size.height;
    traits.verticalSizeClass = landscape ? UserInterfaceSizeClass::Compact : UserInterfaceSizeClass::Regular;
    traits.horizontalSizeClass =
        landscape && size.width >= 800 ? UserInterfaceSizeClass::Regular : UserInterfaceSizeClass::Compact;
    return traits;
  }

  bool operator==(const TraitCollection&) const = default;
};

}  // namespace velune::ui
