#pragma once
// Text of the drive (names, paths, error descriptions) as vdtool prints it.
// A name is whatever bytes a file system allows, so before it reaches a
// terminal or a JSON reader it is made harmless:
//
// - terminalText(): bytes that are not UTF-8 become U+FFFD; control
//   characters (C0, DEL, C1) and the bidirectional overrides and isolates,
//   which could move the cursor, recolour or reorder what the terminal
//   shows, are written as escapes ("\x1b", "\u{202E}").
// - jsonText(): the JSON text of a value, with bytes that are not UTF-8
//   written as U+FFFD instead of throwing.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace velune::host::vdtool {

std::string terminalText(std::string_view text);
std::string jsonText(const nlohmann::json& value);

}  // namespace velune::host::vdtool
