#include "platform/DocumentPreviewView.h"

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::platform {

void DocumentPreviewView::showDocument(std::optional<URL> url, bool wantsDefaultMediaPlayer) {
  VELUNE_ASSERT_MAIN_THREAD();
  documentURL_ = std::move(url);
  wantsDefaultMediaPlayer_ = wantsDefaultMediaPlayer;
  ++revision_;
  ui::ModelChanges::noteChanged();
}

}  // namespace velune::platform
