// Failures of the engine. Every failure is told twice: as a message in the text report and as the public code that the
// lifecycle functions return. Parsers of input lines return an index and leave the text for the message in the model's
// current error; all other code calls errors_report. There are no warnings and no log beside the report.

#include "model/errors.h"

#include <array>
#include <string_view>

#include "model/messages.h"
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

/// A message without what the report puts around it.
template <size_t size>
static constexpr std::array<char, size + 1> makeDescription(const char (&message)[size]) {
    std::string_view text = message;
    const size_t head = text.find("ERROR ");
    if (head != text.npos) {
        text.remove_prefix(text.find(": ") + 2);
    }
    std::array<char, size + 1> words{};
    size_t length = 0;
    for (size_t k = 0; k < text.size(); ++k) {
        if (text[k] == '%') {
            words[length++] = '.';
            words[length++] = '.';
            words[length++] = '.';
            ++k;
        } else if (text[k] != '\n') {
            words[length++] = text[k];
        }
    }
    while (length > 0 && words[length - 1] == ' ') {
        words[--length] = 0;
    }
    return words;
}

const char* errors_describe(int32_t publicCode) {
#define TARNVELDE_ERROR(enumerator, code, text)                    \
    if (publicCode == (code)) {                                    \
        static constexpr auto DESCRIPTION = makeDescription(text); \
        return DESCRIPTION.data();                                 \
    }
#include "model/errors.def"
#undef TARNVELDE_ERROR
    return "unknown code";
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
    if (model.files.report || model.log) {
        const std::string message = formatMessage(index, text);
        reportfile_writeLine(model, "");
        reportfile_write(model, message.c_str());
        messages_addError(model, errors_getPublicCode(index), message, text);
    }
    model.error.code = index;
}

int32_t errors_setName(Model& model, int32_t index, const char* text) {
    model.error.objectName = text;
    return index;
}
