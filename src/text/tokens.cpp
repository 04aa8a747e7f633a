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

static bool isSeparator(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

static char* skipSeparators(char* at) {
    while (isSeparator(*at)) {
        ++at;
    }
    return at;
}

/// By two characters, whether a word may be nan, inf or a hexadecimal number: some bit is in both tables then.
struct SpecialBeginnings {
    uint8_t first[256];
    uint8_t second[256];
};

static constexpr SpecialBeginnings makeBeginnings() {
    SpecialBeginnings made{};
    made.first['n'] = made.first['N'] = made.second['a'] = made.second['A'] = 1;
    made.first['i'] = made.first['I'] = made.second['n'] = made.second['N'] = 2;
    made.first['0'] = made.second['x'] = made.second['X'] = 4;
    made.first['+'] = made.first['-'] = 8;
    for (const char c : {'n', 'N', 'i', 'I', '0'}) {
        made.second[static_cast<uint8_t>(c)] |= 8;
    }
    return made;
}

static constexpr SpecialBeginnings BEGINNINGS = makeBeginnings();

Tokens tokens_split(char* line) {
    Tokens tokens{};
    if (char* comment = std::strstr(line, "//")) {
        *comment = 0;
    }
    char bytes = 0;
    uint8_t special = 0;
    char* at = skipSeparators(line);
    while (*at && tokens.count < MAX_TOKENS) {
        const bool isQuoted = *at == '"';
        at += isQuoted ? 1 : 0;
        char* const word = at;
        tokens.words[tokens.count++] = word;
        while (*at && !(isQuoted ? *at == '"' || *at == '\n' : isSeparator(*at))) {
            bytes |= *at++;
        }
        special |= at == word ? 1
                              : BEGINNINGS.first[static_cast<uint8_t>(word[0])] &
                                    BEGINNINGS.second[static_cast<uint8_t>(word[1])];
        if (*at) {
            *at++ = 0;
        }
        at = skipSeparators(at);
    }
    tokens.isCut = *at != 0;
    tokens.mayBeOdd = special != 0 || (bytes & '\x80') != 0;
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
    char* rest = nullptr;
    const double value = std::strtod(word, &rest);
    if (*rest) {
        return NUMBER_NONE;
    }
    return std::isfinite(value) && !std::strpbrk(word, "xX") ? NUMBER_PLAIN : NUMBER_SPECIAL;
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
