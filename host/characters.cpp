// Control characters come in two sets: the bytes below 32 and 127, and U+0080 ... U+009F, in UTF-8 C2 and the byte
// itself. U+009B begins a sequence of the terminal as ESC [ does. Marks of direction let a name look like another one,
// and U+2028 and U+2029 end a line for some readers and not for others.

#include "characters.h"

#include <cctype>
#include <cstdio>
#include <string_view>

static bool isFollower(const std::string& text, size_t place, unsigned char least = 0x80, unsigned char most = 0xBF) {
    const unsigned char byte = place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
    return byte >= least && byte <= most;
}

size_t characters_measure(const std::string& text, size_t place) {
    const auto first = static_cast<unsigned char>(text[place]);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return isFollower(text, place + 1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isSecond = isFollower(text, place + 1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF);
        return isSecond && isFollower(text, place + 2) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool isSecond = isFollower(text, place + 1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF);
        return isSecond && isFollower(text, place + 2) && isFollower(text, place + 3) ? 4 : 0;
    }
    return 0;
}

uint32_t characters_decode(const std::string& text, size_t place, size_t length) {
    const auto first = static_cast<unsigned char>(text[place]);
    if (length < 2) {
        return first;
    }
    uint32_t character = first & (0x7Fu >> length);
    for (size_t k = 1; k < length; ++k) {
        character = character << 6 | (static_cast<unsigned char>(text[place + k]) & 0x3Fu);
    }
    return character;
}

bool characters_isHidden(uint32_t character) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isDirection = character == 0x061C || character == 0x200E || character == 0x200F ||
                             (character >= 0x202A && character <= 0x202E) ||
                             (character >= 0x2066 && character <= 0x2069);
    const bool isDivider = character == 0x2028 || character == 0x2029;
    return isControl || isDirection || isDivider || character == 0xFFFE || character == 0xFFFF;
}

/// Replaces all that is hidden but one control character.
static std::string makePrintable(const std::string& text, char kept) {
    std::string printable;
    for (size_t k = 0; k < text.size();) {
        const size_t length = characters_measure(text, k);
        const bool isKept = kept != 0 && text[k] == kept;
        if (length == 0 || (characters_isHidden(characters_decode(text, k, length)) && !isKept)) {
            printable += '?';
        } else {
            printable.append(text, k, length);
        }
        k += length == 0 ? 1 : length;
    }
    return printable;
}

std::string characters_makePrintable(const std::string& text, bool isTabKept) {
    return makePrintable(text, isTabKept ? '\t' : 0);
}

std::string characters_makePrintableLines(const std::string& text) {
    return makePrintable(text, '\n');
}

// --- cells, XML, scripts -------------------------------------------------------------------------------------------

std::string characters_quoteCsv(const std::string& text) {
    // Spreadsheets also begin a formula with a tab or a return, which are looked for ahead of their replacement.
    const bool isFormula = !text.empty() && std::string("=+-@\t\r").find(text[0]) != std::string::npos;
    std::string cell = (isFormula ? "'" : "") + characters_makePrintable(text);
    if (cell.find_first_of(",\"") == std::string::npos) {
        return cell;
    }
    std::string quoted = "\"";
    for (const char c : cell) {
        quoted += c;
        quoted += c == '"' ? "\"" : "";
    }
    return quoted + '"';
}

std::string characters_quoteSqlName(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

std::string characters_toLower(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

std::string characters_escapeXml(const std::string& text) {
    std::string escaped;
    for (const char c : characters_makePrintable(text)) {
        switch (c) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            default: escaped += c;
        }
    }
    return escaped;
}

std::string characters_quoteGnuplot(const std::string& text) {
    // Between apostrophes nothing is special, but gnuplot misreads some texts that begin or end with one. Between
    // quotes all but plain letters go by their numbers, so that nothing is left to be put in place of them. A number
    // below 0100 has a zero more in front: with it gnuplot reads four figures, without it one of the text.
    static constexpr std::string_view PLAIN = " _.,:/()-";
    std::string quoted = "\"";
    for (const char c : characters_makePrintable(text)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = byte >= 0x80 || std::isalnum(byte) || PLAIN.find(c) != std::string::npos;
        char number[8];
        std::snprintf(number, sizeof number, byte < 0100 ? "\\0%03o" : "\\%03o", static_cast<unsigned>(byte));
        quoted += isPlain ? std::string(1, c) : number;
    }
    return quoted + '"';
}

std::string characters_shorten(const std::string& text, size_t most) {
    size_t end = 0;
    for (size_t count = 0; end < text.size(); ++count) {
        if (count == most) {
            return text.substr(0, end) + "...";
        }
        const size_t length = characters_measure(text, end);
        end += length == 0 ? 1 : length;
    }
    return text;
}

std::string characters_toUtf8(const std::string& text) {
    static constexpr uint16_t WINDOWS_1252[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    std::string result;
    for (size_t at = 0; at < text.size();) {
        if (const size_t length = characters_measure(text, at); length > 0) {
            result.append(text, at, length);
            at += length;
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[at++]);
        const unsigned character = byte < 0xA0 ? WINDOWS_1252[byte - 0x80] : byte;
        if (character >= 0x800) {
            result += static_cast<char>(0xE0 | (character >> 12));
            result += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
        } else {
            result += static_cast<char>(0xC0 | (character >> 6));
        }
        result += static_cast<char>(0x80 | (character & 0x3F));
    }
    return result;
}
