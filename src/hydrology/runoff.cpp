// The runoff step: rain on subcatchments becomes runoff, and a load, at their outlets. The runoff clock runs ahead of
// the routing clock, which interpolates between its last two instants:
//
//     run_step --(routing target beyond newRunoffTime)--> runoff_advance --> oldRunoffTime, newRunoffTime
//
// Every formula of a step uses the whole runoff step, also in the last one, of which only the clock is cut.

#include "hydrology/runoff.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "hydrology/buildup.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landrest.h"
#include "hydrology/lidgroup.h"
#include "hydrology/washoff.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "platform/workers.h"
#include "text/datetime.h"
#include "text/number.h"
#include "text/units.h"

static constexpr double SHEET_DEPTH = 0.1;  ///< m, of the water by which the time of flow is guessed

// --- start ---------------------------------------------------------------------------------------------------------

/// Time (s) that a sheet of water takes over a plane of so much area (m2), by Manning's law.
static double getFlowTime(const Subcatch& subcatch, double area) {
    const double roughness = std::min(subcatch.imperviousRoughness, subcatch.perviousRoughness);
    const double alpha = std::pow(subcatch.slope, 0.5) * std::pow(SHEET_DEPTH, 2.0 / 3.0) / roughness;
    const double f = subcatch.imperviousFraction;
    const double impervious = f * area / subcatch.width / alpha;
    const double pervious = (1.0 - f) * area / subcatch.width / alpha;
    if (impervious == 0.0) {
        return pervious;
    }
    return impervious > pervious && pervious != 0.0 ? pervious : impervious;
}

/// The last subcatchment that LID units don't cover wholly counts, not the fastest one, and the step found may be
/// longer than the one it replaces: the time of flow is a rough guess, and the steps that this gives are part of the
/// results.
static void limitToFlow(const Model& model, RunoffStep& step) {
    int32_t last = model.subcatches.size() - 1;
    while (last >= 0 && model.subcatches[last].area - model.subcatches[last].lidArea == 0.0) {
        --last;
    }
    const Subcatch* subcatch = model.subcatches.find(last);
    step.flowTime = subcatch ? getFlowTime(*subcatch, subcatch->area - subcatch->lidArea) : 0.0;
    if (!(step.seconds > step.flowTime) || !std::isfinite(step.flowTime)) {
        return;
    }
    const int32_t seconds = number_truncate(step.flowTime);
    if (seconds < 0) {
        return;
    }
    for (const int32_t coarse : {1, 2, 5, 10, 30, 60, 120, 300}) {
        if (coarse > seconds) {
            step.seconds = coarse;
            step.subcatch = last;
            return;
        }
    }
}

RunoffStep runoff_findStep(const Model& model) {
    RunoffStep step{model.options.runoffStep, -1, -1, 0.0};
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        if (model.gages[k].interval < step.seconds) {
            step.seconds = model.gages[k].interval;
            step.gage = k;
        }
    }
    limitToFlow(model, step);
    return step;
}

void runoff_limitStep(Model& model) {
    model.options.runoffStep = runoff_findStep(model).seconds;
}

void runoff_initState(Model& model) {
    for (Subcatch& subcatch : model.subcatches) {
        subcatch_initState(model, subcatch);
        washoff_initBuildup(model, subcatch);
    }
}

void runoff_open(Model& model) {
    for (Subcatch& subcatch : model.subcatches) {
        subcatch.runoffLoad = arena_allocateArray<double>(model.memory.run, model_pollutantCount(model));
        if (!subcatch.runoffLoad) {
            errors_report(model, ERR_MEMORY, "");
        }
    }
}

void runoff_close(Model& model) {
    for (Subcatch& subcatch : model.subcatches) {
        subcatch.runoffLoad = nullptr;
    }
}

// --- clock ---------------------------------------------------------------------------------------------------------

void runoff_resetClock(Model& model) {
    model.clock.oldRunoffTime = model.clock.newRunoffTime = 0.0;
}

// --- step ----------------------------------------------------------------------------------------------------------

/// Concentrations of the runoff, from the loads of the step. A trickle carries none: its load is lost.
static void setQuality(const Model& model, Subcatch& subcatch, double dt) {
    const double volume = dt * subcatch.thisRunoff;
    const bool isTrickle = !(volume > subcatch.area * DRY_RATE * dt);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        double concentration = volume > 0.0 ? subcatch.runoffLoad[p] / volume : 0.0;
        if (isTrickle) {
            concentration = 0.0;
        }
        subcatch.thisQuality[p] = concentration * G_PER_KG;
    }
}

RunoffVolumes runoff_stepWater(Model& model, int32_t index, int32_t hour, double dt) {
    Subcatch& subcatch = model.subcatches[index];
    RunoffVolumes volumes = subcatch_stepLand(model, subcatch, dt);
    if (subcatch.lidArea > 0.0) {
        lidgroup_step(model, index, volumes, hour, dt);
    }
    subcatch_closeStep(subcatch, volumes, dt);
    return volumes;
}

/// Part of the step wherever it is compiled: whether it is a call of its own would hang on what else there is.
[[gnu::always_inline]] static inline void stepQuality(Model& model, int32_t index, const RunoffVolumes& volumes,
                                                      double dt) {
    Subcatch& subcatch = model.subcatches[index];
    std::fill_n(subcatch.runoffLoad, model_pollutantCount(model), 0.0);
    washoff_washLand(model, subcatch, subcatch.thisRunoff / subcatch.area, dt);
    washoff_washRain(model, subcatch, volumes, dt);
    lidgroup_addSurfaceLoads(model, index, subcatch.runoffLoad, dt);
    setQuality(model, subcatch, dt);
}

/// One subcatchment over a step, all but its buildup. How far it has come to rest.
static LandPace advanceSubcatch(Model& model, int32_t index, int32_t hour, double dt, LandBefore& before) {
    Subcatch& subcatch = model.subcatches[index];
    const bool isStill = landrest_isStill(model, index);
    if (isStill) {
        landrest_keep(model, subcatch, before);
    }
    subcatch_shiftState(model, subcatch);
    lidgroup_shiftState(model, index);
    if (subcatch.area == 0.0) {
        return LAND_AWAKE;
    }
    const RunoffVolumes volumes = runoff_stepWater(model, index, hour, dt);
    if (model_pollutantCount(model) > 0) {
        stepQuality(model, index, volumes, dt);
    }
    return isStill ? landrest_judge(model, index, before) : LAND_AWAKE;
}

/// Either a subcatchment sheds, which takes from its buildup, or the buildup grows.
static bool isDry(const Subcatch& subcatch) {
    return subcatch.area != 0.0 && subcatch.thisRunoff / subcatch.area < DRY_RATE;
}

/// The awake land between two places of its list. Lists what is dry.
static void advanceBlock(Model& model, int32_t hour, double dt, int32_t first, int32_t end, LandWork& work) {
    LandRest& rest = *model.landRest;
    work.dry.clear();
    for (int32_t k = first; k < end; ++k) {
        const int32_t index = rest.awake[k];
        const LandPace pace = advanceSubcatch(model, index, hour, dt, work.before);
        if (isDry(model.subcatches[index])) {
            work.dry.push_back(index);
            rest.paces[index] = pace;
            work.hasChanged = work.hasChanged || pace != LAND_AWAKE;
        }
    }
}

/// One subcatchment of which depressions or LID units dry, seep and drain. How far it has come then: one that has dried
/// out wakes, and so does one of whose units a load may have come over the surface, which the land takes on.
static LandPace drySubcatch(Model& model, int32_t index, int32_t hour, double dt) {
    Subcatch& subcatch = model.subcatches[index];
    RunoffVolumes volumes{};
    const bool isPonded = subcatch.imperviousDepth != 0.0;
    if (isPonded) {
        volumes = subcatch_dryPond(model, subcatch, dt);
    }
    const LidPace units = subcatch.lidArea > 0.0 ? lidgroup_dry(model, index, volumes, hour, dt) : LID_RESTING;
    subcatch_closeStep(subcatch, volumes, dt);
    if (units == LID_AWAKE && model_pollutantCount(model) > 0) {
        stepQuality(model, index, volumes, dt);
    } else if (isPonded) {
        washoff_dryPond(model, subcatch, volumes.wetInflow);
    }
    if (units == LID_AWAKE || (units == LID_RESTING && subcatch.imperviousDepth == 0.0)) {
        return LAND_AWAKE;
    }
    return units == LID_SEEPING ? LAND_DRAINING : LAND_DRYING;
}

/// The drying land between two places of its list.
static void dryBlock(Model& model, int32_t hour, double dt, int32_t first, int32_t end, LandWork& work) {
    LandRest& rest = *model.landRest;
    for (int32_t k = first; k < end; ++k) {
        const int32_t index = rest.drying[k];
        const LandPace pace = drySubcatch(model, index, hour, dt);
        work.hasChanged = work.hasChanged || pace != rest.paces[index];
        rest.paces[index] = pace;
    }
}

/// Buildup of so many subcatchments. Where it doesn't grow any more it is left alone from now on.
static void growBlock(Model& model, const int32_t* subcatches, int32_t count, LandWork& work) {
    LandRest& rest = *model.landRest;
    work.grows.resize(static_cast<size_t>(count));
    if (!buildup_grow(model, subcatches, count, work.grows.data(), work.buildup)) {
        return;
    }
    for (int32_t k = 0; k < count; ++k) {
        if (!work.grows[static_cast<size_t>(k)] && rest.paces[subcatches[k]] != LAND_AWAKE) {
            rest.grows[subcatches[k]] = 0;
            work.hasChanged = true;
        }
    }
}

/// The work of a step on the land, in pieces of three lists: what has only its buildup left, what is awake, what dries.
/// No subcatchment knows of another one, so that it doesn't matter who takes which piece, and when.
struct LandStep {
    Model& model;
    int32_t hour;
    double dt;
    std::atomic<int32_t> next{0};  ///< piece that nobody has taken yet

    void operator()(int32_t worker);
};

static int32_t countPieces(const Table<int32_t>& list) {
    return (list.size() + LAND_PIECE - 1) / LAND_PIECE;
}

static void takePiece(const LandStep& step, int32_t piece, LandWork& work) {
    const LandRest& rest = *step.model.landRest;
    const int32_t growing = countPieces(rest.growing), awake = countPieces(rest.awake);
    const auto getEnd = [](const Table<int32_t>& list, int32_t first) {
        return std::min(first + LAND_PIECE, list.size());
    };
    if (piece < growing) {
        const int32_t first = piece * LAND_PIECE;
        growBlock(step.model, rest.growing.data() + first, getEnd(rest.growing, first) - first, work);
    } else if (piece < growing + awake) {
        const int32_t first = (piece - growing) * LAND_PIECE;
        advanceBlock(step.model, step.hour, step.dt, first, getEnd(rest.awake, first), work);
        growBlock(step.model, work.dry.data(), static_cast<int32_t>(work.dry.size()), work);
    } else {
        const int32_t first = (piece - growing - awake) * LAND_PIECE;
        dryBlock(step.model, step.hour, step.dt, first, getEnd(rest.drying, first), work);
    }
}

void LandStep::operator()(int32_t worker) {
    LandRest& rest = *model.landRest;
    const int32_t pieces = countPieces(rest.growing) + countPieces(rest.awake) + countPieces(rest.drying);
    LandWork& work = rest.works[static_cast<size_t>(worker)];
    for (int32_t piece = next++; piece < pieces; piece = next++) {
        takePiece(*this, piece, work);
    }
}

/// All three lists, by the one who works. Their pieces are as large as those of many, and so is the scratch.
static void stepAlone(Model& model, int32_t hour, double dt) {
    LandRest& rest = *model.landRest;
    LandWork& work = rest.works.front();
    for (int32_t first = 0; first < rest.growing.size(); first += LAND_PIECE) {
        growBlock(model, rest.growing.data() + first, std::min(LAND_PIECE, rest.growing.size() - first), work);
    }
    for (int32_t first = 0; first < rest.awake.size(); first += LAND_PIECE) {
        advanceBlock(model, hour, dt, first, std::min(first + LAND_PIECE, rest.awake.size()), work);
        growBlock(model, work.dry.data(), static_cast<int32_t>(work.dry.size()), work);
    }
    dryBlock(model, hour, dt, 0, rest.drying.size(), work);
}

/// Looks, after a step that asked for it, where nothing has grown: if all land was dry that may still grow.
static void endGrowth(Model& model, int32_t candidates) {
    std::vector<LandWork>& works = model.landRest->works;
    std::vector<uint8_t>& hasGrown = works.front().buildup.hasGrown;
    int32_t lookedAt = 0;
    for (const LandWork& work : works) {
        lookedAt += work.buildup.lookedAt;
        for (size_t c = 0; c < hasGrown.size(); ++c) {
            hasGrown[c] |= work.buildup.hasGrown[c];
        }
    }
    if (lookedAt == candidates) {
        buildup_endDryStep(model, hasGrown);
    }
}

static void advanceLand(Model& model, int32_t hour, double dt) {
    LandRest& rest = *model.landRest;
    const int32_t pieces = countPieces(rest.growing) + countPieces(rest.awake) + countPieces(rest.drying);
    const int32_t workers = pieces > 1 ? model.pace.threadCount : 1;
    if (rest.works.size() < static_cast<size_t>(workers)) {
        rest.works.resize(static_cast<size_t>(workers));
    }
    if (workers > 1) {
        lid_prepareDecay(model, hour, dt);
    }
    for (LandWork& work : rest.works) {
        work.hasChanged = false;
        buildup_beginStep(model, work.buildup);
    }
    if (workers > 1) {
        LandStep step{model, hour, dt};
        workers_share(*model.workers, workers, step);
    } else {
        stepAlone(model, hour, dt);
    }
    if (model.buildupRules->isLooking) {
        endGrowth(model, rest.growing.size() + rest.awake.size());
    }
    if (std::any_of(rest.works.begin(), rest.works.end(), [](const LandWork& work) { return work.hasChanged; })) {
        landrest_list(model);
    }
}

void runoff_advance(Model& model) {
    if (model.error.code) {
        return;
    }
    const DateTime date = model_getDate(model, model.clock.newRunoffTime);
    evap_setRate(model, date);
    gage_advance(model, date);
    model.clock.oldRunoffTime = model.clock.newRunoffTime;
    const double next = model.clock.newRunoffTime + model.options.runoffStep * MS_PER_SECOND;
    model.clock.newRunoffTime = next > model.options.totalDuration ? model.options.totalDuration : next;
    const int32_t hour = datetime_getHour(model_getDate(model, model.clock.newRunoffTime));
    const double dt = model.options.runoffStep;
    landrest_prepare(model, dt);
    landrest_passDryTime(model, dt);
    buildup_prepare(model, dt);
    advanceLand(model, hour, dt);
}
