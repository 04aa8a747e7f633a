// What C libraries print differently is a NaN: that of Linux writes the sign, which says in which way it came about,
// and that of Windows leaves it out. There each conversion of a format is printed alone. Called by the rooms that write
// the report and the texts of a database.

#include "platform/print.h"

#if defined(_WIN32)

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

/// Adds what one conversion prints.
template <class... Values>
static void append(std::string& text, const std::string& conversion, Values... values) {
    const int length = std::snprintf(nullptr, 0, conversion.c_str(), values...);
    if (length > 0) {
        const size_t before = text.size();
        text.resize(before + static_cast<size_t>(length) + 1);
        std::snprintf(text.data() + before, static_cast<size_t>(length) + 1, conversion.c_str(), values...);
        text.pop_back();
    }
}

static void appendNumber(std::string& text, const std::string& conversion, double number) {
    if (!std::isnan(number)) {
        append(text, conversion, number);
        return;
    }
    // The same width as a word; what a number has ahead of its point doesn't count.
    std::string word = conversion.substr(0, conversion.find_first_of(".feg"));
    for (size_t zero;
         (zero = word.find_first_of("0+ #")) != std::string::npos && zero < word.find_first_of("123456789");) {
        word.erase(zero, 1);
    }
    append(text, word + 's', std::signbit(number) ? "-nan" : "nan");
}

/// Adds an integer of the length that the conversion says.
static void appendInteger(std::string& text, const std::string& conversion, va_list* arguments) {
    if (conversion.find("ll") != std::string::npos) {
        append(text, conversion, va_arg(*arguments, long long));
    } else if (conversion.find('l') != std::string::npos) {
        append(text, conversion, va_arg(*arguments, long));
    } else {
        append(text, conversion, va_arg(*arguments, int));
    }
}

static std::string print(const char* format, va_list given) {
    va_list arguments;
    va_copy(arguments, given);
    std::string text;
    for (const char* at = format; *at;) {
        const char* const next = std::strchr(at, '%');
        text.append(at, next ? static_cast<size_t>(next - at) : std::strlen(at));
        if (!next) {
            break;
        }
        std::string conversion = "%";
        for (at = next + 1; *at && !std::strchr("dscfegx%", *at); ++at) {
            conversion += *at == '*' ? std::to_string(va_arg(arguments, int)) : std::string(1, *at);
        }
        conversion += *at;
        switch (*at) {
            case 's': append(text, conversion, va_arg(arguments, const char*)); break;
            case 'f':
            case 'e':
            case 'g': appendNumber(text, conversion, va_arg(arguments, double)); break;
            case '%': text += '%'; break;
            case 0: --at; break;
            default: appendInteger(text, conversion, &arguments); break;
        }
        ++at;
    }
    va_end(arguments);
    return text;
}

int print_toText(char* text, size_t size, const char* format, va_list arguments) {
    const std::string whole = print(format, arguments);
    return std::snprintf(text, size, "%s", whole.c_str());
}

int print_toFile(std::FILE* file, const char* format, va_list arguments) {
    return std::fputs(print(format, arguments).c_str(), file);
}

int print_number(char* text, size_t size, const char* format, double number) {
    std::string whole;
    appendNumber(whole, format, number);
    return std::snprintf(text, size, "%s", whole.c_str());
}

#else

int print_toText(char* text, size_t size, const char* format, va_list arguments) {
    return std::vsnprintf(text, size, format, arguments);
}

int print_toFile(std::FILE* file, const char* format, va_list arguments) {
    return std::vfprintf(file, format, arguments);
}

int print_number(char* text, size_t size, const char* format, double number) {
    return std::snprintf(text, size, format, number);
}

#endif
