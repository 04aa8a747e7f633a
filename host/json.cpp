// Names come from project files and command lines, and may hold any byte. A reader of JSON takes nothing but UTF-8.

#include "json.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

static constexpr const char* REPLACEMENT = "\xEF\xBF\xBD";  ///< U+FFFD

static bool isFollower(const std::string& text, size_t place, unsigned char least = 0x80, unsigned char most = 0xBF) {
    const unsigned char byte = place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
    return byte >= least && byte <= most;
}

/// Bytes of the character that begins here; 0 if none does. Overlong forms, surrogates and what lies above U+10FFFF
/// are none.
static size_t measureCharacter(const std::string& text, size_t place) {
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

std::string json_quote(const std::string& text) {
    std::string quoted = "\"";
    for (size_t k = 0; k < text.size();) {
        const size_t length = measureCharacter(text, k);
        const auto byte = static_cast<unsigned char>(text[k]);
        if (length == 0) {
            quoted += REPLACEMENT;
        } else if (byte < 32 || byte == 127) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            quoted += escape;
        } else {
            quoted += byte == '"' || byte == '\\' ? "\\" : "";
            quoted.append(text, k, length);
        }
        k += length == 0 ? 1 : length;
    }
    return quoted + '"';
}

std::string json_formatNumber(double number) {
    if (!std::isfinite(number)) {
        return "null";
    }
    char text[40];
    const std::to_chars_result result = std::to_chars(text, text + sizeof text, number);
    return std::string(text, result.ptr);
}
