#pragma once
// HostCloudKeyValueStore: the simulated phone's cloud key-value store. Its
// values are a JSON object in HOME/cloud/kvstore.json, the server's copy that
// every device of the account shares; this phone never writes it (vdtool
// `cloud set-tags` and the screen's control panel play the other device).
//
// The store holds the values read last. A change of the file (inotify on the
// cloud folder, or polling where that fails) is read again on the watcher's
// thread; when values differ, the store replaces them and then posts the
// changed-from-elsewhere notification from that thread, with the keys that
// changed (platform/CloudKeyValueStore.h). Changes are read one at a time,
// in order.
//
// The file is the user's, so it is read as every home file is
// (host/BoundedJsonFile.h): a regular file only (a link, FIFO, device or
// folder is refused without blocking), at most kFileLimit bytes, JSON nested
// at most kJsonDepthLimit levels. A missing file is an empty store (removing
// it removes every value).
// A file that cannot be read or is not a JSON object is logged (level 4) and
// the values in force stay. objectForKey() is safe from any thread.

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "host/BoundedJsonFile.h"
#include "host/HomeFileWatcher.h"
#include "host/HomeLayout.h"
#include "platform/CloudKeyValueStore.h"
#include "platform/Error.h"
#include "platform/Result.h"

namespace velune::platform {
class NotificationService;
}  // namespace velune::platform

namespace velune::host {

class HostCloudKeyValueStore final : public platform::CloudKeyValueStore,
                                     public std::enable_shared_from_this<HostCloudKeyValueStore> {
 public:
  static constexpr const char* kFileName = "kvstore.json";
  // The real service keeps at most a megabyte per account.
  static constexpr std::size_t kFileLimit = kDefaultJsonFileLimit;
  static constexpr int kJsonDepthLimit = kDefaultJsonDepthLimit;

  // Reads the file once, without logging (the services are being wired);
  // nothing is watched and nothing is posted before start().
  static std::shared_ptr<HostCloudKeyValueStore> create(const HomeLayout& layout,
                                                        std::shared_ptr<platform::NotificationService> notifications);
  ~HostCloudKeyValueStore() override;
  HostCloudKeyValueStore(const HostCloudKeyValueStore&) = delete;
  HostCloudKeyValueStore& operator=(const HostCloudKeyValueStore&) = delete;

  platform::Value objectForKey(std::string_view key) const override;

  // Starts following the file (once) and reads it again now, logging its
  // problems and posting when it changed since create().
  void start(HomeFileWatcher::Method method = HomeFileWatcher::Method::Automatic);
  // Reads the file now, as a change notice does.
  void reload();
  const std::string& path() const { return path_; }

  static std::string filePath(const HomeLayout& layout);
  // The JSON value of a file read under the rules above (a missing file is
  // the general domain's no-such-file error).
  static platform::Result<platform::Value> readJsonFile(const std::string& path);
  // The values of the file at `path`: empty when it does not exist; an error
  // that says why when it cannot be read or is not a JSON object.
  static platform::Result<platform::Value::Dictionary> readValues(const std::string& path);
  // What another device does: sets `key` to `value` (a null value removes
  // it), keeping the other keys, and writes the file atomically. Refused,
  // with nothing written, when the file in place cannot be read (it is not
  // silently replaced) or when the values would not fit in kFileLimit or be
  // nested deeper than kJsonDepthLimit.
  static std::optional<platform::Error> setValue(const std::string& path, const std::string& key,
                                                 const platform::Value& value);

 private:
  HostCloudKeyValueStore(std::string path, std::shared_ptr<platform::NotificationService> notifications);

  const std::string path_;
  const std::shared_ptr<platform::NotificationService> notifications_;

  mutable std::mutex mutex_;
  std::shared_ptr<const platform::Value::Dictionary> values_;

  // Serialises reading the file and posting, so changes arrive in order.
  std::mutex reloadMutex_;
  std::once_flag started_;
  std::unique_ptr<HomeFileWatcher> watcher_;
};

}  // namespace velune::host
