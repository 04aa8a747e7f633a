#pragma once
// What the engine says, on its way to standard error.

#include <cstdint>
#include <string>
#include <vector>

#include "files.h"
#include "tarnvelde_model.h"

/// A message with texts of its own, which outlive the model.
struct HostMessage {
    int32_t level;        ///< tv_level
    int32_t code;         ///< of the engine; 0 of what is no error
    std::string name;     ///< of a warning
    std::string text;     ///< in words
    std::string section;  ///< of the project file; empty for no place
    int64_t line;         ///< of the project file, from 1 on; 0 for no place
    std::string words;    ///< the line as it stands
    std::string object;   ///< ID of the object, or the word that is wrong
    int32_t severity;     ///< tv_severity of a warning
    int32_t column;       ///< of the word meant in `words`, in bytes from 1 on; 0 for the whole line
    int32_t length;       ///< of that word, in bytes
    std::string effect;   ///< of a warning: what happens
    std::string advice;   ///< of a warning, and of an error in a check: what to do
    double date;          ///< of the run, for what belongs to a moment of it; 0 for others
};

inline constexpr int32_t MESSAGES_WARNINGS_SHOWN = 5;  ///< of one kind, where nothing else is asked for

/// How messages are shown.
struct MessageView {
    bool hasNotes;       ///< warnings that are notes, too
    bool hasAdvice;      ///< a pointer to the word, and with the first of a kind what happens and what to do
    bool isColoured;     ///< for a terminal
    int32_t mostOfKind;  ///< warnings of one kind that are shown; the rest is counted
};

/// How many there are of each weight.
struct MessageCounts {
    int32_t errors, serious, warnings, notes;
};

/// All messages of a model, in their order. Those about files name the file.
[[nodiscard]] std::vector<HostMessage> messages_read(const tv_model* model, const ProjectFiles& files);

/// A message of the program itself.
[[nodiscard]] HostMessage messages_make(int32_t code, std::string text);

/// Tells them on standard error, each with its place.
void messages_show(const std::vector<HostMessage>& messages, const MessageView& view);

[[nodiscard]] MessageCounts messages_count(const std::vector<HostMessage>& messages);

/// "1 error, 2 serious warnings, 3 warnings, 4 notes", without those that there are none of; empty for none at all.
[[nodiscard]] std::string messages_describeCounts(const MessageCounts& counts);

/// ": W-run-flood, W-unit-slope", the kinds of notes, five at most; empty for none.
[[nodiscard]] std::string messages_nameNotes(const std::vector<HostMessage>& messages);

/// Whether there is a warning that isn't a mere note.
[[nodiscard]] bool messages_areDoubtful(const std::vector<HostMessage>& messages);

/// Tells the code that a run, or a look at a project, ended with, if it isn't 0.
void messages_showEnd(int32_t code, const std::string& model);

/// A text that hides nothing (host/characters.h), with its tabs.
[[nodiscard]] std::string messages_makePrintable(const std::string& text);
