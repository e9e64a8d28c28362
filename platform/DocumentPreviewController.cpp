#include "platform/DocumentPreviewController.h"

#include "platform/MainThread.h"
#include "platform/ui/Color.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Screen.h"

namespace velune::platform {

DocumentPreviewController::DocumentPreviewController() : DocumentPreviewController("DocumentPreviewController") {}

DocumentPreviewController::DocumentPreviewController(std::string_view kind) : ui::ViewController(kind) {}

void DocumentPreviewController::setDataSource(std::weak_ptr<DocumentPreviewControllerDataSource> dataSource) {
  VELUNE_ASSERT_MAIN_THREAD();
  dataSource_ = std::move(dataSource);
}

void DocumentPreviewController::setDelegate(std::weak_ptr<DocumentPreviewControllerDelegate> delegate) {
  VELUNE_ASSERT_MAIN_THREAD();
  delegate_ = std::move(delegate);
}

void DocumentPreviewController::loadView() {
  ui::ViewController::loadView();
  view()->setBackgroundColor(ui::Color::white());
  documentView_ = std::make_shared<DocumentPreviewView>();
  documentView_->setIdentifier(identifier() + ".document");
  view()->addSubview(documentView_);
  placeDocumentView(view()->bounds().size);
}

std::shared_ptr<DocumentPreviewView> DocumentPreviewController::documentView() {
  loadViewIfNeeded();
  return documentView_;
}

void DocumentPreviewController::placeDocumentView(ui::Size size) {
  if (!documentView_) {
    return;
  }
  double top = 0;
  double bottom = 0;
  if (const auto navigation = navigationController()) {
    const auto screen = ui::Screen::mainScreen();
    const ui::Rect statusBar = screen ? screen->statusBarFrame() : ui::Rect();
    top = std::min(statusBar.size.width, statusBar.size.height) +
          (navigation->isNavigationBarHidden() ? 0 : ui::NavigationBar::kHeight);
    bottom = navigation->isToolbarHidden() ? 0 : ui::Toolbar::kHeight;
  }
  documentView_->setFrame(ui::Rect(0, top, size.width, std::max(0.0, size.height - top - bottom)));
}

void DocumentPreviewController::reloadData() {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto source = dataSource();
  const std::size_t count = source ? source->numberOfPreviewItemsInPreviewController(*this) : 0;
  if (currentIndex_ >= count) {
    currentIndex_ = 0;
  }
  currentItem_ = count > 0 ? source->previewControllerPreviewItemAtIndex(*this, currentIndex_) : nullptr;
  show();
}

void DocumentPreviewController::setCurrentPreviewItemIndex(std::size_t index) {
  currentIndex_ = index;
  reloadData();
}

void DocumentPreviewController::refreshCurrentPreviewItem() {
  VELUNE_ASSERT_MAIN_THREAD();
  show();
}

void DocumentPreviewController::show() {
  if (currentItem_) {
    const URL url = currentItem_->previewItemURL();
    setTitle(currentItem_->previewItemTitle().value_or(url.lastPathComponent()));
    documentView()->showDocument(url, currentItem_->wantsDefaultMediaPlayer());
  } else {
    setTitle(std::nullopt);
    documentView()->showDocument(std::nullopt, false);
  }
}

void DocumentPreviewController::setAdditionalRightBarButtonItems(std::vector<std::shared_ptr<ui::BarButtonItem>> items) {
  VELUNE_ASSERT_MAIN_THREAD();
  additionalRightItems_ = std::move(items);
  navigationItem().setRightBarButtonItems(additionalRightItems_);
  if (const auto navigation = navigationController(); navigation && navigation->topViewController().get() == this) {
    navigation->updateBars();
  }
}

void DocumentPreviewController::viewWillAppear(bool animated) {
  ui::ViewController::viewWillAppear(animated);
  navigationItem().setRightBarButtonItems(additionalRightItems_);
  if (const auto navigation = navigationController()) {
    // The preview has no toolbar of its own.
    navigation->setToolbarHidden(true, animated);
  }
  placeDocumentView(view()->bounds().size);
}

void DocumentPreviewController::viewWillDisappear(bool animated) {
  if (const auto strong = delegate()) {
    strong->previewControllerWillDismiss(*this);
  }
  ui::ViewController::viewWillDisappear(animated);
}

void DocumentPreviewController::viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) {
  ui::ViewController::viewWillTransitionToSize(size, coordinator);
  placeDocumentView(size);
}

}  // namespace velune::platform
