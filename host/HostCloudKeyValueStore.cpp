#include "host/HostCloudKeyValueStore.h"

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "host/BoundedJsonFile.h"
#include "host/FileIO.h"
#include "host/JsonValue.h"
#include "platform/Log.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"

namespace velune::host {

using platform::Error;
using platform::Value;

namespace {

Error fileError(const std::string& path, const std::string& why) {
  Value::Dictionary info;
  info.emplace(std::string(platform::kLocalizedDescriptionKey), Value(path + ": " + why));
  info.emplace(std::string(platform::kFilePathErrorKey), Value(path));
  return Error::platform(platform::ErrorCode::FileReadCorruptFile, std::move(info));
}

// The home-file reader's refusals (a link, not a regular file, too large,
// too deep, not JSON) say why in their description; a missing file keeps its
// no-such-file code, by which callers tell it.
Error describedReadError(const std::string& path, const Error& error) {
  if (error.code() != platform::ErrorCode::FileReadCorruptFile) {
    return error;
  }
  return fileError(path, error.localizedDescription().value_or("not JSON"));
}

std::vector<std::string> changedKeys(const Value::Dictionary& before, const Value::Dictionary& after) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : after) {
    const auto old = before.find(key);
    if (old == before.end() || !(old->second == value)) {
      keys.push_back(key);
    }
  }
  for (const auto& [key, value] : before) {
    if (after.find(key) == after.end()) {
      keys.push_back(key);
    }
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

}  // namespace

std::string HostCloudKeyValueStore::filePath(const HomeLayout& layout) {
  return layout.cloud() + "/" + kFileName;
}

platform::Result<Value> HostCloudKeyValueStore::readJsonFile(const std::string& path) {
  const auto json = readBoundedJsonFile(path, kFileLimit, kJsonDepthLimit);
  if (!json.ok()) {
    return describedReadError(path, json.error());
  }
  return fromJson(json.value());
}

platform::Result<Value::Dictionary> HostCloudKeyValueStore::readValues(const std::string& path) {
  auto value = readJsonFile(path);
  if (!value.ok()) {
    if (value.error().code() == platform::ErrorCode::FileReadNoSuchFile) {
      return Value::Dictionary{};
    }
    return value.error();
  }
  const auto* dictionary = value.value().asDictionary();
  if (dictionary == nullptr) {
    // Also a one-key object that reads as a tagged value ({"$date": 1}).
    return fileError(path, "not a JSON object of values");
  }
  return *dictionary;
}

std::optional<Error> HostCloudKeyValueStore::setValue(const std::string& path, const std::string& key,
                                                      const Value& value) {
  auto current = readValues(path);
  if (!current.ok()) {
    return current.error();
  }
  Value::Dictionary values = std::move(current.value());
  values.erase(key);
  if (!value.isNull()) {
    values.emplace(key, value);
  }
  const std::string text =
      toJson(Value(std::move(values))).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  // Never write a file that every reader would then refuse.
  if (!parseBoundedJson(text, kJsonDepthLimit).ok()) {
    Value::Dictionary info;
    info.emplace(std::string(platform::kLocalizedDescriptionKey),
                 Value("The values are nested deeper than " + std::to_string(kJsonDepthLimit) + " levels."));
    info.emplace(std::string(platform::kFilePathErrorKey), Value(path));
    return Error::platform(platform::ErrorCode::FileWriteUnknown, std::move(info));
  }
  if (text.size() > kFileLimit) {
    Value::Dictionary info;
    info.emplace(std::string(platform::kLocalizedDescriptionKey),
                 Value("The values would take " + std::to_string(text.size()) + " bytes; the store keeps at most " +
                       std::to_string(kFileLimit) + "."));
    info.emplace(std::string(platform::kFilePathErrorKey), Value(path));
    return Error::platform(platform::ErrorCode::FileWriteOutOfSpace, std::move(info));
  }
  return writeFileAtomically(path, text);
}

std::shared_ptr<HostCloudKeyValueStore> HostCloudKeyValueStore::create(
    const HomeLayout& layout, std::shared_ptr<platform::NotificationService> notifications) {
  return std::shared_ptr<HostCloudKeyValueStore>(
      new HostCloudKeyValueStore(filePath(layout), std::move(notifications)));
}

HostCloudKeyValueStore::HostCloudKeyValueStore(std::string path,
                                               std::shared_ptr<platform::NotificationService> notifications)
    : path_(std::move(path)), notifications_(std::move(notifications)) {
  // Not logged: start() reads the file again and says what is wrong with it.
  auto values = readValues(path_);
  values_ = std::make_shared<const Value::Dictionary>(values.ok() ? std::move(values.value()) : Value::Dictionary{});
}

HostCloudKeyValueStore::~HostCloudKeyValueStore() {
  watcher_.reset();
}

Value HostCloudKeyValueStore::objectForKey(std::string_view key) const {
  std::shared_ptr<const Value::Dictionary> values;
  {
    std::lock_guard lock(mutex_);
    values = values_;
  }
  const auto found = values->find(key);
  return found != values->end() ? found->second : Value();
}

void HostCloudKeyValueStore::start(HomeFileWatcher::Method method) {
  std::call_once(started_, [this, method] {
    const std::string folder = path_.substr(0, path_.rfind('/'));
    std::weak_ptr<HostCloudKeyValueStore> weak = weak_from_this();
    watcher_ = HomeFileWatcher::start(
        folder, kFileName,
        [weak] {
          if (const auto strong = weak.lock()) {
            strong->reload();
          }
        },
        method);
  });
  reload();
}

void HostCloudKeyValueStore::reload() {
  std::lock_guard reloading(reloadMutex_);
  auto read = readValues(path_);
  if (!read.ok()) {
    PLATFORM_LOG(kLogWarning, "The cloud key-value store keeps its values: %@", read.error().description());
    return;
  }
  std::shared_ptr<const Value::Dictionary> previous;
  auto current = std::make_shared<const Value::Dictionary>(std::move(read.value()));
  {
    std::lock_guard lock(mutex_);
    previous = values_;
  }
  const std::vector<std::string> keys = changedKeys(*previous, *current);
  if (keys.empty()) {
    return;
  }
  {
    std::lock_guard lock(mutex_);
    values_ = current;
  }
  Value::Array changed(keys.begin(), keys.end());
  PLATFORM_LOG(kLogDebug, "The cloud key-value store changed on another device: %@", Value(changed));
  if (notifications_) {
    platform::Notification notification;
    notification.name = std::string(platform::kCloudKeyValueStoreDidChangeExternallyNotification);
    notification.object = this;
    notification.userInfo.emplace(std::string(platform::kCloudKeyValueStoreChangeReasonKey),
                                  Value(static_cast<int>(platform::CloudKeyValueStoreChangeReason::ServerChange)));
    notification.userInfo.emplace(std::string(platform::kCloudKeyValueStoreChangedKeysKey), Value(std::move(changed)));
    notifications_->post(notification);
  }
}

}  // namespace velune::host
