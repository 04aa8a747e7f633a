// The kinds of node, told apart. Called by the reader and the validation, by the order of the network for what a node
// discharges into without a link, and by the routing step for each visit.

#include "routing/nodekinds.h"

#include "coupling/coupled.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/errors.h"
#include "model/statistics.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"

// --- reading and validation ----------------------------------------------------------------------------------------

int32_t nodekinds_readLine(const Tokens& tokens, int32_t kind, int32_t node, int32_t kindIndex) {
    switch (kind) {
        case JUNCTION:
        case OUTFALL: return node_readPlain(tokens, node, kind, kindIndex);
        case TANK: return tank_readLine(tokens, node, kindIndex);
        case SPLITTER: return splitter_readLine(tokens, node, kindIndex);
        case REACTOR: return reactor_readLine(tokens, node, kindIndex);
        case LID_MONO: return lidmono_readLine(tokens, node, kindIndex);
        case SWMM: return swmm_readLine(tokens, node, kindIndex);
        case VORN: return vorn_readLine(tokens, node, kindIndex);
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

Decay* nodekinds_findDecay(const Node& node) {
    switch (node.kind) {
        case TANK: return Tanks[node.kindIndex].decay;
        default: return nullptr;
    }
}

double* nodekinds_findInitialQuality(const Node& node) {
    switch (node.kind) {
        case TANK: return Tanks[node.kindIndex].initQual;
        case REACTOR: return Reactors[node.kindIndex].initQual;
        default: return nullptr;
    }
}

void nodekinds_validate(int32_t index) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case TANK: tank_validate(node, Tanks[node.kindIndex]); break;
        case SPLITTER: splitter_validate(index); break;
        case REACTOR: reactor_validate(node, Reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_validate(index); break;
        case SWMM: swmm_validate(index); break;
        case VORN: vorn_validate(index); break;
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

int32_t nodekinds_getDirectEdges(int32_t index, int32_t targets[2]) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case REACTOR: {
            const Reactor& reactor = Reactors[node.kindIndex];
            targets[0] = reactor.surpassNode;
            targets[1] = reactor.emptyingNode;
            return reactor.emptyingNode >= 0 ? 2 : 1;
        }
        case LID_MONO: return lidmono_getDrainTarget(node.kindIndex, targets);
        default: return 0;
    }
}

int32_t nodekinds_getDirectTargets(int32_t node, int32_t targets[2]) {
    const int32_t count = nodekinds_getDirectEdges(node, targets);
    return count == 2 && targets[0] == targets[1] ? 1 : count;
}

// --- start and end of a run ----------------------------------------------------------------------------------------

void nodekinds_initState(int32_t index) {
    Node& node = Nodes[index];
    node_initState(node);
    switch (node.kind) {
        case TANK: tank_initState(index); break;
        case SPLITTER: splitter_initState(Splitters[node.kindIndex]); break;
        case REACTOR: reactor_initState(Reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_init(index); break;
        case SWMM: swmm_initState(index); break;
        case VORN: vorn_initState(index); break;
        default: break;
    }
}

void nodekinds_endState(int32_t index) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case TANK: tank_endState(Tanks[node.kindIndex]); break;
        case REACTOR: reactor_endState(Reactors[node.kindIndex]); break;
        case SWMM: swmm_endNode(index); break;
        case VORN: vorn_endNode(index); break;
        default: break;
    }
}

static bool startEngine(int32_t node) {
    switch (Nodes[node].kind) {
        case SWMM: return swmm_startNode(node);
        case VORN: return vorn_startNode(node);
        default: return true;
    }
}

bool nodekinds_startEngines() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (!startEngine(k)) {
            return false;
        }
    }
    return true;
}

// --- start of a step -----------------------------------------------------------------------------------------------

static void shiftKindState(const Node& node) {
    switch (node.kind) {
        case TANK: tank_shiftState(Tanks[node.kindIndex]); break;
        case SPLITTER: splitter_shiftState(Splitters[node.kindIndex]); break;
        case REACTOR: reactor_shiftState(Reactors[node.kindIndex]); break;
        case LID_MONO: lidmono_shiftState(node.kindIndex); break;
        case SWMM: swmm_shiftInflows(node.kindIndex); break;
        case VORN: vorn_shiftInflows(node.kindIndex); break;
        default: break;
    }
}

void nodekinds_shiftState(Node& node) {
    if (node.kind != JUNCTION) {
        shiftKindState(node);
    }
    node_shiftQuality(node);
    // The flows of a node with an outside model are not rolled: what runs in beside the links piles up in newLatFlow
    // for the whole run, and nothing takes it out.
    if (!coupled_isKind(node.kind)) {
        node_shiftInflows(node);
    }
}

bool nodekinds_takeRunoff(const Node& node, int32_t subcatch, double flow) {
    switch (node.kind) {
        case SWMM: swmm_takeRunoff(node.kindIndex, subcatch, flow); return true;
        default: return false;
    }
}

// --- a node's turn -------------------------------------------------------------------------------------------------

static void gatherInflows(Node& node, VisitLinkList incoming) {
    for (const VisitLink& link : incoming) {
        visits_fetchIncoming(link);
        linkkinds_addDelivery(link, node);
    }
    node.newInflow = node.newLatFlow + node.newUpstreamFlow;
}

/// Hands all outgoing links the same.
static void offerToAll(VisitLinkList outgoing, const Offer& offer, double fireTime) {
    for (const VisitLink& link : outgoing) {
        visits_fetchOutgoing(link, fireTime);
        linkkinds_update(link, offer, fireTime);
    }
}

static void visitJunction(Node& node, VisitLinkList outgoing, double fireTime) {
    node_mixInflow(node);
    offerToAll(outgoing, {node.newInflow, node.newInflow, node.newQual}, fireTime);
}

static void visitSplitter(Node& node, VisitLinkList outgoing, double fireTime) {
    Splitter& splitter = Splitters[node.kindIndex];
    splitter_divide(splitter, node.newInflow);
    node_mixInflow(node);
    for (const VisitLink& link : outgoing) {
        const double flow = splitter_getFlow(splitter, node.newInflow, link.link);
        visits_fetchOutgoing(link, fireTime);
        linkkinds_update(link, {flow, flow, node.newQual}, fireTime);
    }
}

static void visitReactor(Node& node, VisitLinkList outgoing, double fireTime) {
    Reactor& reactor = Reactors[node.kindIndex];
    reactor_update(node, reactor);
    offerToAll(outgoing, {reactor.newOutflow, reactor.newOutflow, node.newQual}, fireTime);
}

/// Of a LID monomer's outflow the part over the surface alone carries the concentrations into a connection.
static void visitLidMono(int32_t index, Node& node, VisitLinkList outgoing, double fireTime) {
    lidmono_step(index);
    const LidMono& mono = LidMonos[node.kindIndex];
    offerToAll(outgoing, {lidmono_getOutflow(mono), mono.unit.thisSurfaceFlow, node.newQual}, fireTime);
}

/// A node with a model inside: `take` gets what each link delivers, `advance` brings the engine up to the clock.
template <class Take, class Advance>
static void visitModel(int32_t index, const OutsideNode& outside, const OutsideTotals& totals, VisitLinkList incoming,
                       Take take, Advance advance) {
    const int32_t row = Nodes[index].kindIndex;
    for (const VisitLink& link : incoming) {
        double* loads = outside_getLoads(outside);
        const double flow = linkkinds_deliver(link.link, loads);
        take(row, link.link, flow, loads);
    }
    advance(index);
    linkkinds_feed(index, outside, totals);
}

static void visitSwmm(int32_t index, const Node& node, VisitLinkList incoming) {
    const OutsideNode& outside = SwmmNodes[node.kindIndex].outside;
    visitModel(index, outside, SWMM_TOTALS, incoming, swmm_takeInflow, swmm_advance);
}

static void visitVorn(int32_t index, const Node& node, VisitLinkList incoming) {
    const OutsideNode& outside = VornNodes[node.kindIndex].outside;
    visitModel(index, outside, VORN_TOTALS, incoming, vorn_takeInflow, vorn_advance);
}

void nodekinds_visit(int32_t index, VisitLinkList incoming, VisitLinkList outgoing, double fireTime) {
    Node& node = Nodes[index];
    if (coupled_isKind(node.kind)) {
        node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    } else {
        gatherInflows(node, incoming);
    }
    switch (node.kind) {
        case JUNCTION: visitJunction(node, outgoing, fireTime); break;
        case TANK: tank_update(node, Tanks[node.kindIndex]); break;
        case OUTFALL: node_mixInflow(node); break;
        case SPLITTER: visitSplitter(node, outgoing, fireTime); break;
        case REACTOR: visitReactor(node, outgoing, fireTime); break;
        case LID_MONO: visitLidMono(index, node, outgoing, fireTime); break;
        case SWMM: visitSwmm(index, node, incoming); break;
        case VORN: visitVorn(index, node, incoming); break;
        default: break;
    }
}

// --- statistics ----------------------------------------------------------------------------------------------------

void nodekinds_countStep() {
    for (const int32_t index : UncountedNodes) {
        Node& node = Nodes[index];
        statistics_countNode(node);
        switch (node.kind) {
            case TANK: tank_countStep(node, Tanks[node.kindIndex]); break;
            case OUTFALL: outfall_countStep(node, Outfalls[node.kindIndex]); break;
            case REACTOR: reactor_countStep(Reactors[node.kindIndex]); break;
            default: break;
        }
    }
}
