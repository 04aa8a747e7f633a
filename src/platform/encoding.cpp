// Encodings of text. Project files carry no mark of their encoding: the older ones were written in the code page of
// western Windows, the newer ones in UTF-8. Text in the one is next to never valid in the other, beyond plain ASCII.

#include "platform/encoding.h"

#include <cstdint>

/// Characters of the bytes 0x80 to 0x9F; those that the code page leaves open stand for themselves.
static constexpr uint16_t WINDOWS_1252[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                              0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

static bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// Bytes of the valid UTF-8 character that begins here, or 0. Overlong forms, surrogates and what lies beyond the last
/// character are not valid. Stops at the zero that ends the text.
static int32_t getSequenceLength(const unsigned char* s) {
    if (s[0] < 0x80) {
        return 1;
    }
    if (s[0] >= 0xC2 && s[0] <= 0xDF) {
        return isContinuation(s[1]) ? 2 : 0;
    }
    if (s[0] >= 0xE0 && s[0] <= 0xEF) {
        const bool isSecondValid =
            isContinuation(s[1]) && !(s[0] == 0xE0 && s[1] < 0xA0) && !(s[0] == 0xED && s[1] >= 0xA0);
        return isSecondValid && isContinuation(s[2]) ? 3 : 0;
    }
    if (s[0] >= 0xF0 && s[0] <= 0xF4) {
        const bool isSecondValid =
            isContinuation(s[1]) && !(s[0] == 0xF0 && s[1] < 0x90) && !(s[0] == 0xF4 && s[1] >= 0x90);
        return isSecondValid && isContinuation(s[2]) && isContinuation(s[3]) ? 4 : 0;
    }
    return 0;
}

static void appendCharacter(std::string& target, uint32_t character) {
    if (character < 0x800) {
        target += static_cast<char>(0xC0 | (character >> 6));
    } else {
        target += static_cast<char>(0xE0 | (character >> 12));
        target += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
    }
    target += static_cast<char>(0x80 | (character & 0x3F));
}

void encoding_appendUtf8(std::string& target, const char* text) {
    const unsigned char* s = reinterpret_cast<const unsigned char*>(text);
    while (*s) {
        const int32_t length = getSequenceLength(s);
        if (length > 0) {
            target.append(reinterpret_cast<const char*>(s), static_cast<size_t>(length));
            s += length;
        } else {
            appendCharacter(target, *s >= 0x80 && *s < 0xA0 ? WINDOWS_1252[*s - 0x80] : *s);
            ++s;
        }
    }
}
