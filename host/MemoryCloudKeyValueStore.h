#pragma once
// MemoryCloudKeyValueStore: a cloud key-value store whose values live in
// memory, for tests and benchmarks. changeFromAnotherDevice() replaces a
// value as the server would and then posts the changed-from-elsewhere
// notification on the caller's thread, as the real store posts from its own.
// Any thread.

#include <memory>
#include <mutex>
#include <string>

#include "platform/CloudKeyValueStore.h"

namespace velune::platform {
class NotificationService;
}  // namespace velune::platform

namespace velune::host {

class MemoryCloudKeyValueStore final : public platform::CloudKeyValueStore {
 public:
  explicit MemoryCloudKeyValueStore(std::shared_ptr<platform::NotificationService> notifications)
      : notifications_(std::move(notifications)) {}

  platform::Value objectForKey(std::string_view key) const override;

  // Sets the value (a null value removes it) without telling anyone, as the
  // values a device already holds when it starts.
  void setValue(const std::string& key, platform::Value value);
  // Sets the value, then posts the notification with that key as changed.
  void changeFromAnotherDevice(const std::string& key, platform::Value value);

 private:
  const std::shared_ptr<platform::NotificationService> notifications_;
  mutable std::mutex mutex_;
  platform::Value::Dictionary values_;
};

}  // namespace velune::host
