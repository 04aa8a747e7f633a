#pragma once
// What the engine says about a failure, brought from the text report to standard error.

#include <cstdint>
#include <string>
#include <vector>

#include "files.h"

/// One message of the text report.
struct EngineMessage {
    std::string text;                ///< "ERROR 209: ...", with the line number and section where it has them
    std::vector<std::string> place;  ///< what stands behind it: the line of the project file
};

/// All messages that the report file holds, in their order.
std::vector<EngineMessage> messages_readReport(const std::string& reportFile);

/// Tells on standard error why the engine gave `code` for the run of these files: the messages of the report, with
/// their places if wanted, or, for a file that can't be used, which has none, a text of our own; and last the code.
void messages_show(int32_t code, const ProjectFiles& files, bool withPlaces);
