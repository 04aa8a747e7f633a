// Land at rest: who found nothing to do, and who wakes it. The water of a subcatchment passes through three paces,
//
//     awake --(a dry step changed nothing)-----------------------------> resting        landrest_judge
//     awake --(likewise, but that ponds and LID units dry)-------------> drying         landrest_judge
//     awake --(likewise, but that LID units seep and drain as well)----> draining       landrest_judge
//     draining --(no LID unit seeps or drains any more)----------------> drying         runoff_advance
//     drying, draining --(the pond or a LID unit has dried out)--------> awake          runoff_advance
//     drying, draining, resting --(rain at its gage)-------------------> awake          landrest_prepare
//     all --(evaporation, another step, a host, a restored state)------> awake          landrest_prepare
//
// and beside it its buildup goes on until that of no pollutant grows any more.
//
// Why nothing is lost. In the last step that was worked out rain, ponded water, runoff and the time on Horton's curve
// were 0, and every number of the subcatchment, its sums included, came out as it went in. The next step begins with
// the same numbers, rain, evaporation and parameters, so it ends with them as well. What it gives to the network is a
// runoff of 0 with concentrations of 0: sums begin at 0 and add up from there, so none is -0, and 0 changes none of
// them. The buildup alone depends on how long it has grown; it is read by no law while nothing runs off.
//
// Of drying land that alone is worked out which changes. What stands in the depressions of the impervious part
// evaporates, for a day in summer and many in winter. The fluxes beside it are 0, and what they would add are zeros:
// 0 * f + x is x, and a share of no outflow takes no mass along. Of LID units see the room lidrest: what seeps out of
// them is infiltration, and what they drain goes to nodes of their own. Neither is read by the land, of whose pond no
// more infiltrates for it: 0 + x, less x, is 0.
//
// Of a LID unit the dry time goes on, which only the drain of a barrel reads (room lidrest).

#include "hydrology/landrest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/lidrest.h"
#include "model/model.h"

static bool areSame(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

static bool areSame(const double* a, const double* b, int64_t count) {
    return count == 0 || std::memcmp(a, b, static_cast<size_t>(count) * sizeof(double)) == 0;
}

// --- lists ---------------------------------------------------------------------------------------------------------

void landrest_list(Model& model) {
    LandRest& rest = *model.landRest;
    rest.awake.clear();
    rest.drying.clear();
    rest.draining.clear();
    rest.growing.clear();
    for (int32_t k = 0; k < rest.paces.size(); ++k) {
        if (rest.paces[k] <= LAND_DRAINING) {
            rest.draining.push_back(k);
        }
        if (rest.paces[k] == LAND_AWAKE) {
            rest.awake.push_back(k);
            continue;
        }
        if (rest.paces[k] != LAND_RESTING) {
            rest.drying.push_back(k);
        }
        if (rest.grows[k]) {
            rest.growing.push_back(k);
        }
    }
}

bool landrest_isKnown(const Model& model) {
    return model.landRest->changes == model.pace.landChanges;
}

// --- waking --------------------------------------------------------------------------------------------------------

static void wakeAll(Model& model) {
    LandRest& rest = *model.landRest;
    const int32_t count = model.subcatches.size();
    for (Table<int32_t>* list : {&rest.awake, &rest.drying, &rest.draining, &rest.growing}) {
        list->reserve(count);
    }
    rest.paces.fill(count, LAND_AWAKE);
    rest.grows.fill(count, 1);
    lidrest_wakeAll(model);
    rest.isWet.fill(model.gages.size(), 0);
    rest.changes = model.pace.landChanges;
    landrest_list(model);
}

/// Wakes the land of the gages at which it has begun to rain.
static void wakeWet(Model& model) {
    LandRest& rest = *model.landRest;
    bool hasBegun = false;
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        const uint8_t isWet = areSame(model.gages[k].rain, 0.0) ? 0 : 1;
        hasBegun = hasBegun || isWet > rest.isWet[k];
        rest.isWet[k] = isWet;
    }
    if (!hasBegun) {
        return;
    }
    for (int32_t k = 0; k < rest.paces.size(); ++k) {
        const int32_t gage = model.subcatches[k].gage;
        if (gage >= 0 && rest.isWet[gage]) {
            rest.paces[k] = LAND_AWAKE;
            rest.grows[k] = 1;
            lidgroup_wake(model, k);
        }
    }
    landrest_list(model);
}

void landrest_prepare(Model& model, double dt) {
    LandRest& rest = *model.landRest;
    const bool isKnown = landrest_isKnown(model) && areSame(rest.evapRate, model.evap->rate) && areSame(rest.dt, dt) &&
                         !model.pace.isPlain;
    rest.evapRate = model.evap->rate;
    rest.dt = dt;
    if (!isKnown) {
        wakeAll(model);
    }
    wakeWet(model);
}

void landrest_passDryTime(Model& model, double dt) {
    for (LidUnit& unit : model.lidUnits) {
        if (model.landRest->paces[unit.subcatch] == LAND_RESTING) {
            unit.dryTime += dt;
        }
    }
}

// --- coming to rest ------------------------------------------------------------------------------------------------

bool landrest_isStill(const Model& model, int32_t index) {
    const Subcatch& s = model.subcatches[index];
    if (model.pace.isPlain || !(s.imperviousDepth <= s.imperviousStorage) || s.perviousDepth != 0.0 ||
        s.thisRunoff != 0.0 || s.infilState.time != 0.0 || (s.gage >= 0 && !areSame(model.gages[s.gage].rain, 0.0))) {
        return false;
    }
    return lidgroup_getPace(model, index) != LID_AWAKE;
}

/// The arrays that live as long as the project stand one after the other, and so do the statistics (subcatch.cpp). Of
/// the buildups, which stand elsewhere, the rest takes no notice.
struct ArrayCounts {
    int64_t own;
    int64_t statistics;
};

static ArrayCounts getCounts(const Model& model, const Subcatch& subcatch) {
    const int64_t pollutants = model_pollutantCount(model);
    return {pollutants * 6, subcatch.initBuildup ? 6 * pollutants : 0};
}

void landrest_keep(const Model& model, const Subcatch& subcatch, LandBefore& before) {
    const ArrayCounts counts = getCounts(model, subcatch);
    before.record = subcatch;
    before.arrays.assign(subcatch.initialLoad, subcatch.initialLoad + counts.own);
    before.arrays.insert(before.arrays.end(), subcatch.initBuildup, subcatch.initBuildup + counts.statistics);
}

/// Whether the pond on the impervious part, if there is one, does nothing but evaporate.
static bool isPondStill(const Model& model, const Subcatch& s) {
    return s.imperviousDepth >= 0.0 && model.evap->rate >= 0.0 && s.area > s.lidArea && s.imperviousFraction >= 0.0 &&
           s.imperviousFraction <= 1.0 &&
           std::all_of(s.pondedMass, s.pondedMass + model_pollutantCount(model),
                       [](double mass) { return mass >= 0.0 && std::isfinite(mass); });
}

LandPace landrest_judge(const Model& model, int32_t index, LandBefore& before) {
    const Subcatch& subcatch = model.subcatches[index];
    const ArrayCounts counts = getCounts(model, subcatch);
    const LidPace units = lidgroup_getPace(model, index);
    const bool isPonded = subcatch.imperviousDepth != 0.0 || before.record.imperviousDepth != 0.0;
    const bool isDrying = units != LID_RESTING || isPonded;
    if (units == LID_AWAKE || (isPonded && !isPondStill(model, subcatch))) {
        return LAND_AWAKE;
    }
    if (isDrying) {
        before.record.evapRate = subcatch.evapRate;
        before.record.imperviousDepth = subcatch.imperviousDepth;
    }
    if (units == LID_SEEPING) {
        before.record.infilRate = subcatch.infilRate;
    }
    // What is ponded stands last among the arrays.
    const int64_t own = isPonded ? counts.own - model_pollutantCount(model) : counts.own;
    const bool isSame = std::memcmp(reinterpret_cast<const char*>(&subcatch),
                                    reinterpret_cast<const char*>(&before.record), sizeof subcatch) == 0 &&
                        areSame(subcatch.initialLoad, before.arrays.data(), own) &&
                        areSame(subcatch.initBuildup, before.arrays.data() + counts.own, counts.statistics);
    if (!isSame) {
        return LAND_AWAKE;
    }
    return units == LID_SEEPING ? LAND_DRAINING : isDrying ? LAND_DRYING : LAND_RESTING;
}
