// Messages look as they do in the text report: "ERROR 209: undefined object J9 at line 12 of [PIPES] section:", and
// below it the line. Those about files that can't be used name the file, which the engine doesn't.

#include "messages.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "characters.h"
#include "resultfile.h"

std::string messages_makePrintable(const std::string& text) {
    return characters_makePrintable(text, true);
}

HostMessage messages_make(int32_t code, std::string text) {
    return {TV_ERROR, code, "", std::move(text), "", 0, "", "", 0, 0, 0, "", "", 0.0};
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

/// Why, as the engine tells it behind the name of the file in brackets; empty if it doesn't.
static std::string findReason(const std::string& text) {
    const size_t bracket = text.find(" (");
    const size_t place = bracket == std::string::npos ? bracket : text.rfind(": ");
    return place == std::string::npos ? std::string() : text.substr(place, text.size() - place - 1);
}

std::vector<HostMessage> messages_read(const tv_model* model, const ProjectFiles& files) {
    std::vector<HostMessage> messages;
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    for (int32_t k = 0; k < count; ++k) {
        tv_message m{};
        tv_getMessage(model, k, &m);
        const std::string fileError = describeFileError(m.code, files);
        messages.push_back({m.level, m.code, m.name, fileError.empty() ? m.text : fileError + findReason(m.text),
                            m.section, m.line, m.words, m.object, m.severity, m.column, m.length, m.effect, m.advice,
                            m.date});
    }
    return messages;
}

// --- showing -------------------------------------------------------------------------------------------------------

static const char* const RED = "\033[31m";
static const char* const YELLOW = "\033[33m";
static const char* const BLUE = "\033[36m";
static const char* const PLAIN = "\033[0m";

/// How many warnings a warning counts for: of those beyond the limit the library gives only the number.
static int32_t getNumber(const HostMessage& message) {
    static constexpr std::string_view REST = " more of this kind";
    const bool isRest = message.line == 0 && message.text.ends_with(REST);
    int32_t number = 1;
    if (isRest) {
        std::from_chars(message.text.data(), message.text.data() + message.text.size(), number);
    }
    return number;
}

/// Of a warning.
static bool isNote(const HostMessage& message) {
    return message.severity == TV_NOTE;
}

/// Of an error or a warning.
static const char* getColour(const HostMessage& message) {
    return message.level == TV_ERROR || message.severity == TV_SERIOUS ? RED : isNote(message) ? BLUE : YELLOW;
}

static std::string formatHead(const HostMessage& message) {
    if (message.level == TV_ERROR && message.code <= 0) {
        return "tarnvelde: ";
    }
    if (message.level == TV_ERROR) {
        return "ERROR " + std::to_string(message.code) + ": ";
    }
    if (message.level == TV_WARNING) {
        const char* weight = isNote(message) ? "NOTE " : message.severity == TV_SERIOUS ? "SERIOUS " : "WARNING ";
        return weight + message.name + ": ";
    }
    return {};
}

/// The object of a warning, and the date of one that came in a run.
static std::string formatObject(const HostMessage& message) {
    if (message.level != TV_WARNING || message.object.empty()) {
        return {};
    }
    return message.object + (message.date == 0.0 ? "" : " at " + result_formatDate(message.date)) + ": ";
}

static std::string formatPlace(const HostMessage& message) {
    if (message.line <= 0) {
        return {};
    }
    const std::string place = message.section.empty() ? "input file" : message.section + " section";
    return " at line " + std::to_string(message.line) + " of " + place + ":";
}

/// Blanks below the front part of a line, tabs as they are, and marks below the word. A letter of several bytes takes
/// one place, and so does a byte that is none.
static std::string makePointer(const HostMessage& message) {
    const auto begin = static_cast<size_t>(message.column) - 1;
    const size_t end = std::min(begin + static_cast<size_t>(message.length), message.words.size());
    std::string pointer;
    for (size_t k = 0; k < end; k += std::max(characters_measure(message.words, k), size_t{1})) {
        pointer += k >= begin ? '^' : message.words[k] == '\t' ? '\t' : ' ';
    }
    return pointer;
}

static void showMessageLine(const char* indent, const std::string& text) {
    std::fprintf(stderr, "%s%s\n", indent, messages_makePrintable(text).c_str());
}

static void showMessage(const HostMessage& message, const MessageView& view, bool isFirstOfKind) {
    const std::string head = formatHead(message);
    const std::string rest = formatObject(message) + message.text + formatPlace(message);
    if (view.isColoured && message.level != TV_INFO) {
        std::fprintf(stderr, "%s%s%s%s\n", getColour(message), head.c_str(), PLAIN,
                     messages_makePrintable(rest).c_str());
    } else {
        showMessageLine("", head + rest);
    }
    if (message.line > 0) {
        showMessageLine("  ", message.words);
    }
    if (view.hasAdvice && message.column > 0) {
        showMessageLine("  ", makePointer(message));
    }
    if (view.hasAdvice && isFirstOfKind && !message.effect.empty()) {
        showMessageLine("  what happens: ", message.effect);
    }
    if (view.hasAdvice && isFirstOfKind && !message.advice.empty()) {
        showMessageLine("  what to do:   ", message.advice);
    }
}

void messages_show(const std::vector<HostMessage>& messages, const MessageView& view) {
    std::map<std::string, int32_t> counts;
    std::set<std::string> remedies;  // of errors
    for (const HostMessage& message : messages) {
        if (message.level != TV_WARNING) {
            showMessage(message, view, remedies.insert(message.advice).second);
        } else if (!isNote(message) || view.hasNotes) {
            int32_t& count = counts[message.name];
            if (count < view.mostOfKind) {
                showMessage(message, view, count == 0);
            }
            count += getNumber(message);
        }
    }
    for (const auto& [name, count] : counts) {
        if (count > view.mostOfKind) {
            std::fprintf(stderr, "%s: %d more\n", name.c_str(), static_cast<int>(count - view.mostOfKind));
        }
    }
}

// --- counts --------------------------------------------------------------------------------------------------------

MessageCounts messages_count(const std::vector<HostMessage>& messages) {
    MessageCounts counts{};
    for (const HostMessage& message : messages) {
        counts.errors += message.level == TV_ERROR;
        if (message.level == TV_WARNING) {
            int32_t& count = isNote(message)                  ? counts.notes
                             : message.severity == TV_SERIOUS ? counts.serious
                                                              : counts.warnings;
            count += getNumber(message);
        }
    }
    return counts;
}

static void addCount(std::string& text, int32_t count, const char* one, const char* many) {
    if (count > 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + (count == 1 ? one : many);
    }
}

std::string messages_describeCounts(const MessageCounts& counts) {
    std::string text;
    addCount(text, counts.errors, "error", "errors");
    addCount(text, counts.serious, "serious warning", "serious warnings");
    addCount(text, counts.warnings, "warning", "warnings");
    addCount(text, counts.notes, "note", "notes");
    return text;
}

std::string messages_nameNotes(const std::vector<HostMessage>& messages) {
    static constexpr size_t MOST_NAMES = 5;
    std::set<std::string> names;
    for (const HostMessage& message : messages) {
        if (message.level == TV_WARNING && message.severity == TV_NOTE) {
            names.insert(message.name);
        }
    }
    std::string text;
    size_t shown = 0;
    for (auto name = names.begin(); name != names.end() && shown < MOST_NAMES; ++name, ++shown) {
        text += (shown == 0 ? ": " : ", ") + *name;
    }
    return text + (names.size() > MOST_NAMES ? " and " + std::to_string(names.size() - MOST_NAMES) + " more" : "");
}

bool messages_areDoubtful(const std::vector<HostMessage>& messages) {
    const MessageCounts counts = messages_count(messages);
    return counts.serious + counts.warnings > 0;
}

void messages_showEnd(int32_t code, const std::string& model) {
    if (code > 0) {
        std::fprintf(stderr, "tarnvelde: %s: the engine ended with code %d\n", messages_makePrintable(model).c_str(),
                     static_cast<int>(code));
    } else if (code < 0) {
        std::fprintf(stderr, "tarnvelde: %s: %s\n", messages_makePrintable(model).c_str(), tv_describeCode(code));
    }
}
