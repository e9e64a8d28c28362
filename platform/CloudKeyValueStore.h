#pragma once
// CloudKeyValueStore: the small store of values that all of the user's
// devices share through the cloud (the user's tag dictionary lives there).
//
// objectForKey() answers the value as the device holds it now, from any
// thread. When another device (or the server) changes values, the store
// posts kCloudKeyValueStoreDidChangeExternallyNotification
// (platform/Notifications.h) on the NotificationService, with the store as
// its object, from a thread of its own, after the new values are in place:
// an observer registered without a queue runs on that thread and reads the
// new values. Its user information holds the reason (kCloudKeyValueStoreChangeReasonKey,
// a CloudKeyValueStoreChangeReason as an integer) and the keys whose values
// changed (kCloudKeyValueStoreChangedKeysKey, an array of texts).

#include <string_view>

#include "platform/Value.h"

namespace velune::platform {

inline constexpr std::string_view kCloudKeyValueStoreChangeReasonKey = "ChangeReason";
inline constexpr std::string_view kCloudKeyValueStoreChangedKeysKey = "ChangedKeys";

enum class CloudKeyValueStoreChangeReason : int {
  ServerChange = 0,
  InitialSyncChange = 1,
  QuotaViolationChange = 2,
  AccountChange = 3,
};

class CloudKeyValueStore {
 public:
  virtual ~CloudKeyValueStore() = default;

  // The value for the key; a null Value when the store has none. Any thread.
  virtual Value objectForKey(std::string_view key) const = 0;
};

}  // namespace velune::platform
