#pragma once
// Growth of the buildup on many subcatchments at once.

#include <cstdint>
#include <vector>

#include "hydrology/subcatch.h"

struct Model;

/// The rules of all land uses for a step, one array for each number: by land use, and in it by pollutant, and all of
/// that again for each subcatchment of a batch.
struct BuildupRules {
    double seconds = 0.0;            ///< length of the step
    double days = 0.0;               ///< likewise
    int32_t batch = 0;               ///< subcatchments
    std::vector<double> limit;       ///< kg/ha
    std::vector<double> rate;        ///< 1/day
    std::vector<double> nearlyFull;  ///< kg/ha, from which a buildup counts as there
    std::vector<double> fullAge;     ///< days, on the curve, from which it stands at the limit
    std::vector<double> isCounted;   ///< 1: washoff takes its mass from the buildup, so growth counts in the balance
    uint32_t steps = 0;
    bool isLooking = false;     ///< asks in this step whether anything grows any more
    bool areOdd = false;        ///< some rule or area needs the law itself
    uint64_t changes = 0;       ///< Pace::landChanges that the areas are of
    std::vector<double> areas;  ///< ha, of each land use on each subcatchment, once for each pollutant
};

/// What whoever grows a batch works with, by land use and pollutant of each subcatchment.
struct BuildupScratch {
    std::vector<double> perArea;  ///< kg/ha, before the step
    std::vector<double> ages;     ///< days, behind the step, on the curve; before that their logarithms
    std::vector<double> growth;   ///< kg, of the step; before that the powers it comes from
    std::vector<double> before;   ///< kg, before the step
};

/// Makes the rules ready for steps of `dt` (s).
void buildup_prepare(Model& model, double dt);

/// Buildup of a dry runoff step on so many subcatchments, given in rising order, and its sum into the balance. `grows`
/// says of each whether any of its buildups may still grow: what once didn't will not do so in the next step of that
/// length either, since nothing else than the buildup itself goes into it. The answer is whether any says so.
bool buildup_grow(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch);
