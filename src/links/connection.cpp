// Connections: pure delay without attenuation or reaction, a queue of dated values read by interpolation. What would
// leave after the end of the run is never queued; it is counted as delayed volume and mass. The setting of a connection
// has no effect on its flow.

#include "links/connection.h"

#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "text/datetime.h"
#include "text/tokens.h"

Table<Connection> Connections;

static Connection& getConnection(int32_t link) {
    return Connections[Links[link].kindIndex];
}

int32_t connection_readParams(const Tokens& tokens, int32_t link, int32_t kindIndex) {
    if (tokens.count < 5) {
        return errors_setName(ERR_ITEMS, "");
    }
    LinkEnds ends;
    int32_t isLagged;
    if (const int32_t error = link_readEnds(tokens, ends)) {
        return error;
    }
    if (const int32_t error = link_readLag(tokens, 3, isLagged)) {
        return error;
    }
    double delay;
    if (!tokens_getNonNegative(tokens[4], &delay)) {
        return errors_setName(ERR_NUMBER, tokens[3]);  // shows the word before the delay; users of reports know it so
    }
    link_setEnds(link, CONNECTION, kindIndex, ends, isLagged);
    Connections[kindIndex].delay = delay;
    return ERR_NONE;
}

void connection_initState(int32_t link) {
    Connection& connection = getConnection(link);
    connection.oldInflow = connection.newInflow = 0.0;
    connection.flowQueue = DelayQueue{};
    connection.loadQueue = arena_allocateArray<DelayQueue>(RunArena, project_pollutantCount());
    if (!connection.loadQueue) {
        report_writeError(ERR_MEMORY, "");
    }
}

void connection_endState(int32_t link) {
    Connection& connection = getConnection(link);
    connection.flowQueue = DelayQueue{};
    connection.loadQueue = nullptr;
}

void connection_shiftHydState(int32_t link) {
    // The row of the node table that has the link's number decides, though it has nothing to do with the link. Only the
    // reported inflow depends on it; whoever compares results of older runs sees the same values.
    const Node* node = Nodes.find(link);
    if (node && node->kind == OUTFALL) {
        Connection& connection = getConnection(link);
        connection.oldInflow = connection.newInflow;
    }
}

int32_t connection_pushFlow(int32_t link, double date, double flow) {
    return delayqueue_push(getConnection(link).flowQueue, date, flow);
}

int32_t connection_pushLoad(int32_t link, double date, int32_t pollutant, double load) {
    return delayqueue_push(getConnection(link).loadQueue[pollutant], date, load);
}

/// The flow that carries the load: all that the node offers, but of a LID monomer the surface flow alone.
static double getLoadedFlow(int32_t node, double flow) {
    const Node& record = Nodes[node];
    return record.kind == LID_MONO ? LidMonos[record.kindIndex].unit.thisSurfaceFlow : flow;
}

void connection_update(int32_t index, int32_t nodeIndex) {
    const Node& node = Nodes[nodeIndex];
    if (!node_offersFlow(node.kind)) {
        return;
    }
    Link& link = Links[index];
    Connection& connection = getConnection(index);
    const double flow = node_getOfferedFlow(nodeIndex, index);
    const double exitTime = connection.delay * 1000.0 + NewRoutingTime;
    const bool leavesInTime = TotalDuration >= exitTime;
    const DateTime exitDate = leavesInTime ? project_getDate(exitTime) : 0.0;
    const DateTime date = project_getDate(NewRoutingTime);
    if (leavesInTime) {
        connection_pushFlow(index, exitDate, flow);
    } else {
        FlowTotals.delayedVolume += RoutingStep * flow;
    }
    connection.newInflow = flow;
    link.newFlow = delayqueue_getValue(connection.flowQueue, date);
    const double loadedFlow = getLoadedFlow(nodeIndex, flow);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load = loadedFlow * node.newQual[p] / 1000.0;
        if (leavesInTime) {
            connection_pushLoad(index, exitDate, p, load);
        } else {
            QualTotals[p].delayedMass += RoutingStep * load;
        }
        const double value = delayqueue_getValue(connection.loadQueue[p], date);
        link.newQual[p] = link.newFlow != 0.0 ? value / link.newFlow * 1000.0 : 0.0;
    }
}
