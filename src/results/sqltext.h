#pragma once
// Texts of SQL: numbers as they are written there, and what a name may do to the statement that it stands in.

#include <cstdint>
#include <string>

/// Adds a value with six decimals, exactly as printf's %f would.
void sqltext_appendNumber(std::string& text, float value);

/// The double that SQLite makes of that text. False where its versions may make another of it: for what is no number or
/// has more digits than a double, and next to the middle between two doubles.
[[nodiscard]] bool sqltext_getNumber(float value, double& number);

/// Whether a name between two apostrophes is one whole literal: each apostrophe in it belongs to an adjacent pair.
[[nodiscard]] bool sqltext_isLiteral(const char* name);

/// Whether a name can be nothing but a word, or several, in the list of columns of a table: it opens no literal, no
/// bracket, no comment and no further column, and it doesn't tell the table what to do with rows that clash.
[[nodiscard]] bool sqltext_isColumn(const char* name);

/// How many semicolons end a statement in a text, those in literals, quoted names, variables and comments left out.
[[nodiscard]] int32_t sqltext_countEnds(const char* text);

/// How often a word stands in the text outside of literals and comments, whatever its case.
[[nodiscard]] int32_t sqltext_countWords(const char* text, const char* word);

[[nodiscard]] bool sqltext_hasWord(const char* text, const char* word);
