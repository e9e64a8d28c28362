#pragma once
// PreviewBaseViewController: what the system's own preview pages share: an
// inset content view (wrapperView) whose margins follow the device class, the
// orientation and the bars; the Share, Delete and Move buttons (toolbar on a
// phone, navigation bar on a tablet); following the download progress of the
// item's file, logged in 5 % steps; and telling the PreviewItemManager when
// the page leaves the screen.
//
// Subclasses put their views into wrapperView and override refreshItem(),
// updateProgress() and openInAppNavControllerButton(), calling the base first
// where the base does something.
//
// Threads: everything on the main thread, except registerForProgress() (the
// manager calls it on its download queue) and the progress callbacks, which
// arrive on the thread that publishes the progress. Those log there and hand
// the progress to updateProgress() on the main thread, at most one pending
// hand-over at a time (the newest values always arrive). The manager is held
// weakly; progress callbacks hold the page weakly.

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/TransferProgressService.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {
class TransferProgress;
}  // namespace velune::platform

namespace velune::ui {
class Button;
class LayoutConstraint;
}  // namespace velune::ui

namespace velune {

class PreviewItemManager;

class PreviewBaseViewController : public ui::ViewController {
 public:
  PreviewBaseViewController();
  std::string_view kind() const override { return "PreviewBaseViewController"; }

  const std::shared_ptr<ui::View>& wrapperView() const { return wrapperView_; }
  std::shared_ptr<PreviewItemManager> itemManager() const { return itemManager_.lock(); }
  void setItemManager(const std::shared_ptr<PreviewItemManager>& manager) { itemManager_ = manager; }
  std::int32_t mode() const { return mode_; }
  void setMode(std::int32_t mode) { mode_ = mode; }

  const std::shared_ptr<ui::LayoutConstraint>& parentTopConstraint() const { return parentTopConstraint_; }
  const std::shared_ptr<ui::LayoutConstraint>& parentBottomConstraint() const { return parentBottomConstraint_; }
  const std::shared_ptr<ui::LayoutConstraint>& parentLeadingConstraint() const { return parentLeadingConstraint_; }
  const std::shared_ptr<ui::LayoutConstraint>& parentTrailingConstraint() const { return parentTrailingConstraint_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonActionItem() const { return barButtonActionItem_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonDeleteItem() const { return barButtonDeleteItem_; }
  const std::shared_ptr<ui::BarButtonItem>& barButtonMoveItem() const { return barButtonMoveItem_; }
  std::int32_t lastProgressChunk() const { return lastProgressChunk_.load(); }
  bool hasProgressSubscription() const;

  // --- Life cycle ---
  void loadView() override;
  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewWillDisappear(bool animated) override;

  // --- Layout ---
  void setupConstraints();
  void configureMargins();
  ui::InterfaceOrientation currentPseudoOrientation() const;
  void configureButtons();

  // --- Hooks ---
  virtual void refreshItem();
  // Main thread.
  virtual void updateProgress(const std::shared_ptr<platform::TransferProgress>& progress);
  virtual std::shared_ptr<ui::Button> openInAppNavControllerButton();

  // --- Progress (registerForProgress on any thread) ---
  void registerForProgress();
  void unregisterProgress();
  // A change of the observed fraction completed (the publisher's thread).
  void observeFractionCompleted(const std::shared_ptr<platform::TransferProgress>& progress);

  // --- Button actions ---
  void showDocumentActivities();
  void showWarningAndDeleteDocument();
  void showMoveTarget();
  void openInDefaultApp();

 protected:
  explicit PreviewBaseViewController(std::string_view kind);

 private:
  std::optional<platform::TransferProgressService::UnpublishingHandler> handlePublishedProgress(
      const std::shared_ptr<platform::TransferProgress>& progress);
  void deliverProgressToMainThread(const std::shared_ptr<platform::TransferProgress>& progress);

  std::shared_ptr<ui::View> wrapperView_;
  std::weak_ptr<PreviewItemManager> itemManager_;
  std::int32_t mode_ = 0;
  std::shared_ptr<ui::LayoutConstraint> parentTopConstraint_;
  std::shared_ptr<ui::LayoutConstraint> parentBottomConstraint_;
  std::shared_ptr<ui::LayoutConstraint> parentLeadingConstraint_;
  std::shared_ptr<ui::LayoutConstraint> parentTrailingConstraint_;
  std::shared_ptr<ui::BarButtonItem> barButtonActionItem_;
  std::shared_ptr<ui::BarButtonItem> barButtonDeleteItem_;
  std::shared_ptr<ui::BarButtonItem> barButtonMoveItem_;
  std::atomic<std::int32_t> lastProgressChunk_{-1};
  // The open-in button of the bars and the action this page gave it.
  std::weak_ptr<ui::Button> openInButton_;
  std::uint64_t openInActionId_ = 0;

  // The subscription and the observations it made, shared by the download
  // queue, the publisher's thread and the main thread.
  mutable std::mutex progressMutex_;
  std::optional<platform::TransferProgressService::SubscriptionToken> subscriber_;
  std::atomic<bool> progressDeliveryPending_{false};
  std::shared_ptr<platform::TransferProgress> latestProgress_;
};

}  // namespace velune
