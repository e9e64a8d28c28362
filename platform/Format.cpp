#include "platform/Format.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace velune::platform {
namespace {

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

struct Directive {
  std::string flags;
  std::optional<int> width;
  std::optional<int> precision;
  std::string length;  // "", "h", "hh", "l", "ll", "q", "z", "t", "j", "L"
  char conversion = 0;
};

bool isWideLength(const std::string& length) { return !length.empty() && length != "h" && length != "hh"; }

// printf of one number, with the type under our control.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string printNumber(const Directive& directive, std::string_view cLength, char conversion, auto value) {
  std::string cFormat(1, '%');
  cFormat += directive.flags;
  if (directive.width) {
    cFormat += std::to_string(*directive.width);
  }
  if (directive.precision) {
    cFormat.push_back('.');
    cFormat += std::to_string(*directive.precision);
  }
  cFormat += cLength;
  cFormat.push_back(conversion);
  char buffer[128];
  int length = std::snprintf(buffer, sizeof buffer, cFormat.c_str(), value);
  if (length < 0) {
    return {};
  }
  if (static_cast<size_t>(length) < sizeof buffer) {
    return std::string(buffer, static_cast<size_t>(length));
  }
  std::string big(static_cast<size_t>(length) + 1, '\0');
  std::snprintf(big.data(), big.size(), cFormat.c_str(), value);
  big.resize(static_cast<size_t>(length));
  return big;
}
#pragma GCC diagnostic pop

std::string pad(const Directive& directive, std::string text) {
  if (!directive.width || static_cast<int>(text.size()) >= *directive.width) {
    return text;
  }
  const std::string fill(static_cast<size_t>(*directive.width) - text.size(), ' ');
  return directive.flags.find('-') != std::string::npos ? text + fill : fill + text;
}

std::string mark(char conversion, const FormatArg& arg) {
  std::string out = "%!";
  out.push_back(conversion);
  out += "(";
  out += arg.typeName();
  out += "=";
  out += arg.describe();
  out += ")";
  return out;
}

std::string formatOne(const Directive& directive, const FormatArg& arg) {
  using Kind = FormatArg::Kind;
  const char c = directive.conversion;
  switch (c) {
    case '@':
      return pad(directive, arg.describe());
    case 's':
    case 'S':
      if (arg.kind() == Kind::Null) {
        return pad(directive, "(null)");
      }
      if (arg.kind() != Kind::Text) {
        return mark(c, arg);
      }
      if (directive.precision && static_cast<size_t>(*directive.precision) < arg.text().size()) {
        return pad(directive, std::string(arg.text().substr(0, static_cast<size_t>(*directive.precision))));
      }
      return pad(directive, std::string(arg.text()));
    case 'd':
    case 'i':
      switch (arg.kind()) {
        case Kind::Signed:
          return printNumber(directive, "ll", 'd', static_cast<long long>(arg.signedValue()));
        case Kind::Bool:
        case Kind::Unsigned:
          return printNumber(directive, "ll", 'u', static_cast<unsigned long long>(arg.unsignedValue()));
        default:
          return mark(c, arg);
      }
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      switch (arg.kind()) {
        case Kind::Signed: {
          // A negative value wraps at the width the length modifier names.
          const auto raw = static_cast<std::uint64_t>(arg.signedValue());
          const std::uint64_t value = isWideLength(directive.length) ? raw : (raw & 0xFFFFFFFFu);
          return printNumber(directive, "ll", c, static_cast<unsigned long long>(value));
        }
        case Kind::Bool:
        case Kind::Unsigned:
          return printNumber(directive, "ll", c, static_cast<unsigned long long>(arg.unsignedValue()));
        default:
          return mark(c, arg);
      }
    case 'c':
      if (arg.kind() == Kind::Signed || arg.kind() == Kind::Unsigned) {
        const auto value = arg.kind() == Kind::Signed ? static_cast<std::uint64_t>(arg.signedValue())
                                                      : arg.unsignedValue();
        return pad(directive, std::string(1, static_cast<char>(value & 0xFF)));
      }
      return mark(c, arg);
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A': {
      double value = 0;
      switch (arg.kind()) {
        case Kind::Double:
          value = arg.doubleValue();
          break;
        case Kind::Signed:
          value = static_cast<double>(arg.signedValue());
          break;
        case Kind::Bool:
        case Kind::Unsigned:
          value = static_cast<double>(arg.unsignedValue());
          break;
        default:
          return mark(c, arg);
      }
      return printNumber(directive, "", c, value);
    }
    default:
      return mark(c, arg);
  }
}

bool isFlag(char c) { return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0' || c == '\''; }

std::optional<int> readNumber(std::string_view format, size_t& i) {
  if (i >= format.size() || !std::isdigit(static_cast<unsigned char>(format[i]))) {
    return std::nullopt;
  }
  int value = 0;
  while (i < format.size() && std::isdigit(static_cast<unsigned char>(format[i]))) {
    value = std::min(value * 10 + (format[i] - '0'), 100000);
    ++i;
  }
  return value;
}

}  // namespace

std::string FormatArg::describe() const {
  switch (kind_) {
    case Kind::Null:
      return "(null)";
    case Kind::Bool:
      return unsigned_ ? "1" : "0";
    case Kind::Signed:
      return std::to_string(signed_);
    case Kind::Unsigned:
      return std::to_string(unsigned_);
    case Kind::Double:
      return describeDouble(double_);
    case Kind::Text:
      return std::string(text_);
    case Kind::Object:
      return describe_(object_);
  }
  return "(null)";
}

std::string_view FormatArg::typeName() const {
  switch (kind_) {
    case Kind::Null:
      return "null";
    case Kind::Bool:
      return "bool";
    case Kind::Signed:
      return "int";
    case Kind::Unsigned:
      return "uint";
    case Kind::Double:
      return "double";
    case Kind::Text:
      return "string";
    case Kind::Object:
      return "object";
  }
  return "unknown";
}

std::string FormatArg::quoteIfNeeded(std::string_view text) {
  bool plain = !text.empty();
  for (unsigned char c : text) {
    plain = plain && (std::isalnum(c) || c == '_' || c == '.' || c == '/');
  }
  if (plain) {
    return std::string(text);
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

std::string FormatArg::joinAsList(const std::vector<std::string>& parts) {
  if (parts.empty()) {
    return "(\n)";
  }
  std::string out = "(\n";
  for (size_t i = 0; i < parts.size(); ++i) {
    out += "    ";
    for (char c : parts[i]) {
      out.push_back(c);
      if (c == '\n') {
        out += "    ";
      }
    }
    out += i + 1 < parts.size() ? ",\n" : "\n";
  }
  out += ")";
  return out;
}

std::string formatList(std::string_view format, std::span<const FormatArg> args, bool firstArgumentSelectsOnly) {
  std::string out;
  out.reserve(format.size() + 16 * args.size());
  std::vector<bool> used(args.size(), false);
  size_t next = 0;

  size_t i = 0;
  while (i < format.size()) {
    const size_t percent = format.find('%', i);
    if (percent == std::string_view::npos) {
      out.append(format.substr(i));
      break;
    }
    out.append(format.substr(i, percent - i));
    i = percent + 1;
    if (i >= format.size()) {
      out += "%!(NOVERB)";
      break;
    }
    if (format[i] == '%') {
      out.push_back('%');
      ++i;
      continue;
    }

    // Positional index "N$".
    std::optional<size_t> position;
    {
      size_t j = i;
      if (auto number = readNumber(format, j); number && j < format.size() && format[j] == '$') {
        position = static_cast<size_t>(*number);
        i = j + 1;
      }
    }
    Directive directive;
    while (i < format.size() && isFlag(format[i])) {
      if (format[i] != '\'') {  // thousands grouping is not supported; ignored
        directive.flags.push_back(format[i]);
      }
      ++i;
    }
    bool star = false;
    if (i < format.size() && format[i] == '*') {
      star = true;
      ++i;
    } else {
      directive.width = readNumber(format, i);
    }
    if (i < format.size() && format[i] == '.') {
      ++i;
      if (i < format.size() && format[i] == '*') {
        star = true;
        ++i;
      } else {
        directive.precision = readNumber(format, i).value_or(0);
      }
    }
    while (i < format.size() && std::string_view("hlqLztj").find(format[i]) != std::string_view::npos) {
      directive.length.push_back(format[i]);
      ++i;
    }
    if (i >= format.size()) {
      out += "%!(NOVERB)";
      break;
    }
    directive.conversion = format[i];
    ++i;

    if (star || std::string_view("@sSdiuxXocfFeEgGaA").find(directive.conversion) == std::string_view::npos) {
      out += "%!";
      out.push_back(directive.conversion);
      out += "(UNSUPPORTED)";
      continue;
    }

    size_t index = 0;
    if (position) {
      if (*position == 0 || *position > args.size()) {
        out += "%!";
        out.push_back(directive.conversion);
        out += "(BADINDEX)";
        continue;
      }
      index = *position - 1;
    } else {
      if (next >= args.size()) {
        out += "%!";
        out.push_back(directive.conversion);
        out += "(MISSING)";
        continue;
      }
      index = next++;
    }
    used[index] = true;
    out += formatOne(directive, args[index]);
  }

  if (firstArgumentSelectsOnly && !used.empty()) {
    used[0] = true;
  }
  bool extra = false;
  for (size_t k = 0; k < args.size(); ++k) {
    if (used[k]) {
      continue;
    }
    out += extra ? ", " : "%!(EXTRA ";
    extra = true;
    out += args[k].typeName();
    out += "=";
    out += args[k].describe();
  }
  if (extra) {
    out += ")";
  }
  return out;
}

}  // namespace velune::platform
