#pragma once
// Image: a bitmap of the UI model, backed by a cairo image surface (32-bit
// premultiplied ARGB). Its size is in points; its pixels are size × scale.
// Immutable once made (drawing goes through a canvas that produces a new
// image); safe to share between threads.

#include <cairo.h>

#include <memory>
#include <string>

#include "platform/Result.h"
#include "platform/Value.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {

class Image {
 public:
  // Takes ownership of the surface reference.
  Image(cairo_surface_t* surface, double scale);
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  // A transparent (or, when opaque, black) image to draw into.
  static std::shared_ptr<Image> blank(Size pointSize, double scale, bool opaque = false);
  // Null when the bytes are not a PNG that cairo can decode.
  static std::shared_ptr<Image> fromPNGData(const platform::Value::Data& data, double scale = 1.0);
  static std::shared_ptr<Image> fromPNGFile(const std::string& path, double scale = 1.0);

  platform::Result<platform::Value::Data> pngData() const;
  std::optional<platform::Error> writePNG(const std::string& path) const;

  Size size() const;
  double scale() const { return scale_; }
  int pixelWidth() const;
  int pixelHeight() const;
  cairo_surface_t* surface() const { return surface_; }

  std::string description() const;

 private:
  cairo_surface_t* surface_;
  double scale_;
};

}  // namespace velune::ui
