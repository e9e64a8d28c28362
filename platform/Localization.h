#pragma once
// Localised strings. The app's string table is a set of JSON files of English
// texts (resources/strings/*.json), built into the program. A key that the
// table lacks yields the key itself.
//
// Plural keys begin with ".DICT."; their entry is an object of plural forms
// ({"one": "%d item", "other": "%d items"}). localizedFormat() picks the form
// for the first argument with the language's plural rules (ICU), then formats
// the form with all the arguments. A plural key without an entry formats the
// key itself.

#include <span>
#include <string>
#include <string_view>

#include "platform/Format.h"

namespace velune::platform {

std::string localized(std::string_view key);

std::string localizedFormatList(std::string_view key, std::span<const FormatArg> args);

template <typename... Args>
std::string localizedFormat(std::string_view key, const Args&... args) {
  if constexpr (sizeof...(Args) == 0) {
    return localizedFormatList(key, {});
  } else {
    const FormatArg list[] = {FormatArg(args)...};
    return localizedFormatList(key, std::span<const FormatArg>(list, sizeof...(Args)));
  }
}

// The plural category ("zero", "one", "two", "few", "many", "other") of a
// number in the app's language.
std::string pluralCategory(double number);

// The language of the string table and of formatted numbers and dates.
const char* appLocaleIdentifier();
// Whether the app's language is written right to left, so that its interface
// runs from the right.
bool appLayoutIsRightToLeft();

// Pseudo-localisation: while on, every text found in the string table comes
// out in brackets ("[OK]"), so a screen (or a test) shows at a glance which
// user-visible texts bypass the table or lack an entry. Off by default; any
// thread.
void setPseudoLocalization(bool on);

}  // namespace velune::platform
