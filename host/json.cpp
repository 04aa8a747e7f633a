// Names come from project files and command lines, and may hold any byte. A reader of JSON takes nothing but UTF-8.

#include "json.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "characters.h"

static constexpr const char* REPLACEMENT = "\xEF\xBF\xBD";  ///< U+FFFD

std::string json_quote(const std::string& text) {
    std::string quoted = "\"";
    for (size_t k = 0; k < text.size();) {
        const size_t length = characters_measure(text, k);
        const auto byte = static_cast<unsigned char>(text[k]);
        if (length == 0) {
            quoted += REPLACEMENT;
        } else if (const uint32_t character = characters_decode(text, k, length); characters_isHidden(character)) {
            char escape[8];  // none of the hidden ones takes more than four figures
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character & 0xFFFFu));
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
