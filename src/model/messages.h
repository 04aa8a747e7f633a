#pragma once
// What a model says beside its report: progress on standard output, and messages that a host can hear and read.

#include <cstdint>
#include <deque>
#include <string>

struct Model;

enum MessageLevel : int32_t { MESSAGE_INFO, MESSAGE_WARNING, MESSAGE_ERROR };

/// A place in the project file.
struct MessagePlace {
    std::string section;  ///< as "[PIPES]"; empty for none
    int64_t line;         ///< from 1 on; 0 for none
    std::string words;    ///< the line as it stands
};

struct Message {
    int32_t level;     ///< MessageLevel
    int32_t code;      ///< public code; 0 of what is no error
    std::string name;  ///< stable name of a warning
    std::string text;  ///< in words, one line
    MessagePlace place;
    std::string object;  ///< ID of the object, or the word that is wrong
};

/// What a host hears of a model. It outlives the project, and stays where it is while the messages grow.
struct MessageLog {
    std::deque<Message> messages;
    MessagePlace place{};  ///< of what is being said
    std::string detail;    ///< put behind the words of the next message
    void (*hear)(void* owner, const Message& message) = nullptr;
    void* owner = nullptr;
};

/// Progress, and the failures that no report can hold, on standard output, unless the model is silent.
void messages_tell(const Model& model, const char* text);

/// Where in the project file the faults stand that are told next; a line of 0 ends this.
void messages_setPlace(Model& model, const char* section, int64_t line, const char* words);

/// What stands behind the words of the failure that is told next.
void messages_setDetail(Model& model, const char* detail);

/// Tells something to the host that is no failure of its own.
void messages_addInfo(Model& model, const char* text);

/// Tells a failure to the host. `text` is the message as the report has it.
void messages_addError(Model& model, int32_t code, const std::string& text, const char* object);
