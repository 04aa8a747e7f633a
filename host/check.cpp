// A check is an opening without a report. What it tells stands in the order of the file, as a reader goes through it.

#include "check.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>

#include "console.h"
#include "errorplaces.h"
#include "handle.h"
#include "outcome.h"
#include "status.h"

static constexpr int32_t CODE_KEYWORD = 205;

static bool isHeader(const HostMessage& message) {
    return message.words.find_first_not_of(" \t") != std::string::npos &&
           message.words[message.words.find_first_not_of(" \t")] == '[';
}

/// An unknown header makes each line after it an error of its own in the report. One message about the header is enough
/// here.
static std::vector<HostMessage> gatherHeaders(const std::vector<HostMessage>& messages) {
    std::vector<HostMessage> gathered;
    for (const HostMessage& message : messages) {
        const bool isBelow = message.level == TV_ERROR && message.code == CODE_KEYWORD && message.section.empty();
        if (isBelow && !isHeader(message)) {
            continue;
        }
        gathered.push_back(message);
    }
    return gathered;
}

/// The engine's word about an unknown header goes into its error, which doesn't name it.
static std::vector<HostMessage> mergeHeaders(std::vector<HostMessage> messages) {
    for (HostMessage& error : messages) {
        if (error.level != TV_ERROR || error.code != CODE_KEYWORD || !isHeader(error)) {
            continue;
        }
        for (HostMessage& warning : messages) {
            if (warning.name == "W-section-unknown" && warning.line == error.line) {
                error.text = warning.text;
                error.column = warning.column;
                error.length = warning.length;
                warning.line = -1;
            }
        }
    }
    messages.erase(std::remove_if(messages.begin(), messages.end(), [](const HostMessage& m) { return m.line < 0; }),
                   messages.end());
    return messages;
}

/// In a file of UTF-16 each line has bytes of 0. The warning of its first line, which says what to do, is enough.
static void dropZeros(std::vector<HostMessage>& messages) {
    const auto isZero = [](const HostMessage& message) { return message.name == "W-line-nul"; };
    const bool isUtf16 = std::any_of(messages.begin(), messages.end(), [&](const HostMessage& message) {
        return isZero(message) && message.line == 1 &&
               (message.words.starts_with("\xFF\xFE") || message.words.starts_with("\xFE\xFF"));
    });
    if (isUtf16) {
        std::erase_if(messages, [&](const HostMessage& message) { return isZero(message) && message.line != 1; });
    }
}

/// By line; messages without a line come last.
static void sortByLine(std::vector<HostMessage>& messages) {
    std::stable_sort(messages.begin(), messages.end(), [](const HostMessage& a, const HostMessage& b) {
        return (a.line > 0 ? a.line : INT64_MAX) < (b.line > 0 ? b.line : INT64_MAX);
    });
}

static std::vector<HostMessage> readView(const tv_model* model, const std::string& name) {
    std::vector<HostMessage> messages = mergeHeaders(gatherHeaders(messages_read(model, {name, "", "", ""})));
    errorplaces_fill(name, messages);
    dropZeros(messages);
    sortByLine(messages);
    return messages;
}

static void tell(const Outcome& outcome) {
    messages_show(outcome.messages, {true, true, console_isErrorTerminal(), INT32_MAX});
    messages_showEnd(outcome.code, outcome.project);
}

static void tellCounts(const Outcome& outcome) {
    const MessageCounts counts = messages_count(outcome.messages);
    const std::string words = messages_describeCounts(counts);
    const char* none = counts.errors == 0 ? "no errors" : "";
    std::printf("%s: %s%s%s\n", messages_makePrintable(outcome.project).c_str(), none,
                *none && !words.empty() ? ", " : "", words.c_str());
}

int check_execute(const CheckRequest& request) {
    const auto begin = std::chrono::steady_clock::now();
    Outcome outcome{};
    outcome.command = "check";
    outcome.project = request.model;
    const ModelHandle model = handle_make(request.engines);
    outcome.code = tv_open(model.get(), request.model.c_str(), nullptr);
    tv_getPhase(model.get(), &outcome.phase);
    outcome.hasClock = tv_getClock(model.get(), &outcome.clock) == TV_OK;
    outcome.messages = readView(model.get(), request.model);
    outcome.status = outcome.code != TV_OK                                        ? EXIT_ENGINE_ERROR
                     : request.isStrict && messages_areDoubtful(outcome.messages) ? EXIT_DOUBT
                                                                                  : EXIT_DONE;
    outcome.wallTime = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    tell(outcome);
    if (request.isJson) {
        return outcome_writeJson(outcome) ? outcome.status : EXIT_ENGINE_ERROR;
    }
    if (outcome.phase != TV_CLOSED) {
        tellCounts(outcome);
    }
    return outcome.status;
}
