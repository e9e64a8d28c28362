#pragma once
// How deeply a JSON text nests its arrays and objects, counted without
// parsing, so that a text of 100,000 brackets can be refused before a parser
// or a recursive walk over the parsed value goes down into it.
//
// A pure function; any thread.

#include <cstddef>
#include <string_view>

namespace velune::platform {

// The deepest nesting of arrays and objects in the text (brackets inside
// strings do not count); stops counting as soon as it passes `limit`.
std::size_t jsonNestingDepth(std::string_view text, std::size_t limit);

}  // namespace velune::platform
