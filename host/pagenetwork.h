#pragma once
// The network of a page: its objects with their places and with what they may be coloured by.

#include <string>

#include "pagedata.h"
#include "tarnvelde_model.h"

/// Objects of an open model; places are those of its project file, or of our own where it gives none. What is wrong
/// with the coordinates goes to the messages.
[[nodiscard]] PageNetwork pagenetwork_read(const tv_model* model, const std::string& project,
                                           std::vector<HostMessage>& messages);

/// Peaks and volumes of a run that is started or finished.
void pagenetwork_addMeasures(PageNetwork& network, const tv_model* model);
