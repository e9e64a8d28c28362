#pragma once
// StateCoder: the keyed values a view controller saves for state restoration
// and reads back when the interface is restored.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Value.h"

namespace velune::ui {

class StateCoder {
 public:
  StateCoder() = default;
  explicit StateCoder(platform::Value::Dictionary values) : values_(std::move(values)) {}

  void encodeObject(std::string key, platform::Value value) { values_[std::move(key)] = std::move(value); }
  void encodeInteger(std::string key, std::int64_t value) { values_[std::move(key)] = platform::Value(value); }

  bool containsValueForKey(std::string_view key) const { return values_.find(key) != values_.end(); }
  // Null when absent.
  platform::Value decodeObject(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? platform::Value() : found->second;
  }
  // 0 when absent or not a number.
  std::int64_t decodeInteger(std::string_view key) const {
    const platform::Value value = decodeObject(key);
    return value.isNumber() ? value.integerValue() : 0;
  }

  const platform::Value::Dictionary& values() const { return values_; }

 private:
  platform::Value::Dictionary values_;
};

}  // namespace velune::ui
