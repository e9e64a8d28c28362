#pragma once
// HostURLResourceService: resource values of the simulated drive's items.
//
// A present item's values come from the file system (one statx), its sidecar
// (tags, sharing, hidden extension) and the type registry (by extension). A
// cloud-only document's promised values come from its placeholder, with the
// not-downloaded status. Items of the drive report a downloading status and a
// shared flag; items outside it report neither. Thumbnails are made from the
// file, or for a cloud-only document from the server's copy.
//
// Security-scoped access is started for items of the drive and counted, so
// that unbalanced start/stop pairs can be seen (accessCount(), and a warning
// for a stop without a start).

#include <atomic>
#include <memory>

#include "host/drive/Drive.h"
#include "platform/TypeRegistry.h"
#include "platform/URLResourceService.h"

namespace velune::host {

class HostURLResourceService final : public platform::URLResourceService {
 public:
  HostURLResourceService(std::shared_ptr<Drive> drive, std::shared_ptr<platform::TypeRegistry> types);

  bool startAccessingSecurityScopedResource(const platform::URL& url) override;
  void stopAccessingSecurityScopedResource(const platform::URL& url) override;
  platform::Result<platform::Value::Dictionary> resourceValuesForKeys(const platform::URL& url,
                                                                      const std::vector<std::string>& keys) override;
  platform::Result<platform::Value::Dictionary> promisedItemResourceValuesForKeys(
      const platform::URL& url, const std::vector<std::string>& keys) override;
  bool checkPromisedItemIsReachable(const platform::URL& url, std::optional<platform::Error>* error) override;
  platform::Result<platform::Value> resourceValueForKey(const platform::URL& url, const std::string& key) override;
  platform::Result<platform::Value> promisedItemResourceValueForKey(const platform::URL& url,
                                                                    const std::string& key) override;

  // Accesses started and not yet stopped, for all URLs.
  int accessCount() const { return accesses_.load(); }

 private:
  platform::Result<platform::Value::Dictionary> valuesOfPresentItem(const std::string& path,
                                                                    const std::vector<std::string>& keys);
  platform::Result<platform::Value::Dictionary> valuesOfPlaceholder(const std::string& logicalPath,
                                                                    const std::vector<std::string>& keys);
  std::string typeForName(const std::string& name, bool isDirectory, bool isSymbolicLink, bool* isPackage);

  std::shared_ptr<Drive> drive_;
  std::shared_ptr<platform::TypeRegistry> types_;
  std::atomic<int> accesses_{0};
};

}  // namespace velune::host
