// What coupled nodes exchange with their models. Only what a record names passes: water that arrives otherwise never
// reaches the model, and links without a record get nothing. Records keep the number of their link or subcatchment
// alone.

#include "review/exchange.h"

#include <string>

#include "coupling/converter.h"
#include "coupling/coupled.h"
#include "coupling/outside.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "routing/nodekinds.h"

/// The first record of a number, and how many there are.
struct RecordCount {
    const CoupledFlow* first;
    int32_t count;
};

static RecordCount countRecords(const CoupledList& list, int32_t index) {
    RecordCount found{};
    for (const CoupledFlow* record = list.head; record; record = record->next) {
        if (record->index == index) {
            found.first = found.count++ == 0 ? record : found.first;
        }
    }
    return found;
}

static void tell(const Model& model, int32_t warning, int32_t node, const std::string& what) {
    warnings_addAbout(model, warning, NODE, node, model.nodes[node].id, {what});
}

// --- links without records -----------------------------------------------------------------------------------------

static void reviewLinks(const Model& model, int32_t node, const OutsideNode& outside) {
    for (const int32_t link : topology_getIncoming(model, node)) {
        if (countRecords(outside.inflows, link).count == 0) {
            tell(model, WARN_COUPLED_LOST, node, std::string("the link ") + model.links[link].id + " ends");
        }
    }
    for (const int32_t link : topology_getOutgoing(model, node)) {
        if (countRecords(outside.outflows, link).count == 0) {
            tell(model, WARN_COUPLED_DRY, node, model.links[link].id);
        }
    }
}

// --- records -------------------------------------------------------------------------------------------------------

static bool endsAt(const Model& model, int32_t link, int32_t node) {
    return model.links.holds(link) && model.links[link].toNode == node;
}

static bool drainsTo(const Model& model, int32_t subcatch, int32_t node) {
    return model.nodes[node].kind == SWMM && model.subcatches.holds(subcatch) &&
           model.subcatches[subcatch].outNode == node;
}

static void reviewInflowRecord(const Model& model, int32_t node, const OutsideNode& outside,
                               const CoupledFlow& record) {
    const bool isLink = endsAt(model, record.index, node), isLand = drainsTo(model, record.index, node);
    const std::string object = std::string("the record of ") + record.objectId;
    if (!isLink && !isLand) {
        tell(model, WARN_COUPLED_RECORD, node, object + " names nothing that leads to the node, and takes nothing");
    } else if (isLink && isLand) {
        tell(model, WARN_COUPLED_RECORD, node,
             object + " takes the link " + model.links[record.index].id + " and the subcatchment " +
                 model.subcatches[record.index].name + ", which have one number");
    }
    const RecordCount same = countRecords(outside.inflows, record.index);
    if (same.count > 1 && same.first != &record) {
        const char* effect = model.nodes[node].kind == SWMM ? " takes nothing: the first record of a number takes all"
                                                            : " takes the whole link once more: its water is doubled";
        tell(model, WARN_COUPLED_RECORD, node, object + effect);
    }
    if (record.converter >= 0 && model.converters[record.converter].type != VORN_INFLUENT) {
        tell(model, WARN_COUPLED_RECORD, node,
             object + " has the converter " + model.converters[record.converter].name + ", which leads out of a plant");
    }
}

/// A pipe fires with the mean of its period: the load of the step of the firing is in no sum.
static void reviewPipe(const Model& model, int32_t node, int32_t link) {
    if (model.links[link].kind != PIPE || model_pollutantCount(model) == 0) {
        return;
    }
    const Pipe& pipe = model.pipes[model.links[link].kindIndex];
    if (pipe.k < 2.0 * model.options.routingStep) {
        tell(model, WARN_COUPLED_PIPE, node, model.links[link].id);
    }
}

static void reviewOutflowRecord(const Model& model, int32_t node, const OutsideNode& outside,
                                const CoupledFlow& record) {
    const Link& link = model.links[record.index];
    const std::string object = std::string("the record of ") + record.objectId;
    if (link.fromNode != node) {
        tell(model, WARN_COUPLED_RECORD, node, object + " feeds nothing: the link " + link.id + " starts elsewhere");
        return;
    }
    const RecordCount same = countRecords(outside.outflows, record.index);
    if (same.count > 1 && same.first != &record) {
        tell(model, WARN_COUPLED_RECORD, node, object + " serves the link " + link.id + " once more");
    }
    if (link.kind == CONDUIT && &record != outside.outflows.head) {
        tell(model, WARN_COUPLED_RECORD, node,
             object + " leads into a conduit, which takes the water of the node's first record in its place");
    }
    if (record.converter >= 0 && model.converters[record.converter].type != VORN_EFFLUENT) {
        tell(model, WARN_COUPLED_RECORD, node,
             object + " has the converter " + model.converters[record.converter].name + ", which leads into a plant");
    }
    if (same.first == &record) {
        reviewPipe(model, node, record.index);
    }
}

static void reviewNode(const Model& model, int32_t node, const OutsideNode& outside) {
    reviewLinks(model, node, outside);
    for (const CoupledFlow* record = outside.inflows.head; record; record = record->next) {
        reviewInflowRecord(model, node, outside, *record);
    }
    for (const CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        reviewOutflowRecord(model, node, outside, *record);
    }
    if (model.nodes[node].extInflow) {
        tell(model, WARN_COUPLED_INFLOW, node, "the inflow of [INFLOWS]");
    }
    if (model.nodes[node].dwfInflow) {
        tell(model, WARN_COUPLED_INFLOW, node, "the inflow of [DWFS]");
    }
}

// --- what comes without a link -------------------------------------------------------------------------------------

static void reviewSubcatch(const Model& model, int32_t index) {
    const Subcatch& subcatch = model.subcatches[index];
    const Node* node = model.nodes.find(subcatch.outNode);
    const OutsideNode* outside = node ? coupled_findOutside(model, *node) : nullptr;
    const std::string what = std::string("the runoff of ") + subcatch.name;
    if (outside && node->kind == VORN) {
        tell(model, WARN_COUPLED_INFLOW, subcatch.outNode, what);
    } else if (outside && countRecords(outside->inflows, index).count == 0) {
        tell(model, WARN_COUPLED_LOST, subcatch.outNode, what + " flows");
    }
}

static void reviewTargets(const Model& model, int32_t index) {
    int32_t targets[2];
    const int32_t count = nodekinds_getDirectTargets(model, index, targets);
    for (int32_t k = 0; k < count; ++k) {
        if (coupled_isKind(model.nodes[targets[k]].kind)) {
            tell(model, WARN_COUPLED_INFLOW, targets[k], std::string("what ") + model.nodes[index].id + " sends there");
        }
    }
}

void exchange_review(const Model& model) {
    if (model.swmmNodes.empty() && model.vornNodes.empty()) {
        return;
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (const OutsideNode* outside = coupled_findOutside(model, model.nodes[k])) {
            reviewNode(model, k, *outside);
        } else {
            reviewTargets(model, k);
        }
    }
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        reviewSubcatch(model, k);
    }
    for (const LidUnit& unit : model.lidUnits) {
        if (unit.drainNode >= 0 && coupled_isKind(model.nodes[unit.drainNode].kind)) {
            tell(model, WARN_COUPLED_INFLOW, unit.drainNode, "the underdrain of a LID unit");
        }
    }
}
