#pragma once
// Where in the project file an error lies that is found when all is read, and of which the engine names the object
// alone.

#include <string>
#include <vector>

#include "messages.h"

/// Gives errors without a place the line of their object, and their texts what helps to see the fault: the links of a
/// node, the way round a loop, the line of a series file. All errors get what to do. Of a project that can't be read
/// the messages stay as they are, but for that.
void errorplaces_fill(const std::string& project, std::vector<HostMessage>& messages);

/// Whether an error lies in the project, and not in a file, a disk or an engine.
[[nodiscard]] bool errorplaces_isOfProject(int32_t code);
