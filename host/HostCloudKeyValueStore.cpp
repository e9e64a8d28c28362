#include "host/HostCloudKeyValueStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

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

// The file's bytes under the rules of every home file: no link is followed,
// only a regular file is read (a FIFO without a writer must not block the
// open), and never more than the limit. ENOENT when there is none.
int readBounded(const std::string& path, std::size_t limit, std::string& contents) {
  contents.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    return errno;
  }
  struct stat info {};
  int error = 0;
  if (::fstat(fd, &info) != 0) {
    error = errno;
  } else if (S_ISDIR(info.st_mode)) {
    error = EISDIR;
  } else if (!S_ISREG(info.st_mode)) {
    error = ENODEV;
  } else if (static_cast<std::uint64_t>(info.st_size) > limit) {
    error = EFBIG;
  }
  char buffer[16384];
  // One byte past the limit tells a file that grew while it was read.
  while (error == 0 && contents.size() <= limit) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n < 0) {
      error = errno;
    } else if (n == 0) {
      break;
    } else {
      contents.append(buffer, static_cast<std::size_t>(n));
    }
  }
  if (error == 0 && contents.size() > limit) {
    error = EFBIG;
  }
  ::close(fd);
  if (error != 0) {
    contents.clear();
  }
  return error;
}

// The deepest nesting of arrays and objects, counted without parsing (the
// parser and every walk over its result recurse); stops early past `limit`.
std::size_t nestingDepth(std::string_view text, std::size_t limit) {
  std::size_t depth = 0;
  std::size_t deepest = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
      if (deepest > limit) {
        return deepest;
      }
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
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
  std::string text;
  switch (const int error = readBounded(path, kFileLimit, text)) {
    case 0:
      break;
    case ELOOP:
      return fileError(path, "a symbolic link; it is not followed");
    case EISDIR:
    case ENODEV:
      return fileError(path, "not a regular file");
    case EFBIG:
      return fileError(path, "larger than " + std::to_string(kFileLimit) + " bytes");
    default:
      return Error::fromErrno(error, path, false);
  }
  if (nestingDepth(text, kJsonDepthLimit) > kJsonDepthLimit) {
    return fileError(path, "nested deeper than " + std::to_string(kJsonDepthLimit) + " levels");
  }
  const auto json = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) {
    return fileError(path, "not JSON");
  }
  return fromJson(json);
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
