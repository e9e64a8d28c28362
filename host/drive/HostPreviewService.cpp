#include "host/drive/HostPreviewService.h"

#include "host/drive/DrivePaths.h"

namespace velune::host {

HostPreviewService::HostPreviewService(std::shared_ptr<platform::TypeRegistry> types) : types_(std::move(types)) {}

bool HostPreviewService::canPreviewItemAtURL(const platform::URL& url) {
  if (!url.isFileURL() || url.hasDirectoryPath()) {
    return false;
  }
  std::string name = url.lastPathComponent();
  if (const auto logical = logicalNameOfPlaceholder(name)) {
    name = *logical;
  }
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) {
    return false;
  }
  const std::string type = types_->preferredIdentifierForExtension(name.substr(dot + 1));
  if (type.empty()) {
    return false;
  }
  return canPreviewType(type);
}

bool HostPreviewService::canPreviewType(const std::string& type) {
  std::lock_guard lock(mutex_);
  if (const auto known = byType_.find(type); known != byType_.end()) {
    return known->second;
  }
  bool answer = false;
  bool refused = false;
  for (const char* unshown : {"public.tiff", "public.heic", "public.rtf", "public.avi", "public.mpeg", "public.package",
                              "public.directory"}) {
    refused = refused || types_->typeConformsTo(type, unshown);
  }
  for (const char* shown : {"public.image", "public.pdf", "public.text", "public.audio", "public.movie"}) {
    answer = answer || (!refused && types_->typeConformsTo(type, shown));
  }
  byType_.emplace(type, answer);
  return answer;
}

}  // namespace velune::host
