#pragma once
// A pipe: a cascade of Muskingum reaches with a clock of its own.

#include <cstdint>

#include "links/link.h"
#include "model/decay.h"
#include "model/model.h"
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
    bool hasDecay;       ///< some pollutant decays here
};

/// Concentrations in a reach, mg/L, one per pollutant.
[[nodiscard]] inline double* pipe_newSegQual(const Model& model, const Pipe& pipe, int32_t reach) {
    return pipe.storage + pipe.reachCount + static_cast<int64_t>(reach) * model_pollutantCount(model);
}

/// Reaches that are both wanted and there: a host may have changed `n` in the run.
[[nodiscard]] inline int32_t pipe_getReachCount(const Pipe& pipe) {
    return pipe.n < pipe.reachCount ? pipe.n : pipe.reachCount;
}

/// Numbers in the storage of so many reaches: volumes and concentrations.
[[nodiscard]] inline int64_t pipe_getStorageCount(const Model& model, int32_t reaches) {
    return static_cast<int64_t>(reaches) * (1 + model_pollutantCount(model));
}

/// A pipe by its rows in the tables of the links and of the pipes.
struct ChangedPipe {
    int32_t link;
    int32_t pipe;
};

/// A line of [PIPES] for the row `link` of the links and the row `kindIndex` of the pipes. An error index, or 0.
[[nodiscard]] int32_t pipe_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

/// Tests a pipe when all is read; writes what is wrong to the report.
void pipe_validate(Model& model, const Link& link, const Pipe& pipe);

/// Puts a pipe to time zero, and lets go of what it holds for the run.
void pipe_initState(Model& model, Pipe& pipe);
void pipe_endState(Pipe& pipe);

/// Whether the arrays of a pipe are those of so many reaches and such a period (s); memory for others, which serves
/// every period, null without; and its place in the pipe.
[[nodiscard]] bool pipe_doReachesFit(const Model& model, const Pipe& pipe, int32_t reaches, double stepLength);
[[nodiscard]] double* pipe_allocateReaches(Model& model, int32_t reaches);
void pipe_placeReaches(const Model& model, Pipe& pipe, double* memory, int32_t reaches);

/// Empties the sums of all pipes for a new run.
void pipe_openRun(Model& model);

/// New becomes old: flow, inflow and flood, then the concentrations.
void pipe_shiftState(const Model& model, Link& link, Pipe& pipe);

/// Rolls the pipes that have changed since the last roll, and no others: in nearly all steps nearly all pipes stand
/// still, and old and new are the same there already.
void pipe_shiftChanged(Model& model);

/// Says that a pipe's new state differs from its old one, so that the next step rolls it.
void pipe_noteChange(Model& model, int32_t link, int32_t kindIndex);

/// Takes in what the upstream node offers in this step, or fires. `fireTime` is in ms since the start.
void pipe_update(Model& model, int32_t link, Pipe& pipe, const Offer& offer, double fireTime);

/// Moves the clock of a pipe on by one period, but never past the end of the run.
void pipe_moveClock(const Model& model, Pipe& pipe);

/// Sends a mean flow (m3/s) with mean concentrations (mg/L) of one period through the cascade.
void pipe_route(Model& model, int32_t link, Pipe& pipe, double inflow, const double* concentrations);

/// What a pipe delivers in the step that begins at `time` (ms): gives the flow (m3/s), and adds the loads (kg/s) to
/// `loads`. Nothing before its first firing.
[[nodiscard]] double pipe_deliver(const Model& model, const Link& link, const Pipe& pipe, double time, double* loads);

/// Whether any pipe floods now. Once a concentration of the run was no finite number the answer is yes: what doesn't
/// flood then counts as well, as 0 times that.
[[nodiscard]] bool pipe_isAnyFlooding(const Model& model);

/// What has left the reaches by a time (ms) and isn't delivered yet, and what waits for the next firing: m3; and of a
/// pollutant, kg.
[[nodiscard]] double pipe_getWaterUnderWay(const Model& model, const Link& link, const Pipe& pipe, double time);
[[nodiscard]] double pipe_getMassUnderWay(const Model& model, const Link& link, const Pipe& pipe, double time,
                                          int32_t pollutant);

/// Makes sums over steps of so many seconds what they would be over those of the run: they are told apart by their
/// number alone.
void pipe_changeStep(Model& model, double step);

/// Water in the reaches, m3.
[[nodiscard]] double pipe_getVolume(const Pipe& pipe);
