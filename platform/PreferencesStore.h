#pragma once
// PreferencesStore: a preferences domain (the app's standard preferences, or a
// container's domain), kept as a file.
//
// - Values written with setObject() are written through to the file at once;
//   when that write fails the change stays pending and the next synchronize()
//   retries it and answers false.
// - synchronize() writes pending changes, then reads the file again, so that a
//   value written by another process is seen.
// - Launch arguments of the form "-Key value" override stored values (they are
//   read, never written).

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Value.h"

namespace velune::platform {

class PreferencesStore {
 public:
  virtual ~PreferencesStore() = default;

  virtual Value objectForKey(std::string_view key) = 0;
  // A null Value removes the key.
  virtual void setObject(std::string_view key, Value value) = 0;
  virtual void removeObject(std::string_view key) { setObject(key, Value()); }
  virtual bool synchronize() = 0;

  // Numbers as numbers; strings parsed from their start; anything else 0.
  std::int64_t integerForKey(std::string_view key) { return objectForKey(key).integerValue(); }
  bool boolForKey(std::string_view key) { return objectForKey(key).boolValue(); }
  std::optional<Value::Data> dataForKey(std::string_view key) {
    const Value value = objectForKey(key);
    if (const auto* data = value.asData()) {
      return *data;
    }
    return std::nullopt;
  }
};

}  // namespace velune::platform
