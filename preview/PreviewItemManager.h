#pragma once
// PreviewItemManager: the owner of one preview of one item. The navigation
// controller makes a new one for every preview, gives it the preview mode (0
// the document, 1 the details page) and itself as the navigation controller,
// and asks it either to prepare the
// page for an item (the caller puts it on the stack) or to preview the item
// (the manager puts the page on the stack itself).
//
// What is here is the manager's interface and its bookkeeping (mode, item,
// navigation controller, presenter state). Choosing, making and showing the
// pages (download, document, details) and downloading cloud-only documents
// are not written yet: prepareToPreviewItem() gives no page and previewItem()
// shows nothing, so the stack ends at the item's folder. Until those pages
// exist the navigation controller is held weakly: with no page of the
// manager's on the stack, nothing would ever end a strong cycle between the
// two.
//
// Main thread only.

#include <cstdint>
#include <memory>

namespace velune {
class DRItem;
}  // namespace velune

namespace velune::ui {
class NavigationStackController;
class ViewController;
}  // namespace velune::ui

namespace velune {

class PreviewItemManager : public std::enable_shared_from_this<PreviewItemManager> {
 public:
  // The plain initialiser.
  static std::shared_ptr<PreviewItemManager> create();

  std::int32_t mode() const { return mode_; }
  void setMode(std::int32_t mode) { mode_ = mode; }
  std::shared_ptr<ui::NavigationStackController> navigationController() const { return navigation_.lock(); }
  void setNavigationController(const std::shared_ptr<ui::NavigationStackController>& navigation) {
    navigation_ = navigation;
  }
  const std::shared_ptr<DRItem>& item() const { return item_; }

  // Takes the item; the page that would show it is not made yet (null).
  std::shared_ptr<ui::ViewController> prepareToPreviewItem(const std::shared_ptr<DRItem>& item);
  // After the caller put the prepared page on the stack.
  void finishPreviewingItem();
  // Takes the item; showing it is not written yet, so the stack stays as it is.
  void previewItem(const std::shared_ptr<DRItem>& item);
  // Stops watching the item's file.
  void unregisterAsFilePresenter();
  bool isPresentingFiles() const { return presenting_; }

 private:
  PreviewItemManager() = default;

  std::int32_t mode_ = 0;
  std::weak_ptr<ui::NavigationStackController> navigation_;
  std::shared_ptr<DRItem> item_;
  bool presenting_ = false;
};

}  // namespace velune
