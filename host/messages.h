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
};

/// All messages of a model, in their order. Those about files name the file.
[[nodiscard]] std::vector<HostMessage> messages_read(const tv_model* model, const ProjectFiles& files);

/// A message of the program itself.
[[nodiscard]] HostMessage messages_make(int32_t code, std::string text);

/// Tells them on standard error, each with its place.
void messages_show(const std::vector<HostMessage>& messages);

/// Tells the code that a run, or a look at a project, ended with, if it isn't 0.
void messages_showEnd(int32_t code, const std::string& model);

/// A text without control characters, which must not reach the terminal.
[[nodiscard]] std::string messages_makePrintable(std::string text);
