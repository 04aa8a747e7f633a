// Pipes, routed by the Muskingum method (McCarthy 1938): the storage of a reach is S = K (X I + (1 - X) O). A pipe is a
// cascade of such reaches, each a linear reservoir whose state is its storage, and it has a clock of its own:
//
//     waiting --(fireTime <= nextFireTime, or nothing summed)--> waiting   pipe_update sums what the node offers
//     waiting --(fireTime >  nextFireTime)--------------------> firing    pipe_update, pipe_fire
//     firing  -------------------------------------------------> waiting   nextFireTime moves on by one period
//
// At a firing the mean flow and the mean concentration of the period go through the cascade: each reach mixes what
// comes in, and pollutants of first order decay in it for one period. The result stands at the outlet until the next
// firing. What the node offers in the step of the firing is in no sum: the mean of the other steps stands for it, and
// the continuity error of a network with pipes shows that water.

#include "links/pipe.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "model/still.h"
#include "model/warnings.h"
#include "text/datetime.h"
#include "text/number.h"
#include "text/tokens.h"
#include "text/units.h"

// --- reading and validation ----------------------------------------------------------------------------------------

/// K is the time of a reach and the step that is routed as well. So no coefficient of Muskingum's is ever negative, and
/// only K against step and run, and X at its end, leave something to say.
static void checkSteps(const Model& model, const double* v, const char* id) {
    const double dt = model.options.routingStep;
    if (v[0] < 2.0 * dt) {
        warnings_addAtLine(model, WARN_STEP_PIPE, 4, id, {warnings_formatNumber(v[0]), warnings_formatNumber(dt)});
    } else if (model_isBroken(v[0], dt)) {
        warnings_addAtLine(model, WARN_STEP_MULTIPLE, 4, id, {warnings_formatNumber(v[0]), warnings_formatNumber(dt)});
    }
    if (v[2] == 0.5) {
        warnings_addAtLine(model, WARN_MUSKINGUM, 6, id, {warnings_formatNumber(v[1]), warnings_formatNumber(v[0])});
    }
    const double travel = (v[1] + 1.0) * v[0], duration = model_getDuration(model);
    if (travel >= duration && duration > 0.0) {
        warnings_addAtLine(model, WARN_PIPE_TRAVEL, 5, id,
                           {warnings_formatNumber(travel), warnings_formatNumber(duration)});
    }
}

/// K, N, X and the largest flow against what is usual.
static void checkNumbers(const Model& model, const double* v, const LinkHead& head) {
    plausible_check(model, PLAUSIBLE_PIPE_K, v[0], 4, head.id);
    plausible_check(model, PLAUSIBLE_PIPE_N, v[1], 5, head.id);
    plausible_check(model, PLAUSIBLE_PIPE_TRAVEL, (v[1] + 1.0) * v[0], 5, head.id);
    plausible_checkSet(model, PLAUSIBLE_LIMIT_FLOW, v[3], 7, head.id);
    checkSteps(model, v, head.id);
    if (head.isLagged) {
        warnings_addAtLine(model, WARN_LAGGED_PIPE, 3, head.id);
    }
}

int32_t pipe_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    LinkHead head;
    if (const int32_t error = link_readHead(model, tokens, 8, head)) {
        return error;
    }
    double values[4];
    for (int32_t k = 0; k < 4; ++k) {
        if (!tokens_getNonNegative(tokens[4 + k], &values[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[4 + k]);
        }
    }
    const int32_t n = number_truncate(values[1]);
    if (n != values[1]) {
        warnings_addAtLine(model, WARN_NUMBER_CUT, 5, head.id, {tokens[5], std::to_string(n)});
    }
    values[1] = n;
    checkNumbers(model, values, head);
    link_setHead(model, link, PIPE, kindIndex, head);
    Pipe& pipe = model.pipes[kindIndex];
    pipe.link = link;
    pipe.k = values[0];
    pipe.n = n;
    pipe.x = values[2];
    pipe.maxFlow = values[3];
    return ERR_NONE;
}

void pipe_validate(Model& model, const Link& link, const Pipe& pipe) {
    if (pipe.k < model.options.routingStep) {
        errors_report(model, ERR_PIPE_K, link.id);
    }
    if (pipe.n < 1) {
        errors_report(model, ERR_PIPE_N, link.id);
    }
    if (pipe.x > 0.5) {
        errors_report(model, ERR_PIPE_X, link.id);
    }
}

// --- start and end of a run ----------------------------------------------------------------------------------------

/// Whether a step may see more than one firing. A host can shorten the period below the routing step, and the order of
/// the nodes may come back to the first of them.
static bool canFireAgain(const Model& model, double stepLength) {
    return stepLength < model.options.routingStep;
}

/// All arrays of a pipe stand together: a firing goes through them at once.
static double* allocateReaches(Model& model, int64_t reaches, bool hasCopy) {
    const int64_t pollutants = model_pollutantCount(model);
    const int64_t copies = hasCopy ? 2 : 1;
    return arena_allocateArray<double>(model.memory.run, reaches + pollutants + copies * reaches * pollutants);
}

double* pipe_allocateReaches(Model& model, int32_t reaches) {
    return allocateReaches(model, reaches, true);
}

bool pipe_doReachesFit(const Model& model, const Pipe& pipe, int32_t reaches, double stepLength) {
    return reaches == pipe.reachCount && (canFireAgain(model, pipe.stepLength) || !canFireAgain(model, stepLength));
}

void pipe_placeReaches(Model& model, Pipe& pipe, double* memory, int32_t reaches) {
    pipe.reachCount = reaches;
    pipe.storage = memory + model_pollutantCount(model);
    model.links[pipe.link].sumMass = memory;
}

void pipe_initState(Model& model, Link& link, Pipe& pipe) {
    pipe.stepLength = pipe.k;
    link.clock.nextFireTime = link.clock.lastFireTime = model.clock.newRoutingTime;
    link.clock.isChanged = false;
    link.clock.restKey = 0;
    link_forgetFacts(link);
    pipe.oldInflow = pipe.newInflow = 0.0;
    pipe.oldFlood = pipe.newFlood = 0.0;
    const int32_t reaches = pipe.n > 0 ? pipe.n : 0;
    double* memory = allocateReaches(model, reaches, canFireAgain(model, pipe.stepLength));
    if (!memory) {
        pipe_endState(link, pipe);
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    pipe_placeReaches(model, pipe, memory, reaches);
    pipe.hasDecay = decay_isAny(model, pipe.decay);
}

void pipe_endState(Link& link, Pipe& pipe) {
    pipe.reachCount = 0;
    pipe.storage = link.sumMass = nullptr;
}

/// A pipe in which something decays adds to a total of the network, and so has its turn in the order of these.
void pipe_noteDecay(Model& model, Pipe& pipe) {
    const bool hadDecay = pipe.hasDecay;
    pipe.hasDecay = decay_isAny(model, pipe.decay);
    model.areVisitsDue = model.areVisitsDue || (pipe.hasDecay && !hadDecay);
}

void pipe_openRun(Model& model) {
    model.floodingPipeCount = 0;
    model.hasEndlessQuality = false;
    for (Link& link : model.links) {
        link.clock.sumVolume = 0.0;
        link.clock.sumCount = 0;
    }
}

// --- the roll from new to old --------------------------------------------------------------------------------------

/// Where nothing floods or did so, both floods are +0.0 already.
static void shiftFlows(Link& link, Pipe& pipe) {
    link_shiftFlow(link);
    pipe.oldInflow = pipe.newInflow;
    if (!link_hasFact(link, FACT_FREE_OUTFLOW)) {
        pipe.oldFlood = pipe.newFlood;
    }
}

void pipe_shiftState(const Model& model, Link& link, Pipe& pipe) {
    shiftFlows(link, pipe);
    link_shiftQuality(model, link);
}

void pipe_noteChange(Model& model, int32_t kindIndex) {
    Pipe& pipe = model.pipes[kindIndex];
    Link& link = model.links[pipe.link];
    pipe_settle(link, pipe);
    link.clock.isChanged = true;
}

// --- routing -------------------------------------------------------------------------------------------------------

/// Flow through one reach in one period, as all pollutants see it.
struct ReachFlow {
    double inVolume;  ///< m3
    double storage;   ///< m3, before the period
    double divisor;   ///< m3, after the inflow and before the outflow
    bool isDry;
};

static ReachFlow getReachFlow(double dt, double storage, double in, double out) {
    const double change = dt * (in - out);
    const double divisor = dt * out + storage + change;
    // The test adds a volume to a flow: it only has to tell a dry reach. Divided is by the volume after the inflow,
    // before the outflow.
    return {dt * in, storage, divisor, !(change + out != 0.0 && divisor != 0.0)};
}

/// All pollutants through one reach: `c` comes with the inflow and leaves with the outflow. Mixing of the inflow into
/// the reach, whose `qual` is the old concentration up to here.
static void mixReach(const ReachFlow& flow, double* __restrict qual, double* __restrict c, int32_t pollutants) {
    for (int32_t p = 0; p < pollutants; ++p) {
        c[p] = flow.isDry ? 0.0 : (flow.inVolume * c[p] + flow.storage * qual[p]) / flow.divisor;
        qual[p] = c[p];
    }
}

/// Whether a reach without decay loses nothing of any pollutant. What has grown beyond all numbers shows in the loss,
/// since no share of it is 0.
static bool isFinite(const double* c, double storage, int32_t pollutants) {
    bool answer = true;
    for (int32_t p = 0; p < pollutants; ++p) {
        answer = answer && std::isfinite(c[p] * storage);
    }
    return answer;
}

/// Decay of what mixReach has mixed.
static void decayReach(Model& model, const Pipe& pipe, const ReachFlow& flow, int32_t hour, double* qual, double* c) {
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double factor = decay_getFactor(model, pipe.decay[p], hour, pipe.stepLength);
        model.totals.quality[p].reactedLoss += c[p] * flow.storage * (1.0 - factor) / G_PER_KG;
        qual[p] = c[p] = c[p] * factor;
    }
}

/// All pollutants through one reach, with what decays in it.
static void passReach(Model& model, const Pipe& pipe, int32_t i, const ReachFlow& flow, int32_t hour, double* c) {
    const int32_t pollutants = model_pollutantCount(model);
    double* qual = pipe_newSegQual(model, pipe, i);
    mixReach(flow, qual, c, pollutants);
    if (pipe.hasDecay || !isFinite(c, flow.storage, pollutants)) {
        decayReach(model, pipe, flow, hour, qual, c);
    }
}

bool pipe_isAnyFlooding(const Model& model) {
    return model.floodingPipeCount > 0 || model.hasEndlessQuality;
}

/// Whether no limit and no setting holds back anything, and old and new flood are +0.0 and will stay so.
static bool isFree(const Link& link, const Pipe& pipe) {
    return !(pipe.maxFlow > 0.0) && link.setting != 0.0 && still_isZero(pipe.newFlood) && still_isZero(pipe.oldFlood);
}

/// Outflow of the last reach against the limit: what may not pass is flood.
static void limitOutflow(Model& model, Link& link, Pipe& pipe, double out) {
    if (link_hasFact(link, FACT_FREE_OUTFLOW)) {
        link.newFlow = out;
        return;
    }
    const int32_t before = pipe.newFlood != 0.0 ? 1 : 0;
    if (pipe.maxFlow > 0.0) {
        const double cap = pipe.maxFlow * link.setting;
        link.newFlow = out > cap ? cap : out;
        pipe.newFlood = out > cap ? out - cap : 0.0;
    } else {
        link.newFlow = link.setting != 0.0 ? out : 0.0;
        pipe.newFlood = link.setting != 0.0 ? 0.0 : out;
    }
    model.floodingPipeCount += (pipe.newFlood != 0.0 ? 1 : 0) - before;
    link_setFact(link, FACT_FREE_OUTFLOW, isFree(link, pipe));
}

/// Muskingum's coefficients of a reach, over a period of half of which `a` is.
struct Coefficients {
    double inflow;
    double divisor;  ///< s
};

static Coefficients getCoefficients(const Pipe& pipe) {
    const double a = pipe.stepLength * 0.5;
    const double b = pipe.k * pipe.x;
    const double c = (1.0 - pipe.x) * pipe.k;
    return {a - b, c + a};
}

/// Mean outflow of a reach in a period, m3/s, from its inflow and what it holds.
static double getOutflow(const Coefficients& coefficients, double inflow, double storage) {
    return (inflow * coefficients.inflow + storage) / coefficients.divisor;
}

/// Water alone through all reaches; the outflow of the last one.
static inline double routeWater(Pipe& pipe, double inflow) {
    const double dt = pipe.stepLength;
    const Coefficients coefficients = getCoefficients(pipe);
    const int32_t reaches = pipe_getReachCount(pipe);
    double* storage = pipe.storage;
    double flow = inflow;
    for (int32_t i = 0; i < reaches; ++i) {
        const double out = getOutflow(coefficients, flow, storage[i]);
        storage[i] += (flow - out) * dt;
        flow = out;
    }
    return flow;
}

/// The same with pollutants, whose concentrations in the outflow become those of the link.
[[gnu::noinline]] static double routeLoaded(Model& model, Link& link, Pipe& pipe, double inflow,
                                            const double* concentrations) {
    const int32_t pollutants = model_pollutantCount(model);
    const int32_t hour = pipe.hasDecay ? datetime_getHour(model_getDate(model, model.clock.newRoutingTime)) : 0;
    const double dt = pipe.stepLength;
    const Coefficients coefficients = getCoefficients(pipe);
    double flow = inflow;
    double* quality = link.newQual;  // of the water on its way through the cascade; at last, of the outflow
    if (concentrations != quality) {
        std::copy_n(concentrations, pollutants, quality);
    }
    const int32_t reaches = pipe_getReachCount(pipe);
    for (int32_t i = 0; i < reaches; ++i) {
        const double out = getOutflow(coefficients, flow, pipe.storage[i]);
        passReach(model, pipe, i, getReachFlow(dt, pipe.storage[i], flow, out), hour, quality);
        pipe.storage[i] += (flow - out) * dt;
        flow = out;
    }
    if (!std::all_of(quality, quality + pollutants, [](double value) { return std::isfinite(value); })) {
        model.hasEndlessQuality = true;
    }
    return flow;
}

void pipe_route(Model& model, Link& link, Pipe& pipe, double inflow, const double* concentrations) {
    const double out = model_pollutantCount(model) > 0 ? routeLoaded(model, link, pipe, inflow, concentrations)
                                                       : routeWater(pipe, inflow);
    pipe.newInflow = inflow;
    limitOutflow(model, link, pipe, out);
    link.clock.isChanged = true;
}

static void clearSums(Link& link, int32_t pollutants) {
    link.clock.sumVolume = 0.0;
    link.clock.sumCount = 0;
    if (pollutants > 0) {
        std::fill_n(link.sumMass, pollutants, 0.0);
    }
}

/// All firings of a step mix with what the reaches held ahead of the first one.
static void restoreStepStart(const Model& model, const Pipe& pipe, bool isFirst) {
    const int64_t count = static_cast<int64_t>(pipe.reachCount) * model_pollutantCount(model);
    double* qual = pipe_newSegQual(model, pipe, 0);
    double* atStart = qual + count;
    if (isFirst) {
        std::copy_n(qual, count, atStart);
    } else {
        std::copy_n(atStart, count, qual);
    }
}

/// Whether a reach lets nothing out as long as nothing comes in, and so keeps what it holds. A linear reservoir never
/// runs dry: from firing to firing it holds the same share less, until that share of the smallest numbers there are is
/// rounded to nothing. Some 1e-322 m3 stay for ever, or lack for ever, since of the last but one outflow too much may
/// have left; then the outflow is -0.0. A storage of -0.0 doesn't pass: 0 makes +0.0 of it.
static bool isShut(const Coefficients& coefficients, double storage) {
    return getOutflow(coefficients, 0.0, storage) == 0.0 && still_getBits(storage + 0.0) == still_getBits(storage);
}

/// Whether all that a firing works on but the summed volume, and all that it leaves behind, is zero; but for water that
/// never leaves the reaches. Flows that are rolled may be zeros of either sign, if the roll changes none.
static bool givesNothing(const Model& model, const Link& link, const Pipe& pipe) {
    const double flood = pipe_getNewFlood(link, pipe);
    const uint64_t changes = (still_getBits(link.newFlow) ^ still_getBits(link.oldFlow)) |
                             (still_getBits(flood) ^ still_getBits(pipe_getOldFlood(link, pipe))) |
                             still_getBits(pipe.newInflow) | still_getBits(pipe_getOldInflow(link, pipe));
    if (changes != 0 || link.newFlow != 0.0 || flood != 0.0) {
        return false;
    }
    const int32_t pollutants = model_pollutantCount(model);
    const Coefficients coefficients = getCoefficients(pipe);
    return still_areZeros(link.sumMass, pollutants) && still_areZeros(link.newQual, pollutants) &&
           still_areZeros(link.oldQual, pollutants) &&
           still_areZeros(pipe_newSegQual(model, pipe, 0), int64_t{pipe.reachCount} * pollutants) &&
           std::all_of(pipe.storage, pipe.storage + pipe.reachCount,
                       [&](double storage) { return isShut(coefficients, storage); });
}

/// One firing: the means of the period go through the reaches. One that found nothing to give and left nothing was made
/// of the same numbers as the next will be, and of the same parameters as long as the key of the model stands: so the
/// next will leave nothing either, and the pipe is at rest until something comes to it. To what the reaches hold a
/// firing adds 0 times the period, and to the totals 0 times the share that decays, which moves a number at most once,
/// from -0.0; or it makes no number of it, which doesn't pass for nothing.
void pipe_fire(Model& model, Link& link, Pipe& pipe) {
    const int32_t pollutants = model_pollutantCount(model);
    FireClock& clock = link.clock;
    const bool foundNothing = still_isZero(clock.sumVolume) && givesNothing(model, link, pipe);
    pipe_moveClock(model, link, pipe);
    shiftFlows(link, pipe);
    if (canFireAgain(model, pipe.stepLength)) {
        restoreStepStart(model, pipe, !clock.isChanged);
    }
    // It goes through the cascade where it will stand as that of the outflow.
    double* mean = pollutants > 0 ? link.newQual : nullptr;
    for (int32_t p = 0; p < pollutants; ++p) {
        mean[p] = clock.sumVolume != 0.0 ? link.sumMass[p] / clock.sumVolume * G_PER_KG : 0.0;
    }
    pipe_route(model, link, pipe, clock.sumVolume / clock.sumCount / model.options.routingStep, mean);
    clearSums(link, pollutants);
    if (foundNothing && givesNothing(model, link, pipe) && !canFireAgain(model, pipe.stepLength)) {
        clock.restKey = model.rest.key;
        model.rest.isHourly = model.rest.isHourly || pipe.hasDecay;
    }
}

// --- delivery ------------------------------------------------------------------------------------------------------

double pipe_deliver(const Model& model, const Link& link, const Pipe& pipe, double time, double* __restrict loads) {
    if (link.clock.nextFireTime == link.clock.lastFireTime) {
        return 0.0;
    }
    pipe_addLoads<false>(link, time, loads, model_pollutantCount(model));
    return pipe_getFlow(link, pipe, time);
}

/// Whether the pipe has fired in this run, or the one before.
static bool hasFired(const FireClock& clock) {
    return clock.nextFireTime != clock.lastFireTime;
}

/// Seconds since the last firing for each of those that the sums cover. What came in the step of the firing is in no
/// sum, and the mean of the others stands for it; 0 while there is none.
static double getSumShare(const Model& model, const FireClock& clock, double time) {
    const double summed = static_cast<double>(clock.sumCount) * model.options.routingStep;
    return summed > 0.0 ? (time - clock.lastFireTime) / MS_PER_SECOND / summed : 0.0;
}

double pipe_getWaterUnderWay(const Model& model, const Link& link, const Pipe& pipe, double time) {
    const FireClock& clock = link.clock;
    const double rest = hasFired(clock) ? (clock.nextFireTime - time) / MS_PER_SECOND : 0.0;
    const double waiting = clock.sumCount > 0 ? clock.sumVolume * getSumShare(model, clock, time)
                                              : pipe.newInflow * (time - clock.lastFireTime) / MS_PER_SECOND;
    return waiting + link.newFlow * rest;
}

double pipe_getMassUnderWay(const Model& model, const Link& link, const Pipe& pipe, double time, int32_t p) {
    const FireClock& clock = link.clock;
    const double since = (time - clock.lastFireTime) / MS_PER_SECOND;
    // Of the water of the last firing the concentration isn't known any more; that of the first reach comes next to it.
    const double lastQual = pipe_getReachCount(pipe) > 0 ? pipe_newSegQual(model, pipe, 0)[p] : 0.0;
    const double mass = clock.sumCount > 0 ? link.sumMass[p] * getSumShare(model, clock, time)
                                           : pipe.newInflow * lastQual / G_PER_KG * since;
    if (!hasFired(clock)) {
        return mass;
    }
    // The load goes over to that of a firing one step after the flow: in the step of the next one it counts once more.
    const double rest = (clock.nextFireTime - time) / MS_PER_SECOND + model.options.routingStep;
    return mass + link.newFlow * link.newQual[p] / G_PER_KG * rest;
}

void pipe_changeStep(Model& model, double step) {
    const double ratio = model.options.routingStep / step;
    for (const Pipe& pipe : model.pipes) {
        Link& link = model.links[pipe.link];
        link.clock.sumVolume *= ratio;
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            link.sumMass[p] *= ratio;
        }
    }
}

double pipe_getVolume(const Pipe& pipe) {
    double volume = 0.0;
    const int32_t reaches = pipe_getReachCount(pipe);
    for (int32_t i = 0; i < reaches; ++i) {
        volume += pipe.storage[i];
    }
    return volume;
}
