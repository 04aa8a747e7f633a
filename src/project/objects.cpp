// Tables of all classes of object. Their sizes are fixed by the first reading pass, so that indices stay stable; arrays
// by pollutant live in the project's memory and go with it as a whole.

#include "project/objects.h"

#include <initializer_list>

#include "controls/rule.h"
#include "coupling/converter.h"
#include "coupling/coupled.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/topology.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/memory.h"
#include "routing/linkkinds.h"

template <class Record>
static void fillTable(Table<Record>& table, int32_t count, const Record& record) {
    table.clear();
    table.reserve(count);
    memory_useLargePages(table.data(), table.rows.capacity() * sizeof(Record));
    table.fill(count, record);
}

template <class Record>
static void createTable(Table<Record>& table, int32_t count) {
    fillTable(table, count, Record{});
}

/// Nodes and links are of no kind until they are read, also in a project whose tables were never finished.
template <class Record>
static void createKindlessTable(Table<Record>& table, int32_t count) {
    Record record{};
    record.kind = -1;
    fillTable(table, count, record);
}

/// Arrays of one number per pollutant, side by side, since a visit goes through all of them.
static void createArrays(std::initializer_list<double**> arrays) {
    const int64_t count = project_pollutantCount();
    double* memory = arena_allocateArray<double>(ProjectArena, count * static_cast<int64_t>(arrays.size()));
    if (!memory) {
        ErrorCode = ERR_MEMORY;
        return;
    }
    for (double** array : arrays) {
        *array = memory;
        memory += count;
    }
}

static void createNodes() {
    for (Node& node : Nodes) {
        if (project_pollutantCount() > 0) {
            createArrays({&node.massInflow, &node.newQual, &node.oldQual});
        }
    }
    for (Tank& tank : Tanks) {
        createArrays({&tank.initQual});
        tank.decay = decay_create();
        if (!tank.decay) {
            ErrorCode = ERR_MEMORY;
        }
    }
}

static void createLinks() {
    for (Link& link : Links) {
        createArrays({&link.newQual, &link.oldQual});
    }
    for (Pipe& pipe : Pipes) {
        pipe.decay = decay_create();
        if (!pipe.decay) {
            ErrorCode = ERR_MEMORY;
        }
    }
    for (Conduit& conduit : Conduits) {
        conduit.decay = decay_create();
        if (!conduit.decay) {
            ErrorCode = ERR_MEMORY;
        }
    }
}

static void createReactors() {
    for (Reactor& reactor : Reactors) {
        if (!reactor_createArrays(reactor)) {
            ErrorCode = ERR_MEMORY;
        }
    }
}

void objects_create() {
    if (ErrorCode) {
        return;
    }
    createTable(Gages, ObjectCount[GAGE]);
    subcatch_createAll();
    createKindlessTable(Nodes, ObjectCount[NODE]);
    createTable(Tanks, NodeKindCount[TANK]);
    createTable(Outfalls, NodeKindCount[OUTFALL]);
    createTable(Splitters, NodeKindCount[SPLITTER]);
    createTable(Reactors, NodeKindCount[REACTOR]);
    createTable(LidMonos, NodeKindCount[LID_MONO]);
    createKindlessTable(Links, ObjectCount[LINK]);
    createTable(Pipes, LinkKindCount[PIPE]);
    createTable(Pumps, LinkKindCount[PUMP]);
    createTable(Connections, LinkKindCount[CONNECTION]);
    createTable(Conduits, LinkKindCount[CONDUIT]);
    createTable(Weirs, LinkKindCount[WEIR]);
    createTable(Orifices, LinkKindCount[ORIFICE]);
    createTable(Polluts, ObjectCount[POLLUT]);
    landuse_createAll();
    curve_createAll();
    timeseries_createAll();
    createTable(Patterns, ObjectCount[PATTERN]);
    createTable(Converters, ObjectCount[CONVERTER]);
    lidgroup_createAll();
    lid_createAll();
    rule_createAll();
    if (ErrorCode) {
        return;  // without memory for these no outside model is loaded either
    }
    createNodes();
    createLinks();
    createReactors();
    coupled_createNodes();
}

void objects_delete() {
    coupled_deleteNodes();
    Gages = {};
    subcatch_deleteAll();
    Nodes = {};
    Tanks = {};
    Outfalls = {};
    Splitters = {};
    Reactors = {};
    LidMonos = {};
    Links = {};
    Pipes = {};
    Pumps = {};
    Connections = {};
    Conduits = {};
    conduit_clear();
    Weirs = {};
    Orifices = {};
    Polluts = {};
    Landuses = {};
    lidgroup_deleteAll();
    Lids = {};
    timeseries_deleteAll();
    curve_deleteAll();
    Patterns = {};
    rule_deleteAll();
    Converters = {};
    topology_clear();
    linkkinds_clearRun();
    inflows_clear();
    QualTotals = nullptr;
    arena_release(RunArena);
    arena_release(ResultArena);
}
