#pragma once
// A pipe: a cascade of Muskingum reaches with a clock of its own.

#include <algorithm>
#include <cstdint>

#include "links/link.h"
#include "model/decay.h"
#include "model/model.h"
#include "model/project.h"
#include "model/still.h"
#include "model/table.h"
#include "text/tokens.h"
#include "text/units.h"

/// A cascade of `n` identical Muskingum reaches: it collects for `k` seconds, then fires once. The clock by which it
/// does, and what it has collected, stand in the link: most steps touch nothing else. What a firing touches without
/// pollutants and limits stands in the first line of memory.
struct alignas(64) Pipe {
    double stepLength;   ///< s, `k` as it was at the start of the run
    double k;            ///< s, Muskingum K of one reach, and the pipe's own period
    double x;            ///< Muskingum X, 0 ... 0.5
    double* storage;     ///< m3, one per reach; after it stand the concentrations of the reaches
    double newInflow;    ///< m3/s, mean inflow of the last firing
    double oldInflow;    ///< m3/s, of the last firing but one, and of no meaning once the link has rolled
    int32_t n;           ///< number of reaches
    int32_t reachCount;  ///< reaches that the arrays were made for; 0 between runs
    int32_t link;        ///< row of the links
    bool hasDecay;       ///< some pollutant decays here

    double maxFlow;   ///< m3/s, largest outflow; 0 means no limit
    double newFlood;  ///< m3/s, outflow refused by maxFlow or a closed pipe; it leaves the system
    double oldFlood;  ///< m3/s, likewise of no meaning once the link has rolled
    Decay* decay;     ///< one per pollutant
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

/// A line of [PIPES] for the row `link` of the links and the row `kindIndex` of the pipes. An error index, or 0.
[[nodiscard]] int32_t pipe_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

/// Tests a pipe when all is read; writes what is wrong to the report.
void pipe_validate(Model& model, const Link& link, const Pipe& pipe);

/// Puts a pipe to time zero, and releases what it holds for the run.
void pipe_initState(Model& model, Link& link, Pipe& pipe);
void pipe_endState(Link& link, Pipe& pipe);

/// Whether the arrays of a pipe are those of so many reaches and such a period (s); memory for others, which serves
/// every period, null without; and its place in the pipe.
[[nodiscard]] bool pipe_doReachesFit(const Model& model, const Pipe& pipe, int32_t reaches, double stepLength);
[[nodiscard]] double* pipe_allocateReaches(Model& model, int32_t reaches);
void pipe_placeReaches(Model& model, Pipe& pipe, double* memory, int32_t reaches);

/// Finds out whether anything decays in a pipe, after a host has set it.
void pipe_noteDecay(Model& model, Pipe& pipe);

/// Empties the sums of all pipes for a new run.
void pipe_openRun(Model& model);

/// New becomes old: flow, inflow and flood, then the concentrations.
void pipe_shiftState(const Model& model, Link& link, Pipe& pipe);

/// The same once after a change, and nothing else: in nearly all steps nearly all pipes stand still, and old and new
/// are the same there already. What stands in the record of the pipe isn't moved: as long as there is no change, new
/// is old, and whoever looks takes it for that.
inline void pipe_roll(const Model& model, Link& link) {
    if (link.clock.isChanged) {
        link_shiftFlow(link);
        if (model_pollutantCount(model) > 0) {
            link_shiftQuality(model, link);
        }
        link.clock.isChanged = false;
    }
}

/// Inflow and flood of the step before, and the flood of this one, m3/s.
inline double pipe_getOldInflow(const Link& link, const Pipe& pipe) {
    return link.clock.isChanged ? pipe.oldInflow : pipe.newInflow;
}
inline double pipe_getOldFlood(const Link& link, const Pipe& pipe) {
    if (link_hasFact(link, FACT_FREE_OUTFLOW)) {
        return 0.0;
    }
    return link.clock.isChanged ? pipe.oldFlood : pipe.newFlood;
}
inline double pipe_getNewFlood(const Link& link, const Pipe& pipe) {
    return link_hasFact(link, FACT_FREE_OUTFLOW) ? 0.0 : pipe.newFlood;
}

/// Gives what is of no meaning the value that others take it for.
inline void pipe_settle(const Link& link, Pipe& pipe) {
    pipe.oldInflow = pipe_getOldInflow(link, pipe);
    pipe.oldFlood = pipe_getOldFlood(link, pipe);
}

/// Says that a pipe's new state differs from its old one, so that the next step rolls it.
void pipe_noteChange(Model& model, int32_t kindIndex);

/// The firing of a pipe that has collected something for a period.
void pipe_fire(Model& model, Link& link, Pipe& pipe);

/// Sends a mean flow (m3/s) with mean concentrations (mg/L) of one period through the cascade.
void pipe_route(Model& model, Link& link, Pipe& pipe, double inflow, const double* concentrations);

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

// What a pipe does in nearly every step stands in the head, since the visits of a large network do little else: it
// takes in what its upper node offers, and delivers by its last two firings.

// --- the clock -----------------------------------------------------------------------------------------------------

/// Notes whether K alone is the whole period, as it is unless the period was rounded up or a host has set K: what comes
/// on top of it in pipe_getFlow makes the share no smaller then.
inline void pipe_noteShare(Link& link, const Pipe& pipe) {
    const double period = link.clock.nextFireTime - link.clock.lastFireTime;
    link_setFact(link, FACT_WHOLE_SHARE, period > 0.0 && pipe.k * MS_PER_SECOND >= period);
}

/// Moves the clock of a pipe on by one period, but never past the end of the run.
inline void pipe_moveClock(const Model& model, Link& link, const Pipe& pipe) {
    FireClock& clock = link.clock;
    clock.lastFireTime = clock.nextFireTime;
    const double next = pipe.stepLength * MS_PER_SECOND + clock.lastFireTime;
    clock.nextFireTime = next > model.options.totalDuration ? model.options.totalDuration : next;
    pipe_noteShare(link, pipe);
}

/// A step of a pipe at rest, to which nothing comes. It has fired before, so it has a period.
inline void pipe_tick(const Model& model, Link& link, double fireTime) {
    FireClock& clock = link.clock;
    clock.isChanged = fireTime > clock.nextFireTime && clock.sumCount != 0;
    if (clock.isChanged) {
        pipe_moveClock(model, link, model.pipes[link.kindIndex]);
        clock.sumCount = 0;
    } else {
        clock.sumCount += 1;
    }
}

// --- what comes in -------------------------------------------------------------------------------------------------

/// Takes in what the upstream node offers in this step, of `dt` seconds, or fires. `fireTime` is in ms since the start.
inline void pipe_update(Model& model, Link& link, Pipe& pipe, const Offer& offer, double fireTime, double dt,
                        int32_t pollutants) {
    FireClock& clock = link.clock;
    // Without a period, which a host can bring about, it never fires.
    if (fireTime > clock.nextFireTime && clock.sumCount != 0 && pipe.stepLength != 0.0) {
        pipe_fire(model, link, pipe);
        return;
    }
    const double volume = dt * offer.flow;
    clock.sumVolume += volume;
    clock.sumCount += 1;
    double* __restrict sumMass = pollutants > 0 ? link.sumMass : nullptr;
    const double* __restrict quality = offer.quality;
    for (int32_t p = 0; p < pollutants; ++p) {
        sumMass[p] += volume * quality[p] / G_PER_KG;
    }
}

// --- delivery ------------------------------------------------------------------------------------------------------

/// The share of a period that is over, limited to 0 ... 1. A quotient that isn't below 1 is rounded to what is 1 after
/// the limits, and one of 0 is 0: that spares most divisions.
inline double pipe_getShare(double passed, double period) {
    if (period > 0.0 && (passed >= period || still_isZero(passed))) {
        return passed >= period ? 1.0 : 0.0;
    }
    const double share = passed / period;
    const double lower = 0.0 > share ? 0.0 : share;
    return 1.0 < lower ? 1.0 : lower;
}

/// Flow (m3/s) delivered in the step that begins at `time` (ms). The present K counts here, which a host may have
/// changed, and it is added for the flow alone: flow and load are weighted differently in the steps of a firing. Where
/// K is the whole period, and the firing isn't ahead of the time, K needn't be looked up: a sum that isn't below it is
/// rounded to nothing below it.
inline double pipe_getFlow(const Link& link, const Pipe& pipe, double time) {
    const FireClock& clock = link.clock;
    const double passed = time - clock.lastFireTime;
    const bool isWhole = link_hasFact(link, FACT_WHOLE_SHARE) && passed >= 0.0;
    const double share =
        isWhole ? 1.0 : pipe_getShare(passed + pipe.k * MS_PER_SECOND, clock.nextFireTime - clock.lastFireTime);
    return (1.0 - share) * link.oldFlow + share * link.newFlow;
}

/// The loads (kg/s) delivered in that step, added to `loads` or put in their place.
template <bool IN_PLACE>
inline void pipe_addLoads(const Link& link, double time, double* __restrict loads, int32_t pollutants) {
    if (pollutants == 0) {
        return;
    }
    const FireClock& clock = link.clock;
    const double share = pipe_getShare(time - clock.lastFireTime, clock.nextFireTime - clock.lastFireTime);
    const double oldFlow = (1.0 - share) * link.oldFlow;
    const double newFlow = share * link.newFlow;
    const double* __restrict oldQual = link.oldQual;
    const double* __restrict newQual = link.newQual;
    for (int32_t p = 0; p < pollutants; ++p) {
        const double load = (oldFlow * oldQual[p] + newFlow * newQual[p]) / G_PER_KG;
        loads[p] = IN_PLACE ? load : loads[p] + load;
    }
}

/// Flow and loads, one after the other, in place of what stands in `delivery`: zeros before the first firing.
inline void pipe_layDown(const Link& link, const Pipe& pipe, double time, double* delivery, int32_t pollutants) {
    if (link.clock.nextFireTime == link.clock.lastFireTime) {
        std::fill_n(delivery, 1 + pollutants, 0.0);
        return;
    }
    delivery[0] = pipe_getFlow(link, pipe, time);
    pipe_addLoads<true>(link, time, delivery + 1, pollutants);
}
