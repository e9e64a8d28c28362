#include "platform/ui/ImageView.h"

#include <algorithm>

#include "platform/MainThread.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

ImageView::ImageView(std::shared_ptr<Image> image) : View(Rect(), "ImageView"), image_(std::move(image)) {
  setUserInteractionEnabled(false);
  if (image_) {
    const Size size = image_->size();
    setFrame(Rect(0, 0, size.width, size.height));
  }
}

void ImageView::setImage(std::shared_ptr<Image> image) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (image == image_) {
    return;
  }
  image_ = std::move(image);
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

Rect ImageView::displayedImageRect() const {
  const Rect b = bounds();
  if (!image_) {
    return Rect();
  }
  const Size size = image_->size();
  if (size.width <= 0 || size.height <= 0) {
    return Rect();
  }
  switch (contentMode()) {
    case ContentMode::ScaleToFill:
      return b;
    case ContentMode::ScaleAspectFit:
    case ContentMode::ScaleAspectFill: {
      const double sx = b.width() / size.width;
      const double sy = b.height() / size.height;
      const double s = contentMode() == ContentMode::ScaleAspectFit ? std::min(sx, sy) : std::max(sx, sy);
      const double w = size.width * s;
      const double h = size.height * s;
      return Rect((b.width() - w) / 2, (b.height() - h) / 2, w, h);
    }
    case ContentMode::Center:
      return Rect((b.width() - size.width) / 2, (b.height() - size.height) / 2, size.width, size.height);
  }
  return b;
}

Size ImageView::intrinsicContentSize() const {
  if (!image_) {
    return Size{kNoIntrinsicMetric, kNoIntrinsicMetric};
  }
  return image_->size();
}

Size ImageView::sizeThatFits(Size size) const { return image_ ? image_->size() : size; }

void ImageView::drawRect(GraphicsContext& context, Rect /*rect*/) {
  if (image_) {
    context.drawImage(*image_, displayedImageRect());
  }
}

}  // namespace velune::ui
