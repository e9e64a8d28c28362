#pragma once
// PreviewThumbnailViewController: a page that shows only the item's
// thumbnail, centred in the content area. Main thread only.

#include <memory>

#include "preview/PreviewBaseViewController.h"

namespace velune {

class ThumbnailImageView;

class PreviewThumbnailViewController final : public PreviewBaseViewController {
 public:
  PreviewThumbnailViewController();
  std::string_view kind() const override { return "PreviewThumbnailViewController"; }

  const std::shared_ptr<ThumbnailImageView>& thumbnailView() const { return thumbnailView_; }

  void viewDidLoad() override;
  void setupViewsAndConstraints();
  void refreshItem() override;
  void updateProgress(const std::shared_ptr<platform::TransferProgress>& progress) override;
  void showProgress(bool show);

 private:
  std::shared_ptr<ThumbnailImageView> thumbnailView_;
};

}  // namespace velune
