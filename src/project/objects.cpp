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
#include "model/model.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/memory.h"

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
static void createArrays(Model& model, std::initializer_list<double**> arrays) {
    const int64_t count = model_pollutantCount(model);
    double* memory = arena_allocateArray<double>(model.memory.project, count * static_cast<int64_t>(arrays.size()));
    if (!memory) {
        model.error.code = ERR_MEMORY;
        return;
    }
    for (double** array : arrays) {
        *array = memory;
        memory += count;
    }
}

static void createNodes(Model& model) {
    for (Node& node : model.nodes) {
        if (model_pollutantCount(model) > 0) {
            createArrays(model, {&node.massInflow, &node.newQual, &node.oldQual});
        }
    }
    for (Tank& tank : model.tanks) {
        createArrays(model, {&tank.initQual});
        tank.decay = decay_create(model);
        if (!tank.decay) {
            model.error.code = ERR_MEMORY;
        }
    }
}

static void createLinks(Model& model) {
    for (Link& link : model.links) {
        createArrays(model, {&link.newQual, &link.oldQual});
    }
    for (Pipe& pipe : model.pipes) {
        pipe.decay = decay_create(model);
        if (!pipe.decay) {
            model.error.code = ERR_MEMORY;
        }
    }
    for (Conduit& conduit : model.conduits) {
        conduit.decay = decay_create(model);
        if (!conduit.decay) {
            model.error.code = ERR_MEMORY;
        }
    }
}

static void createReactors(Model& model) {
    for (Reactor& reactor : model.reactors) {
        if (!reactor_createArrays(model, reactor)) {
            model.error.code = ERR_MEMORY;
        }
    }
}

void objects_create(Model& model) {
    if (model.error.code) {
        return;
    }
    createTable(model.gages, model.counts.objects[GAGE]);
    subcatch_createAll(model);
    createKindlessTable(model.nodes, model.counts.objects[NODE]);
    createTable(model.tanks, model.counts.nodeKinds[TANK]);
    createTable(model.outfalls, model.counts.nodeKinds[OUTFALL]);
    createTable(model.splitters, model.counts.nodeKinds[SPLITTER]);
    createTable(model.reactors, model.counts.nodeKinds[REACTOR]);
    createTable(model.lidMonos, model.counts.nodeKinds[LID_MONO]);
    createKindlessTable(model.links, model.counts.objects[LINK]);
    createTable(model.linkFloods, model.counts.objects[LINK]);
    createTable(model.pipes, model.counts.linkKinds[PIPE]);
    createTable(model.pumps, model.counts.linkKinds[PUMP]);
    createTable(model.connections, model.counts.linkKinds[CONNECTION]);
    createTable(model.conduits, model.counts.linkKinds[CONDUIT]);
    createTable(model.weirs, model.counts.linkKinds[WEIR]);
    createTable(model.orifices, model.counts.linkKinds[ORIFICE]);
    createTable(model.polluts, model.counts.objects[POLLUT]);
    landuse_createAll(model);
    curve_createAll(model);
    timeseries_createAll(model);
    createTable(model.patterns, model.counts.objects[PATTERN]);
    createTable(model.converters, model.counts.objects[CONVERTER]);
    lidgroup_createAll(model);
    lid_createAll(model);
    rule_createAll(model);
    if (model.error.code) {
        return;  // without memory for these no outside model is loaded either
    }
    createNodes(model);
    createLinks(model);
    createReactors(model);
    coupled_createNodes(model);
}
