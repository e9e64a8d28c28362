#pragma once
// ThumbnailImageView: a document's thumbnail (or the platform's icon for its
// type), centred and at most as large as the view, with a 22-point pie
// progress indicator on the image's lower trailing corner (hidden until
// showProgress). Main thread only.

#include <memory>

#include "platform/ui/View.h"

namespace velune::ui {
class ImageView;
}  // namespace velune::ui

namespace velune {

class DRItem;
class PieProgressIndicatorView;

class ThumbnailImageView : public ui::View {
 public:
  static std::shared_ptr<ThumbnailImageView> initWithFrame(ui::Rect frame);

  std::string_view kind() const override { return "ThumbnailImageView"; }

  const std::shared_ptr<DRItem>& item() const { return item_; }
  // With an item: its thumbnail, or the generic icon; with none the picture stays.
  void setItem(std::shared_ptr<DRItem> item);
  // The platform's large document icon for the item's resolved file name and type.
  void showGenericImage();
  void showProgress(bool show);
  // Only while the indicator is shown.
  void updateProgress(double progress);

  const std::shared_ptr<ui::ImageView>& thumbnailView() const { return thumbnailView_; }
  const std::shared_ptr<PieProgressIndicatorView>& progressView() const { return progressView_; }

  explicit ThumbnailImageView(ui::Rect frame);

 private:
  void setup();

  std::shared_ptr<DRItem> item_;
  std::shared_ptr<ui::ImageView> thumbnailView_;
  std::shared_ptr<PieProgressIndicatorView> progressView_;
};

}  // namespace velune
