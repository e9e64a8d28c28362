#pragma once
// Conversion between platform Values and JSON, for the files of the simulated
// phone. Kinds that JSON lacks are tagged objects: {"$data": base64},
// {"$date": seconds since 1970}, {"$url": string}. Images and errors are not
// kept (they become null).

#include <nlohmann/json.hpp>

#include "platform/Value.h"

namespace velune::host {

nlohmann::json toJson(const platform::Value& value);
platform::Value fromJson(const nlohmann::json& json);

std::string base64Encode(const platform::Value::Data& data);
std::optional<platform::Value::Data> base64Decode(std::string_view text);

}  // namespace velune::host
