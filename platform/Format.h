#pragma once
// The formatter of log lines and localised texts: printf conversions plus "%@".
//
//   format("%@ has %d items (%.1f%%)", url, 3, 42.0)
//
// Conversions: %@ (any argument: its description; "(null)" for nothing;
// booleans 0/1), %d %i %u %x %X %o %c, %f %e %g %a (also with l, ll, z...),
// %s (text), %%, flags "-+ #0", width, precision, and positional arguments
// "%1$@". Arguments are checked at run time, never trusted: a wrong type, a
// missing or surplus argument or an unknown conversion is written into the text
// as a visible mark and never reads memory it should not:
//   %!d(string=abc)    an argument of the wrong type for the conversion
//   %!d(MISSING)       no argument left for the conversion
//   %!d(BADINDEX)      a positional index of 0 or beyond the last argument
//   %!q(UNSUPPORTED)   a conversion the formatter does not know
//   %!(NOVERB)         a "%" at the end of the format
//   %!(EXTRA int=4)    arguments that no conversion used, at the end

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velune::platform {

class FormatArg;

// A type whose objects describe themselves for "%@".
template <typename T>
concept Describable = requires(const T& t) {
  { t.description() } -> std::convertible_to<std::string>;
};

class FormatArg {
 public:
  enum class Kind { Null, Bool, Signed, Unsigned, Double, Text, Object };
  using DescribeFunction = std::string (*)(const void*);

  FormatArg(std::nullptr_t) : kind_(Kind::Null) {}  // NOLINT: implicit by design
  FormatArg(bool b) : kind_(Kind::Bool), unsigned_(b ? 1 : 0) {}  // NOLINT
  template <typename T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && std::is_signed_v<T>)
  FormatArg(T value) : kind_(Kind::Signed), signed_(value) {}  // NOLINT
  template <typename T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && std::is_unsigned_v<T>)
  FormatArg(T value) : kind_(Kind::Unsigned), unsigned_(value) {}  // NOLINT
  template <typename T>
    requires std::is_enum_v<T>
  FormatArg(T value) : FormatArg(static_cast<std::underlying_type_t<T>>(value)) {}  // NOLINT
  FormatArg(double value) : kind_(Kind::Double), double_(value) {}  // NOLINT
  FormatArg(float value) : kind_(Kind::Double), double_(static_cast<double>(value)) {}  // NOLINT
  FormatArg(const char* text) : kind_(text ? Kind::Text : Kind::Null), text_(text ? text : "") {}  // NOLINT
  FormatArg(char* text) : FormatArg(static_cast<const char*>(text)) {}  // NOLINT
  FormatArg(const std::string& text) : kind_(Kind::Text), text_(text) {}  // NOLINT
  FormatArg(std::string_view text) : kind_(Kind::Text), text_(text) {}  // NOLINT
  template <Describable T>
  FormatArg(const T& object) : kind_(Kind::Object), object_(&object), describe_(&describeObject<T>) {}  // NOLINT
  template <typename T>
  FormatArg(const std::optional<T>& value)  // NOLINT
      : FormatArg(value ? FormatArg(*value) : FormatArg(nullptr)) {}
  template <Describable T>
  FormatArg(const std::shared_ptr<T>& object) : FormatArg(object ? FormatArg(*object) : FormatArg(nullptr)) {}  // NOLINT
  template <Describable T>
  FormatArg(const T* object) : FormatArg(object ? FormatArg(*object) : FormatArg(nullptr)) {}  // NOLINT
  template <typename T>
  FormatArg(const std::vector<T>& list) : kind_(Kind::Object), object_(&list), describe_(&describeList<T>) {}  // NOLINT

  Kind kind() const { return kind_; }
  // What "%@" prints for this argument.
  std::string describe() const;
  // The name of the argument's type in marks ("int", "string", "object"...).
  std::string_view typeName() const;

  std::int64_t signedValue() const { return signed_; }
  std::uint64_t unsignedValue() const { return unsigned_; }
  double doubleValue() const { return double_; }
  std::string_view text() const { return text_; }

 private:
  template <typename T>
  static std::string describeObject(const void* object) {
    return static_cast<const T*>(object)->description();
  }
  template <typename T>
  static std::string describeList(const void* object) {
    const auto& list = *static_cast<const std::vector<T>*>(object);
    std::vector<std::string> parts;
    parts.reserve(list.size());
    for (const T& element : list) {
      const FormatArg arg(element);
      parts.push_back(arg.kind() == Kind::Text ? quoteIfNeeded(arg.text()) : arg.describe());
    }
    return joinAsList(parts);
  }
  static std::string quoteIfNeeded(std::string_view text);
  static std::string joinAsList(const std::vector<std::string>& parts);

  Kind kind_;
  std::int64_t signed_ = 0;
  std::uint64_t unsigned_ = 0;
  double double_ = 0;
  std::string_view text_;
  const void* object_ = nullptr;
  DescribeFunction describe_ = nullptr;
};

// Formats with a list of arguments (the form that DRLogv takes).
// `firstArgumentSelectsOnly`: the first argument may go unused without an
// EXTRA mark (plural forms use it to choose the form, not always in the text).
std::string formatList(std::string_view format, std::span<const FormatArg> args,
                       bool firstArgumentSelectsOnly = false);

template <typename... Args>
std::string format(std::string_view fmt, const Args&... args) {
  if constexpr (sizeof...(Args) == 0) {
    return formatList(fmt, {});
  } else {
    const FormatArg list[] = {FormatArg(args)...};
    return formatList(fmt, std::span<const FormatArg>(list, sizeof...(Args)));
  }
}

}  // namespace velune::platform
