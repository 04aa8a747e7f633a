#pragma once
// A connection: what enters leaves unchanged after a fixed delay.

#include <cstdint>

#include "links/delayqueue.h"
#include "model/table.h"
#include "text/tokens.h"

struct Connection {
    double delay;           ///< s
    double oldInflow;       ///< m3/s
    double newInflow;       ///< m3/s
    DelayQueue flowQueue;   ///< m3/s
    DelayQueue* loadQueue;  ///< kg/s, one per pollutant; lives as long as the run
};

extern Table<Connection> Connections;

int32_t connection_readParams(const Tokens& tokens, int32_t link, int32_t kindIndex);
void connection_initState(int32_t link);
void connection_endState(int32_t link);
void connection_shiftHydState(int32_t link);

/// Takes in what its upstream node offers, and delivers what leaves at this step.
void connection_update(int32_t link, int32_t node);

/// Queues a flow or a load that leaves at a date. 1, or 0 without memory: the value is lost then.
int32_t connection_pushFlow(int32_t link, double date, double flow);
int32_t connection_pushLoad(int32_t link, double date, int32_t pollutant, double load);
