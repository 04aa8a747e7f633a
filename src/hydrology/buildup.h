#pragma once
// Growth of the buildup on many subcatchments at once.

#include <cstdint>
#include <vector>

#include "hydrology/subcatch.h"

struct Model;

/// A land use and one of its pollutants.
struct BuildupColumn {
    int32_t place;  ///< of its buildup among those of a subcatchment
    int32_t pollutant;
    bool isCounted;  ///< washoff takes its mass from the buildup, so growth counts in the balance
};

/// The rules of all land uses for a step, one array for each number: by column, and all of that again for each
/// subcatchment of a batch.
struct BuildupRules {
    double seconds = 0.0;                ///< length of the step
    double days = 0.0;                   ///< likewise
    int32_t batch = 0;                   ///< subcatchments; 0 if there is nothing to grow
    std::vector<BuildupColumn> columns;  ///< what may still grow
    std::vector<double> limit;           ///< kg/ha
    std::vector<double> rate;            ///< 1/day
    std::vector<double> nearlyFull;      ///< kg/ha, from which a buildup counts as there
    std::vector<double> fullAge;         ///< days, on the curve, from which it stands at the limit
    std::vector<double> isCounted;       ///< 1 or 0
    std::vector<double> areas;           ///< ha, by subcatchment and column; longer by what a pass takes at once
    uint32_t steps = 0;
    bool isLooking = false;  ///< asks in this step whether anything grows any more
    bool areOdd = false;     ///< some rule or area needs the law itself
    bool isCut = false;      ///< some columns have come to an end
    uint64_t changes = 0;    ///< Pace::landChanges that the areas are of
};

/// What whoever grows a batch works with, by subcatchment and column.
struct BuildupScratch {
    std::vector<double> present;    ///< kg
    std::vector<double> perArea;    ///< kg/ha, before the step
    std::vector<double> ages;       ///< days, after the step, on the curve; before that their logarithms
    std::vector<double> growth;     ///< kg, what is new and counts; before that the share of the limit that is missing
    std::vector<uint8_t> hasGrown;  ///< by column, somewhere in this step
    int32_t lookedAt = 0;           ///< subcatchments, in this step
};

/// Makes the rules ready for steps of `dt` (s).
void buildup_prepare(Model& model, double dt);

/// Buildup of a dry runoff step on so many subcatchments, given in rising order, and its sum into the balance. `grows`
/// says of each whether any of its buildups may still grow: what once didn't will not do so in the next step of that
/// length either, since nothing else than the buildup itself goes into it. The answer is whether any has stopped.
bool buildup_grow(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch);

/// Begins a step for one of those who share it.
void buildup_beginStep(const Model& model, BuildupScratch& scratch);

/// Ends a step in which all land was dry that had anything left to grow: `hasGrown` says of each column whether it has
/// grown anywhere. What no washoff takes from doesn't begin again.
void buildup_endDryStep(Model& model, const std::vector<uint8_t>& hasGrown);
