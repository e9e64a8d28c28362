#include "preview/PreviewItemManager.h"

#include "diag/DRLogging.h"
#include "model/DRItem.h"
#include "platform/MainThread.h"

namespace velune {

std::shared_ptr<PreviewItemManager> PreviewItemManager::create() {
  return std::shared_ptr<PreviewItemManager>(new PreviewItemManager());
}

std::shared_ptr<ui::ViewController> PreviewItemManager::prepareToPreviewItem(const std::shared_ptr<DRItem>& item) {
  VELUNE_ASSERT_MAIN_THREAD();
  item_ = item;
  presenting_ = item != nullptr;
  // No page is chosen yet for any item or mode: the caller shows the folder.
  return nullptr;
}

void PreviewItemManager::finishPreviewingItem() { VELUNE_ASSERT_MAIN_THREAD(); }

void PreviewItemManager::previewItem(const std::shared_ptr<DRItem>& item) {
  VELUNE_ASSERT_MAIN_THREAD();
  item_ = item;
  presenting_ = item != nullptr;
  if (item) {
    DRLOG(kLogDebug, "No preview page exists yet for %@ (mode %d); nothing is shown", item->url(), mode_);
  }
}

void PreviewItemManager::unregisterAsFilePresenter() {
  VELUNE_ASSERT_MAIN_THREAD();
  presenting_ = false;
}

}  // namespace velune
