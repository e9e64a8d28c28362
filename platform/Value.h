#pragma once
// Value: the platform's dynamic value. Resource values, preferences, user
// information of errors and the cloud key-value store hold Values, because the
// system tests their types at run time ("when it is a number", "when the entry
// is an image").
//
// Values are immutable and cheap to copy (arrays, dictionaries, data and
// images are shared). Dictionaries enumerate their keys in sorted order.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "platform/Date.h"
#include "platform/Forward.h"
#include "platform/URL.h"

namespace velune::platform {

class Value {
 public:
  using Array = std::vector<Value>;
  using Dictionary = std::map<std::string, Value, std::less<>>;
  using Data = std::vector<std::uint8_t>;

  enum class Type { Null, Bool, Int, UInt, Double, String, Data, Date, URL, Array, Dictionary, Image, Error };

  Value() = default;
  Value(std::nullptr_t) {}  // NOLINT: implicit by design
  Value(bool b) : storage_(b) {}  // NOLINT
  template <typename T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && std::is_signed_v<T>)
  Value(T i) : storage_(static_cast<std::int64_t>(i)) {}  // NOLINT
  template <typename T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && std::is_unsigned_v<T>)
  Value(T u) : storage_(static_cast<std::uint64_t>(u)) {}  // NOLINT
  Value(double d) : storage_(d) {}                           // NOLINT
  Value(const char* s) : storage_(std::string(s ? s : "")) {}  // NOLINT
  Value(std::string s) : storage_(std::move(s)) {}           // NOLINT
  Value(std::string_view s) : storage_(std::string(s)) {}    // NOLINT
  Value(Data data) : storage_(std::make_shared<const Data>(std::move(data))) {}  // NOLINT
  Value(Date date) : storage_(date) {}                       // NOLINT
  Value(URL url) : storage_(std::move(url)) {}               // NOLINT
  Value(Array array) : storage_(std::make_shared<const Array>(std::move(array))) {}  // NOLINT
  Value(Dictionary dict) : storage_(std::make_shared<const Dictionary>(std::move(dict))) {}  // NOLINT
  Value(std::shared_ptr<ui::Image> image);  // NOLINT; null image gives a null Value
  Value(const Error& error);                // NOLINT

  Type type() const { return static_cast<Type>(storage_.index()); }
  bool isNull() const { return type() == Type::Null; }
  // True for booleans and every kind of number, as the platform's number object.
  bool isNumber() const;
  bool isString() const { return type() == Type::String; }
  bool isDate() const { return type() == Type::Date; }
  bool isURL() const { return type() == Type::URL; }
  bool isArray() const { return type() == Type::Array; }
  bool isDictionary() const { return type() == Type::Dictionary; }
  bool isData() const { return type() == Type::Data; }
  bool isImage() const { return type() == Type::Image; }
  bool isError() const { return type() == Type::Error; }

  // Typed access: null when the Value holds something else.
  const std::string* asString() const { return std::get_if<std::string>(&storage_); }
  const Date* asDate() const { return std::get_if<Date>(&storage_); }
  const URL* asURL() const { return std::get_if<URL>(&storage_); }
  const Array* asArray() const;
  const Dictionary* asDictionary() const;
  const Data* asData() const;
  std::shared_ptr<ui::Image> asImage() const;
  const Error* asError() const;

  // Conversions in the manner of the platform's number and string objects:
  // numbers convert; strings are parsed from their start (blanks, sign,
  // digits; "YES"/"true" for booleans); anything else gives 0 / false.
  // Integer conversions saturate instead of overflowing.
  bool boolValue() const;
  std::int64_t integerValue() const;
  std::uint64_t unsignedValue() const;
  double doubleValue() const;

  // Dictionary lookup; a null Value when missing or not a dictionary.
  const Value& operator[](std::string_view key) const;
  // Array element; a null Value when out of range or not an array.
  const Value& at(size_t index) const;
  size_t count() const;

  // The platform's description: "(null)", numbers as numbers (booleans 0/1),
  // strings as they are, dates in UTC, arrays "(a, b)", dictionaries "{k = v;}".
  std::string description() const;

  bool operator==(const Value& other) const;

 private:
  using Storage = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string,
                               std::shared_ptr<const Data>, Date, URL, std::shared_ptr<const Array>,
                               std::shared_ptr<const Dictionary>, std::shared_ptr<ui::Image>,
                               std::shared_ptr<const Error>>;
  Storage storage_;
};

}  // namespace velune::platform
