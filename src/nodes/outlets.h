#pragma once
// Outlets of a tank: its orifices and weirs by level, and its pumps.

#include <cstdint>

struct Model;

/// The orifices or the weirs of a tank, and the levels at which they let water go. All arrays have `count` places and
/// live as long as the run; a place of links, keys and flows is one outlet, in the order of the link table.
struct LevelList {
    int32_t kind;        ///< ORIFICE or WEIR
    int32_t count;       ///< outlets
    int32_t levelCount;  ///< levels; at most one per outlet
    bool isMade;         ///< the levels fit the keys
    int32_t* links;      ///< link indices
    double* keys;        ///< m above the bottom, one per outlet
    double* newKeys;     ///< m, the keys of the step in hand
    double* levels;      ///< m, in the order of treatment
    double* volumes;     ///< m3 in the tank up to each level
    int32_t* byKey;      ///< places, by rising key
    int32_t* members;    ///< places of the level in hand, in link order
    double* flows;       ///< m3/s, of the members
};

/// The pumps of a tank.
struct PumpList {
    int32_t count;
    int32_t* links;  ///< link indices
    double* flows;   ///< m3/s
};

struct Outlets {
    LevelList orifices;
    LevelList weirs;
    PumpList pumps;
};

/// Collects the outlets of a tank for a run. False without memory.
[[nodiscard]] bool outlets_make(Model& model, Outlets& outlets, int32_t node);

/// Works out the keys of the step: the crest of an orifice, the crest of a weir as its setting places it. True if one
/// has changed since the levels were made.
[[nodiscard]] bool outlets_updateKeys(const Model& model, LevelList& list);

/// Makes the levels from the keys.
void outlets_makeLevels(LevelList& list);

/// Puts a level into the order of treatment.
void outlets_insertLevel(double* levels, int32_t& count, double value);

/// Fills `members` with the outlets at a level; gives their number.
[[nodiscard]] int32_t outlets_findMembers(LevelList& list, double level);

/// Flow (m3/s) of an outlet of the list by its law, at a depth (m) in the tank.
[[nodiscard]] double outlets_getFlow(const Model& model, const LevelList& list, int32_t place, double depth);
