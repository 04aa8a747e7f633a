#pragma once
// The folder project: from a file to tables, checked and put to their start. It uses all floors below; it must know no
// host and take no step. It knows which section belongs to which room and which table is made when; what a line means,
// and what is wrong with it, is told by the room whose object it describes.
//
// The project file: sections of lines, read twice.

#include "model/project.h"

struct Model;

/// Running indices of the second pass, by class of object, kind of node and kind of link.
struct RunningIndices {
    int32_t objects[OBJECT_TYPE_COUNT];
    int32_t nodes[NODE_KIND_COUNT];
    int32_t links[LINK_KIND_COUNT];
    bool isDescriptionFull;  ///< more lines describe the project than are kept
};

/// Reads the whole project; sets the current error, the start and end of the simulation and its duration.
void reader_readProject(Model& model);
