#pragma once
// PreviewService: whether the system's document preview can show an item (by
// its type; a cloud-only document can be previewable before it is
// downloaded). Callable from any thread.

#include "platform/URL.h"

namespace velune::platform {

class PreviewService {
 public:
  virtual ~PreviewService() = default;

  virtual bool canPreviewItemAtURL(const URL& url) = 0;
};

}  // namespace velune::platform
