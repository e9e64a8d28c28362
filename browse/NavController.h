#pragma once
// NavController: the root of the browsing interface, the one navigation stack
// of the application (made by the application delegate). It shows either the
// drive (a root listing with the folder listings pushed on it, possibly
// topped by a preview) when a cloud account is signed in, or the platform's
// unavailable screen when not, and rebuilds itself whenever the account
// identity changes (checked at every activation and account notice against
// the token kept in the standard preferences). It configures every listing
// it shows (title, Select/Cancel button, toolbar with the status line or the
// edit buttons, row actions), builds the whole stack down to a document for a
// launch URL, and saves and restores the previewed document.
//
// Ownership: it owns its stack, the running QuotaFetcher (drive shape only),
// the current PreviewItemManager (which holds this controller strongly until
// it is dropped: when a listing comes back on top, or by endPreview()), the
// current name prompt and share menu. It
// is the delegate of every listing it configures, of its own stack and of
// the quota fetcher (all held weakly by them).
//
// Main thread only: notifications, listing callbacks and quota reports are
// all delivered there.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "diag/QuotaFetcherDelegate.h"
#include "platform/Date.h"
#include "platform/DocumentListController.h"
#include "platform/Error.h"
#include "platform/IdentityToken.h"
#include "platform/MoveTargetPicker.h"
#include "platform/URL.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationStackController.h"

namespace velune {

class DRItem;
class FilenamePrompt;
class PreviewItemManager;
class QuotaFetcher;

namespace platform {
class ShareMenuController;
}

// The standard preferences key of the last account identity token seen.
inline constexpr const char* kUbiquityIdentityTokenKey = "com.vorlan.VeluneDriveApp.UbiquityIdentityToken";
// State restoration keys.
inline constexpr const char* kRestorationURLKey = "url";
inline constexpr const char* kRestorationPreviewModeKey = "PreviewMode";
// The seconds between two quota fetches.
inline constexpr double kQuotaFetchInterval = 300.0;

class NavController : public ui::NavigationStackController,
                      public ui::NavigationStackControllerDelegate,
                      public platform::DocumentListControllerDelegate,
                      public QuotaFetcherDelegate,
                      public platform::MoveTargetPickerDelegate {
 public:
  // The plain initialiser. The stack is built when the view loads.
  static std::shared_ptr<NavController> create();
  NavController();
  ~NavController() override;

  std::string_view kind() const override { return "NavController"; }

  // --- Properties ---
  bool editMode() const { return editMode_; }
  void setEditMode(bool editMode) { editMode_ = editMode; }
  const std::string& viewTitle() const { return viewTitle_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonNewFolder() const { return barButtonNewFolder_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonDeleteItem() const { return barButtonDeleteItem_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonMoveItem() const { return barButtonMoveItem_; }
  bool pickerIsAlive() const { return pickerIsAlive_; }
  std::uint64_t quotaBytes() const { return quotaBytes_; }
  const std::optional<platform::Date>& lastQuotaFetch() const { return lastQuotaFetch_; }
  const std::shared_ptr<QuotaFetcher>& quotaFetcher() const { return quotaFetcher_; }
  const std::shared_ptr<PreviewItemManager>& itemManager() const { return itemManager_; }
  const std::function<void()>& performActionCompletionBlock() const { return performActionCompletionBlock_; }
  const std::shared_ptr<FilenamePrompt>& folderPromptAlert() const { return folderPromptAlert_; }
  const std::shared_ptr<platform::ShareMenuController>& documentInteractionController() const {
    return documentInteractionController_;
  }

  // --- Stack (navigation controller core) ---
  void viewDidLoad() override;
  void setupInitialViewController();
  bool checkVeluneState() const;
  void didBecomeActiveNotification();
  void veluneAccountAvailabilityChanged();
  void handleAccountChanges();
  void saveVeluneToken(const std::optional<platform::IdentityToken>& token);
  std::shared_ptr<platform::DocumentListController> getTopDocumentListController();
  bool showURLPreview(const std::optional<platform::URL>& url, std::int32_t previewMode);
  void showPreview(const std::shared_ptr<DRItem>& item, std::int32_t previewMode);
  // Drops the current preview item manager after it stops presenting files.
  // The manager holds this controller strongly while it lives, so whoever
  // lets the controller go with a preview still open calls this first.
  void endPreview();
  void encodeRestorableStateWithCoder(ui::StateCoder& coder) override;
  void decodeRestorableStateWithCoder(const ui::StateCoder& coder) override;

  void navigationControllerDidShowViewController(ui::NavigationStackController& navigationController,
                                                 const std::shared_ptr<ui::ViewController>& viewController,
                                                 bool animated) override;
  void documentListControllerDidSelectContainerWithViewController(
      platform::DocumentListController& listing,
      const std::shared_ptr<platform::DocumentListController>& newListing) override;

  // --- Listing configuration and status line ---
  void initNewListController(platform::DocumentListController& listing);
  void configureVisibleControllerForMode();
  void configureNavBar(platform::DocumentListController& listing);
  void configureToolbar(platform::DocumentListController& listing);
  void updateStatusUI(platform::DocumentListController* listing);
  std::string toolbarStatusText(std::uint32_t count) const;
  std::string quotaAvailableString() const;
  bool okToShowQuota() const { return lastQuotaFetch_.has_value(); }
  void quotaFetcherDidUpdateValue(QuotaFetcher& fetcher, std::uint64_t bytesAvailable) override;
  void documentListControllerItemsChanged(platform::DocumentListController& listing) override;

  // --- Edit mode (NavControllerEditing.cpp) ---
  void beginEditMode();
  void endEditMode();
  void selectAllItems();
  void setEditModeAndUpdateUI(bool editMode, platform::DocumentListController& listing);
  bool canShowMoveForSelectedItems(platform::DocumentListController& listing);
  bool canShowDeleteForSelectedItems(platform::DocumentListController& listing);
  bool canEnableNewFolderForSelectedItems(platform::DocumentListController& listing);
  bool containerSupportsAnyDepth(platform::DocumentListController& listing);
  // How many of the URLs are a container's documents folder.
  static std::size_t numContainersInURLArray(const std::vector<platform::URL>& urls);
  // 1 as soon as one URL is a folder (a package is a document), else 0.
  static std::size_t numFoldersInURLArray(const std::vector<platform::URL>& urls);

  // --- The toolbar's edit actions (NavControllerEditing.cpp) ---
  void promtForNewFolderAndCreate();
  void showMoveTargetForSelectedItems();
  void showWarningAndDeleteDocument();

  // --- Move and new-folder flow (NavControllerMove.cpp) ---
  // The picker when the folder's container has a folder (or cannot be told),
  // else the new-folder prompt that moves the items into the folder it makes.
  void showMoveTargetForItems(const std::vector<platform::URL>& urls, const std::optional<platform::URL>& folder);
  // Whether the top level of the container of `url` holds a folder (hidden
  // ones and packages do not count); true when the container is unknown.
  bool containerHasSubfolders(const platform::URL& url);
  void documentTargetSelectionControllerDidSelectItemAtURL(platform::MoveTargetPicker& picker,
                                                           const platform::URL& folder) override;
  // Moves each item into `folder` under its own name (a taken name gives a
  // free variant); every item is tried; the errors in order.
  std::vector<platform::Error> moveItemsToDirectory(const std::vector<platform::URL>& urls,
                                                    const platform::URL& folder);
  // The same, then one error or a counted alert over the top screen.
  void moveItemsToDirectoryAndShowErrors(const std::vector<platform::URL>& urls, const platform::URL& folder);
  // The name prompt for a new folder in `folder`; with items, the folder is
  // made and they are moved into it. Kept in folderPromptAlert().
  void showNewFolderPromptDuringMove(const std::optional<platform::URL>& folder,
                                     const std::vector<platform::URL>& items);

  // --- Delete flow (NavControllerDelete.cpp) ---
  // Asks, then deletes `urls` (documents and folders, or containers, never
  // both). The sheet points at `usingView`, else at the toolbar's Delete
  // button. A confirmed delete ends edit mode of `listing`, when given.
  // `finishedCompletion` runs once whatever the answer, before failures are
  // reported.
  void showWarningAndDeleteURLs(const std::vector<platform::URL>& urls, const std::shared_ptr<ui::View>& usingView,
                                const std::shared_ptr<platform::DocumentListController>& listing,
                                std::function<void()> finishedCompletion);

  // --- Item selection and row actions (NavControllerItemActions.cpp) ---
  void documentListControllerDidSelectItemAtURL(platform::DocumentListController& listing,
                                                const platform::URL& url) override;
  // The item's menu: "Rename Item…" (disabled when it cannot be renamed),
  // "Share Item…" for a document, "Move to Folder…" when its container has a
  // folder; all disabled for a container; and "Cancel". Each ends with
  // `completion`. Nothing is shown for an item that cannot be read.
  void showActionsMenuFromView(const std::shared_ptr<ui::View>& view, const platform::URL& url,
                               const std::optional<platform::URL>& presentedURL, std::function<void()> completion);
  // The share menu for the document, pointing at the middle of `view` (this
  // controller's own view without one). Kept in documentInteractionController().
  void showDIC(const std::shared_ptr<ui::View>& view, const platform::URL& url, std::function<void()> completion);
  // The rename prompt for the item; a refused name keeps it open with the error.
  void showRenamePrompt(const platform::URL& url);
  void documentListControllerPerformAction(platform::DocumentListController& listing,
                                           platform::DocumentListRowAction action, const platform::URL& url,
                                           const std::shared_ptr<ui::View>& originatingView,
                                           std::function<void()> completion) override;
  void documentListControllerPerformAction(platform::DocumentListController& listing,
                                           platform::DocumentListRowAction action, const platform::URL& url) override;

 private:
  // A new preview item manager for `previewMode`, replacing the current one.
  void replaceItemManager(std::int32_t previewMode);
  std::shared_ptr<NavController> self();
  // Deletes one item or empties one container; a failure is counted and,
  // when it came with an error, kept as the last one.
  void deleteOneItem(const platform::URL& url, std::size_t& failures, std::optional<platform::Error>& lastError);

  bool editMode_ = false;
  std::string viewTitle_;
  std::shared_ptr<ui::BarButtonItem> barButtonNewFolder_;
  std::shared_ptr<ui::BarButtonItem> barButtonDeleteItem_;
  std::shared_ptr<ui::BarButtonItem> barButtonMoveItem_;
  bool pickerIsAlive_ = false;
  std::uint64_t quotaBytes_ = 0;
  std::optional<platform::Date> lastQuotaFetch_;
  std::shared_ptr<QuotaFetcher> quotaFetcher_;
  std::function<void()> performActionCompletionBlock_;
  std::shared_ptr<PreviewItemManager> itemManager_;
  std::shared_ptr<FilenamePrompt> folderPromptAlert_;
  std::shared_ptr<platform::ShareMenuController> documentInteractionController_;
};

}  // namespace velune
