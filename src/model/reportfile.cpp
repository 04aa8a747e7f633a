// The text report as a stream. The lifecycle opens and closes it; errors write their messages into it as they come, and
// the room report its tables at the end.

#include "model/reportfile.h"

#include <cstdarg>

std::FILE* ReportFile = nullptr;

void reportfile_print(const char* format, ...) {
    if (!ReportFile) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(ReportFile, format, arguments);
    va_end(arguments);
}

void reportfile_writeLine(const char* text) {
    reportfile_print("\n  %s", text);
}
