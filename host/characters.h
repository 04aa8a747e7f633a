#pragma once
// The one room for text that goes out. Names and lines come from files and command lines, and may hold any byte; here
// they are made fit for what reads them: a terminal, a table divided by commas, XML, and the script of a picture. JSON
// has a room of its own, which asks here what a character is.

#include <cstddef>
#include <cstdint>
#include <string>

/// Bytes of the character of UTF-8 that begins here; 0 if none does. Overlong forms, surrogates and what lies above
/// U+10FFFF are none.
[[nodiscard]] size_t characters_measure(const std::string& text, size_t place);

/// The number of a character of so many bytes, as characters_measure has found them; that of the byte itself for 0.
[[nodiscard]] uint32_t characters_decode(const std::string& text, size_t place, size_t length);

/// Whether a character does something else than to be seen: it controls a terminal (C0, DEL, C1), turns the direction
/// of the text around it, divides lines where few expect it, or is none (U+FFFE and U+FFFF).
[[nodiscard]] bool characters_isHidden(uint32_t character);

/// A text with a question mark for each hidden character and each byte that is no UTF-8: what a reader sees is what
/// there is, and one character takes one place.
[[nodiscard]] std::string characters_makePrintable(const std::string& text, bool isTabKept = false);

/// The same, of a text of several lines.
[[nodiscard]] std::string characters_makePrintableLines(const std::string& text);

/// A cell of a table divided by commas: printable, quoted where it must be, and with an apostrophe in front where a
/// spreadsheet would take it for a formula.
[[nodiscard]] std::string characters_quoteCsv(const std::string& text);

/// Small letters for those of English; other characters stay.
[[nodiscard]] std::string characters_toLower(std::string text);

/// A name of SQL, which may hold any character.
[[nodiscard]] std::string characters_quoteSqlName(const std::string& name);

/// Text between marks of XML: printable, and no mark itself.
[[nodiscard]] std::string characters_escapeXml(const std::string& text);

/// A literal of gnuplot: printable, and nothing that a script could run or that could end it.
[[nodiscard]] std::string characters_quoteGnuplot(const std::string& text);

/// A text of an unknown kind in UTF-8: bytes that are none are taken as Windows-1252, as the engine takes them.
[[nodiscard]] std::string characters_toUtf8(const std::string& text);

/// The beginning of a text, if it is longer than so many characters, with three points behind it.
[[nodiscard]] std::string characters_shorten(const std::string& text, size_t most);
