#pragma once
// ThumbnailMaker: the 1024×1024 thumbnail of an image file: the picture
// scaled to fit (never enlarged), centred on a transparent square, drawn with
// cairo. PNG is decoded by cairo, JPEG by libjpeg (reduced while decoding, so
// a large photo is never held at full size). Other files, and pictures above
// 40 megapixels, have no thumbnail. Any thread.

#include <memory>
#include <string>

#include "platform/ui/Image.h"

namespace velune::host {

class ThumbnailMaker {
 public:
  static constexpr int kEdge = 1024;

  // Null when the file is not a picture that can be decoded.
  static std::shared_ptr<ui::Image> thumbnailOfFile(const std::string& path, int edge = kEdge);
};

}  // namespace velune::host
