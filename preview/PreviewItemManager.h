#pragma once
// PreviewItemManager: owns one preview: the item the user opened, the page
// that shows it (the download page, the document preview or the details
// page), the on-demand download of a cloud-only document, and the watching
// of the document's file while it is shown (a FilePresenter).
//
// The navigation controller makes one per preview request, sets the mode (0
// the document, 1 the details) and itself as navigation controller, and hands
// over the item (previewItem(), or prepareToPreviewItem() and, once the page
// is on the stack, finishPreviewingItem()). The manager holds the navigation
// controller strongly; the controller drops the manager (after
// unregisterAsFilePresenter()) when a listing is on top again. Pages hold the
// manager weakly.
//
// Threads:
// - Main thread: everything public unless said otherwise, the download's
//   completion, the delayed refreshes.
// - "downloadQueue" (serial, one per manager): startDownloadingNow(), which
//   blocks in a coordinated read until the download ends; cancelDownload()
//   from the main thread unblocks it.
// - fcQueue (an operation queue): the FilePresenter callbacks, which hand
//   their work to the main thread at once or after 1 second.
// - The manager's lock guards the presenter flag and the pending-refresh
//   test-and-set; a second lock guards what the download queue and the
//   presenter callbacks read of the main thread's state (the item's URLs, the
//   running coordinator, the download page).
// Tasks queued for later hold the manager weakly, except the completion of a
// successful read and the pop after a deletion, which hold it until they ran.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/Date.h"
#include "platform/Error.h"
#include "platform/FilePresenter.h"
#include "platform/MoveTargetPicker.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {
class DispatchQueue;
class FileCoordinator;
class OperationQueue;
class ShareMenuController;
struct Notification;
}  // namespace velune::platform

namespace velune::ui {
class BarButtonItem;
class NavigationStackController;
class ViewController;
}  // namespace velune::ui

namespace velune {

class DRItem;
class PreviewDetailsViewController;
class PreviewDownloadViewController;

inline constexpr const char* kPreviewDownloadQueueLabel = "downloadQueue";

class PreviewItemManager : public std::enable_shared_from_this<PreviewItemManager>,
                           public platform::FilePresenter,
                           public platform::MoveTargetPickerDelegate {
 public:
  // (old URL, new URL or nothing, error or nothing), on the main thread.
  using DownloadCompletion = std::function<void(const platform::URL& oldURL, const std::optional<platform::URL>& newURL,
                                                const std::optional<platform::Error>& error)>;

  // init: registers for activation notices, makes the queues, makes sure the
  // shared GlimpseItemController exists.
  static std::shared_ptr<PreviewItemManager> create();
  ~PreviewItemManager() override;
  PreviewItemManager(const PreviewItemManager&) = delete;
  PreviewItemManager& operator=(const PreviewItemManager&) = delete;

  // --- Properties (main thread) ---
  const std::shared_ptr<DRItem>& item() const { return item_; }
  std::int32_t mode() const { return mode_; }
  void setMode(std::int32_t mode) { mode_ = mode; }
  const std::shared_ptr<ui::NavigationStackController>& navigationController() const { return navigation_; }
  void setNavigationController(std::shared_ptr<ui::NavigationStackController> navigation);
  const std::shared_ptr<platform::ShareMenuController>& documentInteractionController() const { return shareMenu_; }
  void setDocumentInteractionController(std::shared_ptr<platform::ShareMenuController> menu);
  std::shared_ptr<platform::FileCoordinator> downloadFC() const;
  bool filePresenterRegistered() const;
  // Kept under the name the navigation controller asks.
  bool isPresentingFiles() const { return filePresenterRegistered(); }
  bool refreshPending() const;
  const platform::Value& modifiedDate() const { return modifiedDate_; }
  std::shared_ptr<PreviewDownloadViewController> downloadViewController() const;
  // The resolved URL of the current item, for any thread (empty without an item).
  platform::URL resolvedItemURL() const;
  const std::shared_ptr<PreviewDetailsViewController>& detailsViewController() const { return detailsViewController_; }
  bool autoDownload() const { return autoDownload_; }
  platform::OperationQueue& fcQueue() const { return *fcQueue_; }
  const std::shared_ptr<platform::DispatchQueue>& downloadQueue() const { return downloadQueue_; }

  // --- Showing an item ---
  void previewItem(const std::shared_ptr<DRItem>& item) { setItem(item, true); }
  void setItem(const std::shared_ptr<DRItem>& item) { setItem(item, true); }
  void setItem(const std::shared_ptr<DRItem>& item, bool updatePreview);
  std::shared_ptr<ui::ViewController> prepareToPreviewItem(const std::shared_ptr<DRItem>& item);
  void finishPreviewingItem();
  bool shouldAutoDownload();

  // --- Downloading ---
  void startDownload();
  void startDownloading(DownloadCompletion completion);
  // On the download queue.
  void startDownloadingNow(const DownloadCompletion& completion);
  // Any thread.
  void cancelDownload();
  void showDownloadError(const std::optional<platform::Error>& error);

  // --- The preview pages' buttons ---
  void showWarningAndDeleteDocument(const std::shared_ptr<ui::ViewController>& page,
                                    const std::shared_ptr<ui::BarButtonItem>& barButton);
  void showMoveTarget(const std::shared_ptr<ui::ViewController>& page);
  void documentTargetSelectionControllerDidSelectItemAtURL(platform::MoveTargetPicker& picker,
                                                           const platform::URL& folder) override;
  void viewControllerWillDisappear(const std::shared_ptr<ui::ViewController>& page);

  // --- Presenting the file ---
  void registerAsFilePresenter();
  void unregisterAsFilePresenter();
  platform::URL presentedItemURL() const override;
  platform::OperationQueue* presentedItemOperationQueue() const override;
  void presentedItemDidChange() override;
  void presentedItemDidMoveToURL(const platform::URL& newURL) override;
  void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completionHandler) override;
  void accommodatePresentedSubitemDeletionAtURL(const platform::URL& url, CompletionHandler completionHandler) override;
  void refreshItem(const platform::URL& url);
  void didBecomeActiveNotification(const platform::Notification& notification);
  void willResignActiveNotification(const platform::Notification& notification);

  // --- Pages ---
  std::shared_ptr<ui::ViewController> createDownloadViewController();
  std::shared_ptr<ui::ViewController> createDetailsViewController();
  std::shared_ptr<ui::ViewController> createGlimpseController();
  void replaceLastViewController(const std::shared_ptr<ui::ViewController>& page);
  static bool isPreviewControllerDisplayed(const std::shared_ptr<ui::ViewController>& controller);

  // The one-line reason why the automatic download does not start, or
  // nothing when it starts (for the log; see shouldAutoDownload()).
  std::optional<std::string> autoDownloadRefusal() const;

  static constexpr std::uint64_t kAutoDownloadLimit = 6'291'456;  // 6 MiB: smaller ones start by themselves

 private:
  PreviewItemManager();
  void init();
  // The item's URLs as the other threads read them.
  struct ItemURLs {
    platform::URL url;
    platform::URL resolvedURL;
  };
  ItemURLs itemURLs() const;
  void standardCompletion(const platform::URL& oldURL, const std::optional<platform::URL>& newURL,
                          const std::optional<platform::Error>& error);

  std::shared_ptr<DRItem> item_;
  std::int32_t mode_ = 0;
  std::shared_ptr<ui::NavigationStackController> navigation_;
  std::shared_ptr<platform::ShareMenuController> shareMenu_;
  platform::Value modifiedDate_;
  std::shared_ptr<PreviewDetailsViewController> detailsViewController_;
  bool autoDownload_ = false;
  std::unique_ptr<platform::OperationQueue> fcQueue_;
  std::shared_ptr<platform::DispatchQueue> downloadQueue_;

  // The manager's lock: the presenter flag and the pending refresh.
  mutable std::mutex lock_;
  bool filePresenterRegistered_ = false;
  bool refreshPending_ = false;

  // What other threads read of the main thread's state.
  mutable std::mutex sharedStateMutex_;
  ItemURLs urls_;
  std::shared_ptr<platform::FileCoordinator> downloadFC_;
  std::shared_ptr<PreviewDownloadViewController> downloadViewController_;
};

}  // namespace velune
