#pragma once
// DocumentListController: the platform's listing of one folder of the drive,
// or of the drive's top level (the plain initialiser): the documents folder
// of every app container, shown as a folder, and the items at the top of the
// default container.
//
// - Contents come from a DocumentListing: read off the main thread, sorted as
//   a person expects (NameCollator), hidden names left out, cloud-only
//   documents under their own URLs, and kept current while the listing lives
//   (changes by this app, another process or the cloud side). Each change of
//   the items, and of the selection, is told to the delegate
//   (documentListControllerItemsChanged). Right after it is made a listing
//   has no items yet: they arrive with the first report.
// - Rows: a ui::ListView with cells (DocumentListCell) for the rows in view
//   only. A tap on a folder's row makes the folder's listing and reports it
//   (documentListControllerDidSelectContainerWithViewController); a tap on a
//   document (or a package) reports its URL; in edit mode a tap selects or
//   deselects the row instead. The row actions the available-actions mask
//   allows are offered: Details and the actions menu as buttons of the row
//   (reported with the button as the originating view), Delete and Rename
//   when the row is swiped (reported with the row's cell). Each report
//   carries a completion.
// - Search: the "Search" button above the rows presents a SearchOverlay whose
//   taps reach this listing's delegate as if they came from the rows.
//
// Main thread only, like every view controller. The delegate is held weakly.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "platform/DocumentListRowAction.h"
#include "platform/DocumentListing.h"
#include "platform/URL.h"
#include "platform/ui/Button.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

class DocumentIconService;
class DocumentListCell;
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
  // A row action was chosen on the row of `url`, from the button
  // `originatingView`. The listing hides the row's swipe buttons when the
  // completion is called (it may never be).
  virtual void documentListControllerPerformAction(DocumentListController&, DocumentListRowAction /*action*/,
                                                   const URL& /*url*/,
                                                   const std::shared_ptr<ui::View>& /*originatingView*/,
                                                   std::function<void()> /*completion*/) {}
  // The same, without a view or a completion.
  virtual void documentListControllerPerformAction(DocumentListController&, DocumentListRowAction /*action*/,
                                                   const URL& /*url*/) {}
};

class DocumentListController : public ui::ViewController,
                               public ui::ListViewDataSource,
                               public ui::ListViewDelegate {
  struct PrivateTag {};

 public:
  // The listing of the drive's top level, titled with the drive's name.
  DocumentListController();
  // Use listingForFolder().
  DocumentListController(PrivateTag, std::shared_ptr<DocumentListing> listing, std::string title);
  ~DocumentListController() override;

  // The listing of a folder of the drive, titled with the folder's display
  // name (a container's name for its documents folder).
  static std::shared_ptr<DocumentListController> listingForFolder(const URL& folder);
  // The listings from the drive's top level down to `folder`; nothing when
  // the folder is not a folder of the drive (outside it, missing, a file, or
  // not inside a container's documents folder).
  static std::optional<std::vector<std::shared_ptr<DocumentListController>>> listControllerHierarchyForURL(
      const URL& folder);

  std::string_view kind() const override { return "DocumentListController"; }

  // The folder shown (the drive's top folder for the top-level listing).
  std::optional<URL> presentedURL() const;
  bool isRootListing() const { return listing_->isRoot(); }

  const std::vector<URL>& containedItems() const { return listing_->itemURLs(); }
  // The selected items, in the order of containedItems().
  std::vector<URL> selectedItems() const;
  size_t selectedItemCount() const { return selected_.size(); }
  bool isItemSelected(const URL& url) const { return selected_.count(url) != 0; }
  // Keeps only contained items; tells the delegate.
  void setSelectedItems(const std::vector<URL>& items);

  DocumentListAvailableActions availableActions() const { return availableActions_; }
  void setAvailableActions(DocumentListAvailableActions actions);

  std::shared_ptr<DocumentListControllerDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<DocumentListControllerDelegate> delegate) { delegate_ = std::move(delegate); }

  // Leaving edit mode clears the selection.
  void setEditing(bool editing, bool animated) override;

  void loadView() override;

  // What is on screen (the view is loaded on first use).
  ui::ListView& rowsView();
  // The row's cell, or null when the row has none now.
  std::shared_ptr<DocumentListCell> cellForRow(size_t row);
  ui::Button& searchButton();
  const DocumentListing& listing() const { return *listing_; }
  DocumentListing& listing() { return *listing_; }

  // Presents the search over this listing (what the Search button does).
  void presentSearch();

  // The list's data source and delegate.
  size_t listViewNumberOfRows(ui::ListView& list) override;
  std::shared_ptr<ui::ListViewCell> listViewMakeCell(ui::ListView& list) override;
  void listViewConfigureCell(ui::ListView& list, ui::ListViewCell& cell, size_t row) override;
  std::vector<ui::ListRowAction> listViewActionsForRow(ui::ListView& list, size_t row) override;
  void listViewDidSelectRow(ui::ListView& list, size_t row) override;
  void listViewSelectionDidChange(ui::ListView& list) override;
  void listViewPerformRowAction(ui::ListView& list, size_t row, int action,
                                const std::shared_ptr<ui::View>& originatingView) override;
  void listViewDidScroll(ui::ListView& list) override;

 private:
  void connectListing();
  void itemsChanged();
  // The list's check marks from the selection.
  void showSelection();
  void reportAction(size_t row, DocumentListRowAction action, const std::shared_ptr<ui::View>& origin);

  std::shared_ptr<DocumentListing> listing_;
  std::unordered_set<URL> selected_;
  DocumentListAvailableActions availableActions_ = DocumentListAvailableActions::None;
  std::weak_ptr<DocumentListControllerDelegate> delegate_;
  std::shared_ptr<ui::ListView> rows_;
  std::shared_ptr<ui::Button> search_;
  // The icons of the rows (none when the platform has no icon service).
  std::shared_ptr<DocumentIconService> iconService_;
};

}  // namespace velune::platform
