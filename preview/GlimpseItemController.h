#pragma once
// GlimpseItemController: the document preview of a downloaded document inside
// the navigation stack, with Delete and Move buttons on the right of the
// navigation bar that act on the file through the current PreviewItemManager.
// Its own data source and delegate: the preview items are the resolved URLs
// of the manager's item (one, or none when the manager has no item).
//
// One instance for the process, made exactly once on first use (from any
// thread); each use by a manager replaces the manager (held weakly, so the
// buttons do nothing once it is gone) and the documents. Main thread only
// apart from defaultController().

#include <memory>
#include <vector>

#include "platform/DocumentPreviewController.h"

namespace velune {

class PreviewItemManager;

class GlimpseItemController final : public platform::DocumentPreviewController,
                                    public platform::DocumentPreviewControllerDataSource,
                                    public platform::DocumentPreviewControllerDelegate {
 public:
  static std::shared_ptr<GlimpseItemController> defaultController();
  // A separate instance, as `init` then `initWithItemManager:` make one.
  static std::shared_ptr<GlimpseItemController> initWithItemManager(const std::shared_ptr<PreviewItemManager>& manager);
  std::string_view kind() const override { return "GlimpseItemController"; }

  std::shared_ptr<PreviewItemManager> itemManager() const { return itemManager_.lock(); }
  const std::vector<platform::URL>& arrayOfDocuments() const { return arrayOfDocuments_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonMoveItem() const { return barButtonMoveItem_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonDeleteItem() const { return barButtonDeleteItem_; }

  void glimpseNewItem(const std::shared_ptr<PreviewItemManager>& manager);
  bool isVisible();

  void viewWillDisappear(bool animated) override;

  std::size_t numberOfPreviewItemsInPreviewController(platform::DocumentPreviewController& controller) override;
  std::shared_ptr<platform::PreviewItem> previewControllerPreviewItemAtIndex(
      platform::DocumentPreviewController& controller, std::size_t index) override;

  void showMoveTarget();
  void showWarningAndDeleteDocument();

  GlimpseItemController();

 private:
  static std::shared_ptr<GlimpseItemController> make();
  void setItemManagerAndDocuments(const std::shared_ptr<PreviewItemManager>& manager);

  std::weak_ptr<PreviewItemManager> itemManager_;
  std::vector<platform::URL> arrayOfDocuments_;
  std::shared_ptr<ui::BarButtonItem> barButtonMoveItem_;
  std::shared_ptr<ui::BarButtonItem> barButtonDeleteItem_;
};

}  // namespace velune
