#pragma once
// Words and numbers of texts, whatever the locale.

#include <string>
#include <string_view>
#include <vector>

/// Whether two words are the same in any case of their letters.
[[nodiscard]] bool words_areEqual(std::string_view left, std::string_view right);

/// The words between the signs of `separators`.
[[nodiscard]] std::vector<std::string_view> words_split(std::string_view text, std::string_view separators);

/// Reads a finite number that fills the word.
[[nodiscard]] bool words_readNumber(std::string_view word, double& number);

/// A number in as few digits as bring it back.
[[nodiscard]] std::string words_showNumber(double number);

/// A number with four digits that count.
[[nodiscard]] std::string words_showShort(double number);
