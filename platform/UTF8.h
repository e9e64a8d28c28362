#pragma once
// UTF-8 helpers.

#include <string>
#include <string_view>

namespace velune::platform {

// The text with every byte that does not belong to a valid UTF-8 sequence
// (also overlong forms and surrogates) replaced by U+FFFD.
std::string validUTF8(std::string_view text);

}  // namespace velune::platform
