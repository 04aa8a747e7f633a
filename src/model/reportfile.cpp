// The text report as a stream. The lifecycle opens and closes it; errors write their messages into it as they come, and
// the room report its tables at the end.

#include "model/reportfile.h"

#include <cstdarg>

#include "model/model.h"

void reportfile_print(const Model& model, const char* format, ...) {
    if (!model.files.report) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(model.files.report, format, arguments);
    va_end(arguments);
}

void reportfile_write(const Model& model, const char* text) {
    if (model.files.report) {
        std::fputs(text, model.files.report);
    }
}

void reportfile_flush(const Model& model) {
    if (model.files.report) {
        std::fflush(model.files.report);
    }
}

void reportfile_writeLine(const Model& model, const char* text) {
    reportfile_print(model, "\n  %s", text);
}
