// What a model says beside its report: a host of many models wants to hear none of them on standard output, and to know
// what each of them has said, with its place.

#include "model/messages.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "model/model.h"
#include "platform/console.h"

void messages_tell(const Model& model, const char* text) {
    if (!model.isSilent) {
        console_write(text);
    }
}

void messages_setPlace(Model& model, const char* section, int64_t line, const char* words) {
    if (!model.log) {
        return;
    }
    std::string text = words;
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    model.log->place = {section, line, std::move(text), 0, 0};
}

/// The words of a message: without what the report puts around them.
static std::string getWords(const std::string& text) {
    size_t first = text.find_first_not_of(" \n");
    if (text.compare(std::min(first, text.size()), 6, "ERROR ") == 0) {
        first = text.find(": ", first) + 2;
    }
    const size_t last = text.find_last_not_of(" \n");
    return first > last ? std::string() : text.substr(first, last + 1 - first);
}

void messages_add(MessageLog& log, Message&& message) {
    log.messages.push_back(std::move(message));
    if (log.hear) {
        log.hear(log.owner, log.messages.back());
    }
}

/// Points at the first word of the line that is the object, or begins with it in quotes.
static void pointAt(MessagePlace& place, const std::string& object) {
    const std::string& words = place.words;
    for (size_t at = object.empty() ? std::string::npos : words.find(object); at != std::string::npos;
         at = words.find(object, at + 1)) {
        const size_t end = at + object.size();
        const bool begins = at == 0 || std::strchr(" \t\"", words[at - 1]);
        if (begins && (end == words.size() || std::strchr(" \t\"", words[end]))) {
            place.column = static_cast<int32_t>(at + 1);
            place.length = static_cast<int32_t>(object.size());
            return;
        }
    }
}

void messages_setDetail(Model& model, const char* detail) {
    if (model.log) {
        model.log->detail = detail;
    }
}

void messages_addInfo(Model& model, const char* text) {
    if (model.log) {
        messages_add(*model.log, {MESSAGE_INFO, 0, "", text, {}, "", 0, "", "", 0.0});
    }
}

void messages_addError(Model& model, int32_t code, const std::string& text, const char* object) {
    MessageLog* log = model.log;
    if (!log) {
        return;
    }
    MessagePlace place = log->place;
    pointAt(place, object);
    messages_add(*log, {MESSAGE_ERROR, code, "", getWords(text) + std::exchange(log->detail, {}), std::move(place),
                        object, 0, "", "", 0.0});
}

int32_t messages_addFault(Model& model, int32_t error, const std::string& detail) {
    const int32_t code = errors_getPublicCode(error);
    if (!detail.empty()) {
        messages_setDetail(model, (" (" + detail + ")").c_str());
    }
    messages_addError(model, code, errors_getMessage(error), "");
    return code;
}
