#include "platform/NameCollator.h"

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <vector>

#include "platform/Localization.h"

namespace velune::platform {

struct NameCollator::State {
  UCollator* collator = nullptr;
};

NameCollator::NameCollator() : state_(std::make_unique<State>()) {
  UErrorCode status = U_ZERO_ERROR;
  state_->collator = ucol_open(appLocaleIdentifier(), &status);
  if (U_FAILURE(status) || state_->collator == nullptr) {
    status = U_ZERO_ERROR;
    state_->collator = ucol_open("", &status);  // the root rules
  }
  if (state_->collator != nullptr) {
    status = U_ZERO_ERROR;
    ucol_setStrength(state_->collator, UCOL_SECONDARY);
    ucol_setAttribute(state_->collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  }
}

NameCollator::~NameCollator() {
  if (state_->collator != nullptr) {
    ucol_close(state_->collator);
  }
}

std::string NameCollator::sortKey(std::string_view name) const {
  std::string key;
  if (state_->collator != nullptr) {
    std::vector<UChar> text(name.size() + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<int32_t>(text.size()), &length, name.data(),
                         static_cast<int32_t>(name.size()), 0xFFFD, nullptr, &status);
    if (U_SUCCESS(status)) {
      key.resize(std::max<size_t>(64, name.size() * 4));
      int32_t needed = ucol_getSortKey(state_->collator, text.data(), length,
                                       reinterpret_cast<uint8_t*>(key.data()), static_cast<int32_t>(key.size()));
      if (needed > static_cast<int32_t>(key.size())) {
        key.resize(static_cast<size_t>(needed));
        needed = ucol_getSortKey(state_->collator, text.data(), length, reinterpret_cast<uint8_t*>(key.data()),
                                 static_cast<int32_t>(key.size()));
      }
      // The key ends in a zero byte; drop it so the tie-break below compares.
      key.resize(needed > 0 ? static_cast<size_t>(needed - 1) : 0);
    }
  }
  // Equal keys (names equal but for case) fall back to the bytes.
  key.push_back('\0');
  key.append(name);
  return key;
}

bool NameCollator::less(std::string_view a, std::string_view b) const { return sortKey(a) < sortKey(b); }

}  // namespace velune::platform
