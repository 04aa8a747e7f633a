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

Tokens tokens_split(char* line) {
    Tokens tokens{};
    if (char* comment = std::strstr(line, "//")) {
        *comment = 0;
    }
    char* at = line;
    while (*at && tokens.count < MAX_TOKENS) {
        if (isSeparator(*at)) {
            ++at;
            continue;
        }
        const bool isQuoted = *at == '"';
        at += isQuoted ? 1 : 0;
        tokens.words[tokens.count++] = at;
        while (*at && !(isQuoted ? *at == '"' || *at == '\n' : isSeparator(*at))) {
            ++at;
        }
        if (*at) {
            *at++ = 0;
        }
    }
    return tokens;
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
