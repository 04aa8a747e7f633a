// Treatment-plant nodes, built like SWMM nodes and stepped in the same way:
//
//     behind --(newTime <= newRoutingTime)--> influents, engine step, effluents --> behind or ahead
//     ahead  --(newTime >  newRoutingTime)--> nothing is asked of the engine until the routing clock has passed it
//
// What differs: the plant speaks of units and of quantities of its own, and converters stand between those and the
// pollutants of the network.

#include "coupling/vorn.h"

#include "coupling/converter.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "text/tokens.h"
#include "text/units.h"

const char* const VornRecordWords[] = {"INFLUENT", "EFFLUENT", nullptr};

static constexpr OutsideKind VornKind = {
    "vorn.dll",     LIBRARY_NATIVE_NAME("vorn"), ERR_VORN_LIBRARY_MISSING, ERR_VORN_TEMP_FOLDER, ERR_FILE_COPY,
    ERR_VORN_DATES, ERR_VORN_START_DATE,         ERR_VORN_END_DATE,        ERR_VORN_START};

// Numbers by which the engine knows what is asked for.
static constexpr int INFLUENT_UNIT = 0;
static constexpr int EFFLUENT_UNIT = 1;
static constexpr int UNSTEADY_SOLUTION = 1;
static constexpr int FLOW_INDEX = 0;  ///< constituents and components follow from 1 on

static int32_t getVornRow(const Model& model, int32_t node) {
    return model.nodes[node].kindIndex;
}

// --- library -------------------------------------------------------------------------------------------------------

/// The first function that isn't there ends the look-up: those behind it are not taken either.
static void findEntries(VornNode& vorn) {
    bool isFound = true;
#define VORN_ENTRY(name, result, arguments, standIn) \
    isFound = isFound && entries_find(vorn.outside.library, #name, vorn.entries.name);
#include "coupling/vornentries.def"
#undef VORN_ENTRY
}

static OutsideCalls getCalls(const VornEntries& entries) {
    return {entries.vorn_getStartAndEndTime, entries.vorn_start, entries.vorn_step, entries.vorn_end,
            entries.vorn_close};
}

void vorn_loadLibrary(Model& model, int32_t row) {
    VornNode& vorn = model.vornNodes[row];
    outside_loadLibrary(model, vorn.outside, VornKind, model.engines.vornLibrary, model.engines.vornFolder);
    findEntries(vorn);
    outside_findStateCalls(vorn.outside, "vorn_saveState", "vorn_restoreState");
    outside_findSpeechCalls(model, vorn.outside, "vorn_setSurroundings", "vorn_getMessage");
}

void vorn_closeNode(Model& model, int32_t row) {
    VornNode& vorn = model.vornNodes[row];
    outside_close(model, vorn.outside, getCalls(vorn.entries));
    vorn.entries = VornEntries{};
}

// --- reading -------------------------------------------------------------------------------------------------------

static int32_t readVornRecord(Model& model, const Tokens& tokens, int32_t row, bool isInflow) {
    const int32_t link = names_find(model, LINK, tokens[2]);
    if (link < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    const int32_t converter = names_find(model, CONVERTER, tokens[3]);
    if (converter < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[3]);
    }
    OutsideNode& outside = model.vornNodes[row].outside;
    return outside_addRecord(model, tokens, isInflow ? outside.inflows : outside.outflows, link, converter);
}

int32_t vorn_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t row) {
    const int32_t word = tokens.count > 0 ? tokens_findKeyword(tokens[0], VornRecordWords) : -1;
    if (tokens.count < (word < 0 ? 3 : 4)) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    return word < 0 ? outside_readDefinition(model, tokens, model.vornNodes[row].outside, node, VORN, row)
                    : readVornRecord(model, tokens, row, word == 0);
}

// --- validation ----------------------------------------------------------------------------------------------------

/// Fills the path of the model, whose extension is fixed. False, after its message, if there is no such file or another
/// node has it. A missing file is told by the message of SWMM nodes.
static bool setPath(Model& model, int32_t row, const char* id) {
    OutsideNode& outside = model.vornNodes[row].outside;
    std::string path;
    if (!outside_findModel(model, outside, path)) {
        errors_report(model, ERR_SWMM_INPUT_MISSING, id);
        return false;
    }
    path += ".sti";
    for (int32_t other = 0; other < row; ++other) {
        if (path == model.vornNodes[other].outside.inpFile) {
            errors_report(model, ERR_VORN_INPUT_DUPLICATE, id);
            return false;
        }
    }
    const char* inpFile = names_copyText(model, path.c_str());
    if (!inpFile) {
        errors_report(model, ERR_MEMORY, "");
        return false;
    }
    outside.inpFile = inpFile;
    return true;
}

static void validateRecords(Model& model, const VornNode& vorn, const char* id) {
    for (const CoupledFlow* record = vorn.outside.inflows.head; record; record = record->next) {
        if (vorn.entries.vorn_getUnitType(record->objectId) != INFLUENT_UNIT) {
            errors_report(model, ERR_VORN_INFLUENT, record->objectId);
        }
    }
    for (const CoupledFlow* record = vorn.outside.outflows.head; record; record = record->next) {
        if (vorn.entries.vorn_getUnitType(record->objectId) != EFFLUENT_UNIT) {
            errors_report(model, ERR_VORN_EFFLUENT, record->objectId);
        }
        outside_validateOutflow(model, *record, id);
    }
}

void vorn_validate(Model& model, int32_t node) {
    const char* id = model.nodes[node].id;
    VornNode& vorn = model.vornNodes[getVornRow(model, node)];
    if (!setPath(model, getVornRow(model, node), id)) {
        return;
    }
    vorn.outside.isOpen = true;  // whatever the engine says: it is asked to close in any case
    if (vorn.entries.vorn_open(vorn.outside.inpFile) != 0) {
        outside_setDetail(model, vorn.outside);
        errors_report(model, ERR_VORN_INPUT_OPEN, id);
    }
    outside_validateDates(model, getCalls(vorn.entries), VornKind, id);
    if (vorn.entries.vorn_getSolutionType() != UNSTEADY_SOLUTION) {
        errors_report(model, ERR_VORN_SOLUTION, id);
    }
    validateRecords(model, vorn, id);
}

// --- start and end of a run ----------------------------------------------------------------------------------------

void vorn_initState(Model& model, int32_t node) {
    outside_initState(model, model.vornNodes[getVornRow(model, node)].outside, CONSTITUENT_COUNT);
}

bool vorn_startNode(Model& model, int32_t node) {
    VornNode& vorn = model.vornNodes[getVornRow(model, node)];
    return outside_start(model, vorn.outside, getCalls(vorn.entries), VornKind, model.nodes[node].id);
}

void vorn_endNode(Model& model, int32_t node) {
    VornNode& vorn = model.vornNodes[getVornRow(model, node)];
    outside_end(model, vorn.outside, getCalls(vorn.entries));
}

// --- what comes in -------------------------------------------------------------------------------------------------

void vorn_shiftInflows(Model& model, int32_t row) {
    outside_rollRecords(model.vornNodes[row].outside.inflows, CONSTITUENT_COUNT);
}

void vorn_takeInflow(Model& model, int32_t row, int32_t link, double flow, const double* loads) {
    // Every record of the link takes the whole flow, so two of them double it, in the plant and in the totals.
    for (CoupledFlow* record : outside_findRecords(model.vornNodes[row].outside.inflows, link)) {
        record->newFlow += flow;
        outside_countDelivery(model, VORN_TOTALS, *record, flow, loads);
        converter_applyInfluent(model, record->converter, flow, loads, record->newLoad);
    }
}

// --- the engine's step ---------------------------------------------------------------------------------------------

/// The constituents that are sent are those of the converter of the first record, for all records: what only another
/// converter fills doesn't reach the plant.
static void passInfluents(const Model& model, const VornNode& vorn) {
    const CoupledFlow* head = vorn.outside.inflows.head;
    const double f = outside_getWeight(vorn.outside.newTime, model.clock.oldRoutingTime, model.clock.newRoutingTime);
    for (const CoupledFlow* record = head; record; record = record->next) {
        vorn.entries.vorn_setExtInflow(record->objectId, FLOW_INDEX, (1.0 - f) * record->oldFlow + f * record->newFlow);
        const ConverterPoint* point = model.converters[head->converter].points;
        for (; point; point = point->next) {
            if (converter_isInfluentPoint(model, *point)) {
                const int32_t target = point->target;
                vorn.entries.vorn_setExtInflow(record->objectId, target + 1,
                                               f * record->newLoad[target] + (1.0 - f) * record->oldLoad[target]);
            }
        }
    }
}

/// Loads of the pollutants in what leaves a unit. The factor of a point has no effect on this side.
static void convertEffluent(const Model& model, const VornNode& vorn, const CoupledFlow& record) {
    const ConverterPoint* point = model.converters[record.converter].points;
    for (; point; point = point->next) {
        if (!converter_isEffluentPoint(model, *point)) {
            continue;
        }
        double concentration = point->constant;
        if (point->sourceKind == SOURCE_POLLUTANT) {
            concentration = 0.0;
            vorn.entries.vorn_getExtOutflow(record.objectId, point->sourceIndex + 1, &concentration);
        }
        converter_addAmount(*point, concentration * record.newFlow / G_PER_KG, record.newLoad[point->target]);
    }
}

static void takeEffluents(const Model& model, const VornNode& vorn) {
    outside_rollRecords(vorn.outside.outflows, model_pollutantCount(model));
    for (CoupledFlow* record = vorn.outside.outflows.head; record; record = record->next) {
        vorn.entries.vorn_getExtOutflow(record->objectId, FLOW_INDEX, &record->newFlow);
        convertEffluent(model, vorn, *record);
    }
}

void vorn_advance(Model& model, int32_t node) {
    VornNode& vorn = model.vornNodes[getVornRow(model, node)];
    const bool isDone = outside_advance(
        model, vorn.outside, getCalls(vorn.entries), [&] { passInfluents(model, vorn); },
        [&] { takeEffluents(model, vorn); });
    if (!isDone) {
        outside_tellRefusal(model, vorn.outside, node);
    }
}
