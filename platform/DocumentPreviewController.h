#pragma once
// DocumentPreviewController: the platform's document preview. It shows one
// item at a time of those its data source gives (a file URL each); the
// screen draws the document with its own viewers (pictures, PDF, text,
// audio, video; see docs/preview.md).
//
// - reloadData() asks the data source again (count, then the item at the
//   current index, which falls back to the first) and shows that item.
// - refreshCurrentPreviewItem() shows the same item again, read anew (its
//   file changed).
// - The additional right-hand bar items go on the navigation bar of the
//   stack that shows the preview, after the preview's own (none here).
// - The delegate hears when the preview is about to leave the screen.
//
// The data source and the delegate are held weakly. Main thread only.

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/DocumentPreviewView.h"
#include "platform/PreviewItem.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

class DocumentPreviewController;

class DocumentPreviewControllerDataSource {
 public:
  virtual ~DocumentPreviewControllerDataSource() = default;
  virtual std::size_t numberOfPreviewItemsInPreviewController(DocumentPreviewController& controller) = 0;
  virtual std::shared_ptr<PreviewItem> previewControllerPreviewItemAtIndex(DocumentPreviewController& controller,
                                                                           std::size_t index) = 0;
};

class DocumentPreviewControllerDelegate {
 public:
  virtual ~DocumentPreviewControllerDelegate() = default;
  virtual void previewControllerWillDismiss(DocumentPreviewController& /*controller*/) {}
};

class DocumentPreviewController : public ui::ViewController {
 public:
  DocumentPreviewController();
  std::string_view kind() const override { return "DocumentPreviewController"; }

  std::shared_ptr<DocumentPreviewControllerDataSource> dataSource() const { return dataSource_.lock(); }
  void setDataSource(std::weak_ptr<DocumentPreviewControllerDataSource> dataSource);
  std::shared_ptr<DocumentPreviewControllerDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<DocumentPreviewControllerDelegate> delegate);

  void reloadData();
  void refreshCurrentPreviewItem();
  std::size_t currentPreviewItemIndex() const { return currentIndex_; }
  void setCurrentPreviewItemIndex(std::size_t index);
  // The item shown, or null.
  const std::shared_ptr<PreviewItem>& currentPreviewItem() const { return currentItem_; }

  const std::vector<std::shared_ptr<ui::BarButtonItem>>& additionalRightBarButtonItems() const {
    return additionalRightItems_;
  }
  void setAdditionalRightBarButtonItems(std::vector<std::shared_ptr<ui::BarButtonItem>> items);

  // The view the document is drawn in (made with the controller's view).
  std::shared_ptr<DocumentPreviewView> documentView();

  void loadView() override;
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;
  void viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) override;

 protected:
  explicit DocumentPreviewController(std::string_view kind);

 private:
  void show();
  // Places the document view under the bars of the stack that shows it.
  void placeDocumentView(ui::Size size);

  std::weak_ptr<DocumentPreviewControllerDataSource> dataSource_;
  std::weak_ptr<DocumentPreviewControllerDelegate> delegate_;
  std::size_t currentIndex_ = 0;
  std::shared_ptr<PreviewItem> currentItem_;
  std::vector<std::shared_ptr<ui::BarButtonItem>> additionalRightItems_;
  std::shared_ptr<DocumentPreviewView> documentView_;
};

}  // namespace velune::platform
