// The words of an input line. A word is what stands between blanks, or between two double quotes; "//" begins a comment
// anywhere, in quotes too, so no file name can hold one. Keywords match as a whole, never by their beginning.

#include "text/tokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

const char* const NoYesWords[] = {"NO", "YES", nullptr};

static std::string_view skipBlanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

bool tokens_matchKeyword(std::string_view text, std::string_view keyword) {
    if (keyword.empty() || text.size() != keyword.size()) {
        return false;
    }
    const std::string_view a = skipBlanks(text), b = skipBlanks(keyword);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return tokens_toUpper(x) == tokens_toUpper(y); });
}

int32_t tokens_findKeyword(std::string_view text, const char* const* keywords) {
    for (int32_t k = 0; keywords[k]; ++k) {
        if (tokens_matchKeyword(text, keywords[k])) {
            return k;
        }
    }
    return -1;
}

/// What a byte is in a line. A word may be nan, inf or a hexadecimal number if its first byte has some bit of FIRST
/// whose counterpart the second one has.
struct ByteClasses {
    static constexpr uint8_t SEPARATOR = 1, END = 2;
    uint8_t kind[256];
    uint8_t first[256];
    uint8_t second[256];
};

static constexpr ByteClasses classifyBytes() {
    ByteClasses made{};
    made.kind[0] = ByteClasses::END;
    for (const char c : {' ', '\t', '\n', '\r'}) {
        made.kind[static_cast<uint8_t>(c)] = ByteClasses::SEPARATOR;
    }
    const auto mark = [](uint8_t* classes, std::initializer_list<char> bytes, uint8_t bit) {
        for (const char c : bytes) {
            classes[static_cast<uint8_t>(c)] |= bit;
        }
    };
    mark(made.first, {'n', 'N'}, 1);
    mark(made.second, {'a', 'A'}, 1);
    mark(made.first, {'i', 'I'}, 2);
    mark(made.second, {'n', 'N'}, 2);
    mark(made.first, {'0'}, 4);
    mark(made.second, {'x', 'X'}, 4);
    mark(made.first, {'+', '-'}, 8);
    mark(made.second, {'n', 'N', 'i', 'I', '0'}, 8);
    return made;
}

static constexpr ByteClasses Bytes = classifyBytes();

static uint8_t getKind(char c) {
    return Bytes.kind[static_cast<uint8_t>(c)];
}

static char* skipSeparators(char* at) {
    while (getKind(*at) == ByteClasses::SEPARATOR) {
        ++at;
    }
    return at;
}

/// Whether a word of a byte at least begins as nan, inf or a hexadecimal number does.
static bool isSpecial(const char* word) {
    return (Bytes.first[static_cast<uint8_t>(word[0])] & Bytes.second[static_cast<uint8_t>(word[1])]) != 0;
}

Tokens tokens_split(char* line) {
    Tokens tokens{};
    if (char* comment = std::strstr(line, "//")) {
        *comment = 0;
    }
    char bytes = 0;
    bool isOdd = false;
    int32_t count = 0;
    bool isEmpty = false;
    char* at = skipSeparators(line);
    while (*at && count < MAX_TOKENS) {
        isOdd |= isEmpty;
        isEmpty = false;
        const bool isQuoted = *at == '"';
        char* const word = isQuoted ? at + 1 : at;
        at = word;
        tokens.words[count++] = word;
        if (isQuoted) {
            while (*at && *at != '"' && *at != '\n') {
                bytes |= *at++;
            }
            isEmpty = at == word;
        } else {
            do {
                bytes |= *at++;
            } while (getKind(*at) == 0);
        }
        isOdd |= at != word && isSpecial(word);
        if (*at) {
            *at = 0;
            at = skipSeparators(at + 1);
        }
    }
    tokens.count = count;
    tokens.oddities = static_cast<uint8_t>((*at ? TOKENS_CUT : 0) | (isOdd || (bytes & '\x80') ? TOKENS_ODD : 0) |
                                           (isEmpty ? TOKENS_END_EMPTY : 0));
    return tokens;
}

NumberOddity tokens_findOddity(const char* word) {
    if (!*word) {
        return NUMBER_EMPTY;
    }
    for (const char* at = word; *at; ++at) {
        if (*at & '\x80') {
            return NUMBER_BYTES;
        }
    }
    if (!isSpecial(word)) {
        return NUMBER_PLAIN;
    }
    char* rest = nullptr;
    const double value = std::strtod(word, &rest);
    const bool isNumber = *rest == 0;
    return isNumber && (!std::isfinite(value) || std::strpbrk(word, "xX")) ? NUMBER_SPECIAL : NUMBER_PLAIN;
}

bool tokens_getDouble(const char* text, double* value) {
    // The short way for the plain decimal numbers that project files are full of; it rounds as the long way does.
    const char* end = text + std::strlen(text);
    const auto [stop, failure] = std::from_chars(text, end, *value);
    if (end != text && stop == end && failure == std::errc() && std::isfinite(*value)) {
        return true;
    }
    char* rest = nullptr;
    *value = std::strtod(text, &rest);
    // A byte above 127 behind a number is let through, as it is below 0 as a signed one: so a stray non-breaking space,
    // which looks like a blank, doesn't spoil the number in front of it.
    return static_cast<signed char>(*rest) <= 0;
}

bool tokens_getNonNegative(const char* text, double* value) {
    return tokens_getDouble(text, value) && !(*value < 0.0);
}
