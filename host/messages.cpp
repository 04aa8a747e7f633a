// The engine writes its messages into the text report and hands out nothing but the last code. Each message stands
// behind a line of exactly two blanks, and begins with ERROR; up to the next such line, what follows belongs to it.
// Lines of the project file are shown there too, and may hold anything, the word ERROR included.

#include "messages.h"

#include <cstdio>
#include <fstream>

static constexpr const char* MESSAGE_MARK = "  ";  ///< the line in front of a message
static constexpr const char* ERROR_COUNT_TEXT = "  Maximum error count exceeded.";

static bool beginsMessage(const std::string& line) {
    return line.starts_with("  ERROR") || line == ERROR_COUNT_TEXT;
}

std::vector<EngineMessage> messages_readReport(const std::string& reportFile) {
    std::vector<EngineMessage> messages;
    std::ifstream report(reportFile, std::ios::binary);
    std::string line;
    bool isBehindMark = false;
    bool isInMessage = false;
    while (std::getline(report, line)) {
        if (line == MESSAGE_MARK) {
            isBehindMark = true;
            isInMessage = false;
            continue;
        }
        if (isBehindMark && beginsMessage(line)) {
            messages.push_back({line.substr(2), {}});
            isInMessage = true;
        } else if (isInMessage && !line.empty()) {
            messages.back().place.push_back(line);
        }
        isBehindMark = false;
    }
    return messages;
}

/// Control characters of a project file must not reach the terminal.
static std::string makePrintable(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 32 && c != '\t') || byte == 127) {
            c = '?';
        }
    }
    return text;
}

/// Failures that the engine tells on the console only, where they aren't seen by everybody.
static std::string describeFileError(int32_t code, const ProjectFiles& files) {
    switch (code) {
        case 301: return "model, report and results must be three different files";
        case 303: return "cannot open the project file " + files.model;
        case 305: return "cannot open the report file " + files.report;
        case 307: return "cannot open the binary results file " + files.results;
        case 313: return "cannot open the database file " + files_replaceExtension(files.model, ".db");
        default: return {};
    }
}

void messages_show(int32_t code, const ProjectFiles& files, bool withPlaces) {
    const std::string fileError = describeFileError(code, files);
    // With these three the report was not opened: what lies there under its name is of an earlier run, or no report.
    if (code != 301 && code != 303 && code != 305) {
        for (const EngineMessage& message : messages_readReport(files.report)) {
            std::fprintf(stderr, "%s\n", makePrintable(message.text).c_str());
            for (const std::string& line : withPlaces ? message.place : std::vector<std::string>()) {
                std::fprintf(stderr, "%s\n", makePrintable(line).c_str());
            }
        }
    }
    if (!fileError.empty()) {
        std::fprintf(stderr, "ERROR %d: %s\n", static_cast<int>(code), makePrintable(fileError).c_str());
    }
    std::fprintf(stderr, "tarnvelde: %s: the engine ended with code %d\n", makePrintable(files.model).c_str(),
                 static_cast<int>(code));
}
