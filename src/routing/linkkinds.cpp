// The kinds of link, told apart. Called by the reader and the validation, by the routing step for what is done to all
// links at once, and by the room nodekinds for what a node does with its links.

#include "routing/linkkinds.h"

#include <algorithm>
#include <cmath>

#include "coupling/feed.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/errors.h"
#include "model/statistics.h"
#include "nodes/node.h"
#include "nodes/tank.h"
#include "text/units.h"

static Table<int32_t> EverChanging;  ///< links of all kinds but PIPE

// --- reading, validation and start ---------------------------------------------------------------------------------

int32_t linkkinds_readLine(const Tokens& tokens, int32_t kind, int32_t link, int32_t kindIndex) {
    switch (kind) {
        case PIPE: return pipe_readLine(tokens, link, kindIndex);
        case PUMP: return pump_readLine(tokens, link, kindIndex);
        case CONNECTION: return connection_readLine(tokens, link, kindIndex);
        case CONDUIT: return conduit_readLine(tokens, link, kindIndex);
        case WEIR: return weir_readLine(tokens, link, kindIndex);
        case ORIFICE: return orifice_readLine(tokens, link, kindIndex);
        default: return ERR_NONE;
    }
}

Decay* linkkinds_findDecay(const Link& link) {
    switch (link.kind) {
        case PIPE: return Pipes[link.kindIndex].decay;
        case CONDUIT: return Conduits[link.kindIndex].decay;
        default: return nullptr;
    }
}

static bool isAtTank(const Link& link) {
    const Node* node = Nodes.find(link.fromNode);
    return node && node->kind == TANK;
}

void linkkinds_validate(const Link& link) {
    switch (link.kind) {
        case PIPE: pipe_validate(link, Pipes[link.kindIndex]); break;
        case PUMP: pump_validate(link, Pumps[link.kindIndex], isAtTank(link)); break;
        case CONDUIT: conduit_validate(Conduits[link.kindIndex]); break;
        case WEIR:
        case ORIFICE:
            if (!isAtTank(link)) {
                errors_report(ERR_REGULATOR_NOT_AT_TANK, link.id);
            }
            break;
        default: break;
    }
}

void linkkinds_initState(Link& link) {
    link_initState(link);
    switch (link.kind) {
        case PIPE: pipe_initState(Pipes[link.kindIndex]); break;
        case PUMP: pump_initState(link, Pumps[link.kindIndex]); break;
        case CONNECTION: connection_initState(Connections[link.kindIndex]); break;
        case CONDUIT: conduit_buildTables(Conduits[link.kindIndex]); break;
        case WEIR: weir_initState(Weirs[link.kindIndex]); break;
        default: break;
    }
    // A weir, connection or conduit without a rule keeps this target for the whole run, and so its setting.
    link.targetSetting = link.setting;
}

void linkkinds_endState(const Link& link) {
    switch (link.kind) {
        case PIPE: pipe_endState(Pipes[link.kindIndex]); break;
        case CONNECTION: connection_endState(Connections[link.kindIndex]); break;
        default: break;
    }
}

void linkkinds_openRun() {
    pipe_openRun();
    link_openSettings();
    EverChanging.clear();
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (Links[k].kind != PIPE) {
            EverChanging.push_back(k);
        }
    }
}

void linkkinds_clearRun() {
    pipe_clearRun();
    link_clearSettings();
    EverChanging = {};
}

// --- start of a step -----------------------------------------------------------------------------------------------

/// The inflow that the results of a connection show moves on only where the row of the node table that has the link's
/// number is an outfall's, though that node has nothing to do with the link; elsewhere the old one stays 0.
static void shiftConnection(int32_t index, const Link& link) {
    const Node* node = Nodes.find(index);
    if (node && node->kind == OUTFALL) {
        connection_shiftState(Connections[link.kindIndex]);
    }
}

void linkkinds_shiftAll() {
    for (const int32_t index : EverChanging) {
        Link& link = Links[index];
        link_shiftFlow(link);
        switch (link.kind) {
            case CONNECTION: shiftConnection(index, link); break;
            case CONDUIT: conduit_shiftFlows(link, Conduits[link.kindIndex]); break;
            default: break;
        }
        link_shiftQuality(link);
    }
    pipe_shiftChanged();
}

static double getPumpTarget(const Link& link) {
    return isAtTank(link) ? pump_getTarget(link, Pumps[link.kindIndex], Tanks[Nodes[link.fromNode].kindIndex].newDepth)
                          : link.setting;
}

void linkkinds_setTargets() {
    for (const int32_t index : GuidedLinks) {
        Link& link = Links[index];
        switch (link.kind) {
            case PIPE:
            case ORIFICE: link.targetSetting = 1.0; break;
            case PUMP: link.targetSetting = getPumpTarget(link); break;
            default: break;  // a weir, connection or conduit stays where it was put
        }
    }
}

// --- water ---------------------------------------------------------------------------------------------------------

void linkkinds_update(const VisitLink& place, const Offer& offer, double fireTime) {
    switch (place.kind) {
        case PIPE: pipe_update(place.link, Pipes[place.kindIndex], offer, fireTime); break;
        case CONNECTION: connection_update(Links[place.link], Connections[place.kindIndex], offer); break;
        case CONDUIT: conduit_update(Links[place.link], Conduits[place.kindIndex], offer); break;
        default: break;
    }
}

/// A lagged pipe is read a step earlier; a lagged link of another kind delivers its old values.
static double getDeliveryTime(const Link& link) {
    return link.isLagged ? OldRoutingTime - RoutingStep * MS_PER_SECOND : OldRoutingTime;
}

void linkkinds_addDelivery(const VisitLink& place, Node& node) {
    Link& link = Links[place.link];
    if (place.isCounted) {
        statistics_countLink(link);
    }
    switch (place.kind) {
        case PIPE:
            node.newUpstreamFlow += pipe_deliver(link, Pipes[place.kindIndex], getDeliveryTime(link), node.massInflow);
            break;
        default:
            node_addDelivery(node, link.isLagged ? link.oldFlow : link.newFlow,
                             link.isLagged ? link.oldQual : link.newQual);
            break;
    }
}

double linkkinds_deliver(int32_t index, double* loads) {
    const Link& link = Links[index];
    if (link.kind == PIPE) {
        const Pipe& pipe = Pipes[link.kindIndex];
        if (pipe.nextFireTime != pipe.lastFireTime) {
            // A load is added there, and kept as it is here: what is added to -0.0 keeps its sign.
            std::fill_n(loads, project_pollutantCount(), -0.0);
        }
        return pipe_deliver(link, pipe, getDeliveryTime(link), loads);
    }
    const double flow = link.isLagged ? link.oldFlow : link.newFlow;
    const double* quality = link.isLagged ? link.oldQual : link.newQual;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        loads[p] = quality[p] * flow / G_PER_KG;
    }
    return flow;
}

void linkkinds_feed(int32_t node, const OutsideNode& outside, const OutsideTotals& totals) {
    for (const CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        const Link& link = Links[record->index];
        if (link.fromNode != node) {
            continue;  // a record that names a foreign link feeds nothing
        }
        switch (link.kind) {
            case PIPE: feed_pipe(*record, outside, totals); break;
            case CONNECTION: feed_connection(*record, outside, totals); break;
            case CONDUIT: feed_conduit(*record, outside, totals); break;
            default: break;
        }
    }
}

// --- statistics ----------------------------------------------------------------------------------------------------

/// What one link floods, into its statistics and the totals.
static void countFlood(Link& link, double flood, double dt) {
    FlowTotals.floodingLoss += dt * flood;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        QualTotals[p].floodingLoss += dt * flood * link.newQual[p] / G_PER_KG;
    }
    link.statFloodVolume += dt * flood;
    statistics_keepMaximum(link.statMaxFlood, flood);
}

static void countFloods(double dt) {
    for (Link& link : Links) {
        switch (link.kind) {
            case PIPE: countFlood(link, Pipes[link.kindIndex].newFlood, dt); break;
            case CONDUIT: countFlood(link, Conduits[link.kindIndex].newFlood, dt); break;
            default: break;
        }
    }
}

/// Whether a conduit floods. A concentration that is no finite number counts in the flood also where there is none.
static bool isFlooding(const Link& link, const Conduit& conduit) {
    return conduit.newFlood != 0.0 || !std::all_of(link.newQual, link.newQual + project_pollutantCount(),
                                                   [](double c) { return std::isfinite(c); });
}

void linkkinds_countStep() {
    bool isAnyFlooding = pipe_isAnyFlooding();
    for (const int32_t index : UncountedLinks) {
        Link& link = Links[index];
        statistics_countLink(link);
        if (link.kind == CONDUIT) {
            Conduit& conduit = Conduits[link.kindIndex];
            conduit_countStep(link, conduit);
            isAnyFlooding = isFlooding(link, conduit) || isAnyFlooding;
        }
    }
    if (isAnyFlooding) {
        countFloods(RoutingStep);
    }
}
