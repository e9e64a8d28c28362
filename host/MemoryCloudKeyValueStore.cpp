#include "host/MemoryCloudKeyValueStore.h"

#include "platform/NotificationService.h"
#include "platform/Notifications.h"

namespace velune::host {

using platform::Value;

Value MemoryCloudKeyValueStore::objectForKey(std::string_view key) const {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  return found != values_.end() ? found->second : Value();
}

void MemoryCloudKeyValueStore::setValue(const std::string& key, Value value) {
  std::lock_guard lock(mutex_);
  values_.erase(key);
  if (!value.isNull()) {
    values_.emplace(key, std::move(value));
  }
}

void MemoryCloudKeyValueStore::changeFromAnotherDevice(const std::string& key, Value value) {
  setValue(key, std::move(value));
  if (!notifications_) {
    return;
  }
  platform::Notification notification;
  notification.name = std::string(platform::kCloudKeyValueStoreDidChangeExternallyNotification);
  notification.object = this;
  notification.userInfo.emplace(std::string(platform::kCloudKeyValueStoreChangeReasonKey),
                                Value(static_cast<int>(platform::CloudKeyValueStoreChangeReason::ServerChange)));
  notification.userInfo.emplace(std::string(platform::kCloudKeyValueStoreChangedKeysKey), Value(Value::Array{Value(key)}));
  notifications_->post(notification);
}

}  // namespace velune::host
