#include "host/drive/PlaceholderMetadata.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "host/HomeJson.h"
#include "platform/Error.h"

namespace velune::host {

using platform::Date;
using platform::Error;

platform::Result<PlaceholderMetadata> PlaceholderMetadata::parse(std::string_view text, const std::string& path,
                                                                 std::vector<std::string>* problems) {
  const auto json = parseHomeJson(text);
  if (!json.is_object()) {
    return Error::platform(platform::ErrorCode::FileReadCorruptFile,
                           {{std::string(platform::kFilePathErrorKey), platform::Value(path)}});
  }
  auto problem = [&](std::string message) {
    if (problems != nullptr) {
      problems->push_back(std::move(message));
    }
  };
  PlaceholderMetadata out;
  if (const auto it = json.find("size"); it != json.end() && !it->is_null()) {
    if (it->is_number_unsigned()) {
      out.size = it->get<std::uint64_t>();
    } else if (it->is_number_integer() && it->get<std::int64_t>() >= 0) {
      out.size = static_cast<std::uint64_t>(it->get<std::int64_t>());
    } else {
      problem("\"size\" is not a number of bytes");
    }
  }
  if (const auto it = json.find("type"); it != json.end() && !it->is_null()) {
    if (it->is_string() && !it->get<std::string>().empty()) {
      out.type = it->get<std::string>();
    } else {
      problem("\"type\" is not a type identifier");
    }
  }
  auto readDate = [&](const char* key, std::optional<Date>& field) {
    const auto it = json.find(key);
    if (it == json.end() || it->is_null()) {
      return;
    }
    if (it->is_number() && std::isfinite(it->get<double>())) {
      field = Date::fromSecondsSince1970(it->get<double>());
    } else {
      problem(std::string("\"") + key + "\" is not a number of seconds since 1970");
    }
  };
  readDate("created", out.created);
  readDate("modified", out.modified);
  if (const auto it = json.find("package"); it != json.end() && !it->is_null()) {
    if (it->is_boolean()) {
      out.isPackage = it->get<bool>();
    } else {
      problem("\"package\" is not true or false");
    }
  }
  out.attributes = ItemAttributes::fromJson(json, problems);
  return out;
}

std::string PlaceholderMetadata::serialize() const {
  nlohmann::json object = nlohmann::json::object();
  if (size) {
    object["size"] = *size;
  }
  if (type) {
    object["type"] = *type;
  }
  if (created) {
    object["created"] = created->timeIntervalSince1970();
  }
  if (modified) {
    object["modified"] = modified->timeIntervalSince1970();
  }
  if (isPackage) {
    object["package"] = true;
  }
  attributes.addToJson(object);
  return homeJsonText(object);
}

}  // namespace velune::host
