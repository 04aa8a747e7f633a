// Texts of SQL. Names of objects stand in the statements of the results database as the project file has them, without
// any escape. That makes odd names fail, which is known and kept, but it must never make them act: the functions here
// tell what SQLite would take a text for, by its own rules for words, literals and comments.

#include "results/sqltext.h"

#include "platform/print.h"
#include "text/tokens.h"

#include <bit>
#include <cstdio>
#include <cstring>

// --- numbers -------------------------------------------------------------------------------------------------------

static constexpr int32_t MANTISSA_BITS = 23;
static constexpr uint64_t DECIMALS = 1000000;

/// Adds an integer count of millionths as a decimal number.
static void appendMillionths(std::string& text, bool isNegative, uint64_t millionths) {
    char digits[32];
    char* at = digits + sizeof digits;
    for (int32_t k = 0; k < 6; ++k) {
        *--at = static_cast<char>('0' + millionths % 10);
        millionths /= 10;
    }
    *--at = '.';
    do {
        *--at = static_cast<char>('0' + millionths % 10);
        millionths /= 10;
    } while (millionths > 0);
    if (isNegative) {
        *--at = '-';
    }
    text.append(at, static_cast<size_t>(digits + sizeof digits - at));
}

static bool isNegative(float value) {
    return (std::bit_cast<uint32_t>(value) >> 31) != 0;
}

/// The nearest count of millionths, of two the even one, without the sign. False for what is no number, or has too
/// many.
static bool countMillionths(float value, uint64_t& millionths) {
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    const int32_t exponent = static_cast<int32_t>((bits >> MANTISSA_BITS) & 0xFF);
    const uint32_t fraction = bits & ((1u << MANTISSA_BITS) - 1);
    // A single is mantissa x 2^shift with 24 bits of mantissa, so its millionths fit into 44 bits before the shift.
    const uint64_t mantissa = exponent > 0 ? fraction | (1u << MANTISSA_BITS) : fraction;
    const int32_t shift = (exponent > 0 ? exponent : 1) - 127 - MANTISSA_BITS;
    if (exponent == 0xFF || shift > 16) {
        return false;
    }
    const uint64_t scaled = mantissa * DECIMALS;
    if (shift >= 0) {
        millionths = scaled << shift;
        return true;
    }
    const int32_t cut = -shift;
    if (cut > 45) {
        millionths = 0;  // below half of a millionth
        return true;
    }
    const uint64_t rest = scaled & ((uint64_t{1} << cut) - 1);
    const uint64_t half = uint64_t{1} << (cut - 1);
    millionths = scaled >> cut;
    if (rest > half || (rest == half && (millionths & 1) != 0)) {
        ++millionths;
    }
    return true;
}

void sqltext_appendNumber(std::string& text, float value) {
    uint64_t millionths;
    if (countMillionths(value, millionths)) {
        appendMillionths(text, isNegative(value), millionths);
        return;
    }
    char number[64];
    print_number(number, sizeof number, "%f", static_cast<double>(value));
    text += number;
}

/// SQLite divides the digits of a text by their power of ten with more bits than a double has, how many is a matter of
/// its version and the machine, and cuts the quotient to a double. The outcome is the double next to the decimal number
/// unless that is as near to the middle between two doubles as the bits more can tell: 1/2048 of their distance with
/// the 64 bits of the least of those formats. A fiftieth of it is left aside here.
bool sqltext_getNumber(float value, double& number) {
    static constexpr uint64_t EXACT = uint64_t{1} << 53;
    static constexpr int64_t MIDDLE = static_cast<int64_t>(DECIMALS) / 2, ASIDE = static_cast<int64_t>(DECIMALS) / 50;
    uint64_t millionths;
    if (!countMillionths(value, millionths) || millionths >= EXACT) {
        return false;
    }
    // Both are exact, so this is the double next to their quotient.
    const double quotient = static_cast<double>(millionths) / static_cast<double>(DECIMALS);
    number = isNegative(value) ? -quotient : quotient;
    if (millionths == 0) {
        return true;
    }
    // The quotient is mantissa / 2^shift. What is left of millionths x 2^shift, in millionths of the distance between
    // two doubles, is half of these at most: so small a difference is right though its parts go round at 64 bits.
    const uint64_t bits = std::bit_cast<uint64_t>(quotient);
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    const int32_t shift = 1023 + 52 - static_cast<int32_t>(bits >> 52);
    const uint64_t dividend = shift < 64 ? millionths << shift : 0;
    const auto rest = static_cast<int64_t>(dividend - mantissa * DECIMALS);
    return (rest < 0 ? -rest : rest) < MIDDLE - ASIDE;
}

// --- names ---------------------------------------------------------------------------------------------------------

bool sqltext_isLiteral(const char* name) {
    for (const char* at = std::strchr(name, '\''); at; at = std::strchr(at, '\'')) {
        if (at[1] != '\'') {
            return false;
        }
        at += 2;
    }
    return true;
}

bool sqltext_isColumn(const char* name) {
    // "unique on conflict rollback" would let one row undo all others, and free the way to the old tables.
    const bool isClause = sqltext_hasWord(name, "on") && sqltext_hasWord(name, "conflict");
    return !isClause && !std::strpbrk(name, "'\"`()[]{},") && !std::strstr(name, "/*") && !std::strstr(name, "*/") &&
           !std::strstr(name, "--");
}

// --- statements ----------------------------------------------------------------------------------------------------

/// Whether SQLite takes a byte as part of a word.
static bool isWordByte(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
           c >= 0x80;
}

static bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// End of a text between marks; a doubled mark inside stands for itself.
static const char* skipQuoted(const char* at) {
    const char mark = *at++;
    while (*at) {
        if (*at++ == mark) {
            if (*at != mark) {
                return at;
            }
            ++at;
        }
    }
    return at;
}

/// End of a variable such as "$name::part(suffix)", whose suffix may hold anything but blanks.
static const char* skipVariable(const char* at) {
    bool hasName = false;
    for (++at; *at; ++at) {
        if (isWordByte(static_cast<unsigned char>(*at))) {
            hasName = true;
        } else if (*at == '(' && hasName) {
            do {
                ++at;
            } while (*at && !isSpace(*at) && *at != ')');
            return *at == ')' ? at + 1 : at;
        } else if (*at == ':' && at[1] == ':') {
            ++at;
        } else {
            break;
        }
    }
    return at;
}

/// End of what begins with two marks of a comment and goes on to `end`, or to the end of the text.
static const char* skipComment(const char* at, const char* end) {
    const char* found = std::strstr(at + 2, end);
    return found ? found + std::strlen(end) : at + std::strlen(at);
}

static const char* skipWord(const char* at) {
    while (isWordByte(static_cast<unsigned char>(*at))) {
        ++at;
    }
    return at;
}

/// End of the token that begins here.
static const char* skipToken(const char* at) {
    switch (*at) {
        case '\'':
        case '"':
        case '`': return skipQuoted(at);
        case '[': {
            const char* end = std::strchr(at, ']');
            return end ? end + 1 : at + std::strlen(at);
        }
        case '$':
        case '@':
        case '#':
        case ':': return skipVariable(at);
        case '-': return at[1] == '-' ? skipComment(at, "\n") : at + 1;
        case '/': return at[1] == '*' && at[2] ? skipComment(at, "*/") : at + 1;
        default: break;
    }
    static constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";  // a blank, where a token begins
    if (std::strncmp(at, BYTE_ORDER_MARK, 3) == 0) {
        return at + 3;
    }
    return isWordByte(static_cast<unsigned char>(*at)) ? skipWord(at) : at + 1;
}

int32_t sqltext_countWords(const char* text, const char* word) {
    const size_t length = std::strlen(word);
    int32_t count = 0;
    for (const char* at = text; *at;) {
        const char* end = skipToken(at);
        size_t same = 0;
        while (same < length && at + same < end && tokens_toUpper(at[same]) == tokens_toUpper(word[same])) {
            ++same;
        }
        count += same == length && at + length == end ? 1 : 0;
        at = end;
    }
    return count;
}

bool sqltext_hasWord(const char* text, const char* word) {
    return sqltext_countWords(text, word) > 0;
}

int32_t sqltext_countEnds(const char* text) {
    int32_t count = 0;
    for (const char* at = text; *at; at = skipToken(at)) {
        count += *at == ';' ? 1 : 0;
    }
    return count;
}
