#pragma once
// DocumentListController: the platform's listing of one folder of the drive.
//
// This is the listing's shape as the system sees it: the folder shown, the
// items it contains, the selection, the available-actions mask, the editing
// flag and a delegate that hears taps and changes. What fills it (reading
// the folder, watching it, drawing its rows) is the platform's and grows with
// the browsing screens; until then the owner sets the contents itself.
// Main thread only, like every view controller.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/URL.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

class DocumentListController;

// What a listing tells its delegate. Every callback runs on the main thread.
class DocumentListControllerDelegate {
 public:
  virtual ~DocumentListControllerDelegate() = default;
  // A folder was tapped; `listing` is the new listing made for it.
  virtual void documentListControllerDidSelectContainerWithViewController(
      DocumentListController&, const std::shared_ptr<DocumentListController>& /*listing*/) {}
  // The contained items or the selection changed.
  virtual void documentListControllerItemsChanged(DocumentListController&) {}
  // A document was tapped.
  virtual void documentListControllerDidSelectItemAtURL(DocumentListController&, const URL& /*url*/) {}
  // A row action (0 delete, 1 actions menu, 2 details, 3 rename) was chosen.
  virtual void documentListControllerPerformAction(DocumentListController&, int /*action*/, const URL& /*url*/,
                                                   const std::shared_ptr<ui::View>& /*originatingView*/,
                                                   std::function<void()> /*completion*/) {}
};

class DocumentListController : public ui::ViewController {
 public:
  DocumentListController();

  std::string_view kind() const override { return "DocumentListController"; }

  const std::optional<URL>& presentedURL() const { return presentedURL_; }
  void setPresentedURL(std::optional<URL> url) { presentedURL_ = std::move(url); }

  const std::vector<URL>& containedItems() const { return containedItems_; }
  // Tells the delegate that the items changed.
  void setContainedItems(std::vector<URL> items);
  const std::vector<URL>& selectedItems() const { return selectedItems_; }
  // Keeps only contained items, in the order given; tells the delegate.
  void setSelectedItems(std::vector<URL> items);

  std::uint32_t availableActions() const { return availableActions_; }
  void setAvailableActions(std::uint32_t actions) { availableActions_ = actions; }

  std::shared_ptr<DocumentListControllerDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<DocumentListControllerDelegate> delegate) { delegate_ = std::move(delegate); }

  // Leaving edit mode clears the selection.
  void setEditing(bool editing, bool animated) override;

 private:
  void itemsChanged();

  std::optional<URL> presentedURL_;
  std::vector<URL> containedItems_;
  std::vector<URL> selectedItems_;
  std::uint32_t availableActions_ = 0;
  std::weak_ptr<DocumentListControllerDelegate> delegate_;
};

}  // namespace velune::platform
