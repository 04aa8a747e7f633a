#pragma once
// Land at rest. In dry weather the land comes to a point where a step leaves it bit for bit as it was. A step is a
// function of the state, of what is put in and of the parameters, and of nothing else; so the next one will do the
// same, as long as what is put in and the parameters stay. Such land isn't stepped any more until something changes.

#include <cstdint>
#include <vector>

#include "hydrology/buildup.h"
#include "hydrology/subcatch.h"
#include "model/table.h"

struct Model;

/// How far the water of a subcatchment has come to rest.
enum LandPace : uint8_t {
    LAND_AWAKE,     ///< each step is worked out
    LAND_DRAINING,  ///< its depressions and its LID units dry, seep and drain
    LAND_DRYING,    ///< nothing happens but that its depressions and its LID units dry
    LAND_RESTING    ///< nothing changes
};

/// A subcatchment as it was before a step.
struct LandBefore {
    Subcatch record;
    std::vector<double> arrays;
};

/// What whoever steps a part of the land works with.
struct LandWork {
    LandBefore before;
    std::vector<int32_t> dry;    ///< subcatchments whose buildup grows in this step
    std::vector<uint8_t> grows;  ///< by place in a list
    BuildupScratch buildup;
    bool hasChanged = false;  ///< something came to rest
};

/// Subcatchments that are stepped at a time: a piece of a list that a thread takes.
constexpr int32_t LAND_PIECE = 16;

/// What rests, and under which conditions it came to rest. It is worked out anew by whoever finds others.
struct LandRest {
    Table<uint8_t> paces;         ///< LandPace, by subcatchment
    Table<uint8_t> grows;         ///< by subcatchment: its buildup may still grow
    Table<int32_t> awake;         ///< subcatchments by pace, in their order
    Table<int32_t> drying;        ///< likewise, also those that drain
    Table<int32_t> draining;      ///< that are awake or drain: the drains of all others give nothing
    Table<int32_t> growing;       ///< that aren't awake, and whose buildup grows
    Table<uint8_t> isWet;         ///< by gage: it rained in the last step
    uint64_t changes = 0;         ///< Pace::landChanges; 0 where nothing is known
    double evapRate = 0.0;        ///< m/s
    double dt = 0.0;              ///< s
    std::vector<LandWork> works;  ///< one for each that shares a step
};

/// Looks at rain, evaporation and changes ahead of a runoff step of `dt` (s), wakes what they concern, and lists what
/// is awake.
void landrest_prepare(Model& model, double dt);

/// The dry time of the LID units goes on where nothing else is stepped.
void landrest_passDryTime(Model& model, double dt);

/// Lists anew what is awake, after a step in which something came to rest.
void landrest_list(Model& model);

/// Whether a subcatchment may come to rest in the step that begins now: no rain, nothing ponded but in the depressions
/// of the impervious part, and no LID unit awake.
[[nodiscard]] bool landrest_isStill(const Model& model, int32_t subcatch);

/// Keeps a subcatchment as it is ahead of a step; and finds after it how far it has come.
void landrest_keep(const Model& model, const Subcatch& subcatch, LandBefore& before);
[[nodiscard]] LandPace landrest_judge(const Model& model, int32_t subcatch, LandBefore& before);

/// Whether all subcatchments that aren't listed as awake rest in the conditions of the last step: then they give the
/// network no runoff, and drains alone if they are listed as draining. Whoever has changed the land since makes it
/// doubtful.
[[nodiscard]] bool landrest_isKnown(const Model& model);
