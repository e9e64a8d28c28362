#pragma once
// HostPreviewService: the simulated phone previews what a browser shows by
// itself: images (but TIFF and HEIC), PDF, plain and marked-up text, HTML,
// audio and the common movie formats. Decided by the name's type, so a
// cloud-only document is known to be previewable before it is downloaded.

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "platform/PreviewService.h"
#include "platform/TypeRegistry.h"

namespace velune::host {

class HostPreviewService final : public platform::PreviewService {
 public:
  explicit HostPreviewService(std::shared_ptr<platform::TypeRegistry> types);
  bool canPreviewItemAtURL(const platform::URL& url) override;

 private:
  bool canPreviewType(const std::string& type);

  std::shared_ptr<platform::TypeRegistry> types_;
  std::mutex mutex_;
  std::unordered_map<std::string, bool> byType_;  // answers so far
};

}  // namespace velune::host
