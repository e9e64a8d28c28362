#pragma once
// ByteCountFormatter: byte counts as the platform shows them to people.
//
//   File / Decimal styles: 1000 bytes to the KB      (2,000,000 → "2 MB")
//   Memory / Binary styles: 1024 bytes to the KB     (104,857,600 → "100 MB")
//
// Below a kilobyte: "1 byte", "12 bytes"; zero: "Zero KB". Kilobytes show no
// fraction, megabytes one digit, larger units two; trailing zeros are dropped
// ("2 MB", "1.5 MB", "1.53 GB"). Without the unit, only the number.

#include <cstdint>
#include <string>

namespace velune::platform {

class ByteCountFormatter {
 public:
  enum class CountStyle : int { File = 0, Memory = 1, Decimal = 2, Binary = 3 };

  static std::string stringFromByteCount(std::int64_t byteCount, CountStyle style, bool includesUnit = true);
};

}  // namespace velune::platform
