#include "platform/DateFormatter.h"

#include <unicode/udat.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <vector>

#include "platform/Localization.h"
#include "platform/UTF8.h"

namespace velune::platform {
namespace {

UDateFormatStyle icuStyle(int style) {
  switch (std::clamp(style, 0, 4)) {
    case 1:
      return UDAT_SHORT;
    case 2:
      return UDAT_MEDIUM;
    case 3:
      return UDAT_LONG;
    case 4:
      return UDAT_FULL;
    default:
      return UDAT_NONE;
  }
}

struct FormatterDeleter {
  void operator()(UDateFormat* format) const { udat_close(format); }
};
using FormatterPointer = std::unique_ptr<UDateFormat, FormatterDeleter>;

// ICU formatters are costly to open and not safe to share while formatting:
// they are kept per styles and zone and used under one lock.
struct FormatterCache {
  std::mutex mutex;
  std::map<std::tuple<int, int, std::string>, FormatterPointer> formatters;
};

FormatterCache& cache() {
  static auto* shared = new FormatterCache();
  return *shared;
}

}  // namespace

std::string DateFormatter::localizedString(Date date, int dateStyle, int timeStyle, std::string_view timeZoneId) {
  const int dateKey = std::clamp(dateStyle, 0, 4);
  const int timeKey = std::clamp(timeStyle, 0, 4);
  if (dateKey == 0 && timeKey == 0) {
    return {};
  }
  auto& shared = cache();
  std::lock_guard lock(shared.mutex);
  auto key = std::make_tuple(dateKey, timeKey, std::string(timeZoneId));
  auto found = shared.formatters.find(key);
  if (found == shared.formatters.end()) {
    const std::u16string zone = toUTF16(timeZoneId).value_or(std::u16string());
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat* opened =
        udat_open(icuStyle(timeKey), icuStyle(dateKey), appLocaleIdentifier(), zone.empty() ? nullptr : zone.data(),
                  zone.empty() ? -1 : static_cast<int32_t>(zone.size()), nullptr, -1, &status);
    if (U_FAILURE(status) || opened == nullptr) {
      return {};
    }
    found = shared.formatters.emplace(std::move(key), FormatterPointer(opened)).first;
  }
  std::vector<UChar> buffer(128);
  UErrorCode status = U_ZERO_ERROR;
  const UDate milliseconds = date.timeIntervalSince1970() * 1000.0;
  int32_t length = udat_format(found->second.get(), milliseconds, buffer.data(), static_cast<int32_t>(buffer.size()),
                               nullptr, &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    buffer.resize(static_cast<size_t>(length) + 1);
    status = U_ZERO_ERROR;
    length = udat_format(found->second.get(), milliseconds, buffer.data(), static_cast<int32_t>(buffer.size()), nullptr,
                         &status);
  }
  if (U_FAILURE(status)) {
    return {};
  }
  return fromUTF16(std::u16string_view(buffer.data(), static_cast<size_t>(length)));
}

}  // namespace velune::platform
