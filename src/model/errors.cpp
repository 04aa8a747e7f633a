// Failures of the engine. Every failure is told twice: as a message in the text report and as the public code that the
// lifecycle functions return. Parsers of input lines return an index and leave the text for the message in
// ErrorObjectName; all other code calls report_writeError. There are no warnings and no log beside the report.

#include "model/errors.h"

#include <cstdarg>
#include <cstring>

int32_t ErrorCode = 0;
std::string ErrorObjectName;
std::FILE* ReportFile = nullptr;

struct ErrorEntry {
    int32_t publicCode;
    const char* message;
};

static constexpr ErrorEntry ErrorTable[] = {
#define TARNVELDE_ERROR(enumerator, code, text) {code, text},
#include "model/errors.def"
#undef TARNVELDE_ERROR
};
static_assert(sizeof ErrorTable / sizeof ErrorTable[0] == ERROR_COUNT);

const char* errors_getMessage(int32_t index) {
    return index >= 0 && index < ERROR_COUNT ? ErrorTable[index].message : "";
}

int32_t errors_getPublicCode(int32_t index) {
    return index >= 0 && index < ERROR_COUNT ? ErrorTable[index].publicCode : 0;
}

std::string errors_formatMessage(int32_t index, const char* text) {
    std::string message = errors_getMessage(index);
    const size_t place = message.find("%s");
    if (place != std::string::npos) {
        message.replace(place, 2, text ? text : "");
    }
    return message;
}

void report_writeError(int32_t index, const char* text) {
    if (ReportFile) {
        report_writeLine("");
        std::fputs(errors_formatMessage(index, text).c_str(), ReportFile);
    }
    ErrorCode = index;
}

void report_print(std::FILE* stream, const char* format, ...) {
    if (!stream) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stream, format, arguments);
    va_end(arguments);
}

void report_writeLine(const char* text) {
    report_print(ReportFile, "\n  %s", text);
}

void console_write(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

int32_t errors_setName(int32_t index, const char* text) {
    ErrorObjectName = text;
    return index;
}
