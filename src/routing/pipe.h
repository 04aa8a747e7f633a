#pragma once
// A pipe: a cascade of Muskingum reaches with a clock of its own.

#include <cstdint>
#include <vector>

#include "engine/project.h"
#include "routing/decay.h"

/// A cascade of `n` identical Muskingum reaches: it collects for `k` seconds, then fires once. What each step touches
/// stands in the first line of memory, what a firing needs in the next two.
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

    double* storage;     ///< m3, one per reach
    double* newSegQual;  ///< mg/L, by reach and pollutant
    Decay* decay;        ///< one per pollutant
    double oldInflow;    ///< m3/s, mean inflow of the last firing but one
    double newInflow;    ///< m3/s, of the last firing
    double oldFlood;     ///< m3/s, outflow refused by maxFlow or a closed pipe; it leaves the system
    double newFlood;     ///< m3/s

    double maxFlow;      ///< m3/s, largest outflow; 0 means no limit
    int32_t reachCount;  ///< reaches that the arrays were made for; 0 between runs
    int32_t hasDecay;    ///< 1: some pollutant decays here
};

extern std::vector<Pipe> Pipes;

/// Place of a reach's concentration in newSegQual.
inline int64_t pipe_getPlace(int32_t pollutant, int32_t reach) {
    return static_cast<int64_t>(reach) * project_pollutantCount() + pollutant;
}

/// Reaches that are both wanted and there: a host may have changed `n` in the run.
inline int32_t pipe_getReachCount(const Pipe& pipe) {
    return pipe.n < pipe.reachCount ? pipe.n : pipe.reachCount;
}

int32_t pipe_readParams(int32_t link, int32_t kindIndex, int32_t tokenCount);
void pipe_validate(int32_t link);
void pipe_initState(int32_t link);
void pipe_endState(int32_t link);
void pipe_shiftHydState(int32_t kindIndex);

/// Empties the sums of all pipes for a new run.
void pipe_openRun();

/// Takes in what the upstream node offers in this step, or fires. `kindIndex` is the pipe's row, `fireTime` in ms since
/// the start.
void pipe_update(int32_t link, int32_t kindIndex, int32_t node, double fireTime);

/// Moves the clock of a pipe on by one period, but never past the end of the run.
void pipe_moveClock(Pipe& pipe);

/// Sends a mean flow (m3/s) with mean concentrations (mg/L, overwritten) of one period through the cascade.
void pipe_route(int32_t link, double inflow, double* concentrations);

/// Flow (m3/s) that a pipe delivers in the step that begins at `time` (ms); 0 before its first firing.
double pipe_getFlow(const Link& link, const Pipe& pipe, double time);

/// Adds the loads (kg/s) delivered in the step that begins at `time` (ms) to `loads`.
void pipe_addLoads(const Link& link, const Pipe& pipe, double time, double* loads);

/// Whether any pipe floods now. Once a concentration of the run was no finite number the answer is yes: what doesn't
/// flood then counts as well, as 0 times that.
bool pipe_isAnyFlooding();

/// Water in the reaches, m3.
double pipe_getVolume(const Pipe& pipe);
