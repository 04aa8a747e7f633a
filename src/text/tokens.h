#pragma once
// The folder text: lines, words, numbers, dates and units. It uses the folder platform; it must know no object of a
// project and no failure, so a function here says whether it could, and its caller says what that means. A room turns
// text into values or values into text, without a state but that of its arguments and the order of dates.
//
// The words of an input line, and what counts as a keyword and as a number.

#include <cstdint>
#include <string_view>

constexpr int32_t LINE_SIZE = 1024;  ///< bytes of a line buffer, with the zero at its end
constexpr int32_t MAX_TOKENS = 40;

/// What is odd about the words of a line.
enum TokensOddity : uint8_t {
    TOKENS_CUT = 1,       ///< there are more words than fit
    TOKENS_ODD = 2,       ///< one may be no plain number: empty, a byte above 127, a beginning of nan, inf or 0x
    TOKENS_END_EMPTY = 4  ///< the last one is empty
};

/// The words of one line. They stand in the line's own buffer; those that it doesn't have are null.
struct Tokens {
    const char* words[MAX_TOKENS];
    int32_t count;
    uint8_t oddities;  ///< TokensOddity, a sum

    const char* operator[](int32_t place) const { return words[place]; }
};

/// Keywords "NO" and "YES": 0 and 1.
extern const char* const NoYesWords[];

/// An upper-case letter for one of a to z, any other byte as it is.
[[nodiscard]] inline char tokens_toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Whether the texts are the same but for the case of letters and for leading blanks of equal number; an empty keyword
/// matches nothing.
[[nodiscard]] bool tokens_matchKeyword(std::string_view text, std::string_view keyword);

/// Index of the first keyword of a table ended by a null pointer that matches, or -1.
[[nodiscard]] int32_t tokens_findKeyword(std::string_view text, const char* const* keywords);

/// Cuts a line into words, in place.
[[nodiscard]] Tokens tokens_split(char* line);

/// Reads a number, with a point whatever the locale. Whether the text is one; `value` is stored in any case.
[[nodiscard]] bool tokens_getDouble(const char* text, double* value);

/// What a word that is taken as a number is besides.
enum NumberOddity : int32_t {
    NUMBER_PLAIN,   ///< nothing of this; also no number at all
    NUMBER_EMPTY,   ///< the empty word, which counts as 0
    NUMBER_BYTES,   ///< a byte above 127 cuts it
    NUMBER_SPECIAL  ///< nan, inf or a hexadecimal number
};

[[nodiscard]] NumberOddity tokens_findOddity(const char* word);

/// Reads a number that must not be below 0.
[[nodiscard]] bool tokens_getNonNegative(const char* text, double* value);
