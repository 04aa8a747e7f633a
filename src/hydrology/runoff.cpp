// The runoff step: rain on subcatchments becomes runoff, and a load, at their outlets. The runoff clock runs ahead of
// the routing clock, which interpolates between its last two instants:
//
//     tarnvelde_step --(routing target beyond NewRunoffTime)--> runoff_advance --> OldRunoffTime, NewRunoffTime
//
// Every formula of a step uses the whole RunoffStep, also in the last one, of which only the clock is cut.

#include "hydrology/runoff.h"

#include <algorithm>
#include <cmath>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/lidgroup.h"
#include "hydrology/washoff.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "text/datetime.h"
#include "text/number.h"
#include "text/units.h"

static constexpr double SHEET_DEPTH = 0.1;  ///< m, of the water by which the time of flow is guessed

// --- start ---------------------------------------------------------------------------------------------------------

/// Time (s) that a sheet of water takes over a plane, by Manning's law. `time` is that of the subcatchment
/// before; one that LID units cover wholly leaves it as it is.
static double getFlowTime(const Subcatch& subcatch, double time) {
    const double area = subcatch.area - subcatch.lidArea;
    if (area == 0.0) {
        return time;
    }
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

void runoff_limitStep() {
    for (const Gage& gage : Gages) {
        RunoffStep = gage.interval < RunoffStep ? gage.interval : RunoffStep;
    }
    // The last subcatchment counts, not the fastest one, and the step found may be longer than the one it replaces: the
    // time of flow is a rough guess, and the steps that this gives are part of the results.
    double time = 0.0;
    for (const Subcatch& subcatch : Subcatches) {
        time = getFlowTime(subcatch, time);
    }
    if (!(RunoffStep > time) || !std::isfinite(time)) {
        return;
    }
    const int32_t seconds = number_truncate(time);
    if (seconds < 0) {
        return;
    }
    for (const int32_t step : {1, 2, 5, 10, 30, 60, 120, 300}) {
        if (step > seconds) {
            RunoffStep = step;
            return;
        }
    }
}

void runoff_initState() {
    for (Subcatch& subcatch : Subcatches) {
        subcatch_initState(subcatch);
        washoff_initBuildup(subcatch);
    }
}

void runoff_open() {
    for (Subcatch& subcatch : Subcatches) {
        subcatch.runoffLoad = arena_allocateArray<double>(RunArena, project_pollutantCount());
        if (!subcatch.runoffLoad) {
            errors_report(ERR_MEMORY, "");
        }
    }
}

void runoff_close() {
    for (Subcatch& subcatch : Subcatches) {
        subcatch.runoffLoad = nullptr;
    }
}

// --- clock ---------------------------------------------------------------------------------------------------------

void runoff_resetClock() {
    OldRunoffTime = NewRunoffTime = 0.0;
}

// --- step ----------------------------------------------------------------------------------------------------------

/// Concentrations of the runoff, from the loads of the step. A trickle carries none: its load is lost.
static void setQuality(Subcatch& subcatch, double dt) {
    const double volume = dt * subcatch.thisRunoff;
    const bool isTrickle = !(volume > subcatch.area * DRY_RATE * dt);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        double concentration = volume > 0.0 ? subcatch.runoffLoad[p] / volume : 0.0;
        if (isTrickle) {
            concentration = 0.0;
        }
        subcatch.thisQuality[p] = concentration * G_PER_KG;
    }
}

RunoffVolumes runoff_stepWater(int32_t index, int32_t hour, double dt) {
    Subcatch& subcatch = Subcatches[index];
    RunoffVolumes volumes = subcatch_stepLand(subcatch, dt);
    if (subcatch.lidArea > 0.0) {
        lidgroup_step(index, volumes, hour, dt);
    }
    subcatch_closeStep(subcatch, volumes, dt);
    return volumes;
}

static void stepQuality(int32_t index, const RunoffVolumes& volumes, double dt) {
    Subcatch& subcatch = Subcatches[index];
    std::fill_n(subcatch.runoffLoad, project_pollutantCount(), 0.0);
    washoff_washLand(subcatch, subcatch.thisRunoff / subcatch.area, dt);
    washoff_washRain(subcatch, volumes, dt);
    lidgroup_addSurfaceLoads(index, subcatch.runoffLoad, dt);
    setQuality(subcatch, dt);
}

static void advanceSubcatch(int32_t index, int32_t hour, double dt) {
    Subcatch& subcatch = Subcatches[index];
    if (subcatch.area == 0.0) {
        return;
    }
    const RunoffVolumes volumes = runoff_stepWater(index, hour, dt);
    if (subcatch.thisRunoff / subcatch.area < DRY_RATE) {
        washoff_growBuildup(subcatch, dt);
    }
    if (project_pollutantCount() > 0) {
        stepQuality(index, volumes, dt);
    }
}

void runoff_advance() {
    if (ErrorCode) {
        return;
    }
    const DateTime date = project_getDate(NewRunoffTime);
    evap_setRate(date);
    gage_advance(date);
    OldRunoffTime = NewRunoffTime;
    const double next = NewRunoffTime + RunoffStep * MS_PER_SECOND;
    NewRunoffTime = next > TotalDuration ? TotalDuration : next;
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        subcatch_shiftState(Subcatches[k]);
        lidgroup_shiftState(k);
    }
    const int32_t hour = datetime_getHour(project_getDate(NewRunoffTime));
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        advanceSubcatch(k, hour, RunoffStep);
    }
}
