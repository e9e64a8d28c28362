#pragma once
// ImageAssets: the application's named images ("Cloudload": the cloud with a
// downward arrow of the download button, 32 × 32 points). They are drawn, not
// read from files, so they are sharp at every screen scale.

#include <memory>
#include <string_view>

namespace velune::ui {

class Image;

class ImageAssets {
 public:
  // The image at `scale` (0: the main screen's, or 1 without one); null for
  // an unknown name. Made once per name and scale. Thread-safe.
  static std::shared_ptr<Image> named(std::string_view name, double scale = 0);
};

}  // namespace velune::ui
