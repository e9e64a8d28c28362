#pragma once
// JSON of the simulated phone's own files, read and written safely: the
// home is the user's, so its JSON may be nested a hundred thousand levels
// deep (which would overflow the stack of any recursive walk over it) or
// hold text that is not UTF-8.
//
// Pure functions; any thread.

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace velune::host {

// Deeper than any file of the home needs; shallow enough for every
// recursive conversion of the result.
inline constexpr std::size_t kHomeJsonMaximumDepth = 64;

// The parsed value, or a discarded value (is_discarded()) when the text is
// not JSON or nests deeper than `maximumDepth`; `tooDeep` tells the second.
// Never throws.
nlohmann::json parseHomeJson(std::string_view text, bool* tooDeep = nullptr,
                             std::size_t maximumDepth = kHomeJsonMaximumDepth);
nlohmann::ordered_json parseHomeOrderedJson(std::string_view text, bool* tooDeep = nullptr,
                                            std::size_t maximumDepth = kHomeJsonMaximumDepth);

// The file text of a value (indented, a final newline); bytes that are not
// UTF-8 in its texts are written as U+FFFD instead of throwing.
std::string homeJsonText(const nlohmann::json& value);
std::string homeJsonText(const nlohmann::ordered_json& value);

}  // namespace velune::host
