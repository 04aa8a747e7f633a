// Control characters come in two sets: the bytes below 32 and 127, and U+0080 ... U+009F, in UTF-8 C2 and the byte
// itself. U+009B begins a sequence of the terminal as ESC [ does. Where a text isn't UTF-8 the byte alone is one.

#include "characters.h"

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

bool characters_isControl(const std::string& text, size_t place, size_t length) {
    const auto first = static_cast<unsigned char>(text[place]);
    if (length == 2) {
        return first == 0xC2 && static_cast<unsigned char>(text[place + 1]) < 0xA0;
    }
    return length < 2 && (first < 32 || first == 127 || (length == 0 && first >= 0x80 && first < 0xA0));
}

std::string characters_makePrintable(const std::string& text, bool isTabKept) {
    std::string printable;
    for (size_t k = 0; k < text.size();) {
        const size_t length = characters_measure(text, k);
        const size_t bytes = length == 0 ? 1 : length;
        if (characters_isControl(text, k, length) && !(isTabKept && text[k] == '\t')) {
            printable += '?';
        } else {
            printable.append(text, k, bytes);
        }
        k += bytes;
    }
    return printable;
}
