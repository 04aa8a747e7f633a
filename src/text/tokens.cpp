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
    static constexpr uint8_t SEPARATOR = 1, END = 2, SLASH = 4;
    uint8_t kind[256];
    uint8_t first[256];
    uint8_t second[256];
};

static constexpr ByteClasses classifyBytes() {
    ByteClasses made{};
    made.kind[0] = ByteClasses::END;
    made.kind[static_cast<uint8_t>('/')] = ByteClasses::SLASH;
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

static bool isComment(const char* at) {
    return at[0] == '/' && at[1] == '/';
}

/// The end of a word between quotes: the second quote, the end of the line, or a comment. Adds its bytes to a sum.
static char* endQuoted(char* at, char& bytes) {
    while (*at && *at != '"' && *at != '\n' && !isComment(at)) {
        bytes |= *at++;
    }
    return at;
}

/// The same of a word between blanks, of which one byte is there at least, whatever it is.
static char* endPlain(char* at, char& bytes) {
    char sum = *at++;
    for (uint8_t kind = getKind(*at); kind == 0 || (kind == ByteClasses::SLASH && at[1] != '/'); kind = getKind(*at)) {
        sum |= *at++;
    }
    bytes |= sum;
    return at;
}

Tokens tokens_split(char* line) {
    Tokens tokens{};
    char bytes = 0;
    bool isOdd = false;
    int32_t count = 0;
    bool isEmpty = false;
    char* at = skipSeparators(line);
    while (*at && count < MAX_TOKENS && !isComment(at)) {
        isOdd |= isEmpty;
        isEmpty = false;
        const bool isQuoted = *at == '"';
        char* const word = isQuoted ? at + 1 : at;
        tokens.words[count++] = word;
        at = isQuoted ? endQuoted(word, bytes) : endPlain(word, bytes);
        isEmpty = isQuoted && at == word;
        const bool isCut = isComment(at);
        const bool isEnd = isCut || !*at;
        *at = 0;
        isOdd |= at != word && isSpecial(word);
        if (isEnd) {
            break;
        }
        at = skipSeparators(at + 1);
    }
    tokens.count = count;
    const bool isCut = *at && !isComment(at);
    tokens.oddities = static_cast<uint8_t>((isCut ? TOKENS_CUT : 0) | (isOdd || (bytes & '\x80') ? TOKENS_ODD : 0) |
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

/// Reads digits, of which some may stand after a point, with a minus or none in front, and nothing else. False for
/// anything more, and for more than 15 digits. These are a whole number below 2^53, and so is the power of ten that it
/// is divided by: both are exact, so the quotient is the double next to the decimal number, as any other reader that
/// rounds rightly gives it.
static bool readPlainNumber(const char* text, double* value) {
    static constexpr double POWERS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    static constexpr std::ptrdiff_t MOST_DIGITS = 15;
    const bool isNegative = *text == '-';
    const char* at = text + (isNegative ? 1 : 0);
    const char* const begin = at;
    uint64_t number = 0;  // goes round with more digits, which are refused
    const auto takeDigits = [&] {
        for (unsigned digit; (digit = static_cast<unsigned char>(*at) - unsigned{'0'}) < 10; ++at) {
            number = number * 10 + digit;
        }
    };
    takeDigits();
    std::ptrdiff_t digits = at - begin, decimals = 0;
    if (*at == '.') {
        const char* const point = at++;
        takeDigits();
        decimals = at - point - 1;
        digits += decimals;
    }
    if (*at || digits == 0 || digits > MOST_DIGITS) {
        return false;
    }
    const double magnitude = static_cast<double>(number) / POWERS[decimals];
    *value = isNegative ? -magnitude : magnitude;
    return true;
}

bool tokens_getDouble(const char* text, double* value) {
    if (readPlainNumber(text, value)) {
        return true;
    }
    // The short way for other decimal numbers; it rounds as the long way does.
    const char* end = text + std::strlen(text);
    const auto [stop, failure] = std::from_chars(text, end, *value);
    if (end != text && stop == end && failure == std::errc() && std::isfinite(*value)) {
        return true;
    }
    char* rest = nullptr;
    *value = std::strtod(text, &rest);
    // A byte above 127 after a number is let through, as it is below 0 as a signed one: so a stray non-breaking space,
    // which looks like a blank, doesn't spoil the number in front of it.
    return static_cast<signed char>(*rest) <= 0;
}

bool tokens_getNonNegative(const char* text, double* value) {
    return tokens_getDouble(text, value) && !(*value < 0.0);
}
