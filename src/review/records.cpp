// Records of inflow, patterns and curves against what reads them: loads that have no water to go with, factors that are
// missing, and points that a tank or a pump goes beyond.

#include "review/records.h"

#include <algorithm>
#include <string>
#include <vector>

#include "coupling/coupled.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pump.h"
#include "model/curve.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "nodes/tank.h"
#include "routing/nodekinds.h"

// --- loads and their water -----------------------------------------------------------------------------------------

static bool isSome(const ExtInflow& record) {
    return record.baseline != 0.0 || record.series >= 0;
}

static bool hasFlow(const ExtInflow* list) {
    for (const ExtInflow* record = list; record; record = record->next) {
        if (record->kind == INFLOW_FLOW) {
            return isSome(*record);
        }
    }
    return false;
}

/// Nodes that something flows into besides their own records.
static std::vector<bool> findFedNodes(const Model& model) {
    std::vector<bool> isFed(static_cast<size_t>(model.nodes.size()));
    const auto feed = [&](int32_t node) {
        if (node >= 0) {
            isFed[static_cast<size_t>(node)] = true;
        }
    };
    for (const Link& link : model.links) {
        feed(link.toNode);
    }
    for (const Subcatch& subcatch : model.subcatches) {
        feed(subcatch.outNode);
    }
    for (const LidUnit& unit : model.lidUnits) {
        feed(unit.drainNode);
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        int32_t targets[2];
        const int32_t count = nodekinds_getDirectEdges(model, k, targets);
        std::for_each(targets, targets + count, feed);
    }
    return isFed;
}

/// A load of its own at a node that no water reaches. A tank or a reactor may hold water from the start, and rain may
/// fall on a LID node: of them nothing is said.
static void reviewLoads(const Model& model, int32_t index, std::vector<bool>& isFed) {
    const Node& node = model.nodes[index];
    const DwfInflow* dryFlow = inflows_findDryWeather(node.dwfInflow, -1);
    const bool isPlain = node.kind == JUNCTION || node.kind == SPLITTER || node.kind == OUTFALL;
    if (!isPlain || (dryFlow && dryFlow->average != 0.0)) {
        return;
    }
    const ExtInflow* mass = node.extInflow;
    while (mass && !(mass->kind == INFLOW_MASS && isSome(*mass))) {
        mass = mass->next;
    }
    if (!mass) {
        return;
    }
    if (isFed.empty()) {
        isFed = findFedNodes(model);
    }
    if (!isFed[static_cast<size_t>(index)]) {
        warnings_addAbout(model, WARN_LOAD_NO_FLOW, NODE, index, node.id, {model.polluts[mass->pollutant].id});
    }
}

static void reviewExternal(const Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    for (const ExtInflow* record = node.extInflow; record; record = record->next) {
        if (record->kind == INFLOW_CONCEN && isSome(*record)) {
            warnings_addAbout(model, WARN_CONCENTRATION_NO_FLOW, NODE, index, node.id,
                              {model.polluts[record->pollutant].id, "[INFLOWS]"});
        }
    }
}

static void reviewDryWeather(const Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    const DwfInflow* flow = inflows_findDryWeather(node.dwfInflow, -1);
    if (flow && flow->average != 0.0) {
        return;
    }
    for (const DwfInflow* record = node.dwfInflow; record; record = record->next) {
        if (record->pollutant >= 0 && record->average != 0.0) {
            warnings_addAbout(model, WARN_CONCENTRATION_NO_FLOW, NODE, index, node.id,
                              {model.polluts[record->pollutant].id, "[DWFS]"});
        }
    }
}

static void reviewInflows(const Model& model) {
    std::vector<bool> isFed;
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        if ((!node.extInflow && !node.dwfInflow) || coupled_isKind(node.kind)) {
            continue;
        }
        if (node.extInflow && !hasFlow(node.extInflow)) {
            reviewExternal(model, k);
            reviewLoads(model, k, isFed);
        }
        if (node.dwfInflow) {
            reviewDryWeather(model, k);
        }
    }
}

// --- patterns ------------------------------------------------------------------------------------------------------

static void reviewPatterns(const Model& model) {
    for (int32_t k = 0; k < model.patterns.size(); ++k) {
        const Pattern& pattern = model.patterns[k];
        if (pattern.count < PATTERN_SIZE) {
            const int32_t warning = pattern.type == PATTERN_MONTHLY ? WARN_PATTERN_MONTHLY : WARN_PATTERN_LENGTH;
            warnings_addAbout(model, warning, PATTERN, k, pattern.id, {std::to_string(pattern.count)});
        }
    }
}

// --- curves --------------------------------------------------------------------------------------------------------

/// Whether a curve goes on beyond its last point with another value than it has there, or than it had before.
static bool isBent(const Curve& curve) {
    const size_t count = curve.entries.size();
    return count > 1 && curve.entries[count - 1].y != curve.entries[count - 2].y;
}

/// Moves on to the node or link of a row of the table of its kind: rows stand in the order of the objects.
template <class Record>
static int32_t findOwner(const Table<Record>& table, int32_t kind, int32_t row, int32_t& at) {
    while (table[at].kind != kind || table[at].kindIndex != row) {
        ++at;
    }
    return at;
}

/// Objects of a kind whose depth lies beyond the last point of their curve. `type` is the class of the objects.
template <class Record, class Object>
static void reviewDepths(const Model& model, const Table<Record>& rows, double Record::*depth,
                         const Table<Object>& objects, int32_t kind, int32_t type, const char* what) {
    int32_t at = 0;
    for (int32_t row = 0; row < rows.size(); ++row) {
        const double deepest = rows[row].*depth;
        const Curve& curve = model.curves[rows[row].curve];
        if (isBent(curve) && deepest > curve.entries.back().x) {
            const int32_t index = findOwner(objects, kind, row, at);
            warnings_addAbout(model, WARN_CURVE_RANGE, type, index, objects[index].id,
                              {what + warnings_formatNumber(deepest) + " m", curve.id,
                               warnings_formatNumber(curve.entries.back().x) + " m"});
        }
    }
}

static void reviewBeds(const Model& model) {
    int32_t at = 0;
    for (int32_t row = 0; row < model.conduits.size(); ++row) {
        const Conduit& conduit = model.conduits[row];
        if (conduit.shape == IRREGULAR_CONDUIT && model.curves[conduit.curve].curveType != TRANSECT_CURVE) {
            const int32_t link = findOwner(model.links, CONDUIT, row, at);
            warnings_addAbout(model, WARN_CURVE_TYPE, LINK, link, model.links[link].id,
                              {model.curves[conduit.curve].id});
        }
    }
}

void records_review(const Model& model) {
    reviewInflows(model);
    reviewPatterns(model);
    reviewDepths(model, model.tanks, &Tank::maxDepth, model.nodes, TANK, NODE, "the full depth of ");
    // A pump runs above its shut-off depth alone.
    reviewDepths(model, model.pumps, &Pump::shutoffDepth, model.links, PUMP, LINK, "the shut-off depth of ");
    reviewBeds(model);
}
