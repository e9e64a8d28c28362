#pragma once
// ImageView: shows an image, scaled by its content mode. The intrinsic size
// is the image's size (none without an image).

#include <memory>

#include "platform/ui/View.h"

namespace velune::ui {

class Image;

class ImageView : public View {
 public:
  explicit ImageView(std::shared_ptr<Image> image = nullptr);

  std::string_view kind() const override { return "ImageView"; }

  const std::shared_ptr<Image>& image() const { return image_; }
  void setImage(std::shared_ptr<Image> image);

  // Where the image is drawn inside the bounds for the content mode.
  Rect displayedImageRect() const;

  Size intrinsicContentSize() const override;
  Size sizeThatFits(Size size) const override;
  bool drawsContent() const override { return true; }
  void drawRect(GraphicsContext& context, Rect rect) override;

 private:
  std::shared_ptr<Image> image_;
};

}  // namespace velune::ui
