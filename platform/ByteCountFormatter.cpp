#include "platform/ByteCountFormatter.h"

#include <cmath>
#include <cstdio>

namespace velune::platform {
namespace {

// "1234567.5" with grouping and the given fraction digits, trailing zeros dropped.
std::string groupedNumber(double value, int fractionDigits) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", fractionDigits, value);
  std::string text = buffer;
  std::string fraction;
  if (const size_t dot = text.find('.'); dot != std::string::npos) {
    fraction = text.substr(dot + 1);
    text.resize(dot);
    while (!fraction.empty() && fraction.back() == '0') {
      fraction.pop_back();
    }
  }
  std::string grouped;
  const size_t digits = text.size();
  for (size_t i = 0; i < digits; ++i) {
    grouped.push_back(text[i]);
    const size_t remaining = digits - i - 1;
    if (remaining > 0 && remaining % 3 == 0) {
      grouped.push_back(',');
    }
  }
  return fraction.empty() ? grouped : grouped + "." + fraction;
}

}  // namespace

std::string ByteCountFormatter::stringFromByteCount(std::int64_t byteCount, CountStyle style, bool includesUnit) {
  static constexpr const char* kUnits[] = {"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};
  static constexpr int kFractionDigits[] = {0, 0, 1, 2, 2, 2, 2};
  const double base = (style == CountStyle::Memory || style == CountStyle::Binary) ? 1024.0 : 1000.0;

  if (byteCount == 0) {
    return includesUnit ? "Zero KB" : "0";
  }
  const bool negative = byteCount < 0;
  const double magnitude = std::fabs(static_cast<double>(byteCount));
  const std::string sign = negative ? "-" : "";

  if (magnitude < base) {
    const auto whole = static_cast<long long>(magnitude);
    if (!includesUnit) {
      return sign + groupedNumber(static_cast<double>(whole), 0);
    }
    return sign + groupedNumber(static_cast<double>(whole), 0) + (whole == 1 ? " byte" : " bytes");
  }

  int unit = 1;
  double value = magnitude / base;
  while (unit < 6) {
    // Move up when the rounded value would reach the next unit (999.99 KB is "1 MB").
    const double scale = std::pow(10.0, kFractionDigits[unit]);
    if (std::round(value * scale) / scale < base) {
      break;
    }
    value /= base;
    ++unit;
  }
  const std::string number = groupedNumber(value, kFractionDigits[unit]);
  return includesUnit ? sign + number + " " + kUnits[unit] : sign + number;
}

}  // namespace velune::platform
