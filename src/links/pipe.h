#pragma once
// A pipe: a cascade of Muskingum reaches with a clock of its own.

#include <cstdint>

#include "links/link.h"
#include "model/decay.h"
#include "model/project.h"
#include "model/table.h"
#include "text/tokens.h"

/// A cascade of `n` identical Muskingum reaches: it collects for `k` seconds, then fires once. What each step touches
/// stands in the first line of memory, what a firing needs in the second.
struct alignas(64) Pipe {
    double lastFireTime;  ///< ms since the start
    double nextFireTime;  ///< ms since the start
    double k;             ///< s, Muskingum K of one reach, and the pipe's own period
    double sumVolume;     ///< m3, offered by the upstream node since the last firing
    double* sumMass;      ///< kg, one per pollutant, likewise
    int32_t sumCount;     ///< routing steps summed
    int32_t n;            ///< number of reaches
    double stepLength;    ///< s, `k` as it was at the start of the run
    double x;             ///< Muskingum X, 0 ... 0.5

    double* storage;     ///< m3, one per reach; behind it stand the concentrations of the reaches
    Decay* decay;        ///< one per pollutant
    double oldInflow;    ///< m3/s, mean inflow of the last firing but one
    double newInflow;    ///< m3/s, of the last firing
    double oldFlood;     ///< m3/s, outflow refused by maxFlow or a closed pipe; it leaves the system
    double newFlood;     ///< m3/s
    double maxFlow;      ///< m3/s, largest outflow; 0 means no limit
    int32_t reachCount;  ///< reaches that the arrays were made for; 0 between runs
    int32_t hasDecay;    ///< 1: some pollutant decays here
};

extern Table<Pipe> Pipes;

/// Concentrations in a reach, mg/L, one per pollutant.
inline double* pipe_newSegQual(const Pipe& pipe, int32_t reach) {
    return pipe.storage + pipe.reachCount + static_cast<int64_t>(reach) * project_pollutantCount();
}

/// Reaches that are both wanted and there: a host may have changed `n` in the run.
inline int32_t pipe_getReachCount(const Pipe& pipe) {
    return pipe.n < pipe.reachCount ? pipe.n : pipe.reachCount;
}

int32_t pipe_readParams(const Tokens& tokens, int32_t link, int32_t kindIndex);
void pipe_validate(int32_t link);
void pipe_initState(int32_t link);
void pipe_endState(int32_t link);
void pipe_shiftHydState(int32_t kindIndex);

/// Empties the sums of all pipes for a new run.
void pipe_openRun();

/// Asks for the memory of links that come soon after `link` in the order of the visits: of those that enter a node, and
/// of those that leave one.
inline void pipe_fetchIncoming(const VisitLink* link) {
    const VisitLink& far = link[LINKS_FAR];
    memory_fetch(&Links[far.link]);
    if (far.kind == PIPE) {
        memory_fetch(&Pipes[far.kindIndex]);
    }
    const Link& near = Links[link[LINKS_NEAR].link];
    memory_fetch(near.newQual);
    memory_fetch(near.oldQual);
}

inline void pipe_fetchOutgoing(const VisitLink* link, double fireTime) {
    const VisitLink& far = link[LINKS_FAR];
    if (far.kind == PIPE) {
        memory_fetch(&Pipes[far.kindIndex]);
    }
    const VisitLink& near = link[LINKS_NEAR];
    if (near.kind == PIPE) {
        const Pipe& pipe = Pipes[near.kindIndex];
        memory_fetch(pipe.sumMass);
        if (fireTime > pipe.nextFireTime) {
            memory_fetch(&pipe.storage);
            memory_fetch(pipe.sumMass + 8);  // the next line, where the reaches are
            memory_fetch(&Links[near.link]);
        }
    }
}

/// Takes in what the upstream node offers in this step, or fires. `kindIndex` is the pipe's row, `fireTime` in ms since
/// the start.
void pipe_update(int32_t link, int32_t kindIndex, int32_t node, double fireTime);

/// Moves the clock of a pipe on by one period, but never past the end of the run.
void pipe_moveClock(Pipe& pipe);

/// Sends a mean flow (m3/s) with mean concentrations (mg/L, overwritten) of one period through the cascade.
void pipe_route(int32_t link, double inflow, double* concentrations);

/// What a pipe delivers in the step that begins at `time` (ms): gives the flow (m3/s), and adds the loads (kg/s) to
/// `loads`. Nothing before its first firing.
double pipe_deliver(const Link& link, const Pipe& pipe, double time, double* loads);

/// Whether any pipe floods now. Once a concentration of the run was no finite number the answer is yes: what doesn't
/// flood then counts as well, as 0 times that.
bool pipe_isAnyFlooding();

/// Water in the reaches, m3.
double pipe_getVolume(const Pipe& pipe);
