#pragma once
// Unicode helpers on UTF-8 text, for names typed by people: decoding, the
// character properties that the file-name rule tests, and normalisation.
// Pure functions; any thread.

#include <optional>
#include <string>
#include <string_view>

namespace velune::platform::unicode {

// A code point that the character database assigns (any general category
// other than unassigned) and that is not a noncharacter (U+FDD0..U+FDEF and
// the last two code points of every plane).
bool isAssignedCharacter(char32_t c);
bool isNoncharacter(char32_t c);
// General categories Cc (control) and Cf (format).
bool isControlOrFormat(char32_t c);
// U+000A..U+000D, U+0085, U+2028, U+2029.
bool isLineBreak(char32_t c);

// White space (the Unicode White_Space property) or a line break.
bool isWhitespaceOrLineBreak(char32_t c);
// The text without white space and line breaks at either end. Text that is
// not UTF-8 loses only ASCII blanks at its ends.
std::string trimmingWhitespaceAndLineBreaks(std::string_view text);

// The canonical composed form (NFC); the text itself when it is not UTF-8.
std::string normalizedNFC(std::string_view text);
// True when the two texts are canonically equivalent (equal in NFC).
bool canonicallyEqual(std::string_view a, std::string_view b);
// Whether every byte is ASCII (ASCII text is already in every normal form).
bool isASCII(std::string_view text);
// True when the two texts are equal under full Unicode case folding of
// canonically equivalent forms ("PDF" and "pdf", "ΣΕΛ" and "σελ", "STRASSE"
// and "straße"). Text that is not UTF-8 compares byte for byte.
bool caseInsensitiveEqual(std::string_view a, std::string_view b);

}  // namespace velune::platform::unicode
