#pragma once
// UTF-8: the one codec of the project, on ICU's UTF-8 macros. Well-formed
// means what Unicode says: no overlong forms, no surrogates, nothing above
// U+10FFFF, no truncated sequences. Pure functions; any thread.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velune::platform {

bool isValidUTF8(std::string_view text);

// The text with every ill-formed sequence (its maximal subpart, as ICU and
// the Unicode standard count it) replaced by U+FFFD.
std::string validUTF8(std::string_view text);

// The code points; nothing when the text is not well-formed.
std::optional<std::u32string> decodeUTF8(std::string_view text);
// Code points that are not Unicode scalar values (surrogates, above
// U+10FFFF) come out as U+FFFD.
std::string encodeUTF8(std::u32string_view codePoints);

// UTF-16 for ICU's interfaces; nothing when the text is not well-formed.
std::optional<std::u16string> toUTF16(std::string_view text);
// Unpaired surrogates come out as U+FFFD.
std::string fromUTF16(std::u16string_view text);

// The number of code points of well-formed text (each ill-formed sequence
// counts as one).
size_t codePointCount(std::string_view text);

}  // namespace velune::platform
