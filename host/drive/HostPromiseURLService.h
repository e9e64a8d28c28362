#pragma once
// HostPromiseURLService: placeholders are the hidden files ".NAME.placeholder"
// beside where NAME will be once downloaded (see DrivePaths.h).

#include "platform/PromiseURLService.h"

namespace velune::host {

class HostPromiseURLService final : public platform::PromiseURLService {
 public:
  bool isPlaceholderURL(const platform::URL& url) override;
  std::optional<platform::URL> logicalURLForPlaceholderURL(const platform::URL& url) override;
  platform::URL recordPhysicalURL(const platform::URL& url, const platform::URL& physicalURL) override;
  platform::URL physicalURL(const platform::URL& url) override;
};

}  // namespace velune::host
