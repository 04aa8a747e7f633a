#pragma once
// Pieces of JSON.

#include <string>

/// A text as JSON has it: quoted, hidden characters escaped, and in UTF-8, what is none being replaced by U+FFFD.
[[nodiscard]] std::string json_quote(const std::string& text);

/// The shortest text that reads back as the number; null for what is no finite one.
[[nodiscard]] std::string json_formatNumber(double number);
