#pragma once
// What a model says beside its report: progress on standard output, and messages that a host can hear and read.

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_set>
#include <vector>

#include "model/project.h"
#include "text/textfile.h"

struct Model;

enum MessageLevel : int32_t { MESSAGE_INFO, MESSAGE_WARNING, MESSAGE_ERROR };

/// A place in the project file.
struct MessagePlace {
    std::string section;  ///< as "[PIPES]"; empty for none
    int64_t line;         ///< from 1 on; 0 for none
    std::string words;    ///< the line as it stands
    int32_t column;       ///< of the word meant, in bytes from 1 on; 0 for the whole line
    int32_t length;       ///< of that word, in bytes
};

struct Message {
    int32_t level;     ///< MessageLevel
    int32_t code;      ///< public code; 0 of what is no error
    std::string name;  ///< stable name of a warning
    std::string text;  ///< in words, one line
    MessagePlace place;
    std::string object;  ///< ID of the object, or the word that is wrong
    int32_t severity;    ///< WarningSeverity of a warning
    const char* effect;  ///< of a warning: what happens
    const char* advice;  ///< of a warning: what to do
    double date;         ///< of the run, if the message belongs to a moment of it; 0 otherwise
};

/// Where the line of an object begins in the project file.
struct LinePlace {
    int64_t offset;
    int32_t line;
    int32_t section;  ///< place in the list of sections
};

/// A line that gave something about an object, or about a pair of them.
struct GivenLine {
    uint64_t key;
    LinePlace place;  ///< its line is 0 in a free slot
};

/// An action of a rule: its line, and what that says, for a look at it when all objects are known.
struct ActionLine {
    LinePlace place;
    const char* type;    ///< the type word
    int32_t rule;        ///< row
    int32_t link, node;  ///< what the name means; -1 for none
};

/// Which conditions the rule that is being read has had after its IF.
struct RuleLogics {
    int32_t rule = -1;  ///< row
    bool hasAnd = false, hasOr = false;
};

/// What warnings need: where the reader stands, where objects were defined, and how often each kind was told.
struct WarningLog {
    bool isWanted = false;
    const LinePlace* reading = nullptr;                ///< the line that is being read; null while none is
    const char* words = nullptr;                       ///< that line as it stands
    std::vector<LinePlace> places[OBJECT_TYPE_COUNT];  ///< of objects; empty until one is asked for
    void (*findPlaces)(const Model& model, WarningLog& warnings) = nullptr;  ///< fills them, by the reader
    std::vector<int64_t> counts;                                             ///< by WarningIndex, and by severity in it
    std::unordered_set<uint64_t> told;  ///< kinds of warning with the object of the run that they were told of
    bool isRunReviewed = false;         ///< the balances of the run were told of
    bool isNumberTold = false;          ///< so was a value that is no number
    std::vector<GivenLine> given;       ///< a table of slots, found by the key; their count is a power of 2
    size_t givenCount = 0;
    std::vector<ActionLine> actions;
    RuleLogics logics{};
    uint64_t sections = 0;  ///< a bit for each that had a line with something given
    std::string longId;     ///< the longest ID so far, if it is longer than the columns of the report
    LinePlace longIdPlace{};
    TextFile* source = nullptr;  ///< the project file, open from the opening to the close
};

/// What a host hears of a model. It outlives the project, and stays where it is while the messages grow.
struct MessageLog {
    std::deque<Message> messages;
    MessagePlace place{};  ///< of what is being said
    std::string detail;    ///< put after the words of the next message
    WarningLog warnings;
    void (*hear)(void* owner, const Message& message) = nullptr;
    void* owner = nullptr;
};

/// Progress, and the failures that no report can hold, on standard output, unless the model is silent.
void messages_tell(const Model& model, const char* text);

/// Where in the project file the faults stand that are told next; a line of 0 ends this.
void messages_setPlace(Model& model, const char* section, int64_t line, const char* words);

/// What stands after the words of the failure that is told next.
void messages_setDetail(Model& model, const char* detail);

/// Tells a failure by its index, with what stands after its words, which no report gets; its public code.
int32_t messages_addFault(Model& model, int32_t error, const std::string& detail);

/// Puts a message into the log, and lets the host hear it.
void messages_add(MessageLog& log, Message&& message);

/// Tells something to the host that is no failure of its own.
void messages_addInfo(Model& model, const char* text);

/// Tells a failure to the host. `text` is the message as the report has it.
void messages_addError(Model& model, int32_t code, const std::string& text, const char* object);
