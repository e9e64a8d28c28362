#include "platform/Localization.h"

#include <unicode/uloc.h>
#include <unicode/upluralrules.h>
#include <unicode/ustring.h>

#include <atomic>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <variant>

#include "platform/EmbeddedStrings.h"

namespace velune::platform {
namespace {

using PluralForms = std::map<std::string, std::string, std::less<>>;
using Entry = std::variant<std::string, PluralForms>;

struct StringTable {
  std::map<std::string, Entry, std::less<>> entries;
};

const StringTable& table() {
  static const StringTable* loaded = [] {
    auto* result = new StringTable();
    for (const std::string_view source : embeddedStringTables()) {
      const auto json = nlohmann::json::parse(source, nullptr, /*allow_exceptions=*/false);
      if (!json.is_object()) {
        continue;  // a broken table file is a build-time mistake; the keys then show as themselves
      }
      for (const auto& [key, value] : json.items()) {
        if (value.is_string()) {
          result->entries[key] = value.get<std::string>();
        } else if (value.is_object()) {
          PluralForms forms;
          for (const auto& [category, text] : value.items()) {
            if (text.is_string()) {
              forms[category] = text.get<std::string>();
            }
          }
          result->entries[key] = std::move(forms);
        }
      }
    }
    return result;
  }();
  return *loaded;
}

bool isNumeric(const FormatArg& arg) {
  switch (arg.kind()) {
    case FormatArg::Kind::Signed:
    case FormatArg::Kind::Unsigned:
    case FormatArg::Kind::Bool:
    case FormatArg::Kind::Double:
      return true;
    default:
      return false;
  }
}

double numericValue(const FormatArg& arg) {
  switch (arg.kind()) {
    case FormatArg::Kind::Signed:
      return static_cast<double>(arg.signedValue());
    case FormatArg::Kind::Double:
      return arg.doubleValue();
    default:
      return static_cast<double>(arg.unsignedValue());
  }
}

std::atomic<bool> gPseudoLocalization{false};

std::string fromTable(std::string text) {
  if (gPseudoLocalization.load(std::memory_order_relaxed)) {
    return "[" + text + "]";
  }
  return text;
}

}  // namespace

void setPseudoLocalization(bool on) { gPseudoLocalization.store(on, std::memory_order_relaxed); }

const char* appLocaleIdentifier() { return "en_US"; }

bool appLayoutIsRightToLeft() {
  static const bool rightToLeft = uloc_isRightToLeft(appLocaleIdentifier()) != 0;
  return rightToLeft;
}

std::string pluralCategory(double number) {
  static UPluralRules* rules = [] {
    UErrorCode status = U_ZERO_ERROR;
    UPluralRules* opened = uplrules_open(appLocaleIdentifier(), &status);
    return U_SUCCESS(status) ? opened : nullptr;
  }();
  if (rules == nullptr) {
    return number == 1.0 ? "one" : "other";
  }
  UChar keyword[32];
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = uplrules_select(rules, number, keyword, 32, &status);
  if (U_FAILURE(status) || length <= 0) {
    return "other";
  }
  std::string category;
  for (int32_t i = 0; i < length; ++i) {
    category.push_back(static_cast<char>(keyword[i]));  // plural keywords are ASCII
  }
  return category;
}

std::string localized(std::string_view key) {
  const auto& entries = table().entries;
  const auto it = entries.find(key);
  if (it == entries.end()) {
    return std::string(key);
  }
  if (const auto* text = std::get_if<std::string>(&it->second)) {
    return fromTable(*text);
  }
  const auto& forms = std::get<PluralForms>(it->second);
  const auto other = forms.find("other");
  return other != forms.end() ? fromTable(other->second) : std::string(key);
}

std::string localizedFormatList(std::string_view key, std::span<const FormatArg> args) {
  const auto& entries = table().entries;
  const auto it = entries.find(key);
  if (it == entries.end()) {
    return formatList(key, args);
  }
  if (const auto* text = std::get_if<std::string>(&it->second)) {
    return fromTable(formatList(*text, args));
  }
  const auto& forms = std::get<PluralForms>(it->second);
  const std::string category = !args.empty() && isNumeric(args[0]) ? pluralCategory(numericValue(args[0])) : "other";
  auto form = forms.find(category);
  if (form == forms.end()) {
    form = forms.find("other");
  }
  if (form == forms.end()) {
    return formatList(key, args, /*firstArgumentSelectsOnly=*/true);
  }
  return fromTable(formatList(form->second, args, /*firstArgumentSelectsOnly=*/true));
}

}  // namespace velune::platform
