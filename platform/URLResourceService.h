#pragma once
// URLResourceService: the resource values of items (name, type, size, dates,
// kind flags, sharing and download state, thumbnails), read by key.
//
// Plain values describe the file at the URL's path. Promised values describe
// the document the URL stands for: for the logical URL of a cloud-only
// document (or its placeholder file) they are the placeholder's values; for a
// real file they are the plain values. A missing item gives an error with the
// no-such-file code (ErrorCode::FileNoSuchFile). A key without a value is left
// out of the map. Keys are the names in model/DRItem.h (ResourceKey).
//
// Callable from any thread; nothing is cached, every call reads the disk.

#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {

class URLResourceService {
 public:
  virtual ~URLResourceService() = default;

  // Starts access to a security-scoped resource; true when access was started
  // (and must then be stopped once).
  virtual bool startAccessingSecurityScopedResource(const URL& url) = 0;
  virtual void stopAccessingSecurityScopedResource(const URL& url) = 0;

  virtual Result<Value::Dictionary> resourceValuesForKeys(const URL& url, const std::vector<std::string>& keys) = 0;
  virtual Result<Value::Dictionary> promisedItemResourceValuesForKeys(const URL& url,
                                                                      const std::vector<std::string>& keys) = 0;
  // True when a real item or a promised document is at the URL; otherwise
  // false and, when `error` is given, why.
  virtual bool checkPromisedItemIsReachable(const URL& url, std::optional<Error>* error = nullptr) = 0;

  // One value; null (not an error) when the item has no value for the key.
  virtual Result<Value> resourceValueForKey(const URL& url, const std::string& key) = 0;
  virtual Result<Value> promisedItemResourceValueForKey(const URL& url, const std::string& key) = 0;
};

}  // namespace velune::platform
