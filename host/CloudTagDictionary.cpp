#include "host/CloudTagDictionary.h"

#include <algorithm>
#include <cctype>

#include "host/HostCloudKeyValueStore.h"

namespace velune::host {

using platform::Value;

const std::array<std::string_view, 8>& CloudTagDictionary::colourNames() {
  static const std::array<std::string_view, 8> names = {"none", "grey", "green", "purple",
                                                         "blue", "yellow", "red", "orange"};
  return names;
}

std::optional<std::uint64_t> CloudTagDictionary::colourNumber(std::string_view text) {
  if (!text.empty() && text.size() <= 19 &&
      std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    std::uint64_t number = 0;
    for (const char c : text) {
      number = number * 10 + static_cast<std::uint64_t>(c - '0');
    }
    return number;
  }
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (lower == "gray") {
    return 1;
  }
  const auto& names = colourNames();
  const auto found = std::find(names.begin(), names.end(), lower);
  if (found == names.end()) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(found - names.begin());
}

Value CloudTagDictionary::make(const std::vector<CloudTag>& tags, std::uint64_t version) {
  Value::Array entries;
  entries.reserve(tags.size());
  for (const auto& tag : tags) {
    entries.push_back(Value(Value::Dictionary{{"n", Value(tag.name)}, {"l", Value(tag.colour)}}));
  }
  return Value(Value::Dictionary{{kVersionKey, Value(version)}, {kTagsKey, Value(std::move(entries))}});
}

std::optional<platform::Error> CloudTagDictionary::write(const HomeLayout& layout, const std::vector<CloudTag>& tags,
                                                         std::uint64_t version) {
  return writeValue(layout, make(tags, version));
}

std::optional<platform::Error> CloudTagDictionary::writeValue(const HomeLayout& layout, const Value& value) {
  return HostCloudKeyValueStore::setValue(HostCloudKeyValueStore::filePath(layout), kStoreKey, value);
}

platform::Result<CloudTagList> CloudTagDictionary::read(const HomeLayout& layout) {
  auto values = HostCloudKeyValueStore::readValues(HostCloudKeyValueStore::filePath(layout));
  if (!values.ok()) {
    return values.error();
  }
  CloudTagList list;
  const auto found = values.value().find(kStoreKey);
  if (found == values.value().end()) {
    return list;
  }
  const Value& dictionary = found->second;
  list.version = dictionary[kVersionKey].unsignedValue();
  if (const auto* entries = dictionary[kTagsKey].asArray()) {
    for (const Value& entry : *entries) {
      if (const auto* name = entry["n"].asString()) {
        list.tags.push_back(CloudTag{*name, entry["l"].unsignedValue()});
      }
    }
  }
  return list;
}

}  // namespace velune::host
