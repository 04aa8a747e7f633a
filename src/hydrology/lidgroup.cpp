// LID groups. A unit takes a share of the runoff of the land around it, and what leaves its surface joins the outflow
// of the subcatchment; its underdrain goes to a node of its own. The runoff step calls this room between the water of
// the land and the balance of the subcatchment.

#include "hydrology/lidgroup.h"

#include "hydrology/evap.h"
#include "hydrology/lidsolver.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "text/units.h"

Table<LidGroup> LidGroups;
Table<LidUnit> LidUnits;

// --- tables and reading --------------------------------------------------------------------------------------------

void lidgroup_createAll() {
    LidGroups.fill(ObjectCount[SUBCATCH], {-1, -1});
    LidUnits.clear();
}

void lidgroup_deleteAll() {
    LidGroups = {};
    LidUnits = {};
}

/// Adds a unit at the end of a group.
static void addUnit(LidGroup& group, const LidUnit& unit) {
    const int32_t index = LidUnits.size();
    LidUnits.push_back(unit);
    if (group.firstUnit < 0) {
        group.firstUnit = index;
    } else {
        LidUnits[group.lastUnit].next = index;
    }
    group.lastUnit = index;
}

int32_t lidgroup_readLine(const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t subcatch = names_find(SUBCATCH, tokens[0]);
    if (subcatch < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    LidUnit unit{};
    unit.lid = names_find(LID, tokens[1]);
    if (unit.lid < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    if (const int32_t error = lidunit_readItems(tokens, 2, false, unit)) {
        return error;
    }
    unit.next = -1;
    if (!lidunit_createArrays(unit, ProjectArena)) {
        return errors_setName(ERR_MEMORY, "");
    }
    addUnit(LidGroups[subcatch], unit);
    return ERR_NONE;
}

// --- validation and start ------------------------------------------------------------------------------------------

static constexpr double TOO_MUCH = 1.001;    ///< of the area and of its impervious flow: what rounding can't explain
static constexpr double NEARLY_ALL = 0.999;  ///< of the area, from which the units cover it wholly

static void validateGroup(Subcatch& subcatch, LidUnitRange units) {
    double sumArea = 0.0, sumShare = 0.0;
    for (LidUnit& unit : units) {
        const Lid& lid = Lids[unit.lid];
        sumArea += unit.area;
        sumShare += unit.fromImpervious;
        if (lid.type == LID_VS && !(unit.fullWidth > 0.0)) {
            lid_reportParameter(lid, " - invalid swale width");
        }
        if (unit.drainNode == -1) {
            unit.drainNode = subcatch.outNode;
        }
        if (unit.initialSaturation > 1.0) {
            unit.initialSaturation = 1.0;
        }
    }
    if (sumArea > subcatch.area * TOO_MUCH) {
        errors_report(ERR_LID_AREA, subcatch.name);
    }
    if (sumShare > TOO_MUCH) {
        errors_report(ERR_LID_CAPTURE_AREA, subcatch.name);
    }
    if (sumArea > subcatch.area * NEARLY_ALL) {
        sumArea = subcatch.area;
    }
    subcatch.lidArea = sumArea;
}

void lidgroup_validateAll() {
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        const LidUnitRange units = lidgroup_getUnits(k);
        if (!units.empty()) {
            validateGroup(Subcatches[k], units);
        }
    }
}

void lidgroup_initAll() {
    for (LidUnit& unit : LidUnits) {
        const Lid& lid = Lids[unit.lid];
        lidunit_initState(unit, lid, lid.matVoid);
        // What a saturation of -0 makes is no negative zero here, as it is in a node: the tables show the sign.
        unit.initialDepth = unit.finalDepth = unit.initialDepth + 0.0;
        unit.dryTime = StartDryDays * SECONDS_PER_DAY;
        lidunit_clearArrays(unit);
        lidunit_openBalance(unit);
    }
}

// --- the runoff step -----------------------------------------------------------------------------------------------

void lidgroup_shiftState(int32_t subcatch) {
    for (LidUnit& unit : lidgroup_getUnits(subcatch)) {
        lidunit_shiftState(unit);
    }
}

/// Loads that enter a unit: with its rain, and its share of what the subcatchment shed one step before.
static void setLoads(const Subcatch& subcatch, LidUnit& unit, double dt) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double concentration = Polluts[p].rainConcentration;
        unit.load[p] =
            unit.area * subcatch.rain * concentration / G_PER_KG + subcatch.lastWashoffRate[p] * unit.fromImpervious;
        unit.rainLoad[p] += dt * subcatch.rain * unit.area * concentration / G_PER_KG;
    }
}

/// One unit over the step, whose inflow (m3/s) is what is led onto it. Gives what leaves it.
static LidOutflow stepUnit(const Subcatch& subcatch, LidUnit& unit, double flow, int32_t hour, double dt) {
    setLoads(subcatch, unit, dt);
    LidStep step{.unit = &unit,
                 .lid = &Lids[unit.lid],
                 .hour = hour,
                 .dt = dt,
                 .inflow = flow / unit.area + subcatch.rain,
                 .evap = subcatch.rain > 0.0 ? 0.0 : Evap.rate};  // nothing evaporates from a unit while it rains
    const LidOutflow out = lidsolver_advance(step);
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

void lidgroup_step(int32_t index, RunoffVolumes& volumes, int32_t hour, double dt) {
    const Subcatch& subcatch = Subcatches[index];
    double flow = 0.0, surfaceSum = 0.0;
    for (LidUnit& unit : lidgroup_getUnits(index)) {
        if (subcatch.area > subcatch.lidArea) {
            flow = (subcatch.imperviousRunoff + subcatch.perviousRunoff) * unit.fromImpervious;
        }
        if (!(unit.area > 0.0)) {
            continue;
        }
        volumes.lidRunon += unit.area * (flow / unit.area) * dt;
        addVolumes(volumes, stepUnit(subcatch, unit, flow, hour, dt), unit.area, dt);
        surfaceSum += unit.thisSurfaceFlow;
    }
    volumes.lidOutflow = surfaceSum * dt;
}

void lidgroup_addSurfaceLoads(int32_t subcatch, double* runoffLoad, double dt) {
    for (const LidUnit& unit : lidgroup_getUnits(subcatch)) {
        // Unit by unit: a later one also takes its share of what the ones before let go.
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            runoffLoad[p] = (1.0 - unit.fromImpervious) * runoffLoad[p];
            runoffLoad[p] += dt * unit.thisSurfaceLoad[p];
        }
    }
}
