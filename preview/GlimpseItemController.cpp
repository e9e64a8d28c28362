#include "preview/GlimpseItemController.h"

#include <mutex>

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/MainThread.h"
#include "platform/ui/Window.h"
#include "preview/PreviewItemManager.h"
#include "preview/VeluneDriveAppPreview.h"

namespace velune {

GlimpseItemController::GlimpseItemController() : platform::DocumentPreviewController("GlimpseItemController") {}

std::shared_ptr<GlimpseItemController> GlimpseItemController::make() {
  auto controller = std::make_shared<GlimpseItemController>();
  controller->setDataSource(std::static_pointer_cast<platform::DocumentPreviewControllerDataSource>(controller));
  controller->setDelegate(std::static_pointer_cast<platform::DocumentPreviewControllerDelegate>(controller));
  std::weak_ptr<GlimpseItemController> weak = controller;
  controller->barButtonMoveItem_ =
      ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Organize, [weak](ui::BarButtonItem&) {
        if (const auto self = weak.lock()) {
          self->showMoveTarget();
        }
      });
  controller->barButtonMoveItem_->setIdentifier("glimpse.move");
  controller->barButtonDeleteItem_ =
      ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::Trash, [weak](ui::BarButtonItem&) {
        if (const auto self = weak.lock()) {
          self->showWarningAndDeleteDocument();
        }
      });
  controller->barButtonDeleteItem_->setIdentifier("glimpse.delete");
  controller->setAdditionalRightBarButtonItems({controller->barButtonDeleteItem_, controller->barButtonMoveItem_});
  return controller;
}

std::shared_ptr<GlimpseItemController> GlimpseItemController::defaultController() {
  static std::once_flag once;
  static std::shared_ptr<GlimpseItemController> shared;
  std::call_once(once, [] { shared = make(); });
  return shared;
}

std::shared_ptr<GlimpseItemController> GlimpseItemController::initWithItemManager(
    const std::shared_ptr<PreviewItemManager>& manager) {
  auto controller = make();
  controller->setItemManagerAndDocuments(manager);
  return controller;
}

void GlimpseItemController::setItemManagerAndDocuments(const std::shared_ptr<PreviewItemManager>& manager) {
  itemManager_ = manager;
  arrayOfDocuments_.clear();
  if (manager && manager->item()) {
    arrayOfDocuments_.push_back(manager->item()->resolvedURL());
  }
}

void GlimpseItemController::glimpseNewItem(const std::shared_ptr<PreviewItemManager>& manager) {
  VELUNE_ASSERT_MAIN_THREAD();
  setItemManagerAndDocuments(manager);
  reloadData();
}

bool GlimpseItemController::isVisible() {
  return isViewLoaded() && view()->window() != nullptr;
}

void GlimpseItemController::viewWillDisappear(bool animated) {
  if (const auto manager = itemManager()) {
    manager->viewControllerWillDisappear(std::static_pointer_cast<ui::ViewController>(shared_from_this()));
  }
  platform::DocumentPreviewController::viewWillDisappear(animated);
}

std::size_t GlimpseItemController::numberOfPreviewItemsInPreviewController(platform::DocumentPreviewController&) {
  return arrayOfDocuments_.size();
}

std::shared_ptr<platform::PreviewItem> GlimpseItemController::previewControllerPreviewItemAtIndex(
    platform::DocumentPreviewController&, std::size_t index) {
  if (index >= arrayOfDocuments_.size()) {
    return nullptr;
  }
  return std::make_shared<VeluneDriveAppPreview>(arrayOfDocuments_[index]);
}

void GlimpseItemController::showMoveTarget() {
  DRLOG(kLogInfo, "Pressed Move");
  if (const auto manager = itemManager()) {
    manager->showMoveTarget(std::static_pointer_cast<ui::ViewController>(shared_from_this()));
  }
}

void GlimpseItemController::showWarningAndDeleteDocument() {
  if (const auto manager = itemManager()) {
    manager->showWarningAndDeleteDocument(std::static_pointer_cast<ui::ViewController>(shared_from_this()),
                                          barButtonDeleteItem_);
  }
}

}  // namespace velune
