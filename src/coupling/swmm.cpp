// SWMM nodes. The routing step brings the engine up to the routing clock, as often as the engine's own step asks for:
//
//     behind --(newTime <= newRoutingTime)--> requests, inflows, settings, engine step, outflows --> behind or ahead
//     ahead  --(newTime >  newRoutingTime)--> nothing is asked of the engine until the routing clock has passed it
//
// Water and load of the network go in as external inflows, interpolated at the engine's clock; what comes out goes into
// the links that the records name. Once the engine's run is over it reports an elapsed time of 0, and is asked again in
// every routing step.

#include "coupling/swmm.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "text/tokens.h"
#include "text/units.h"

const char* const SwmmRecordWords[] = {"INFLOW", "OUTFLOW", nullptr};

static constexpr OutsideKind SwmmKind = {"swmm5ex.dll",
                                         LIBRARY_NATIVE_NAME("swmm5ex"),
                                         ERR_SWMM_LIBRARY_MISSING,
                                         ERR_SWMM_TEMP_FOLDER,
                                         ERR_NONE,
                                         ERR_SWMM_DATES,
                                         ERR_SWMM_START_DATE,
                                         ERR_SWMM_END_DATE,
                                         ERR_SWMM_START};

// Numbers by which the engine knows what is asked for.
static constexpr int NODE_OBJECT = 1;
static constexpr int TOTAL_INFLOW = 4;
static constexpr int FIRST_POLLUTANT = 6;
static constexpr int SI_UNITS = 1;

static int32_t getSwmmRow(const Model& model, int32_t node) {
    return model.nodes[node].kindIndex;
}

// --- library -------------------------------------------------------------------------------------------------------

/// The first function that isn't there ends the look-up: those behind it are not taken either.
static void findEntries(SwmmNode& swmm) {
    bool isFound = true;
#define SWMM_ENTRY(name, result, arguments, standIn) \
    isFound = isFound && entries_find(swmm.outside.library, #name, swmm.entries.name);
#include "coupling/swmmentries.def"
#undef SWMM_ENTRY
}

static OutsideCalls getCalls(const SwmmEntries& entries) {
    return {entries.swmm_getStartAndEndTime, entries.swmm_start, entries.swmm_step, entries.swmm_end,
            entries.swmm_close};
}

void swmm_loadLibrary(Model& model, int32_t row) {
    SwmmNode& swmm = model.swmmNodes[row];
    outside_loadLibrary(model, swmm.outside, SwmmKind, model.engines.swmmLibrary, model.engines.swmmFolder);
    findEntries(swmm);
    outside_findStateCalls(swmm.outside, "swmm_saveState", "swmm_restoreState");
    outside_findSpeechCalls(model, swmm.outside, "swmm_setSurroundings", "swmm_getMessage");
}

void swmm_closeNode(Model& model, int32_t row) {
    SwmmNode& swmm = model.swmmNodes[row];
    outside_close(model, swmm.outside, getCalls(swmm.entries));
    swmm.entries = SwmmEntries{};
}

// --- reading -------------------------------------------------------------------------------------------------------

/// A record takes a link; what flows in may come from a subcatchment as well, and a link of the name wins.
static int32_t readSwmmRecord(Model& model, const Tokens& tokens, int32_t row, bool isInflow) {
    int32_t index = names_find(model, LINK, tokens[2]);
    if (index < 0 && isInflow) {
        index = names_find(model, SUBCATCH, tokens[2]);
    }
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    OutsideNode& outside = model.swmmNodes[row].outside;
    return outside_addRecord(model, tokens, isInflow ? outside.inflows : outside.outflows, index, -1);
}

int32_t swmm_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t row) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    switch (tokens_findKeyword(tokens[0], SwmmRecordWords)) {
        case 0: return readSwmmRecord(model, tokens, row, true);
        case 1: return readSwmmRecord(model, tokens, row, false);
        default: return outside_readDefinition(model, tokens, model.swmmNodes[row].outside, node, SWMM, row);
    }
}

// --- validation ----------------------------------------------------------------------------------------------------

/// Fills the three paths of the model, the extensions of which are fixed. False, after its message, if there is no such
/// file or another node has it.
static bool setPaths(Model& model, int32_t row, const char* id) {
    SwmmNode& swmm = model.swmmNodes[row];
    std::string path;
    if (!outside_findModel(model, swmm.outside, path)) {
        errors_report(model, ERR_SWMM_INPUT_MISSING, id);
        return false;
    }
    const std::string inpFile = path + ".inp";
    for (int32_t other = 0; other < row; ++other) {
        if (inpFile == model.swmmNodes[other].outside.inpFile) {
            errors_report(model, ERR_SWMM_INPUT_DUPLICATE, id);
            return false;
        }
    }
    swmm.outside.inpFile = names_copyText(model, inpFile.c_str());
    swmm.rptFile = names_copyText(model, (path + ".rpt").c_str());
    swmm.outFile = names_copyText(model, (path + ".out").c_str());
    if (!swmm.outside.inpFile || !swmm.rptFile || !swmm.outFile) {
        swmm.outside.inpFile = swmm.rptFile = swmm.outFile = "";
        errors_report(model, ERR_MEMORY, "");
        return false;
    }
    return true;
}

static void validateRecords(Model& model, const SwmmNode& swmm, const char* id) {
    for (const CoupledFlow* record = swmm.outside.inflows.head; record; record = record->next) {
        if (swmm.entries.swmm_isNode(record->objectId) < 0) {
            errors_report(model, ERR_SWMM_NODE, record->objectId);
        }
    }
    for (const CoupledFlow* record = swmm.outside.outflows.head; record; record = record->next) {
        if (swmm.entries.swmm_isNode(record->objectId) < 0) {
            errors_report(model, ERR_SWMM_NODE, record->objectId);
        }
        outside_validateOutflow(model, *record, id);
    }
}

static void validatePollutants(Model& model, const SwmmNode& swmm) {
    for (const Pollut& pollutant : model.polluts) {
        int index = 0;
        if (swmm.entries.swmm_isPollut(pollutant.id, &index) < 0) {
            errors_report(model, ERR_SWMM_POLLUTANT, pollutant.id);
        }
    }
}

void swmm_validate(Model& model, int32_t node) {
    const char* id = model.nodes[node].id;
    SwmmNode& swmm = model.swmmNodes[getSwmmRow(model, node)];
    if (!setPaths(model, getSwmmRow(model, node), id)) {
        return;
    }
    swmm.outside.isOpen = true;  // whatever the engine says: it is asked to close in any case
    if (swmm.entries.swmm_open(swmm.outside.inpFile, swmm.rptFile, swmm.outFile) != 0) {
        outside_setDetail(model, swmm.outside);
        errors_report(model, ERR_SWMM_INPUT_OPEN, id);
    }
    outside_validateDates(model, getCalls(swmm.entries), SwmmKind, id);
    if (swmm.entries.swmm_getUnitSystem() != SI_UNITS) {
        errors_report(model, ERR_SWMM_UNITS, id);
    }
    validateRecords(model, swmm, id);
    validatePollutants(model, swmm);
}

// --- start and end of a run ----------------------------------------------------------------------------------------

void swmm_initState(Model& model, int32_t node) {
    outside_initState(model, model.swmmNodes[getSwmmRow(model, node)].outside, model_pollutantCount(model));
}

bool swmm_startNode(Model& model, int32_t node) {
    SwmmNode& swmm = model.swmmNodes[getSwmmRow(model, node)];
    return outside_start(model, swmm.outside, getCalls(swmm.entries), SwmmKind, model.nodes[node].id);
}

void swmm_endNode(Model& model, int32_t node) {
    SwmmNode& swmm = model.swmmNodes[getSwmmRow(model, node)];
    outside_end(model, swmm.outside, getCalls(swmm.entries));
}

// --- what comes in -------------------------------------------------------------------------------------------------

void swmm_shiftInflows(Model& model, int32_t row) {
    outside_rollRecords(model.swmmNodes[row].outside.inflows, model_pollutantCount(model));
}

void swmm_takeInflow(Model& model, int32_t row, int32_t link, double flow, const double* loads) {
    const CoupledRange records = outside_findRecords(model.swmmNodes[row].outside.inflows, link);
    if (records.begin() == records.end()) {
        return;  // no record: the water is lost here
    }
    CoupledFlow& record = **records.begin();
    record.newFlow += flow;
    outside_countDelivery(model, SWMM_TOTALS, record, flow, loads);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        record.newLoad[p] = loads[p];  // set, not added: of two links with one number only the last load goes on
    }
}

void swmm_takeRunoff(Model& model, int32_t row, int32_t subcatch, double flow) {
    // Only numbers are compared, so a record made for the link of this number takes the runoff as well.
    const CoupledRange records = outside_findRecords(model.swmmNodes[row].outside.inflows, subcatch);
    if (records.begin() != records.end()) {
        (*records.begin())->newFlow = flow;
    }
}

// --- the engine's step ---------------------------------------------------------------------------------------------

/// Inflows and loads that the host has asked for; they are given again in each step of the engine. A record of the same
/// object overrides them.
static void passRequests(const Model& model, int32_t node, const SwmmEntries& entries) {
    for (const SwmmRequest& request : model.requests.swmmInflows) {
        if (request.node == node) {
            entries.swmm_setExtInflow(request.object.c_str(), request.value);
        }
    }
    for (const SwmmRequest& request : model.requests.swmmLoads) {
        if (request.node == node) {
            entries.swmm_setExtPollutLoad(request.object.c_str(), request.pollutant.c_str(), request.value);
        }
    }
}

static void passInflows(const Model& model, const SwmmNode& swmm) {
    const double f = outside_getWeight(swmm.outside.newTime, model.clock.oldRoutingTime, model.clock.newRoutingTime);
    for (const CoupledFlow* record = swmm.outside.inflows.head; record; record = record->next) {
        swmm.entries.swmm_setExtInflow(record->objectId, (1.0 - f) * record->oldFlow + f * record->newFlow);
        for (int32_t p = 0; p < model.polluts.size(); ++p) {
            swmm.entries.swmm_setExtPollutLoad(record->objectId, model.polluts[p].id,
                                               f * record->newLoad[p] + (1.0 - f) * record->oldLoad[p]);
        }
    }
}

static void passSettings(const Model& model, int32_t node, const SwmmEntries& entries) {
    for (const SwmmRequest& request : model.requests.swmmSettings) {
        if (request.node == node) {
            entries.swmm_setSetting(request.object.c_str(), request.value, entries.swmm_getRoutingStep());
        }
    }
}

/// Number of a pollutant's result. Whatever index an engine stores, the sum wraps and goes back to it.
static int getResultCode(int pollutant) {
    return static_cast<int>(static_cast<unsigned>(pollutant) + static_cast<unsigned>(FIRST_POLLUTANT));
}

/// What the engine doesn't store is 0; so is the load of a pollutant that the model doesn't know.
static void takeOutflows(const Model& model, const SwmmNode& swmm) {
    outside_rollRecords(swmm.outside.outflows, model_pollutantCount(model));
    for (CoupledFlow* record = swmm.outside.outflows.head; record; record = record->next) {
        swmm.entries.swmm_getResult(NODE_OBJECT, record->objectId, TOTAL_INFLOW, &record->newFlow);
        for (int32_t p = 0; p < model.polluts.size(); ++p) {
            int index = 0;
            if (swmm.entries.swmm_isPollut(model.polluts[p].id, &index) >= 0) {
                double concentration = 0.0;
                swmm.entries.swmm_getResult(NODE_OBJECT, record->objectId, getResultCode(index), &concentration);
                record->newLoad[p] = record->newFlow * concentration / G_PER_KG;
            }
        }
    }
}

void swmm_advance(Model& model, int32_t node) {
    SwmmNode& swmm = model.swmmNodes[getSwmmRow(model, node)];
    const auto give = [&] {
        passRequests(model, node, swmm.entries);
        passInflows(model, swmm);
        passSettings(model, node, swmm.entries);
    };
    if (!outside_advance(model, swmm.outside, getCalls(swmm.entries), give, [&] { takeOutflows(model, swmm); })) {
        outside_tellRefusal(model, swmm.outside, node);
    }
    // Requests for other nodes go too, used or not: a host asks anew for each step, one SWMM node at a time.
    model.requests.swmmInflows.clear();
    model.requests.swmmSettings.clear();
    model.requests.swmmLoads.clear();
}

// --- for other rooms -----------------------------------------------------------------------------------------------

template <class Sum>
void swmm_addFlows(const Model& model, int32_t row, Sum& inflow, Sum& outflow) {
    const OutsideNode& outside = model.swmmNodes[row].outside;
    const double g = outside_getWeight(outside.newTime, model.clock.oldRoutingTime, model.clock.newRoutingTime);
    for (const CoupledFlow* record = outside.inflows.head; record; record = record->next) {
        inflow += static_cast<Sum>((1.0 - g) * record->oldFlow + g * record->newFlow);
    }
    for (const CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        outflow += static_cast<Sum>(record->newFlow);
    }
}

template void swmm_addFlows(const Model& model, int32_t row, float& inflow, float& outflow);
template void swmm_addFlows(const Model& model, int32_t row, double& inflow, double& outflow);

int32_t swmm_isLink(Model& model, int32_t row, const char* link) {
    return model.swmmNodes[row].entries.swmm_isLink(link);
}

void swmm_setSetting(Model& model, int32_t row, const char* link, double setting, double stepLength) {
    model.swmmNodes[row].entries.swmm_setSetting(link, setting, stepLength);
}
