// LID groups. A unit takes a share of the runoff of the land around it, and what leaves its surface joins the outflow
// of the subcatchment; its underdrain goes to a node of its own. The runoff step calls this room between the water of
// the land and the balance of the subcatchment.

#include "hydrology/lidgroup.h"

#include <algorithm>

#include "hydrology/evap.h"
#include "hydrology/lidlanes.h"
#include "hydrology/lidquality.h"
#include "hydrology/lidrest.h"
#include "hydrology/lidsolver.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/still.h"
#include "text/units.h"

// --- tables and reading --------------------------------------------------------------------------------------------

void lidgroup_createAll(Model& model) {
    model.lidGroups.fill(model.counts.objects[SUBCATCH], {-1, -1});
    model.lidUnits.clear();
}

/// Adds a unit at the end of a group.
static void addUnit(Model& model, LidGroup& group, const LidUnit& unit) {
    const int32_t index = model.lidUnits.size();
    model.lidUnits.push_back(unit);
    if (group.firstUnit < 0) {
        group.firstUnit = index;
    } else {
        model.lidUnits[group.lastUnit].next = index;
    }
    group.lastUnit = index;
}

int32_t lidgroup_readLine(Model& model, const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t subcatch = names_find(model, SUBCATCH, tokens[0]);
    if (subcatch < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    LidUnit unit{};
    unit.lid = names_find(model, LID, tokens[1]);
    if (unit.lid < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    if (const int32_t error = lidunit_readItems(model, tokens, 2, false, unit)) {
        return error;
    }
    unit.next = -1;
    unit.subcatch = subcatch;
    if (!lidunit_createArrays(model, unit, model.memory.project)) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    addUnit(model, model.lidGroups[subcatch], unit);
    return ERR_NONE;
}

// --- validation and start ------------------------------------------------------------------------------------------

static constexpr double TOO_MUCH = 1.001;    ///< of the area and of its impervious flow: what rounding can't explain
static constexpr double NEARLY_ALL = 0.999;  ///< of the area, from which the units cover it wholly

/// What the units of a subcatchment take together.
struct GroupSums {
    double area;   ///< m2
    double share;  ///< of the runoff
};

static GroupSums sumGroup(const Model& model, int32_t subcatch) {
    GroupSums sums{};
    for (int32_t k = model.lidGroups[subcatch].firstUnit; k >= 0; k = model.lidUnits[k].next) {
        sums.area += model.lidUnits[k].area;
        sums.share += model.lidUnits[k].fromImpervious;
    }
    return sums;
}

bool lidgroup_isGood(const Model& model, int32_t subcatch) {
    const GroupSums sums = sumGroup(model, subcatch);
    return !(sums.area > model.subcatches[subcatch].area * TOO_MUCH) && !(sums.share > TOO_MUCH);
}

void lidgroup_deriveArea(Model& model, int32_t index) {
    if (model.lidGroups[index].firstUnit < 0) {
        return;
    }
    Subcatch& subcatch = model.subcatches[index];
    const double area = sumGroup(model, index).area;
    subcatch.lidArea = area > subcatch.area * NEARLY_ALL ? subcatch.area : area;
}

static void validateGroup(Model& model, Subcatch& subcatch, LidUnitRange units) {
    double sumArea = 0.0, sumShare = 0.0;
    for (LidUnit& unit : units) {
        const Lid& lid = model.lids[unit.lid];
        sumArea += unit.area;
        sumShare += unit.fromImpervious;
        if (lid.type == LID_VS && !(unit.fullWidth > 0.0)) {
            lid_reportParameter(model, lid, " - invalid swale width");
        }
        if (unit.drainNode == -1) {
            unit.drainNode = subcatch.outNode;
        }
        if (unit.initialSaturation > 1.0) {
            unit.initialSaturation = 1.0;
        }
    }
    if (sumArea > subcatch.area * TOO_MUCH) {
        errors_report(model, ERR_LID_AREA, subcatch.name);
    }
    if (sumShare > TOO_MUCH) {
        errors_report(model, ERR_LID_CAPTURE_AREA, subcatch.name);
    }
    if (sumArea > subcatch.area * NEARLY_ALL) {
        sumArea = subcatch.area;
    }
    subcatch.lidArea = sumArea;
}

void lidgroup_validateAll(Model& model) {
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        const LidUnitRange units = lidgroup_getUnits(model, k);
        if (!units.empty()) {
            validateGroup(model, model.subcatches[k], units);
        }
    }
}

void lidgroup_initAll(Model& model) {
    for (LidUnit& unit : model.lidUnits) {
        const Lid& lid = model.lids[unit.lid];
        lidunit_initState(unit, lid, lid.matVoid);
        // What a saturation of -0 makes is no negative zero here, as it is in a node: the tables show the sign.
        unit.initialDepth = unit.finalDepth = unit.initialDepth + 0.0;
        unit.dryTime = model.options.startDryDays * SECONDS_PER_DAY;
        lidunit_clearArrays(model, unit);
        lidunit_openBalance(model, unit);
    }
}

// --- the runoff step -----------------------------------------------------------------------------------------------

void lidgroup_shiftState(Model& model, int32_t subcatch) {
    const LidGroup* group = model.lidGroups.find(subcatch);
    for (int32_t k = group ? group->firstUnit : -1; k >= 0; k = model.lidUnits[k].next) {
        if (lidrest_getPace(model, k) == LID_AWAKE) {
            lidunit_shiftState(model, model.lidUnits[k]);
        }
    }
}

LidPace lidgroup_getPace(const Model& model, int32_t subcatch) {
    LidPace pace = LID_RESTING;
    const LidGroup* group = model.lidGroups.find(subcatch);
    for (int32_t k = group ? group->firstUnit : -1; k >= 0; k = model.lidUnits[k].next) {
        pace = std::min(pace, lidrest_getPace(model, k));
    }
    return pace == LID_PONDED ? LID_DRYING : pace;
}

void lidgroup_wake(Model& model, int32_t subcatch) {
    const LidGroup* group = model.lidGroups.find(subcatch);
    for (int32_t k = group ? group->firstUnit : -1; k >= 0; k = model.lidUnits[k].next) {
        lidrest_wake(model, k);
    }
}

/// Loads that enter a unit: with its rain, and its share of what the subcatchment shed one step before.
template <size_t N>
[[gnu::noinline]] static void setSomeLoads(const Pollut* polluts, const Subcatch& subcatch, LidUnit& unit, double dt,
                                           size_t first) {
    const double rain = unit.area * subcatch.rain;             // m3/s
    const double rainVolume = dt * subcatch.rain * unit.area;  // m3
    const LidLanes<N> runon = lidlanes_load<N>(subcatch.lastWashoffRate + first);
    const LidLanes<N> inRain = lidlanes_pick<N>([&](size_t p) { return polluts[first + p].rainConcentration; });
    lidlanes_store<N>(unit.load + first, inRain * rain / G_PER_KG + runon * unit.fromImpervious);
    lidlanes_add<N>(unit.rainLoad + first, inRain * rainVolume / G_PER_KG);
}

static void setLoads(const Model& model, const Subcatch& subcatch, LidUnit& unit, double dt) {
    lidlanes_visit(static_cast<size_t>(model_pollutantCount(model)),
                   [&]<size_t N>(size_t first) { setSomeLoads<N>(model.polluts.data(), subcatch, unit, dt, first); });
}

/// One unit over the step, whose inflow (m3/s) is what is led onto it. Gives what leaves it.
static LidOutflow stepUnit(const Model& model, const Subcatch& subcatch, LidUnit& unit, double flow, int32_t hour,
                           double dt) {
    LidStep step;
    step.unit = &unit;
    step.lid = &model.lids[unit.lid];
    step.hour = hour;
    step.dt = dt;
    step.inflow = flow / unit.area + subcatch.rain;
    step.evap = subcatch.rain > 0.0 ? 0.0 : model.evap->rate;  // nothing evaporates from a unit while it rains
    setLoads(model, subcatch, unit, dt);
    const LidOutflow out = lidsolver_advance(model, step);
    unit.thisSurfaceFlow = out.surface * unit.area;
    unit.thisDrainFlow = out.drain * unit.area;
    unit.dryTime = subcatch.rain > DRY_RATE ? 0.0 : unit.dryTime + dt;
    return out;
}

static void addVolumes(RunoffVolumes& volumes, const LidOutflow& out, double area, double dt) {
    volumes.evap += out.evap * dt * area;
    volumes.lidInfil += out.infil * dt * area;
    volumes.infil += out.infil * dt * area;
}

/// Whether nothing runs onto a unit of a subcatchment, neither now nor, as a load, in the step before. The sign of a
/// load of 0 can come through to a unit, where a rain of a concentration of -0 brings another one. No share of a load
/// is +0, if the load is finite and not negative.
static bool isNothing(const Model& model, const Subcatch& subcatch, const LidUnit& unit, double flow) {
    const int32_t pollutants = model_pollutantCount(model);
    return flow == 0.0 &&
           (still_areZeros(subcatch.lastWashoffRate, pollutants) ||
            (still_isZero(unit.fromImpervious) && lidquality_isOrdinary(subcatch.lastWashoffRate, pollutants)));
}

/// Whether a unit that isn't awake stays so, since it gets nothing. If not, it wakes.
static bool staysAsleep(Model& model, const Subcatch& subcatch, int32_t index, double flow) {
    if (lidrest_getPace(model, index) == LID_AWAKE) {
        return false;
    }
    if (isNothing(model, subcatch, model.lidUnits[index], flow)) {
        return true;
    }
    lidrest_wake(model, index);
    lidunit_shiftState(model, model.lidUnits[index]);
    return false;
}

/// A step, in which the unit may come to rest. A rain of -0, which a host may hold, counts as rain here as it does in
/// the room landrest, which wakes units when rain begins: theirs would have begun already.
static LidOutflow restOrStep(Model& model, const Subcatch& subcatch, int32_t index, double flow, int32_t hour,
                             double dt) {
    LidUnit& unit = model.lidUnits[index];
    const bool getsNothing =
        isNothing(model, subcatch, unit, flow) && still_isZero(subcatch.rain) && !model.pace.isPlain;
    const bool mayRest = getsNothing && lidrest_isStill(model, index);
    LidUnit before;
    if (mayRest) {
        before = unit;
        lidrest_keep(model, index);
    }
    const LidOutflow out = stepUnit(model, subcatch, unit, flow, hour, dt);
    if (mayRest) {
        lidrest_judge(model, index, before, out);
    } else if (getsNothing) {
        lidrest_judgeSeeping(model, index, out);
    }
    return out;
}

void lidgroup_step(Model& model, int32_t index, RunoffVolumes& volumes, int32_t hour, double dt) {
    const Subcatch& subcatch = model.subcatches[index];
    double flow = 0.0, surfaceSum = 0.0;
    for (int32_t k = model.lidGroups[index].firstUnit; k >= 0; k = model.lidUnits[k].next) {
        LidUnit& unit = model.lidUnits[k];
        if (subcatch.area > subcatch.lidArea) {
            flow = (subcatch.imperviousRunoff + subcatch.perviousRunoff) * unit.fromImpervious;
        }
        if (!(unit.area > 0.0)) {
            continue;
        }
        if (staysAsleep(model, subcatch, k, flow)) {
            addVolumes(volumes, lidrest_step(model, k, hour, dt), unit.area, dt);
            continue;
        }
        volumes.lidRunon += unit.area * (flow / unit.area) * dt;
        addVolumes(volumes, restOrStep(model, subcatch, k, flow, hour, dt), unit.area, dt);
        surfaceSum += unit.thisSurfaceFlow;
    }
    volumes.lidOutflow = surfaceSum * dt;
}

LidPace lidgroup_dry(Model& model, int32_t index, RunoffVolumes& volumes, int32_t hour, double dt) {
    LidPace pace = LID_RESTING;
    for (int32_t k = model.lidGroups[index].firstUnit; k >= 0; k = model.lidUnits[k].next) {
        addVolumes(volumes, lidrest_step(model, k, hour, dt), model.lidUnits[k].area, dt);
        pace = std::min(pace, lidrest_getPace(model, k));
    }
    return pace == LID_PONDED ? LID_DRYING : pace;
}

void lidgroup_addSurfaceLoads(Model& model, int32_t subcatch, double* runoffLoad, double dt) {
    const size_t pollutants = static_cast<size_t>(model_pollutantCount(model));
    for (const LidUnit& unit : lidgroup_getUnits(model, subcatch)) {
        // Unit by unit: a later one also takes its share of what the ones before let go.
        lidlanes_visit(pollutants, [&]<size_t N>(size_t first) {
            const LidLanes<N> passed = lidlanes_load<N>(runoffLoad + first) * (1.0 - unit.fromImpervious);
            lidlanes_store<N>(runoffLoad + first, passed + lidlanes_load<N>(unit.thisSurfaceLoad + first) * dt);
        });
    }
}
