#pragma once
// PromiseURLService: placeholders of cloud-only documents. A cloud-only
// document has a logical URL (its own name, where the file will be once it is
// downloaded) and a physical one (its placeholder file). A URL value can carry
// a recorded physical URL (URL::withPhysicalURL); the drive hands out the
// logical URLs of cloud-only documents with their placeholder recorded.
// Pure URL arithmetic: nothing here touches the disk. Any thread.

#include <optional>

#include "platform/URL.h"

namespace velune::platform {

class PromiseURLService {
 public:
  virtual ~PromiseURLService() = default;

  // Whether the URL names a placeholder file.
  virtual bool isPlaceholderURL(const URL& url) = 0;
  // The logical URL of the document a placeholder stands for.
  virtual std::optional<URL> logicalURLForPlaceholderURL(const URL& url) = 0;
  // `url` with `physicalURL` recorded on it.
  virtual URL recordPhysicalURL(const URL& url, const URL& physicalURL) = 0;
  // The recorded physical URL, or the URL itself when none is recorded.
  virtual URL physicalURL(const URL& url) = 0;
};

}  // namespace velune::platform
