#pragma once
// The model file of a plant: sections, lines of words, units of the manual. All that is wrong is told, with its line.

#include <string>
#include <string_view>
#include <vector>

#include "plantmodel.h"

/// A place and what is wrong there. Line 0 is the file as a whole.
struct FileMessage {
    size_t line = 0;
    std::string text;
};

/// Reads a text. The model is whole if no message is left.
[[nodiscard]] std::vector<FileMessage> modelfile_read(std::string_view text, PlantModel& model);

/// A file's bytes; an empty text or why they can't be had.
[[nodiscard]] std::string modelfile_load(const std::string& path, std::string& bytes);

/// Messages as lines "NAME:LINE: TEXT".
[[nodiscard]] std::string modelfile_describe(const std::string& name, const std::vector<FileMessage>& messages);
