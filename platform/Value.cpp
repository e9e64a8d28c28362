#include "platform/Value.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

#include "platform/Error.h"

namespace velune::platform {
namespace {

const Value& nullValue() {
  static const auto* null = new Value();
  return *null;
}

std::string_view trimLeading(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
    text.remove_prefix(1);
  }
  return text;
}

// Parses a leading integer ("  -42abc" gives -42), saturating at the limits.
std::int64_t parseLeadingInteger(std::string_view text) {
  text = trimLeading(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::uint64_t magnitude = 0;
  bool overflow = false;
  for (char c : text) {
    if (c < '0' || c > '9') {
      break;
    }
    const auto digit = static_cast<std::uint64_t>(c - '0');
    if (magnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / 10) {
      overflow = true;
      break;
    }
    magnitude = magnitude * 10 + digit;
  }
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (negative) {
    if (overflow || magnitude > kMax + 1) {
      return std::numeric_limits<std::int64_t>::min();
    }
    return magnitude == kMax + 1 ? std::numeric_limits<std::int64_t>::min() : -static_cast<std::int64_t>(magnitude);
  }
  if (overflow || magnitude > kMax) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return static_cast<std::int64_t>(magnitude);
}

double parseLeadingDouble(std::string_view text) {
  text = trimLeading(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
  }
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    return text.starts_with("-") ? -HUGE_VAL : HUGE_VAL;
  }
  return result.ec == std::errc() ? value : 0.0;
}

std::int64_t saturatingInteger(double d) {
  if (std::isnan(d)) {
    return 0;
  }
  if (d >= 9.2233720368547758e18) {
    return std::numeric_limits<std::int64_t>::max();
  }
  if (d <= -9.2233720368547758e18) {
    return std::numeric_limits<std::int64_t>::min();
  }
  return static_cast<std::int64_t>(d);
}

std::string describeDouble(double d) {
  if (std::isnan(d)) {
    return "nan";
  }
  if (std::isinf(d)) {
    return d > 0 ? "inf" : "-inf";
  }
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
  return std::string(buffer, result.ptr);
}

void appendIndented(std::string& out, const std::string& text, int depth) {
  const std::string indent(static_cast<size_t>(depth) * 4, ' ');
  out += indent;
  for (char c : text) {
    out.push_back(c);
    if (c == '\n') {
      out += indent;
    }
  }
}

std::string describeKeyOrString(const std::string& text) {
  bool plain = !text.empty();
  for (unsigned char c : text) {
    plain = plain && (std::isalnum(c) || c == '_' || c == '.' || c == '/');
  }
  if (plain) {
    return text;
  }
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') {
      quoted.push_back('\\');
    }
    quoted.push_back(c);
  }
  quoted.push_back('"');
  return quoted;
}

}  // namespace

Value::Value(std::shared_ptr<ui::Image> image) {
  if (image) {
    storage_ = std::move(image);
  }
}

Value::Value(const Error& error) : storage_(std::make_shared<const Error>(error)) {}

bool Value::isNumber() const {
  switch (type()) {
    case Type::Bool:
    case Type::Int:
    case Type::UInt:
    case Type::Double:
      return true;
    default:
      return false;
  }
}

const Value::Array* Value::asArray() const {
  const auto* array = std::get_if<std::shared_ptr<const Array>>(&storage_);
  return array ? array->get() : nullptr;
}

const Value::Dictionary* Value::asDictionary() const {
  const auto* dict = std::get_if<std::shared_ptr<const Dictionary>>(&storage_);
  return dict ? dict->get() : nullptr;
}

const Value::Data* Value::asData() const {
  const auto* data = std::get_if<std::shared_ptr<const Data>>(&storage_);
  return data ? data->get() : nullptr;
}

std::shared_ptr<ui::Image> Value::asImage() const {
  const auto* image = std::get_if<std::shared_ptr<ui::Image>>(&storage_);
  return image ? *image : nullptr;
}

const Error* Value::asError() const {
  const auto* error = std::get_if<std::shared_ptr<const Error>>(&storage_);
  return error ? error->get() : nullptr;
}

bool Value::boolValue() const {
  switch (type()) {
    case Type::Bool:
      return std::get<bool>(storage_);
    case Type::Int:
      return std::get<std::int64_t>(storage_) != 0;
    case Type::UInt:
      return std::get<std::uint64_t>(storage_) != 0;
    case Type::Double:
      return std::get<double>(storage_) != 0.0;
    case Type::String: {
      // Like the platform's strings: "Y", "y", "T", "t" or a non-zero digit
      // after blanks, zeros and a sign.
      std::string_view text = trimLeading(*asString());
      if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        text.remove_prefix(1);
      }
      while (!text.empty() && text.front() == '0') {
        text.remove_prefix(1);
      }
      if (text.empty()) {
        return false;
      }
      const char c = text.front();
      return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
    }
    default:
      return false;
  }
}

std::int64_t Value::integerValue() const {
  switch (type()) {
    case Type::Bool:
      return std::get<bool>(storage_) ? 1 : 0;
    case Type::Int:
      return std::get<std::int64_t>(storage_);
    case Type::UInt: {
      const auto u = std::get<std::uint64_t>(storage_);
      return u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
                 ? std::numeric_limits<std::int64_t>::max()
                 : static_cast<std::int64_t>(u);
    }
    case Type::Double:
      return saturatingInteger(std::get<double>(storage_));
    case Type::String:
      return parseLeadingInteger(*asString());
    default:
      return 0;
  }
}

std::uint64_t Value::unsignedValue() const {
  switch (type()) {
    case Type::UInt:
      return std::get<std::uint64_t>(storage_);
    case Type::Double: {
      const double d = std::get<double>(storage_);
      if (std::isnan(d) || d <= 0) {
        return 0;
      }
      return d >= 1.8446744073709552e19 ? std::numeric_limits<std::uint64_t>::max() : static_cast<std::uint64_t>(d);
    }
    default: {
      const std::int64_t i = integerValue();
      return i < 0 ? 0 : static_cast<std::uint64_t>(i);
    }
  }
}

double Value::doubleValue() const {
  switch (type()) {
    case Type::Bool:
      return std::get<bool>(storage_) ? 1.0 : 0.0;
    case Type::Int:
      return static_cast<double>(std::get<std::int64_t>(storage_));
    case Type::UInt:
      return static_cast<double>(std::get<std::uint64_t>(storage_));
    case Type::Double:
      return std::get<double>(storage_);
    case Type::String:
      return parseLeadingDouble(*asString());
    default:
      return 0.0;
  }
}

const Value& Value::operator[](std::string_view key) const {
  const Dictionary* dict = asDictionary();
  if (dict == nullptr) {
    return nullValue();
  }
  const auto it = dict->find(key);
  return it == dict->end() ? nullValue() : it->second;
}

const Value& Value::at(size_t index) const {
  const Array* array = asArray();
  if (array == nullptr || index >= array->size()) {
    return nullValue();
  }
  return (*array)[index];
}

size_t Value::count() const {
  if (const Array* array = asArray()) {
    return array->size();
  }
  if (const Dictionary* dict = asDictionary()) {
    return dict->size();
  }
  return 0;
}

std::string Value::description() const {
  switch (type()) {
    case Type::Null:
      return "(null)";
    case Type::Bool:
      return std::get<bool>(storage_) ? "1" : "0";
    case Type::Int:
      return std::to_string(std::get<std::int64_t>(storage_));
    case Type::UInt:
      return std::to_string(std::get<std::uint64_t>(storage_));
    case Type::Double:
      return describeDouble(std::get<double>(storage_));
    case Type::String:
      return *asString();
    case Type::Data: {
      static constexpr char kHex[] = "0123456789abcdef";
      const Data& data = *asData();
      std::string out = "{length = " + std::to_string(data.size()) + ", bytes = 0x";
      const size_t shown = std::min<size_t>(data.size(), 32);
      for (size_t i = 0; i < shown; ++i) {
        out.push_back(kHex[data[i] >> 4]);
        out.push_back(kHex[data[i] & 0xF]);
      }
      if (shown < data.size()) {
        out += "...";
      }
      out += "}";
      return out;
    }
    case Type::Date:
      return asDate()->description();
    case Type::URL:
      return asURL()->absoluteString();
    case Type::Array: {
      const Array& array = *asArray();
      if (array.empty()) {
        return "(\n)";
      }
      std::string out = "(\n";
      for (size_t i = 0; i < array.size(); ++i) {
        const Value& element = array[i];
        appendIndented(out, element.isString() ? describeKeyOrString(*element.asString()) : element.description(), 1);
        out += i + 1 < array.size() ? ",\n" : "\n";
      }
      out += ")";
      return out;
    }
    case Type::Dictionary: {
      const Dictionary& dict = *asDictionary();
      std::string out = "{\n";
      for (const auto& [key, element] : dict) {
        std::string line = describeKeyOrString(key) + " = " +
                           (element.isString() ? describeKeyOrString(*element.asString()) : element.description()) +
                           ";";
        appendIndented(out, line, 1);
        out += "\n";
      }
      out += "}";
      return out;
    }
    case Type::Image:
      return "<Image>";
    case Type::Error:
      return asError()->description();
  }
  return "(null)";
}

bool Value::operator==(const Value& other) const {
  if (isNumber() && other.isNumber()) {
    if (type() == Type::Double || other.type() == Type::Double) {
      return doubleValue() == other.doubleValue();
    }
    if (type() == Type::UInt || other.type() == Type::UInt) {
      // Compare as unsigned only when neither side is negative.
      const bool leftNegative = type() == Type::Int && std::get<std::int64_t>(storage_) < 0;
      const bool rightNegative = other.type() == Type::Int && std::get<std::int64_t>(other.storage_) < 0;
      return !leftNegative && !rightNegative && unsignedValue() == other.unsignedValue();
    }
    return integerValue() == other.integerValue();
  }
  if (type() != other.type()) {
    return false;
  }
  switch (type()) {
    case Type::Null:
      return true;
    case Type::String:
      return *asString() == *other.asString();
    case Type::Data:
      return *asData() == *other.asData();
    case Type::Date:
      return *asDate() == *other.asDate();
    case Type::URL:
      return *asURL() == *other.asURL();
    case Type::Array:
      return *asArray() == *other.asArray();
    case Type::Dictionary:
      return *asDictionary() == *other.asDictionary();
    case Type::Image:
      return asImage() == other.asImage();
    case Type::Error:
      return *asError() == *other.asError();
    default:
      return false;
  }
}

}  // namespace velune::platform
