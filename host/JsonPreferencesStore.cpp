#include "host/JsonPreferencesStore.h"

#include <cerrno>
#include <cstdio>

#include "host/FileIO.h"
#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "host/JsonValue.h"

namespace velune::host {

using platform::Value;

JsonPreferencesStore::JsonPreferencesStore(std::string path, Value::Dictionary arguments)
    : path_(std::move(path)), arguments_(std::move(arguments)) {
  std::lock_guard lock(mutex_);
  loadLocked();
}

void JsonPreferencesStore::loadLocked() {
  std::string contents;
  const int error = readHomeFile(path_, kSettingsFileLimit, contents);
  if (error == ENOENT) {
    // Missing: an empty domain (what another process removed is gone).
    values_.clear();
    corruptOnDisk_ = false;
    return;
  }
  // Unreadable (no permission, a link, a FIFO, too large), not JSON or nested
  // too deep: empty, and kept aside before the first write replaces it.
  const auto json = error == 0 ? parseHomeJson(contents) : nlohmann::json();
  if (!json.is_object()) {
    values_.clear();
    corruptOnDisk_ = error != 0 || !contents.empty();
    return;
  }
  corruptOnDisk_ = false;
  const Value parsed = fromJson(json);
  values_ = parsed.asDictionary() ? *parsed.asDictionary() : Value::Dictionary();
}

bool JsonPreferencesStore::writeLocked() {
  if (corruptOnDisk_) {
    // Keep what could not be read beside the new file.
    std::rename(path_.c_str(), (path_ + ".corrupt").c_str());
    corruptOnDisk_ = false;
  }
  const std::string text = homeJsonText(toJson(Value(values_)));
  if (writeFileAtomically(path_, text)) {
    dirty_ = true;
    return false;
  }
  dirty_ = false;
  return true;
}

Value JsonPreferencesStore::objectForKey(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (const auto it = arguments_.find(key); it != arguments_.end()) {
    return it->second;
  }
  const auto it = values_.find(key);
  return it == values_.end() ? Value() : it->second;
}

void JsonPreferencesStore::setObject(std::string_view key, Value value) {
  std::lock_guard lock(mutex_);
  if (value.isNull()) {
    const auto it = values_.find(key);
    if (it == values_.end()) {
      return;
    }
    values_.erase(it);
  } else {
    values_.insert_or_assign(std::string(key), std::move(value));
  }
  writeLocked();
}

bool JsonPreferencesStore::synchronize() {
  std::lock_guard lock(mutex_);
  if (dirty_ && !writeLocked()) {
    return false;
  }
  loadLocked();
  return true;
}

Value::Dictionary JsonPreferencesStore::argumentDomain(int argc, char** argv) {
  Value::Dictionary domain;
  for (int i = 1; i + 1 < argc; ++i) {
    const std::string_view key = argv[i];
    if (key.size() < 2 || key[0] != '-' || key[1] == '-') {
      continue;
    }
    const std::string text = argv[i + 1];
    const auto json = parseHomeJson(text);
    if (json.is_number() || json.is_boolean()) {
      domain.insert_or_assign(std::string(key.substr(1)), fromJson(json));
    } else {
      domain.insert_or_assign(std::string(key.substr(1)), Value(text));
    }
    ++i;
  }
  return domain;
}

}  // namespace velune::host
