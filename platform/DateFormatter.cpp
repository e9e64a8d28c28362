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

std::u16string toUTF16(std::string_view text) {
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<int32_t>(text.size()), &status);
  std::u16string out(static_cast<size_t>(length), u'\0');
  status = U_ZERO_ERROR;
  u_strFromUTF8(out.data(), length, nullptr, text.data(), static_cast<int32_t>(text.size()), &status);
  return U_FAILURE(status) ? std::u16string() : out;
}

std::string toUTF8(const UChar* text, int32_t length) {
  int32_t length8 = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(nullptr, 0, &length8, text, length, &status);
  std::string out(static_cast<size_t>(length8), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8(out.data(), length8, nullptr, text, length, &status);
  return U_FAILURE(status) ? std::string() : out;
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
    const std::u16string zone = toUTF16(timeZoneId);
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
  return toUTF8(buffer.data(), length);
}

}  // namespace velune::platform
