#pragma once
// HostPreviewService: the simulated phone previews what a browser shows by
// itself: images (but TIFF and HEIC), PDF, plain and marked-up text, HTML,
// audio and the common movie formats. Decided by the name's type, so a
// cloud-only document is known to be previewable before it is downloaded.

#include <memory>

#include "platform/PreviewService.h"
#include "platform/TypeRegistry.h"

namespace velune::host {

class HostPreviewService final : public platform::PreviewService {
 public:
  explicit HostPreviewService(std::shared_ptr<platform::TypeRegistry> types);
  bool canPreviewItemAtURL(const platform::URL& url) override;

 private:
  std::shared_ptr<platform::TypeRegistry> types_;
};

}  // namespace velune::host
