// The kinds of node, told apart. Called by the reader and the validation, by the order of the network for what a node
// discharges into without a link, and by the routing step for each visit.

#include "routing/nodekinds.h"

#include "coupling/coupled.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/choose.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/statistics.h"
#include "model/still.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"
#include "routing/rest.h"
#include "routing/serving.h"
#include "text/units.h"

// --- reading and validation ----------------------------------------------------------------------------------------

int32_t nodekinds_readLine(Model& model, const Tokens& tokens, int32_t kind, int32_t node, int32_t kindIndex) {
    switch (kind) {
        case JUNCTION:
        case OUTFALL: return node_readPlain(model, tokens, node, kind, kindIndex);
        case TANK: return tank_readLine(model, tokens, node, kindIndex);
        case SPLITTER: return splitter_readLine(model, tokens, node, kindIndex);
        case REACTOR: return reactor_readLine(model, tokens, node, kindIndex);
        case LID_MONO: return lidmono_readLine(model, tokens, node, kindIndex);
        case SWMM: return swmm_readLine(model, tokens, node, kindIndex);
        case VORN: return vorn_readLine(model, tokens, node, kindIndex);
        default: return ERR_NONE;
    }
}

const char* const* nodekinds_getRecordWords(int32_t kind) {
    switch (kind) {
        case SWMM: return SwmmRecordWords;
        case VORN: return VornRecordWords;
        default: return nullptr;
    }
}

Decay* nodekinds_findDecay(const Model& model, const Node& node) {
    switch (node.kind) {
        case TANK: return model.tanks[node.kindIndex].decay;
        default: return nullptr;
    }
}

double* nodekinds_findInitialQuality(const Model& model, const Node& node) {
    switch (node.kind) {
        case TANK: return model.tanks[node.kindIndex].initQual;
        case REACTOR: return model.reactors[node.kindIndex].initQual;
        default: return nullptr;
    }
}

bool nodekinds_isStoringAtStart(const Model& model, const Node& node) {
    return node.kind == TANK || (node.kind == REACTOR && model.reactors[node.kindIndex].type == CSTR);
}

void nodekinds_validate(Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
        case TANK: tank_validate(model, node, model.tanks[node.kindIndex]); break;
        case SPLITTER: splitter_validate(model, index); break;
        case REACTOR: reactor_validate(model, node, model.reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_validate(model, index); break;
        case SWMM: swmm_validate(model, index); break;
        case VORN: vorn_validate(model, index); break;
        default: break;
    }
}

OutletRule nodekinds_getOutletRule(int32_t kind) {
    switch (kind) {
        case JUNCTION:
        case REACTOR:
        case LID_MONO: return OUTLETS_ONE;
        case SPLITTER: return OUTLETS_SOME;
        case OUTFALL: return OUTLETS_NONE;
        case TANK: return OUTLETS_OF_TANK;
        default: return OUTLETS_ANY;
    }
}

int32_t nodekinds_getDirectEdges(const Model& model, int32_t index, int32_t targets[2]) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
        case REACTOR: {
            const Reactor& reactor = model.reactors[node.kindIndex];
            targets[0] = reactor.surpassNode;
            targets[1] = reactor.emptyingNode;
            return reactor.emptyingNode >= 0 ? 2 : 1;
        }
        case LID_MONO: return lidmono_getDrainTarget(model, node.kindIndex, targets);
        default: return 0;
    }
}

int32_t nodekinds_getDirectTargets(const Model& model, int32_t node, int32_t targets[2]) {
    const int32_t count = nodekinds_getDirectEdges(model, node, targets);
    return count == 2 && targets[0] == targets[1] ? 1 : count;
}

// --- start and end of a run ----------------------------------------------------------------------------------------

void nodekinds_initState(Model& model, int32_t index) {
    Node& node = model.nodes[index];
    node_initState(model, node);
    inflows_rewind(model, node);
    switch (node.kind) {
        case TANK: tank_initState(model, index); break;
        case SPLITTER: splitter_initState(model.splitters[node.kindIndex]); break;
        case REACTOR: reactor_initState(model, model.reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_init(model, index); break;
        case SWMM: swmm_initState(model, index); break;
        case VORN: vorn_initState(model, index); break;
        default: break;
    }
}

void nodekinds_endState(Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
        case TANK: tank_endState(model.tanks[node.kindIndex]); break;
        case REACTOR: reactor_endState(model.reactors[node.kindIndex]); break;
        case SWMM: swmm_endNode(model, index); break;
        case VORN: vorn_endNode(model, index); break;
        default: break;
    }
}

static bool startEngine(Model& model, int32_t node) {
    switch (model.nodes[node].kind) {
        case SWMM: return swmm_startNode(model, node);
        case VORN: return vorn_startNode(model, node);
        default: return true;
    }
}

bool nodekinds_startEngines(Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (!startEngine(model, k)) {
            return false;
        }
    }
    return true;
}

// --- start of a step -----------------------------------------------------------------------------------------------

static void shiftKindState(Model& model, const Node& node) {
    switch (node.kind) {
        case TANK: tank_shiftState(model.tanks[node.kindIndex]); break;
        case SPLITTER: splitter_shiftState(model.splitters[node.kindIndex]); break;
        case REACTOR: reactor_shiftState(model.reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_shiftState(model, node.kindIndex); break;
        case SWMM: swmm_shiftInflows(model, node.kindIndex); break;
        case VORN: vorn_shiftInflows(model, node.kindIndex); break;
        default: break;
    }
}

void nodekinds_shiftState(Model& model, Node& node) {
    if (node.kind != JUNCTION) {
        shiftKindState(model, node);
    }
    node_shiftQuality(model, node);
    // The flows of a node with an outside model are not rolled: what runs in beside the links piles up in newLatFlow
    // for the whole run, and nothing takes it out.
    if (!coupled_isKind(node.kind)) {
        node_shiftInflows(node);
    }
}

bool nodekinds_takeRunoff(Model& model, const Node& node, int32_t subcatch, double flow) {
    switch (node.kind) {
        case SWMM: swmm_takeRunoff(model, node.kindIndex, subcatch, flow); return true;
        default: return false;
    }
}

// --- a node's turn -------------------------------------------------------------------------------------------------

/// Adds what links that are served have left in the deliveries, in their order. How many there are differs from visit
/// to visit: the usual number is added whether they are there or not, the latter as +0.0. Sums that began at +0.0 are
/// never -0.0, so that changes none; some numbers are read after the last delivery of all. With several pollutants it
/// would be more work than a wrong guess.
[[gnu::always_inline]] static inline void takeDeliveries(const Model& model, Node& node, const Visit& visit,
                                                         int32_t pollutants) {
    const int32_t usual = pollutants > 1 ? 0 : 3;
    const double* __restrict delivery = model.deliveries.data() + int64_t{visit.firstIncoming} * (1 + pollutants);
    double* __restrict massInflow = node.massInflow;
    double flow = node.newUpstreamFlow;
    for (int32_t k = 0; k < usual; ++k) {
        const uint64_t isThere = choose_getMask(k < visit.incomingCount);
        flow += choose_orZero(isThere, delivery[0]);
        for (int32_t p = 0; p < pollutants; ++p) {
            massInflow[p] += choose_orZero(isThere, delivery[1 + p]);
        }
        delivery += 1 + pollutants;
    }
    for (int32_t k = usual; k < visit.incomingCount; ++k) {
        flow += delivery[0];
        for (int32_t p = 0; p < pollutants; ++p) {
            massInflow[p] += delivery[1 + p];
        }
        delivery += 1 + pollutants;
    }
    node.newUpstreamFlow = flow;
}

/// New becomes old, as in node_shiftInflows and node_shiftQuality, unless that was done ahead of the visits.
[[gnu::always_inline]] static inline void rollJunction(Node& node, bool isRolledAhead, int32_t pollutants) {
    const uint64_t keeps = choose_getMask(isRolledAhead);
    node.oldInflow = choose_first(keeps, node.oldInflow, node.newInflow);
    node.oldLatFlow = choose_first(keeps, node.oldLatFlow, node.newLatFlow);
    node.oldUpstreamFlow = choose_first(keeps, node.oldUpstreamFlow, node.newUpstreamFlow);
    node.newLatFlow = choose_orZero(keeps, node.newLatFlow);
    node.newUpstreamFlow = choose_orZero(keeps, node.newUpstreamFlow);
    double* __restrict massInflow = node.massInflow;
    double* __restrict oldQual = node.oldQual;
    const double* __restrict newQual = node.newQual;  // the visit makes it anew
    for (int32_t p = 0; p < pollutants; ++p) {
        massInflow[p] = choose_orZero(keeps, massInflow[p]);
        oldQual[p] = choose_first(keeps, oldQual[p], newQual[p]);
    }
}

/// Adds what links deliver of which some are asked now.
static void fetchDeliveries(Model& model, Node& node, const Visit& visit) {
    for (const VisitLink& link : visits_getIncoming(model, visit)) {
        visits_fetchIncoming(model, link);
        linkkinds_addDelivery(model, link, node);
    }
}

/// Hands all outgoing links the same.
static void offerToAll(Model& model, const Visit& visit, const Offer& offer, const VisitStep& step) {
    for (const VisitLink& link : visits_getOutgoing(model, visit)) {
        visits_fetchOutgoing(model, link, step);
        linkkinds_update(model, link, offer, step);
    }
}

/// Whether a junction stays as it is, since nothing comes to it and all it holds is +0.0, the bits of old and new
/// flows, loads and concentrations alike. Its roll then moves zeros to zeros. The sum of its deliveries begins at +0.0,
/// and all it adds are zeros, of either sign. Without inflow a concentration is 0. The volume of its inflow grows by
/// +0.0, which changes no number but -0.0, and 0 is no new maximum of one that isn't negative; both are looked at.
static bool isAtRest(const Model& model, const Node& node, const Visit& visit, const VisitStep& step,
                     int32_t pollutants) {
    if ((still_getBits(node.newInflow) | still_getBits(node.oldInflow)) != 0 || step.restKey < 0 || !visit.isServed) {
        return false;
    }
    const uint64_t others = still_getBits(node.newUpstreamFlow) | still_getBits(node.newLatFlow) |
                            still_getBits(node.oldUpstreamFlow) | still_getBits(node.oldLatFlow) |
                            still_getSigns(node.statInflowVolume, node.statMaxInflow);
    const double* deliveries = model.deliveries.data() + int64_t{visit.firstIncoming} * (1 + pollutants);
    return others == 0 && still_addNothing(deliveries, int64_t{visit.incomingCount} * (1 + pollutants)) &&
           (pollutants == 0 || (still_areZeros(node.massInflow, pollutants) &&
                                still_areZeros(node.newQual, pollutants) && still_areZeros(node.oldQual, pollutants)));
}

/// Inflow and mix of a junction, and its statistics.
[[gnu::always_inline]] static inline void stepJunction(Model& model, Node& node, const Visit& visit,
                                                       const VisitStep& step, int32_t pollutants) {
    rollJunction(node, visit.roll != ROLL_IN_VISIT, pollutants);
    if (visit.isServed) {
        takeDeliveries(model, node, visit, pollutants);
    } else {
        fetchDeliveries(model, node, visit);
    }
    node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    if (pollutants > 0) {
        node_mixInflow(node, pollutants);
    }
    if (visit.isCounted) {
        statistics_countNode(node, step.dt);
    }
}

/// With the number of pollutants as the compiler may know it.
[[gnu::always_inline]] static inline void visitJunction(Model& model, const Visit& visit, const VisitStep& step,
                                                        int32_t pollutants) {
    Node& node = model.nodes[visit.node];
    if (isAtRest(model, node, visit, step, pollutants)) {
        rest_judgeVisit(model, visit, step);
    } else {
        stepJunction(model, node, visit, step, pollutants);
    }
    const double flow = node.newInflow;
    const double* quality = pollutants > 0 ? node.newQual : nullptr;
    for (const VisitLink& link : visits_getOutgoing(model, visit)) {
        visits_fetchOutgoing(model, link, step);
        if (link.delivery >= 0) {
            serving_serve(model, link, {flow, flow, quality}, step, pollutants);
        } else {
            linkkinds_update(model, link, {flow, flow, quality}, step);
        }
    }
}

static void visitSplitter(Model& model, Node& node, const Visit& visit, const VisitStep& step) {
    Splitter& splitter = model.splitters[node.kindIndex];
    splitter_divide(splitter, node.newInflow);
    splitter.statVolume += model.options.routingStep * splitter.newFlow;
    node_mixInflow(node, model_pollutantCount(model));
    for (const VisitLink& link : visits_getOutgoing(model, visit)) {
        const double flow = splitter_getFlow(splitter, node.newInflow, link.link);
        visits_fetchOutgoing(model, link, step);
        linkkinds_update(model, link, {flow, flow, node.newQual}, step);
    }
}

static void visitReactor(Model& model, Node& node, const Visit& visit, const VisitStep& step) {
    Reactor& reactor = model.reactors[node.kindIndex];
    reactor_update(model, node, reactor);
    offerToAll(model, visit, {reactor.newOutflow, reactor.newOutflow, node.newQual}, step);
}

/// Of a LID monomer's outflow the part over the surface alone carries the concentrations into a connection.
static void visitLidMono(Model& model, Node& node, const Visit& visit, const VisitStep& step) {
    lidmono_step(model, visit.node);
    const LidMono& mono = model.lidMonos[node.kindIndex];
    offerToAll(model, visit, {lidmono_getOutflow(mono), mono.unit.thisSurfaceFlow, node.newQual}, step);
}

/// A node with a model inside: `take` gets what each link delivers, `advance` brings the engine up to the clock.
template <class Take, class Advance>
static void visitModel(Model& model, int32_t index, OutsideNode& outside, const OutsideTotals& totals,
                       VisitLinkList incoming, Take take, Advance advance) {
    const int32_t row = model.nodes[index].kindIndex;
    for (const VisitLink& link : incoming) {
        double* loads = outside_getLoads(model, outside);
        const double flow = linkkinds_deliver(model, link.link, loads);
        take(model, row, link.link, flow, loads);
    }
    advance(model, index);
    linkkinds_feed(model, index, outside, totals);
}

static void visitSwmm(Model& model, int32_t index, const Node& node, VisitLinkList incoming) {
    OutsideNode& outside = model.swmmNodes[node.kindIndex].outside;
    visitModel(model, index, outside, SWMM_TOTALS, incoming, swmm_takeInflow, swmm_advance);
}

static void visitVorn(Model& model, int32_t index, const Node& node, VisitLinkList incoming) {
    OutsideNode& outside = model.vornNodes[node.kindIndex].outside;
    visitModel(model, index, outside, VORN_TOTALS, incoming, vorn_takeInflow, vorn_advance);
}

/// A junction in a step with several pollutants; of a few the compiler knows the number.
template <int32_t POLLUTANTS>
[[gnu::noinline]] static void visitLoaded(Model& model, const Visit& visit, const VisitStep& step) {
    visitJunction(model, visit, step, POLLUTANTS > 0 ? POLLUTANTS : step.pollutants);
}

[[gnu::noinline]] static void visitSeveral(Model& model, const Visit& visit, const VisitStep& step) {
    switch (step.pollutants) {
        case 2: visitLoaded<2>(model, visit, step); break;
        case 3: visitLoaded<3>(model, visit, step); break;
        case 4: visitLoaded<4>(model, visit, step); break;
        default: visitLoaded<0>(model, visit, step); break;
    }
}

/// A node of any kind but a junction.
[[gnu::noinline]] static void visitStore(Model& model, const Visit& visit, const VisitStep& step) {
    Node& node = model.nodes[visit.node];
    if (visit.roll == ROLL_IN_VISIT) {
        nodekinds_shiftState(model, node);
    }
    if (coupled_isKind(visit.kind)) {
        node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    } else {
        fetchDeliveries(model, node, visit);
        node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    }
    switch (visit.kind) {
        case TANK: tank_update(model, node, model.tanks[node.kindIndex]); break;
        case OUTFALL: node_mixInflow(node, model_pollutantCount(model)); break;
        case SPLITTER: visitSplitter(model, node, visit, step); break;
        case REACTOR: visitReactor(model, node, visit, step); break;
        case LID_MONO: visitLidMono(model, node, visit, step); break;
        case SWMM: visitSwmm(model, visit.node, node, visits_getIncoming(model, visit)); break;
        case VORN: visitVorn(model, visit.node, node, visits_getIncoming(model, visit)); break;
        default: break;
    }
}

void nodekinds_visit(Model& model, const Visit& visit, const VisitStep& step) {
    if (visit.kind != JUNCTION) {
        visitStore(model, visit, step);
    } else if (step.pollutants == 0) {
        visitJunction(model, visit, step, 0);
    } else if (step.pollutants == 1) {
        visitJunction(model, visit, step, 1);
    } else {
        visitSeveral(model, visit, step);
    }
}

// --- statistics ----------------------------------------------------------------------------------------------------

void nodekinds_countStep(Model& model) {
    for (const int32_t index : model.uncountedNodes) {
        Node& node = model.nodes[index];
        statistics_countNode(node, model.options.routingStep);
        switch (node.kind) {
            case TANK: tank_countStep(model, node, model.tanks[node.kindIndex]); break;
            case OUTFALL: outfall_countStep(model, node, model.outfalls[node.kindIndex]); break;
            case REACTOR: reactor_countStep(model.reactors[node.kindIndex], model.options.routingStep); break;
            default: break;
        }
    }
}

// --- balances ------------------------------------------------------------------------------------------------------

/// Of a node with a model inside: what its links brought, and how much of it the model was given. What the node gets
/// otherwise reaches no model, and is in the totals alone.
static Balance getModelBalance(const Model& model, int32_t node) {
    Balance balance{};
    for (const int32_t link : topology_getIncoming(model, node)) {
        balance.in += linkkinds_getBalance(model, link).out;
    }
    const OutsideNode* outside = coupled_findOutside(model, model.nodes[node]);
    for (const CoupledFlow* record = outside ? outside->inflows.head : nullptr; record; record = record->next) {
        balance.out += record->statVolume;
    }
    return balance;
}

Balance nodekinds_getBalance(const Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    const double inflow = node.statInflowVolume;
    switch (node.kind) {
        case TANK: return tank_getBalance(model, index);
        case REACTOR: return reactor_getBalance(model, node);
        case LID_MONO: return lidmono_getBalance(model, node);
        case SWMM:
        case VORN: return getModelBalance(model, index);
        default: return {0.0, inflow, inflow, 0.0, 0.0};
    }
}

/// The volume that the records of a model name for a link.
static double getModelOutflow(const Model& model, int32_t index) {
    double volume = 0.0;
    const OutsideNode* outside = coupled_findOutside(model, model.nodes[model.links[index].fromNode]);
    for (const CoupledFlow* record = outside ? outside->outflows.head : nullptr; record; record = record->next) {
        volume += record->index == index ? record->statVolume : 0.0;
    }
    return volume;
}

double nodekinds_getGiven(const Model& model, int32_t index) {
    const Link& link = model.links[index];
    const Node& node = model.nodes[link.fromNode];
    switch (node.kind) {
        case TANK: return link.statFlowVolume;
        case REACTOR: return model.reactors[node.kindIndex].statOutflow;
        case LID_MONO: return model.lidMonos[node.kindIndex].statOutflowVolume;
        case SPLITTER: {
            const Splitter& splitter = model.splitters[node.kindIndex];
            return splitter.link == index ? splitter.statVolume : node.statInflowVolume - splitter.statVolume;
        }
        case SWMM:
        case VORN: return getModelOutflow(model, index);
        default: return node.statInflowVolume;
    }
}

// --- pollutants of a balance ---------------------------------------------------------------------------------------

bool nodekinds_isModel(const Model& model, int32_t node) {
    return coupled_isKind(model.nodes[node].kind);
}

bool nodekinds_isStore(const Model& model, int32_t node) {
    return model.nodes[node].kind == TANK;
}

/// The part of the flow to a link that carries the concentrations of the node.
static double getLoadedFlow(const Model& model, const Node& node, int32_t link) {
    switch (node.kind) {
        case SPLITTER: return splitter_getFlow(model.splitters[node.kindIndex], node.newInflow, link);
        case REACTOR: return model.reactors[node.kindIndex].newOutflow;
        case LID_MONO: return model.lidMonos[node.kindIndex].unit.thisSurfaceFlow;
        default: return node.newInflow;
    }
}

double nodekinds_getOfferedLoad(const Model& model, int32_t index, int32_t link, int32_t p) {
    const Node& node = model.nodes[index];
    if (node.kind == TANK) {
        return model.links[link].newFlow * model.links[link].newQual[p] / G_PER_KG;
    }
    return getLoadedFlow(model, node, link) * node.newQual[p] / G_PER_KG;
}

/// An outfall gives to the world, a LID monomer to the node of its drain, as long as its storage holds water.
double nodekinds_getDirectLoad(const Model& model, int32_t index, int32_t p) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
        case OUTFALL: return node.newInflow * node.newQual[p] / G_PER_KG;
        case LID_MONO: return lidmono_getPassedDrainLoad(model, model.lidMonos[node.kindIndex], p);
        default: return 0.0;
    }
}

double nodekinds_getFloodLoad(const Model& model, int32_t index, int32_t p) {
    const Node& node = model.nodes[index];
    return node.kind == TANK ? model.tanks[node.kindIndex].newFlood * node.newQual[p] / G_PER_KG : 0.0;
}

double nodekinds_getStoredLoad(const Model& model, int32_t index, int32_t p) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
        case TANK: return tank_getStoredLoad(model, model.tanks[node.kindIndex], p);
        case REACTOR: return reactor_getStoredLoad(model, model.reactors[node.kindIndex], p);
        case LID_MONO: {
            const double* load = model.lidMonos[node.kindIndex].unit.finalLoad;
            return load ? load[p] : 0.0;
        }
        default: return 0.0;
    }
}

void nodekinds_addOwnLoads(const Model& model, int32_t index, int32_t p, Balance& balance) {
    const Node& node = model.nodes[index];
    if (node.kind == REACTOR && model.reactors[node.kindIndex].statReactedLoad) {
        const Reactor& reactor = model.reactors[node.kindIndex];
        balance.out += reactor.statSurpassLoad[p] + reactor.statEmptyingLoad[p];
        balance.lost += reactor.statInfilLoad[p] + reactor.statReactedLoad[p];
    }
    if (node.kind == LID_MONO && model.lidMonos[node.kindIndex].unit.rainLoad) {
        const LidUnit& unit = model.lidMonos[node.kindIndex].unit;
        balance.in += unit.rainLoad[p];
        balance.lost += unit.exfilLoad[p] + unit.reactedLoad[p];
    }
}
