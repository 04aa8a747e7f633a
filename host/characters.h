#pragma once
// The characters of names and lines, which come from files and command lines and may hold any byte.

#include <cstddef>
#include <string>

/// Bytes of the character of UTF-8 that begins here; 0 if none does. Overlong forms, surrogates and what lies above
/// U+10FFFF are none.
[[nodiscard]] size_t characters_measure(const std::string& text, size_t place);

/// Whether the character, or the byte that is none (length 0), controls a terminal.
[[nodiscard]] bool characters_isControl(const std::string& text, size_t place, size_t length);

/// A text with a question mark for each control character, which must not reach the terminal.
[[nodiscard]] std::string characters_makePrintable(const std::string& text, bool isTabKept = false);
