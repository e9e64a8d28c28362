#pragma once
// PreviewDownloadViewController: the page of a document that is not on the
// phone yet: its thumbnail above a DownloadView (name, size, Download; while
// downloading the round progress and Cancel). It refuses a document of more
// than 100 MiB on a cellular connection with an alert, and otherwise starts
// and cancels the download through the PreviewItemManager. The manager marks
// the page as downloading for an automatic download (even before its view
// exists). Main thread only, apart from what the base class says.

#include <memory>

#include "preview/DownloadView.h"
#include "preview/PreviewBaseViewController.h"

namespace velune::ui {
class StackView;
}  // namespace velune::ui

namespace velune {

class ThumbnailImageView;

class PreviewDownloadViewController final : public PreviewBaseViewController, public DownloadViewDelegate {
 public:
  // 100 MiB: larger documents wait for Wi-Fi.
  static constexpr std::uint64_t kCellularDownloadLimit = 104'857'600;

  PreviewDownloadViewController();
  std::string_view kind() const override { return "PreviewDownloadViewController"; }

  bool downloading() const { return downloading_; }
  void setDownloading(bool downloading);
  const std::shared_ptr<ui::StackView>& mainStackView() const { return mainStackView_; }
  const std::shared_ptr<DownloadView>& downloadView() const { return downloadView_; }
  const std::shared_ptr<ThumbnailImageView>& thumbnailView() const { return thumbnailView_; }

  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) override;
  void setupViewsAndConstraints();
  void refreshItem() override;
  void updateProgress(const std::shared_ptr<platform::TransferProgress>& progress) override;
  void adjustViewsForOrientation(ui::InterfaceOrientation orientation);

  void downloadViewDidPressStartDownload(DownloadView& view, const std::optional<platform::URL>& url) override;
  void downloadViewDidPressCancelDownload(DownloadView& view, const std::optional<platform::URL>& url) override;

 private:
  bool downloading_ = false;
  std::shared_ptr<ui::StackView> mainStackView_;
  std::shared_ptr<DownloadView> downloadView_;
  std::shared_ptr<ThumbnailImageView> thumbnailView_;
};

}  // namespace velune
