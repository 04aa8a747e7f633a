// Nodes of all kinds, and the kinds without storage. A junction passes on what it gets; an outfall takes water out of
// the system; a splitter gives one part to its first link, by a threshold or a ratio, and the rest to the other. The
// split is of water, and the load follows it: both links carry the concentration of the mix.

#include "nodes/node.h"

#include <cstring>

#include "coupling/coupled.h"
#include "links/pipe.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/names.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "results/massbal.h"
#include "routing/network.h"
#include "text/tokens.h"

Table<Outfall> Outfalls;
Table<Splitter> Splitters;

static const char* const SplitterModeWords[] = {"FLOW", "RATIO", "FLOW_RATIO", nullptr};

static Splitter& getSplitter(int32_t node) {
    return Splitters[Nodes[node].kindIndex];
}

// --- reading -------------------------------------------------------------------------------------------------------

void node_setRow(int32_t index, int32_t kind, int32_t kindIndex, const char* id) {
    Node& node = Nodes[index];
    node.id = id;
    node.kind = kind;
    node.kindIndex = kindIndex;
}

/// Junctions and outfalls: the ID is all, and further words are free.
static int32_t readPlainNode(const Tokens& tokens, int32_t node, int32_t kind, int32_t kindIndex) {
    const char* id = names_findId(NODE, tokens[0]);
    if (!id) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    node_setRow(node, kind, kindIndex, id);
    return ERR_NONE;
}

static int32_t readSplitter(const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 4) {
        return errors_setName(ERR_ITEMS, "");
    }
    const char* id = names_findId(NODE, tokens[0]);
    if (!id) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t link = names_find(LINK, tokens[1]);
    if (link < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    const int32_t mode = tokens_findKeyword(tokens[2], SplitterModeWords);
    if (mode < 0) {
        return errors_setName(ERR_KEYWORD, tokens[2]);
    }
    double value, ratio = 0.0;
    if (!tokens_getNonNegative(tokens[3], &value)) {
        return errors_setName(ERR_NUMBER, tokens[3]);
    }
    if (mode == SPLIT_FLOW_RATIO) {
        if (tokens.count < 5) {
            return errors_setName(ERR_ITEMS, "");
        }
        // Only the form is tested: a negative ratio takes from the first link what exceeds the threshold.
        if (!tokens_getDouble(tokens[4], &ratio)) {
            return errors_setName(ERR_NUMBER, tokens[4]);
        }
    }
    node_setRow(node, SPLITTER, kindIndex, id);
    Splitter& splitter = Splitters[kindIndex];
    splitter.link = link;
    splitter.mode = mode;
    splitter.value = mode == SPLIT_RATIO && value > 1.0 ? 1.0 : value;
    splitter.ratio = ratio > 1.0 ? 1.0 : ratio;
    return ERR_NONE;
}

int32_t node_readParams(const Tokens& tokens, int32_t node, int32_t kind, int32_t kindIndex) {
    switch (kind) {
        case JUNCTION:
        case OUTFALL: return readPlainNode(tokens, node, kind, kindIndex);
        case TANK: return tank_readParams(tokens, node, kindIndex);
        case SPLITTER: return readSplitter(tokens, node, kindIndex);
        case REACTOR: return reactor_readParams(tokens, node, kindIndex);
        case LID_MONO: return lidmono_readLine(tokens, node, kindIndex);
        default: return ERR_NONE;
    }
}

/// The array of initial concentrations of a node that holds water, or null.
static double* findInitialQuality(const Node& node) {
    switch (node.kind) {
        case TANK: return Tanks[node.kindIndex].initQual;
        case REACTOR: return Reactors[node.kindIndex].initQual;
        default: return nullptr;
    }
}

int32_t node_readInitialQuality(const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t node = names_find(NODE, tokens[0]);
    if (node < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    double* initQual = findInitialQuality(Nodes[node]);
    if (!initQual) {
        return ERR_NONE;  // a node without storage takes no line, whatever else it says
    }
    const int32_t pollutant = names_find(POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    // Looser than all other sections: refused only if it is no number and negative as well, so a word passes as 0.
    double value;
    if (!tokens_getDouble(tokens[3], &value) && value < 0.0) {
        return errors_setName(ERR_NUMBER, tokens[3]);
    }
    initQual[pollutant] = value;
    return ERR_NONE;
}

// --- validation and start ------------------------------------------------------------------------------------------

static void validateSplitter(int32_t index) {
    const Splitter& splitter = getSplitter(index);
    const Link& first = Links[splitter.link];
    if (first.fromNode != index) {
        report_writeError(ERR_SPLITTER_LINK, first.id);
    }
    if (network_getOutgoing(index).count != 2) {
        report_writeError(ERR_SPLITTER_LINK_COUNT, Nodes[index].id);
    }
}

void node_validate(int32_t index) {
    switch (Nodes[index].kind) {
        case TANK: tank_validate(index); break;
        case SPLITTER: validateSplitter(index); break;
        case REACTOR: reactor_validate(index); break;
        case LID_MONO: lidmono_validate(index); break;
        case SWMM:
        case VORN: coupled_validate(index); break;
        default: break;
    }
}

static void initSplitter(Splitter& splitter) {
    splitter.useHostValue = 0;
    splitter.hostValue = splitter.value;
    splitter.oldFlow = splitter.newFlow = 0.0;
}

void node_initState(int32_t index) {
    Node& node = Nodes[index];
    node.oldInflow = node.newInflow = 0.0;
    node.oldLatFlow = node.newLatFlow = 0.0;
    node.oldUpstreamFlow = node.newUpstreamFlow = 0.0;
    // Only the series of the newest record is rewound. The cursors of the others stand at their end from the validation
    // and read a line from the origin first; results of inflows that share a node show it.
    if (node.extInflow && node.extInflow->series >= 0) {
        curve_reset(TimeSeries[node.extInflow->series]);
    }
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        node.massInflow[p] = node.oldQual[p] = node.newQual[p] = 0.0;
    }
    switch (node.kind) {
        case TANK: tank_initState(index); break;
        case SPLITTER: initSplitter(getSplitter(index)); break;
        case REACTOR: reactor_initState(index); break;
        case LID_MONO: lidmono_init(index); break;
        case SWMM:
        case VORN: coupled_initState(index); break;
        default: break;
    }
}

void node_endState(int32_t index) {
    switch (Nodes[index].kind) {
        case TANK: tank_endState(index); break;
        case REACTOR: reactor_endState(index); break;
        case SWMM:
        case VORN: coupled_endState(index); break;
        default: break;
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

static void shiftKindState(const Node& node) {
    switch (node.kind) {
        case TANK: tank_shiftState(node.kindIndex); break;
        case SPLITTER: {
            Splitter& splitter = Splitters[node.kindIndex];
            splitter.oldFlow = splitter.newFlow;
            break;
        }
        case REACTOR: {
            Reactor& reactor = Reactors[node.kindIndex];
            reactor.oldOutflow = reactor.newOutflow;
            break;
        }
        case LID_MONO: lidmono_shiftState(node.kindIndex); break;
        default: break;
    }
}

static void shiftInflows(Node& node) {
    node.oldInflow = node.newInflow;
    node.oldLatFlow = node.newLatFlow;
    node.oldUpstreamFlow = node.newUpstreamFlow;
    node.newInflow = node.newLatFlow = node.newUpstreamFlow = 0.0;
}

void node_shiftState(int32_t index) {
    Node& node = Nodes[index];
    if (node.kind != JUNCTION) {
        shiftKindState(node);
    }
    double* __restrict massInflow = node.massInflow;
    double* __restrict newQual = node.newQual;
    double* __restrict oldQual = node.oldQual;
    const int32_t pollutants = project_pollutantCount();
    for (int32_t p = 0; p < pollutants; ++p) {
        massInflow[p] = 0.0;
        oldQual[p] = newQual[p];
        newQual[p] = 0.0;
    }
    if (coupled_isKind(node.kind)) {
        // The totals of such a node are not rolled: what runs in beside the links piles up in newLatFlow for the whole
        // run, and nothing takes it out.
        coupled_shiftInflows(node);
    } else {
        shiftInflows(node);
    }
}

/// Adds what one link delivers to a node of the network itself.
static void gatherLink(Node& node, const VisitLink& place) {
    Link& link = Links[place.link];
    if (place.isCounted) {
        massbal_countLink(link);
    }
    if (place.kind == PIPE) {
        const Pipe& pipe = Pipes[place.kindIndex];
        const double time = link.isLagged ? OldRoutingTime - RoutingStep * 1000.0 : OldRoutingTime;
        node.newUpstreamFlow += pipe_deliver(link, pipe, time, node.massInflow);
        return;
    }
    const double flow = link.isLagged ? link.oldFlow : link.newFlow;
    const double* quality = link.isLagged ? link.oldQual : link.newQual;
    node.newUpstreamFlow += flow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        node.massInflow[p] += quality[p] * flow / 1000.0;
    }
}

void node_gatherInflows(int32_t index, VisitLinkList incoming) {
    Node& node = Nodes[index];
    if (coupled_isKind(node.kind)) {
        coupled_gatherInflows(node, incoming);
        return;
    }
    for (const VisitLink& link : incoming) {
        pipe_fetchIncoming(&link);
        gatherLink(node, link);
    }
}

void node_mixInflow(int32_t index) {
    const Node& node = Nodes[index];
    const double inflow = node.newInflow;
    const double* __restrict massInflow = node.massInflow;
    double* __restrict newQual = node.newQual;
    const int32_t pollutants = project_pollutantCount();
    for (int32_t p = 0; p < pollutants; ++p) {
        newQual[p] = inflow != 0.0 ? massInflow[p] / inflow * 1000.0 : 0.0;
    }
}

void node_split(int32_t index) {
    Splitter& splitter = getSplitter(index);
    const double inflow = Nodes[index].newInflow;
    const double value = splitter.useHostValue ? splitter.hostValue : splitter.value;
    switch (splitter.mode) {
        case SPLIT_FLOW:
        case SPLIT_FLOW_RATIO:
            splitter.newFlow = inflow >= value ? value + (inflow - value) * splitter.ratio : inflow;
            break;
        case SPLIT_RATIO: splitter.newFlow = value * inflow; break;
        default: break;  // a mode that only a host can set: the split stands still
    }
}

double node_getOfferedFlow(int32_t index, int32_t link) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case JUNCTION: return node.newInflow;
        case SPLITTER: {
            const Splitter& splitter = Splitters[node.kindIndex];
            return splitter.link == link ? splitter.newFlow : node.newInflow - splitter.newFlow;
        }
        case REACTOR: return Reactors[node.kindIndex].newOutflow;
        case LID_MONO: return lidmono_getOutflow(LidMonos[node.kindIndex]);
        default: return 0.0;
    }
}
