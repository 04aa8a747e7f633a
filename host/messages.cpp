// Messages look as they do in the text report: "ERROR 209: undefined object J9 at line 12 of [PIPES] section:", and
// below it the line. Those about files that can't be used name the file, which the engine doesn't.

#include "messages.h"

#include <cstdio>
#include <utility>

std::string messages_makePrintable(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 32 && c != '\t') || byte == 127) {
            c = '?';
        }
    }
    return text;
}

HostMessage messages_make(int32_t code, std::string text) {
    return {TV_ERROR, code, "", std::move(text), "", 0, "", ""};
}

/// What is wrong with a file of the run, in more words than the engine's.
static std::string describeFileError(int32_t code, const ProjectFiles& files) {
    switch (code) {
        case 303: return "cannot open the project file " + files.model;
        case 305: return "cannot open the report file " + files.report;
        case 307: return "cannot open the binary results file " + files.results;
        case 313: return "cannot open the database file " + files.database;
        default: return {};
    }
}

std::vector<HostMessage> messages_read(const tv_model* model, const ProjectFiles& files) {
    std::vector<HostMessage> messages;
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    for (int32_t k = 0; k < count; ++k) {
        tv_message m{};
        tv_getMessage(model, k, &m);
        const std::string fileError = describeFileError(m.code, files);
        messages.push_back(
            {m.level, m.code, m.name, fileError.empty() ? m.text : fileError, m.section, m.line, m.words, m.object});
    }
    return messages;
}

static std::string formatHead(const HostMessage& message) {
    if (message.level == TV_ERROR && message.code <= 0) {
        return "tarnvelde: ";
    }
    if (message.level == TV_ERROR) {
        return "ERROR " + std::to_string(message.code) + ": ";
    }
    if (message.level == TV_WARNING) {
        return message.name.empty() ? "WARNING: " : "WARNING " + message.name + ": ";
    }
    return {};
}

static std::string formatPlace(const HostMessage& message) {
    if (message.line <= 0) {
        return {};
    }
    const std::string place = message.section.empty() ? "input file" : message.section + " section";
    return " at line " + std::to_string(message.line) + " of " + place + ":";
}

void messages_show(const std::vector<HostMessage>& messages) {
    for (const HostMessage& message : messages) {
        const std::string line = formatHead(message) + message.text + formatPlace(message);
        std::fprintf(stderr, "%s\n", messages_makePrintable(line).c_str());
        if (message.line > 0) {
            std::fprintf(stderr, "  %s\n", messages_makePrintable(message.words).c_str());
        }
    }
}

void messages_showEnd(int32_t code, const std::string& model) {
    if (code > 0) {
        std::fprintf(stderr, "tarnvelde: %s: the engine ended with code %d\n", messages_makePrintable(model).c_str(),
                     static_cast<int>(code));
    } else if (code < 0) {
        std::fprintf(stderr, "tarnvelde: %s: %s\n", messages_makePrintable(model).c_str(), tv_describeCode(code));
    }
}
