// Water in the layers of a LID unit: one rate function per type. A unit is a stack of surface, pavement, soil and
// storage, each a bucket; the fluxes between them are the potential ones of their laws, cut to what the layer above
// holds and the layer below can take. The solver calls them. Surface outflow by Manning's law (1891) over a wide berm,
// percolation by a conductivity that falls exponentially with the moisture deficit, the underdrain as a power of its
// head.

#include "hydrology/lidrates.h"

#include <algorithm>
#include <cmath>

#include "hydrology/plane.h"
#include "text/units.h"

static constexpr double HYDRAULIC_RADIUS_EXPONENT = 0.6666666666666666;
static constexpr double MIN_HEAD = 1e-10;       ///< m
static constexpr double MIN_SWALE_WIDTH = 0.5;  ///< m

/// Rate of change of a level from the net flow into its layer. A mat without voids takes nothing.
static double getLevelRate(double flow, double voidFraction) {
    return voidFraction == 0.0 ? 0.0 : flow / voidFraction;
}

static double getNonNegative(double value) {
    return std::max(0.0, value);
}

// --- fluxes that several types share -------------------------------------------------------------------------------

/// Evaporation from the top down, each layer with what the ones above left of the potential rate. While water
/// infiltrates the lower layers don't evaporate.
[[gnu::always_inline]] static inline void setEvaporation(LidStep& s, double soilAvailable, double pavementAvailable) {
    s.surfaceEvap = getNonNegative(std::min(s.evap, s.surfaceVolume / s.dt));
    double rest = getNonNegative(s.evap - s.surfaceEvap);
    if (s.surfaceInfil > 0.0) {
        s.pavementEvap = s.soilEvap = s.storageEvap = 0.0;
        return;
    }
    s.pavementEvap = std::min(rest, pavementAvailable / s.dt);
    rest = getNonNegative(rest - s.pavementEvap);
    s.soilEvap = std::min(rest, soilAvailable / s.dt);
    rest = getNonNegative(rest - s.soilEvap);
    s.storageEvap = std::min(rest, s.storageVolume / s.dt);
}

double lidrates_getSurfaceOutflow(const LidStep& s, double level) {
    const double head = level - s.lid->surfaceDepth;
    if (head < 0.0) {
        return 0.0;
    }
    const double flow = std::pow(head, MANNING_EXPONENT) * s.lid->surfaceAlpha * s.unit->fullWidth / s.unit->area;
    return std::min(flow, head / s.dt);
}

[[gnu::always_inline]] static inline double getSoilPercolation(const LidStep& s, double moisture) {
    const Lid& lid = *s.lid;
    const double rate =
        moisture > lid.fieldCapacity ? lid.soilRate * std::exp(-(lid.porosity - moisture) * lid.soilSlope) : 0.0;
    const double limit = getNonNegative((moisture - lid.fieldCapacity) * lid.soilDepth) / s.dt - s.soilEvap;
    return getNonNegative(std::min(rate, limit));
}

/// Head on the drain above the floor of the storage: each layer adds to it once the one below is full. With soil and
/// pavement both there the surface never presses on the drain, nor does that of a trench, which has neither.
static double getDrainHead(const Lid& lid, const LidStates& state) {
    const double moisture = state[STATE_SOIL];
    const double pavement = state[STATE_PAVEMENT];
    double head = state[STATE_STORAGE];
    if (head < lid.storageDepth) {
        return head;
    }
    if (lid.soilDepth > 0.0) {
        if (!(moisture > lid.fieldCapacity)) {
            return head;
        }
        head += (moisture - lid.fieldCapacity) / (lid.porosity - lid.fieldCapacity) * lid.soilDepth;
        if (moisture < lid.porosity) {
            return head;
        }
        if (lid.pavementDepth > 0.0) {
            return head + pavement;
        }
    } else {
        if (!(lid.pavementDepth > 0.0)) {
            return head;
        }
        head += pavement;
        if (pavement < lid.pavementDepth) {
            return head;
        }
    }
    return head + state[STATE_SURFACE];
}

double lidrates_getDrain(const Lid& lid, const LidStates& state) {
    const double head = getDrainHead(lid, state) - lid.drainOffset;
    if (!(head > MIN_HEAD)) {
        return 0.0;
    }
    return std::pow(head * MM_PER_M, lid.drainExponent) * lid.drainCoefficient / MM_PER_HOUR;
}

/// Upper limit of the drain flow: the water above the drain that seepage and evaporation leave; what arrives counts in
/// a full storage.
static double getDrainLimit(const LidStep& s, double level, double arriving, double exfil) {
    const Lid& lid = *s.lid;
    double available = -exfil - s.storageEvap;
    if (!(level < lid.storageDepth)) {
        available += arriving;
    }
    if (!(level < lid.drainOffset)) {
        available += (level - lid.drainOffset) * lid.storageVoid / s.dt;
    }
    return getNonNegative(available);
}

static void limitInfiltration(LidStep& s, double limit) {
    s.surfaceInfil = std::min(s.surfaceInfil, limit);
}

/// Free room in the soil, as a rate over the step.
static double getSoilRoom(const LidStep& s, double moisture) {
    return (s.lid->porosity - moisture) * s.lid->soilDepth / s.dt;
}

/// Free room in the storage, likewise.
static double getStorageRoom(const LidStep& s, double level) {
    return (s.lid->storageDepth - level) * s.lid->storageVoid / s.dt;
}

static double getSurfaceBalance(const LidStep& s) {
    return s.inflow - s.surfaceEvap - s.surfaceInfil - s.surfaceOutflow;
}

/// Outflow and rate of a ponding surface; the last flux of all types that have one, but for the pavement.
static double setSurface(LidStep& s, const LidStates& state) {
    s.surfaceOutflow = lidrates_getSurfaceOutflow(s, state[STATE_SURFACE]);
    return getLevelRate(getSurfaceBalance(s), s.lid->surfaceVoid);
}

static bool isFull(const Lid& lid, const LidStates& state) {
    return !(state[STATE_SOIL] < lid.porosity) && !(state[STATE_STORAGE] < lid.storageDepth);
}

/// Volumes and evaporation of surface, soil and storage. A saturated soil shuts the storage off from the air.
[[gnu::always_inline]] static inline void setSoilColumn(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    s.surfaceVolume = state[STATE_SURFACE] * lid.surfaceVoid;
    s.soilVolume = state[STATE_SOIL] * lid.soilDepth;
    s.storageVolume = state[STATE_STORAGE] * lid.storageVoid;
    setEvaporation(s, s.soilVolume - lid.soilDepth * lid.wiltingPoint, 0.0);
    if (!(state[STATE_SOIL] < lid.porosity)) {
        s.storageEvap = 0.0;
    }
}

// --- bio-retention cell and rain garden ----------------------------------------------------------------------------

/// Without a storage the soil drains straight into the ground, as fast as that takes it.
static void skipStorage(LidStep& s, double moisture) {
    s.storageEvap = 0.0;
    s.soilPerc = std::min(s.soilPerc, s.storageExfil);
    s.storageExfil = s.soilPerc;
    limitInfiltration(s, getSoilRoom(s, moisture) + s.soilPerc + s.soilEvap);
}

static void limitBioCell(LidStep& s, double moisture, double level) {
    s.storageExfil = getNonNegative(std::min(s.storageExfil, s.storageVolume / s.dt + s.soilPerc - s.storageEvap));
    if (s.storageDrain > 0.0) {
        s.storageDrain = std::min(s.storageDrain, getDrainLimit(s, level, s.soilPerc, s.storageExfil));
    }
    s.soilPerc = std::min(s.soilPerc, getStorageRoom(s, level) + s.storageDrain + s.storageExfil + s.storageEvap);
    limitInfiltration(s, getSoilRoom(s, moisture) + s.soilPerc + s.soilEvap);
}

/// Full layers pass on what the slowest of them lets through; seepage goes before the drain.
static void limitFullBioCell(LidStep& s) {
    double through = s.storageDrain + s.storageExfil;
    if (s.soilPerc < through) {
        through = s.soilPerc;
        if (!(s.soilPerc > s.storageExfil)) {
            s.storageDrain = 0.0;
            s.storageExfil = s.soilPerc;
        } else {
            s.storageDrain = s.soilPerc - s.storageExfil;
        }
    }
    s.soilPerc = through;
    limitInfiltration(s, through);
}

LidStates lidrates_ofBioCell(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    const double moisture = state[STATE_SOIL];
    const double level = state[STATE_STORAGE];
    setSoilColumn(s, state);
    s.soilPerc = getSoilPercolation(s, moisture);
    s.storageExfil = lid.storageRate;
    s.storageDrain =
        lid.drainCoefficient > 0.0 ? lidrates_getDrain(lid, {state[STATE_SURFACE], moisture, level, 0.0}) : 0.0;
    if (lid.storageDepth == 0.0) {
        skipStorage(s, moisture);
    }
    if (isFull(lid, state)) {
        limitFullBioCell(s);
    } else {
        limitBioCell(s, moisture, level);
    }
    const double soil = (s.surfaceInfil - s.soilEvap - s.soilPerc) / lid.soilDepth;
    const double storage =
        lid.storageDepth == 0.0
            ? 0.0
            : getLevelRate(s.soilPerc - s.storageEvap - s.storageExfil - s.storageDrain, lid.storageVoid);
    return {setSurface(s, state), soil, storage, 0.0};
}

// --- green roof ----------------------------------------------------------------------------------------------------

/// Flow off the mat: Manning over its depth, or all that the soil gives where the mat has no roughness.
static double getMatFlow(const LidStep& s, double level) {
    const Lid& lid = *s.lid;
    if (!(lid.matAlpha > 0.0)) {
        return s.soilPerc;
    }
    return std::pow(level, MANNING_EXPONENT) * lid.matAlpha * s.unit->fullWidth / s.unit->area * lid.matVoid;
}

LidStates lidrates_ofGreenRoof(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    const double moisture = state[STATE_SOIL];
    const double level = state[STATE_STORAGE];
    setSoilColumn(s, state);
    s.soilPerc = getSoilPercolation(s, moisture);
    s.storageExfil = 0.0;
    double drain = getMatFlow(s, level);
    if (!isFull(lid, state)) {
        double available = s.storageVolume / s.dt - s.storageEvap;
        if (!(level < lid.storageDepth)) {
            available += s.soilPerc;
        }
        drain = std::min(drain, getNonNegative(available));
        s.soilPerc = std::min(s.soilPerc, getStorageRoom(s, level) + drain + s.storageEvap);
        limitInfiltration(s, getSoilRoom(s, moisture) + s.soilPerc + s.soilEvap);
    } else {
        s.soilPerc = std::min(s.soilPerc, drain);
        drain = s.soilPerc;
        limitInfiltration(s, s.soilPerc);
    }
    s.storageDrain = drain;
    const double soil = (s.surfaceInfil - s.soilEvap - s.soilPerc) / lid.soilDepth;
    const double storage = getLevelRate(s.soilPerc - s.storageEvap - drain, lid.storageVoid);
    return {setSurface(s, state), soil, storage, 0.0};
}

// --- infiltration trench -------------------------------------------------------------------------------------------

LidStates lidrates_ofTrench(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    const double level = state[STATE_STORAGE];
    s.surfaceVolume = state[STATE_SURFACE] * lid.surfaceVoid;
    s.storageVolume = level * lid.storageVoid;
    setEvaporation(s, 0.0, 0.0);
    if (state[STATE_SURFACE] > 0.0) {
        s.storageEvap = 0.0;
    }
    const double arriving = s.surfaceVolume / s.dt + s.inflow;
    s.storageExfil = lid.storageRate;
    s.storageDrain = lid.drainCoefficient > 0.0 ? lidrates_getDrain(lid, {state[STATE_SURFACE], 0.0, level, 0.0}) : 0.0;
    s.storageExfil = getNonNegative(std::min(s.storageExfil, arriving - s.storageEvap + s.storageVolume / s.dt));
    if (s.storageDrain > 0.0) {
        s.storageDrain = std::min(s.storageDrain, getDrainLimit(s, level, arriving, s.storageExfil));
    }
    s.storageInflow = std::min(arriving, getStorageRoom(s, level) + s.storageExfil + s.storageEvap + s.storageDrain);
    s.surfaceInfil = s.storageInflow;
    const double storage =
        getLevelRate(s.storageInflow - s.storageEvap - s.storageExfil - s.storageDrain, lid.storageVoid);
    return {setSurface(s, state), 0.0, storage, 0.0};
}

// --- permeable pavement --------------------------------------------------------------------------------------------

/// Fluxes of a pavement while its layers limit one another.
struct PavementFlow {
    double exfil;     ///< m/s
    double drain;     ///< m/s
    double soilPerc;  ///< m/s, of a stack without soil that of the pavement
    double perc;      ///< m/s, out of the pavement
};

/// All layers above the ground full, without soil: the pavement passes what storage and evaporation let go.
static void limitFullStack(LidStep& s, PavementFlow& f) {
    double through = f.drain + s.storageEvap + f.exfil;
    if (!(f.perc > through)) {
        f.exfil = std::min(f.exfil, f.perc);
        f.drain = f.perc - f.exfil;
        through = f.perc;
    } else {
        f.perc = through;
    }
    f.soilPerc = through;
    limitInfiltration(s, through);
}

/// The same with a soil in between.
static void limitFullSoilStack(LidStep& s, PavementFlow& f) {
    const double outflow = f.drain + f.exfil;
    double through = outflow;
    if (outflow > f.soilPerc) {
        through = f.soilPerc;
    } else if (!(f.perc > outflow)) {
        through = f.perc;
    }
    if (!(through > f.exfil)) {
        f.exfil = through;
        f.drain = 0.0;
    } else {
        f.drain = through - f.exfil;
    }
    f.perc = f.soilPerc = through;
    limitInfiltration(s, through);
}

/// Soil and storage full below a pavement that is not.
static void limitFullBase(PavementFlow& f) {
    const double outflow = f.drain + f.exfil;
    if (!(f.soilPerc > outflow)) {
        f.exfil = std::min(f.exfil, f.soilPerc);
        f.drain = f.soilPerc - f.exfil;
    } else {
        f.soilPerc = outflow;
    }
}

/// Pavement and soil full above a storage that is not.
static void limitFullTop(LidStep& s, PavementFlow& f) {
    const double through = f.soilPerc < f.perc ? f.soilPerc : f.perc;
    f.perc = f.soilPerc = through;
    limitInfiltration(s, through);
}

/// Any other state: each layer is limited by what is below it, from the bottom upward.
static void limitFromBelow(const LidStep& s, const LidStates& state, PavementFlow& f) {
    const double level = state[STATE_STORAGE];
    f.exfil = std::min(f.exfil, getNonNegative(f.soilPerc - s.storageEvap + s.storageVolume / s.dt));
    if (f.drain > 0.0) {
        f.drain = std::min(f.drain, getDrainLimit(s, level, f.soilPerc, f.exfil));
    }
    double room = getNonNegative(getStorageRoom(s, level) + s.storageEvap + f.drain + f.exfil);
    if (s.lid->soilDepth > 0.0) {
        f.soilPerc = std::min(f.soilPerc, room);
        room = getSoilRoom(s, state[STATE_SOIL]) + f.soilPerc;
    }
    f.perc = std::min(f.perc, room);
}

/// What the pavement itself has room for.
static void limitByPavement(LidStep& s, double level, const PavementFlow& f) {
    const Lid& lid = *s.lid;
    limitInfiltration(s, (lid.pavementDepth - level) * lid.pavementVoid / s.dt + f.perc + s.pavementEvap);
}

static void limitPavement(LidStep& s, const LidStates& state, PavementFlow& f) {
    const Lid& lid = *s.lid;
    const bool hasSoil = lid.soilDepth > 0.0;
    const bool isStorageFull = !(state[STATE_STORAGE] < lid.storageDepth);
    const bool isPavementFull = !(state[STATE_PAVEMENT] < lid.pavementDepth);
    const bool isSoilFull = !(state[STATE_SOIL] < lid.porosity);
    if (!hasSoil && isStorageFull && isPavementFull) {
        limitFullStack(s, f);
    } else if (hasSoil && isStorageFull && isPavementFull && isSoilFull) {
        limitFullSoilStack(s, f);
    } else if (hasSoil && isStorageFull && isSoilFull) {
        limitFullBase(f);
        limitByPavement(s, state[STATE_PAVEMENT], f);
    } else if (hasSoil && isPavementFull && isSoilFull) {
        limitFullTop(s, f);
    } else {
        limitFromBelow(s, state, f);
        limitByPavement(s, state[STATE_PAVEMENT], f);
    }
}

[[gnu::always_inline]] static inline void setPavementColumn(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    s.surfaceVolume = state[STATE_SURFACE] * lid.surfaceVoid;
    s.pavementVolume = state[STATE_PAVEMENT] * lid.pavementVoid;
    s.soilVolume = state[STATE_SOIL] * lid.soilDepth;
    s.storageVolume = state[STATE_STORAGE] * lid.storageVoid;
    setEvaporation(s, s.soilVolume - lid.soilDepth * lid.wiltingPoint, s.pavementVolume);
    const bool isSoilFull = lid.soilDepth > 0.0 && !(state[STATE_SOIL] < lid.porosity);
    if (!(state[STATE_PAVEMENT] < lid.pavementDepth) || isSoilFull) {
        s.storageEvap = 0.0;
    }
}

static LidStates setPavementRates(LidStep& s, const LidStates& state, const PavementFlow& f) {
    const Lid& lid = *s.lid;
    s.surfaceOutflow = lidrates_getSurfaceOutflow(s, state[STATE_SURFACE]);
    // Not over the void of the surface, as all other types have it: the surface of a pavement counts as bare.
    const double surface = getSurfaceBalance(s);
    const double pavement = getLevelRate(s.surfaceInfil - s.pavementEvap - f.perc, lid.pavementVoid);
    if (!(lid.soilDepth > 0.0)) {
        s.soilPerc = 0.0;
        return {surface, 0.0, getLevelRate(f.perc - s.storageEvap - f.exfil - f.drain, lid.storageVoid), pavement};
    }
    s.soilPerc = f.soilPerc;
    const double soil = (f.perc - s.soilEvap - f.soilPerc) / lid.soilDepth;
    const double storage = getLevelRate(f.soilPerc - s.storageEvap - f.exfil - f.drain, lid.storageVoid);
    return {surface, soil, storage, pavement};
}

LidStates lidrates_ofPavement(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    // The surface has no infiltration yet at this moment, so the lower layers evaporate even while water comes in.
    setPavementColumn(s, state);
    s.surfaceInfil = std::min(lid.pavementRate, s.surfaceVolume / s.dt + s.inflow);
    PavementFlow f;
    f.perc = std::min(lid.pavementRate, getNonNegative(s.pavementVolume / s.dt + s.surfaceInfil - s.pavementEvap));
    f.soilPerc = lid.soilDepth > 0.0 ? getSoilPercolation(s, state[STATE_SOIL]) : f.perc;
    f.exfil = lid.storageRate;
    f.drain = lid.drainCoefficient > 0.0 ? lidrates_getDrain(lid, state) : 0.0;
    limitPavement(s, state, f);
    s.storageExfil = f.exfil;
    s.storageDrain = f.drain;
    s.pavementPerc = f.perc;
    return setPavementRates(s, state, f);
}

// --- rain barrel ---------------------------------------------------------------------------------------------------

LidStates lidrates_ofBarrel(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    const double level = state[STATE_STORAGE];
    s.storageVolume = level;
    s.storageDrain = 0.0;
    if (lid.drainDelay == 0.0 || !(s.unit->dryTime < lid.drainDelay)) {
        if (level > lid.drainOffset) {
            s.storageDrain = std::min(lidrates_getDrain(lid, {0.0, 0.0, level, 0.0}), (level - lid.drainOffset) / s.dt);
        }
    }
    s.storageInflow = std::min(s.inflow, (lid.storageDepth - level) / s.dt + s.storageDrain);
    s.surfaceInfil = s.storageInflow;
    s.surfaceOutflow = s.inflow - s.storageInflow;
    // What spills also raises a level that no law reads; results show it as the surface of a barrel.
    return {s.surfaceOutflow, 0.0, s.storageInflow - s.storageDrain, 0.0};
}

// --- vegetative swale ----------------------------------------------------------------------------------------------

/// The trapezoid of a channel, which is never narrower than so much.
struct SwaleShape {
    double width;   ///< m, at the full depth
    double bottom;  ///< m
    double slope;   ///< run per rise
};

[[gnu::always_inline]] static inline SwaleShape getSwaleShape(const Lid& lid, const LidUnit& unit) {
    SwaleShape shape;
    shape.width = std::max(unit.fullWidth, MIN_SWALE_WIDTH);
    shape.slope = lid.sideSlope;
    shape.bottom = shape.width - 2.0 * shape.slope * lid.surfaceDepth;
    if (shape.bottom < MIN_SWALE_WIDTH) {
        shape.bottom = MIN_SWALE_WIDTH;
        shape.slope = (shape.width - MIN_SWALE_WIDTH) * 0.5 / lid.surfaceDepth;
    }
    return shape;
}

/// Section of the water at a depth, m2.
[[gnu::always_inline]] static inline double getSwaleSection(const Lid& lid, const SwaleShape& shape, double depth) {
    return (shape.slope * depth + shape.bottom) * depth * lid.surfaceVoid;
}

LidStates lidrates_ofSwale(LidStep& s, const LidStates& state) {
    const Lid& lid = *s.lid;
    const double area = s.unit->area;
    const double full = lid.surfaceDepth;
    const double depth = std::min(state[STATE_SURFACE], full);
    const SwaleShape shape = getSwaleShape(lid, *s.unit);
    const double width = shape.width, bottom = shape.bottom, slope = shape.slope;
    const double section = getSwaleSection(lid, shape, depth);
    const double surfaceArea = (2.0 * slope * depth + bottom) * (area / width);
    const double volume = section * (area / width);

    const double in = s.inflow * area;  // m3/s, as the four below
    const double evap = std::min(s.evap * surfaceArea, volume / s.dt);
    const double infil = s.surfaceInfil * surfaceArea;
    double out = 0.0;
    if (depth > MIN_HEAD && section >= MIN_HEAD) {
        const double radius = section / (std::sqrt(slope * slope + 1.0) * 2.0 * depth + bottom);
        out = std::pow(radius, HYDRAULIC_RADIUS_EXPONENT) * section * lid.surfaceAlpha;
    }
    double net = in - evap - infil - out;
    if (depth == full && net > 0.0) {
        out += net;
        net = 0.0;
    }
    s.surfaceEvap = evap / area;
    s.storageExfil = infil / area;
    s.surfaceOutflow = out / area;
    s.surfaceVolume = volume / area;
    return {getLevelRate(net / surfaceArea, lid.surfaceVoid), 0.0, 0.0, 0.0};
}

// --- volume --------------------------------------------------------------------------------------------------------

double lidrates_getVolume(const Lid& lid, const LidUnit& unit) {
    switch (lid.type) {
        case LID_RB: return unit.storageLevel;
        case LID_VS: {
            const SwaleShape shape = getSwaleShape(lid, unit);
            const double depth = std::min(unit.surfaceLevel, lid.surfaceDepth);
            return getSwaleSection(lid, shape, depth) * (unit.area / shape.width) / unit.area;
        }
        default:
            return unit.pavementLevel * lid.pavementVoid + unit.surfaceLevel * lid.surfaceVoid +
                   unit.soilMoisture * lid.soilDepth + unit.storageLevel * lid.storageVoid;
    }
}
