#pragma once
// A connection: what enters leaves unchanged after a fixed delay.

#include <cstdint>

#include "links/delayqueue.h"
#include "links/link.h"

struct Model;

struct Connection {
    double delay;           ///< s
    double oldInflow;       ///< m3/s
    double newInflow;       ///< m3/s
    double statDelayed;     ///< m3, that would leave after the end of the run
    DelayQueue flowQueue;   ///< m3/s
    DelayQueue* loadQueue;  ///< kg/s, one per pollutant; lives as long as the run
};

/// A line of [CONNECTIONS] for the row `link` of the links and the row `kindIndex` of the connections. An error index,
/// or 0.
[[nodiscard]] int32_t connection_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

void connection_initState(Model& model, Connection& connection);
void connection_endState(Connection& connection);
void connection_shiftState(Connection& connection);

/// When what enters in this step leaves.
struct Passage {
    bool leavesInTime;  ///< before the end of the run; otherwise it is counted as delayed and never queued
    DateTime exitDate;
    DateTime date;  ///< of this step
};

/// Takes in a flow (m3/s) in this step, and delivers the one that leaves.
[[nodiscard]] Passage connection_passFlow(Model& model, Link& link, Connection& connection, double flow);

/// Takes in the load (kg/s) of a pollutant with it, and delivers the one that leaves.
void connection_passLoad(Model& model, Link& link, Connection& connection, const Passage& passage, int32_t pollutant,
                         double load);

/// Takes in what the upstream node offers, and delivers what leaves at this step.
void connection_update(Model& model, Link& link, Connection& connection, const Offer& offer);
