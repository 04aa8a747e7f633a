// Subcatchments. Each is a plane of an impervious and a pervious part. Either part is a nonlinear reservoir: what
// exceeds its depression storage flows off as a sheet by Manning's law (Chen and Shubinski 1971). Water seeps into the
// pervious part by Horton's law (1940) on an equivalent time, so that a light rain uses up less of the curve than its
// duration says. The runoff step calls stepWater; the routing step takes the runoff to the nodes.

#include "hydrology/subcatch.h"

#include <algorithm>
#include <cmath>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lidunit.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/statistics.h"
#include "routing/nodekinds.h"
#include "text/tokens.h"

Table<Subcatch> Subcatches;
RunoffVolumesRecord RunoffVolumes;

static constexpr double MANNING_EXPONENT = 1.6666666666666667;
static constexpr double DRYING_SHARE = 0.020000000000000018;  ///< of the curve, left to recover after the drying time
static constexpr double NO_WATER = 1e-10;                     ///< m/s, at or below which the ground dries

/// Square roots of slopes, beside the table: a host may change a slope in the run, otherwise the root stands.
struct SlopeRoot {
    double slope;  ///< m/m, that the root was taken of
    double root;
};

static Table<SlopeRoot> SlopeRoots;

static Subcatch& getSubcatch(int32_t subcatch) {
    return Subcatches[subcatch];
}

// --- table ---------------------------------------------------------------------------------------------------------

/// All arrays of a subcatchment that live as long as the project stand together: a runoff step goes through them at
/// once.
static void createArrays(Subcatch& subcatch) {
    const int64_t pollutants = project_pollutantCount();
    const int64_t landuses = ObjectCount[LANDUSE];
    double* memory = arena_allocateArray<double>(ProjectArena, pollutants * (6 + landuses));
    subcatch.landShares = arena_allocateArray<LandShare>(ProjectArena, landuses);
    if (!memory || !subcatch.landShares) {
        ErrorCode = ERR_MEMORY;
        return;
    }
    for (double** array : {&subcatch.initialLoad, &subcatch.lastWashoffRate, &subcatch.thisWashoffRate,
                           &subcatch.lastQuality, &subcatch.thisQuality, &subcatch.pondedMass}) {
        *array = memory;
        memory += pollutants;
    }
    for (int64_t k = 0; k < landuses; ++k) {
        subcatch.landShares[k].buildup = memory;
        memory += pollutants;
    }
}

void subcatch_createAll() {
    const int32_t count = ObjectCount[SUBCATCH];
    Subcatches.fill(count, Subcatch{});
    SlopeRoots.fill(count, SlopeRoot{});
    for (Subcatch& subcatch : Subcatches) {
        createArrays(subcatch);
    }
}

void subcatch_deleteAll() {
    Subcatches = {};
    SlopeRoots = {};
}

// --- reading -------------------------------------------------------------------------------------------------------

/// Reads a number that must be above 0, or may be 0 as well. NaN is neither.
static bool readNumber(const Tokens& tokens, int32_t token, bool mayBeZero, double* value) {
    return tokens_getDouble(tokens[token], value) && (*value > 0.0 || (mayBeZero && *value == 0.0));
}

/// A percentage as a share; 100 and more is the whole.
static double getShare(double percent) {
    return percent >= 100.0 ? 1.0 : percent / 100.0;
}

int32_t subcatch_readLine(const Tokens& tokens, int32_t index) {
    static constexpr int32_t FIRST = 3, COUNT = 16;
    static constexpr int32_t IMPERVIOUS = 5, MAX_VOLUME = 15;  ///< only these two may be 0
    if (tokens.count < COUNT) {
        return errors_setName(ERR_ITEMS, "");
    }
    const char* name = names_findId(SUBCATCH, tokens[0]);
    if (!name) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t gage = names_find(GAGE, tokens[1]);
    if (gage < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    const int32_t outNode = names_find(NODE, tokens[2]);
    if (outNode < 0) {
        return errors_setName(ERR_SUBCATCH_OUTLET, name);
    }
    double v[COUNT];
    for (int32_t k = FIRST; k < COUNT; ++k) {
        if (!readNumber(tokens, k, k == IMPERVIOUS || k == MAX_VOLUME, &v[k])) {
            return errors_setName(ERR_NUMBER, tokens[k]);
        }
    }
    Subcatch& subcatch = getSubcatch(index);
    subcatch.name = name;
    subcatch.gage = gage;
    subcatch.outNode = outNode;
    subcatch.area = v[3] / 0.0001;
    subcatch.width = v[4];
    subcatch.imperviousFraction = getShare(v[5]);
    subcatch.slope = getShare(v[6]);
    subcatch.imperviousRoughness = v[7];
    subcatch.perviousRoughness = v[8];
    subcatch.imperviousStorage = v[9] / 1000.0;
    subcatch.perviousStorage = v[10] / 1000.0;
    subcatch.maxInfilRate = v[11] / 3600000.0;
    subcatch.minInfilRate = v[12] / 3600000.0;
    subcatch.infilDecay = v[13] / 3600.0;
    subcatch.infilRecovery = std::log(DRYING_SHARE) / v[14] / -86400.0;
    subcatch.maxInfilVolume = v[15] / 1000.0;
    return ERR_NONE;
}

// --- validation and start ------------------------------------------------------------------------------------------

void subcatch_validateAll() {
    for (const Subcatch& subcatch : Subcatches) {
        if (subcatch.maxInfilRate < subcatch.minInfilRate) {
            report_writeError(ERR_INFILTRATION_RATES, subcatch.name);
        }
        if (subcatch.gage >= 0) {
            Gages[subcatch.gage].isUsed = 1;
        }
    }
}

void subcatch_initState(int32_t index) {
    Subcatch& subcatch = getSubcatch(index);
    subcatch.rain = subcatch.evapRate = subcatch.infilRate = 0.0;
    subcatch.lastRunoff = subcatch.thisRunoff = 0.0;
    subcatch.imperviousDepth = subcatch.perviousDepth = 0.0;
    subcatch.infilTime = subcatch.infilVolume = 0.0;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        subcatch.lastQuality[p] = subcatch.thisQuality[p] = 0.0;
        subcatch.lastWashoffRate[p] = subcatch.thisWashoffRate[p] = 0.0;
        subcatch.pondedMass[p] = 0.0;
    }
    landuse_initBuildup(index);
}

// --- infiltration --------------------------------------------------------------------------------------------------

/// exp(x), without the work where nothing has begun to decay.
static double getDecayed(double x) {
    return x == 0.0 ? 1.0 : std::exp(x);
}

/// The ground recovers. The logarithm is never positive, so the time falls to 0 in the first dry step, and infiltration
/// starts afresh: a whole recovery in one step. Projects are calibrated with it.
static void recover(double maxVolume, double maxRate, double minRate, double decay, double recovery, double* time,
                    double* volume, double dt) {
    if (*time != 0.0) {
        const double left = 1.0 - std::exp(-decay * *time);
        const double next = 1.0 / decay * std::log(1.0 - left * std::exp(-recovery * dt));
        *time = next > 0.0 ? next : 0.0;
    }
    if (maxVolume > 0.0) {
        *volume = (1.0 - getDecayed(-*time * decay)) * ((maxRate - minRate) / decay) + *time * minRate;
    }
}

/// The time at which Horton's cumulative curve reaches `target` (m), by Newton's method.
static double findTime(double time, double target, double c, double maxRate, double minRate, double decay, double dt) {
    time = time + dt * 0.5;
    for (int32_t pass = 0; pass < 20; ++pass) {
        const double x = std::min(time * decay, 60.0);
        const double ex = std::exp(-x);
        const double delta = ((1.0 - ex) * c + time * minRate - target) / ((maxRate - minRate) * ex + minRate);
        time = time - delta;
        if (!(std::fabs(delta) > dt * 0.001)) {
            break;
        }
    }
    return time;
}

double subcatch_infilRate(double available, double maxVolume, double maxRate, double minRate, double decay,
                          double recovery, double* time, double* volume, double dt) {
    if (recovery > 0.0 && !(available > NO_WATER)) {
        recover(maxVolume, maxRate, minRate, decay, recovery, time, volume, dt);
        return 0.0;
    }
    const double tp = *time;
    const double end = tp + dt;
    const double c = (maxRate - minRate) / decay;
    const double limit = 16.0 / decay;
    double sum, endSum;  // m, on the cumulative curve at both ends of the step
    if (tp < limit) {
        sum = (1.0 - getDecayed(-tp * decay)) * c + tp * minRate;
        endSum = (1.0 - std::exp(-end * decay)) * c + end * minRate;
    } else {
        sum = tp * minRate + c;
        endSum = minRate * dt + sum;
    }
    double rate = (endSum - sum) / dt;
    rate = rate < minRate ? minRate : rate;
    if (end > limit || available > rate) {
        *time = end;
    } else {
        // The place on the curve moves by what the ground could take, not by what there is.
        *time = findTime(tp, rate * dt + sum, c, maxRate, minRate, decay, dt);
    }
    if (maxVolume > 0.0) {
        if (rate * dt + *volume > maxVolume) {
            rate = (maxVolume - *volume) / dt;
        }
        rate = rate < 0.0 ? 0.0 : rate;
        *volume = rate * dt + *volume;
    }
    return std::min(rate, available);
}

// --- surface -------------------------------------------------------------------------------------------------------

/// What changes the depth of a plane: inflow less the sheet that flows off.
struct Plane {
    double inflow;   ///< m/s, rain less losses
    double storage;  ///< m, depression storage
    double alpha;    ///< outflow (m/s) at 1 m above the storage
};

static double getDepthRate(const Plane& plane, double depth) {
    if (!(depth > plane.storage)) {
        return plane.inflow;
    }
    return plane.inflow - plane.alpha * std::pow(depth - plane.storage, MANNING_EXPONENT);
}

/// One step of the classical Runge-Kutta method; neither iterated nor bounded.
static double stepDepth(const Plane& plane, double depth, double dt) {
    const double k1 = getDepthRate(plane, depth);
    const double k2 = getDepthRate(plane, depth + k1 * dt / 2.0);
    const double k3 = getDepthRate(plane, depth + k2 * dt / 2.0);
    const double k4 = getDepthRate(plane, depth + k3 * dt);
    return depth + (k1 + 2.0 * k2 + 2.0 * k3 + k4) * dt / 6.0;
}

/// `root` remembers the root of the slope from step to step.
static double drainPlane(double rain, double evap, double infil, double* depth, double storage, double dt, double area,
                         double width, double slope, double roughness, SlopeRoot& root) {
    if (!(evap + infil < *depth / dt + rain)) {
        *depth = 0.0;
        return 0.0;
    }
    const double inflow = rain - evap - infil;
    const double filled = inflow * dt + *depth;
    if (!(filled > storage)) {
        *depth = filled;
        return 0.0;
    }
    if (*depth < storage && (storage - *depth) / dt < inflow) {
        dt = dt - (storage - *depth) / inflow;
        *depth = storage;
    }
    if (root.slope != slope) {
        root = {slope, std::pow(slope, 0.5)};
    }
    // A part without area has an infinite alpha, and ends at its storage with no flow.
    const Plane plane = {inflow, storage, root.root * width / area / roughness};
    *depth = stepDepth(plane, *depth, dt);
    if (!(*depth > storage)) {
        *depth = storage;
        return 0.0;
    }
    return std::pow(*depth - storage, MANNING_EXPONENT) * plane.alpha * area;
}

double subcatch_drainSurface(double rain, double evap, double infil, double* depth, double storage, double dt,
                             double area, double width, double slope, double roughness) {
    SlopeRoot root = {};
    return drainPlane(rain, evap, infil, depth, storage, dt, area, width, slope, roughness, root);
}

// --- water balance -------------------------------------------------------------------------------------------------

/// Water of the area (m2) that no LID unit covers.
static void stepLand(Subcatch& s, double area, double dt, SlopeRoot& root) {
    RunoffVolumesRecord& volumes = RunoffVolumes;
    const double f = s.imperviousFraction;
    const double imperviousEvap = std::min(s.imperviousDepth / dt + s.rain, Evap.rate);
    const double perviousEvap = std::min(s.perviousDepth / dt + s.rain, Evap.rate);
    volumes.wetInflow = (s.imperviousDepth * f + s.perviousDepth * (1.0 - f)) * area + s.rain * area * dt;
    volumes.evap = ((1.0 - f) * perviousEvap + f * imperviousEvap) * area * dt;
    const double infil =
        subcatch_infilRate(s.perviousDepth / dt + s.rain - perviousEvap, s.maxInfilVolume, s.maxInfilRate,
                           s.minInfilRate, s.infilDecay, s.infilRecovery, &s.infilTime, &s.infilVolume, dt);
    volumes.infil = (1.0 - f) * infil * area * dt;
    // Either part drains over the whole width.
    s.imperviousRunoff = drainPlane(s.rain, imperviousEvap, 0.0, &s.imperviousDepth, s.imperviousStorage, dt, f * area,
                                    s.width, s.slope, s.imperviousRoughness, root);
    s.perviousRunoff = drainPlane(s.rain, perviousEvap, infil, &s.perviousDepth, s.perviousStorage, dt,
                                  (1.0 - f) * area, s.width, s.slope, s.perviousRoughness, root);
    volumes.surfaceOutflow = (s.imperviousRunoff + s.perviousRunoff) * dt;
}

void subcatch_stepWater(int32_t index) {
    Subcatch& s = getSubcatch(index);
    const double dt = RunoffStep;
    RunoffVolumes = RunoffVolumesRecord{};
    s.rain = s.gage >= 0 ? Gages[s.gage].rain : 0.0;
    const double area = s.area - s.lidArea;
    if (area > 0.0) {
        stepLand(s, area, dt, SlopeRoots[index]);
    }
    if (s.lidArea > 0.0) {
        lid_stepUnits(index, dt);
    }
    s.infilRate = RunoffVolumes.infil / dt / s.area;
    s.evapRate = RunoffVolumes.evap / dt / s.area;
    s.thisRunoff = (RunoffVolumes.surfaceOutflow - RunoffVolumes.lidRunon + RunoffVolumes.lidOutflow) / dt;
}

// --- outlet --------------------------------------------------------------------------------------------------------

double subcatch_getWeight(double time) {
    const double weight = (time - OldRunoffTime) / (NewRunoffTime - OldRunoffTime);
    if (!(weight > 0.0)) {
        return 0.0;  // also where both clocks stand at the same time
    }
    return weight > 1.0 ? 1.0 : weight;
}

static void addToNode(int32_t index, double f) {
    const Subcatch& s = getSubcatch(index);
    Node& node = Nodes[s.outNode];
    const double flow = s.area == 0.0 ? 0.0 : f * s.thisRunoff + (1.0 - f) * s.lastRunoff;
    if (nodekinds_takeRunoff(node, index, flow)) {
        return;  // an outside model took the water, and no load
    }
    node.newLatFlow += flow;
    FlowTotals.wetWeatherInflow += RoutingStep * flow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load =
            (1.0 - f) * s.lastRunoff * s.lastQuality[p] / 1000.0 + f * s.thisRunoff * s.thisQuality[p] / 1000.0;
        node.massInflow[p] += load;
        QualTotals[p].wetWeatherInflow += RoutingStep * load;
    }
}

void subcatch_addRunoff(double time) {
    if (Subcatches.empty()) {
        return;
    }
    const double f = subcatch_getWeight(time);
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        if (Subcatches[k].outNode >= 0) {
            addToNode(k, f);
        }
    }
}

// --- statistics ----------------------------------------------------------------------------------------------------

void subcatch_countStep(Subcatch& s, double dt) {
    s.rainfall += dt * s.rain * 1000.0;
    s.evap += dt * s.evapRate * 1000.0;
    s.infil += dt * s.infilRate * 1000.0;
    s.runoff += dt * s.thisRunoff / s.area * 1000.0;
    statistics_keepMaximum(s.peakRunoff, s.thisRunoff);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        s.surfaceWashoff[p] += s.thisQuality[p] / 1000.0 * s.thisRunoff * dt;
    }
}
