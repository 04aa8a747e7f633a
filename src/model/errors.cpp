// Failures of the engine. Every failure is told twice: as a message in the text report and as the public code that the
// lifecycle functions return. Parsers of input lines return an index and leave the text for the message in the model's
// current error; all other code calls errors_report. There are no warnings and no log beside the report.

#include "model/errors.h"

#include "model/model.h"
#include "model/reportfile.h"

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

/// The message with `text` in the place of its %s. `text` is data: a % in it means nothing.
static std::string formatMessage(int32_t index, const char* text) {
    std::string message = errors_getMessage(index);
    const size_t place = message.find("%s");
    if (place != std::string::npos) {
        message.replace(place, 2, text ? text : "");
    }
    return message;
}

void errors_report(Model& model, int32_t index, const char* text) {
    if (model.files.report) {
        reportfile_writeLine(model, "");
        std::fputs(formatMessage(index, text).c_str(), model.files.report);
    }
    model.error.code = index;
}

int32_t errors_setName(Model& model, int32_t index, const char* text) {
    model.error.objectName = text;
    return index;
}
