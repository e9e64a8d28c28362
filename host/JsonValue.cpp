#include "host/JsonValue.h"

namespace velune::host {

using platform::Value;

namespace {
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int decodeChar(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}
}  // namespace

std::string base64Encode(const Value::Data& data) {
  std::string out;
  out.reserve((data.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < data.size(); i += 3) {
    const std::uint32_t n = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
    out.push_back(kAlphabet[(n >> 18) & 63]);
    out.push_back(kAlphabet[(n >> 12) & 63]);
    out.push_back(kAlphabet[(n >> 6) & 63]);
    out.push_back(kAlphabet[n & 63]);
  }
  if (i < data.size()) {
    std::uint32_t n = data[i] << 16;
    if (i + 1 < data.size()) {
      n |= data[i + 1] << 8;
    }
    out.push_back(kAlphabet[(n >> 18) & 63]);
    out.push_back(kAlphabet[(n >> 12) & 63]);
    out.push_back(i + 1 < data.size() ? kAlphabet[(n >> 6) & 63] : '=');
    out.push_back('=');
  }
  return out;
}

std::optional<Value::Data> base64Decode(std::string_view text) {
  Value::Data out;
  std::uint32_t buffer = 0;
  int bits = 0;
  for (char c : text) {
    if (c == '=') {
      break;
    }
    if (c == '\n' || c == '\r' || c == ' ') {
      continue;
    }
    const int value = decodeChar(c);
    if (value < 0) {
      return std::nullopt;
    }
    buffer = (buffer << 6) | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out.push_back(static_cast<std::uint8_t>((buffer >> bits) & 0xFF));
    }
  }
  return out;
}

nlohmann::json toJson(const Value& value) {
  switch (value.type()) {
    case Value::Type::Null:
    case Value::Type::Image:
    case Value::Type::Error:
      return nullptr;
    case Value::Type::Bool:
      return value.boolValue();
    case Value::Type::Int:
      return value.integerValue();
    case Value::Type::UInt:
      return value.unsignedValue();
    case Value::Type::Double:
      return value.doubleValue();
    case Value::Type::String:
      return *value.asString();
    case Value::Type::Data:
      return nlohmann::json{{"$data", base64Encode(*value.asData())}};
    case Value::Type::Date:
      return nlohmann::json{{"$date", value.asDate()->timeIntervalSince1970()}};
    case Value::Type::URL:
      return nlohmann::json{{"$url", value.asURL()->absoluteString()}};
    case Value::Type::Array: {
      auto array = nlohmann::json::array();
      for (const Value& element : *value.asArray()) {
        array.push_back(toJson(element));
      }
      return array;
    }
    case Value::Type::Dictionary: {
      auto object = nlohmann::json::object();
      for (const auto& [key, element] : *value.asDictionary()) {
        object[key] = toJson(element);
      }
      return object;
    }
  }
  return nullptr;
}

Value fromJson(const nlohmann::json& json) {
  switch (json.type()) {
    case nlohmann::json::value_t::null:
    case nlohmann::json::value_t::discarded:
    case nlohmann::json::value_t::binary:
      return Value();
    case nlohmann::json::value_t::boolean:
      return Value(json.get<bool>());
    case nlohmann::json::value_t::number_integer:
      return Value(json.get<std::int64_t>());
    case nlohmann::json::value_t::number_unsigned:
      return Value(json.get<std::uint64_t>());
    case nlohmann::json::value_t::number_float:
      return Value(json.get<double>());
    case nlohmann::json::value_t::string:
      return Value(json.get<std::string>());
    case nlohmann::json::value_t::array: {
      Value::Array array;
      array.reserve(json.size());
      for (const auto& element : json) {
        array.push_back(fromJson(element));
      }
      return Value(std::move(array));
    }
    case nlohmann::json::value_t::object: {
      if (json.size() == 1) {
        if (const auto it = json.find("$data"); it != json.end() && it->is_string()) {
          if (auto data = base64Decode(it->get<std::string>())) {
            return Value(std::move(*data));
          }
        }
        if (const auto it = json.find("$date"); it != json.end() && it->is_number()) {
          return Value(platform::Date::fromSecondsSince1970(it->get<double>()));
        }
        if (const auto it = json.find("$url"); it != json.end() && it->is_string()) {
          if (auto url = platform::URL::URLWithString(it->get<std::string>())) {
            return Value(std::move(*url));
          }
        }
      }
      Value::Dictionary dict;
      for (const auto& [key, element] : json.items()) {
        dict.emplace(key, fromJson(element));
      }
      return Value(std::move(dict));
    }
  }
  return Value();
}

}  // namespace velune::host
