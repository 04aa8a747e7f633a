// Tables of all classes of object. Their sizes are fixed by the first reading pass, so that indices stay stable; arrays
// by pollutant live in the project's memory and go with it as a whole.

#include "engine/objects.h"

#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/subcatch.h"
#include "input/pattern.h"
#include "input/table.h"
#include "routing/connection.h"
#include "routing/network.h"
#include "routing/node.h"
#include "routing/pipe.h"

template <class Record>
static void createTable(std::vector<Record>& table, int32_t count) {
    table.assign(static_cast<size_t>(count), Record{});
}

/// One array per pollutant, from the project's memory.
static double* createPollutantArray() {
    double* array = arena_allocateArray<double>(ProjectArena, project_pollutantCount());
    if (!array) {
        ErrorCode = ERR_MEMORY;
    }
    return array;
}

static void createNodes() {
    for (Node& node : Nodes) {
        node.kind = -1;
        if (project_pollutantCount() > 0) {
            node.massInflow = createPollutantArray();
            node.oldQual = createPollutantArray();
            node.newQual = createPollutantArray();
        }
    }
}

static void createLinks() {
    for (Link& link : Links) {
        link.kind = -1;
        link.oldQual = createPollutantArray();
        link.newQual = createPollutantArray();
    }
    for (Pipe& pipe : Pipes) {
        pipe.decay = decay_create();
        if (!pipe.decay) {
            ErrorCode = ERR_MEMORY;
        }
    }
}

void project_createObjects() {
    if (ErrorCode) {
        return;
    }
    createTable(Gages, ObjectCount[GAGE]);
    subcatch_createAll();
    createTable(Nodes, ObjectCount[NODE]);
    createTable(Junctions, NodeKindCount[JUNCTION]);
    createTable(Outfalls, NodeKindCount[OUTFALL]);
    createTable(Splitters, NodeKindCount[SPLITTER]);
    createTable(Links, ObjectCount[LINK]);
    createTable(Pipes, LinkKindCount[PIPE]);
    createTable(Connections, LinkKindCount[CONNECTION]);
    createTable(Polluts, ObjectCount[POLLUT]);
    landuse_createAll();
    table_createAll();
    createTable(Patterns, ObjectCount[PATTERN]);
    createNodes();
    createLinks();
}

void project_deleteObjects() {
    Gages = {};
    subcatch_deleteAll();
    Nodes = {};
    Junctions = {};
    Outfalls = {};
    Splitters = {};
    Links = {};
    Pipes = {};
    Connections = {};
    Polluts = {};
    Landuses = {};
    table_deleteAll();
    Patterns = {};
    network_clear();
    QualTotals = nullptr;
    arena_release(RunArena);
    arena_release(ResultArena);
}
