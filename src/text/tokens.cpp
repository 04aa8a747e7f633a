// The words of an input line. A word is what stands between blanks, or between two double quotes; "//" begins a comment
// anywhere, in quotes too, so no file name can hold one. Keywords match as a whole, never by their beginning.

#include "text/tokens.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

const char* const NoYesWords[] = {"NO", "YES", nullptr};

static const char* skipBlanks(const char* text) {
    while (*text == ' ') {
        ++text;
    }
    return text;
}

int32_t tokens_matchKeyword(const char* text, const char* keyword) {
    // Leading blanks don't count in the comparison, but the whole lengths must be equal.
    if (!*keyword || std::strlen(text) != std::strlen(keyword)) {
        return 0;
    }
    text = skipBlanks(text);
    keyword = skipBlanks(keyword);
    while (*text && tokens_toUpper(*text) == tokens_toUpper(*keyword)) {
        ++text;
        ++keyword;
    }
    return *text == *keyword;
}

int32_t tokens_findKeyword(const char* text, const char* const* keywords) {
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

int32_t tokens_getDouble(const char* text, double* value) {
    // The short way for the plain decimal numbers that project files are full of; it rounds as the long way does.
    const char* end = text + std::strlen(text);
    const auto [stop, failure] = std::from_chars(text, end, *value);
    if (end != text && stop == end && failure == std::errc() && std::isfinite(*value)) {
        return 1;
    }
    char* rest = nullptr;
    *value = std::strtod(text, &rest);
    // A byte above 127 behind a number is let through: it is below 0 as a signed one. Files with stray non-breaking
    // spaces have always passed by it.
    return static_cast<signed char>(*rest) <= 0;
}

int32_t tokens_getNonNegative(const char* text, double* value) {
    return tokens_getDouble(text, value) && !(*value < 0.0);
}
