#pragma once
// DownloadView: the download control of the download page: the document's
// name and size, a cloud button and a text button that start the download,
// and, while downloading, a round progress with a Cancel button and a text of
// the bytes received out of the total. Taps go to the delegate.
//
// Two states (setDownloading): idle shows the cloud and Download buttons and
// the size; downloading shows the progress, Cancel and the progress text.
// setItem always returns to idle. Main thread only: progress reports must
// reach updateProgress on the main thread.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/URL.h"
#include "platform/ui/StackView.h"

namespace velune::platform {
class TransferProgress;
}  // namespace velune::platform

namespace velune::ui {
class Button;
class Label;
}  // namespace velune::ui

namespace velune {

class DRItem;
class DownloadView;
class RoundProgressView;

class DownloadViewDelegate {
 public:
  virtual ~DownloadViewDelegate() = default;
  // `url` is the item's URL (none before an item is set).
  virtual void downloadViewDidPressStartDownload(DownloadView& view, const std::optional<platform::URL>& url) = 0;
  virtual void downloadViewDidPressCancelDownload(DownloadView& view, const std::optional<platform::URL>& url) = 0;
};

class DownloadView : public ui::StackView {
 public:
  static std::shared_ptr<DownloadView> initWithFrame(ui::Rect frame);

  std::string_view kind() const override { return "DownloadView"; }

  std::shared_ptr<DownloadViewDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<DownloadViewDelegate> delegate) { delegate_ = std::move(delegate); }

  const std::shared_ptr<DRItem>& item() const { return item_; }
  void setItem(std::shared_ptr<DRItem> item);
  bool downloading() const { return downloading_; }
  void setDownloading(bool downloading);

  std::string downloadButtonTitle() const;
  std::string zeroProgressMsg() const;
  static std::string progressMsgWithBytesCompleted(std::int64_t completed, std::int64_t total);
  void updateProgress(const platform::TransferProgress& progress);

  // The buttons' actions.
  void startDownloading();
  void cancelDownloading();

  const std::shared_ptr<ui::Label>& filenameLabel() const { return filenameLabel_; }
  const std::shared_ptr<ui::Label>& sizeLabel() const { return sizeLabel_; }
  const std::shared_ptr<RoundProgressView>& roundProgressView() const { return roundProgressView_; }
  const std::shared_ptr<ui::Button>& cloudButton() const { return cloudButton_; }
  const std::shared_ptr<ui::Button>& downloadButton() const { return downloadButton_; }
  const std::shared_ptr<ui::Button>& cancelButton() const { return cancelButton_; }

  explicit DownloadView(ui::Rect frame);

 private:
  void setup();
  std::optional<platform::URL> itemURL() const;

  std::weak_ptr<DownloadViewDelegate> delegate_;
  std::shared_ptr<DRItem> item_;
  bool downloading_ = false;
  std::shared_ptr<ui::Label> filenameLabel_;
  std::shared_ptr<ui::Label> sizeLabel_;
  std::shared_ptr<RoundProgressView> roundProgressView_;
  std::shared_ptr<ui::Button> cloudButton_;
  std::shared_ptr<ui::Button> downloadButton_;
  std::shared_ptr<ui::Button> cancelButton_;
};

}  // namespace velune
