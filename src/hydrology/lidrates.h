#pragma once
// Water in the layers of a LID unit: the fluxes of a step and the rates of change they make.

#include <array>
#include <cstdint>

#include "hydrology/lid.h"
#include "hydrology/lidunit.h"

/// The four states of a unit, in the order in which the solver holds them and their rates of change.
enum LidState : int32_t { STATE_SURFACE, STATE_SOIL, STATE_STORAGE, STATE_PAVEMENT, LID_STATE_COUNT };

/// Levels in m, of the soil its moisture as a share; or their rates of change, per s.
using LidStates = std::array<double, LID_STATE_COUNT>;

/// One step of one unit: what it is given, down to `evap`, and what its layers make of it. The solver sets that to 0
/// first; of a layer that a type doesn't have it stays so.
struct LidStep {
    LidUnit* unit;
    const Lid* lid;
    int32_t hour;           ///< of the day, 0 ... 23; reactions go by it
    double dt;              ///< s
    double inflow;          ///< m/s, rain and runon per area of the unit
    double evap;            ///< m/s, potential evaporation
    double surfaceVolume;   ///< m, water per area, as the three below
    double pavementVolume;  ///< m
    double soilVolume;      ///< m
    double storageVolume;   ///< m
    double surfaceEvap;     ///< m/s
    double pavementEvap;    ///< m/s
    double soilEvap;        ///< m/s
    double storageEvap;     ///< m/s
    double surfaceInfil;    ///< m/s, from the surface to the next layer
    double surfaceOutflow;  ///< m/s, over the surface
    double pavementPerc;    ///< m/s, out of the pavement
    double soilPerc;        ///< m/s, out of the soil
    double storageInflow;   ///< m/s, into the storage of a trench or barrel
    double storageExfil;    ///< m/s, seepage out of the storage, or out of a swale
    double storageDrain;    ///< m/s, through the underdrain
};

/// Rates of change at a state by the law of a type of control; the fluxes go into the step. `surfaceInfil` comes in as
/// an upper limit.
[[nodiscard]] LidStates lidrates_ofBioCell(LidStep& step, const LidStates& state);
[[nodiscard]] LidStates lidrates_ofGreenRoof(LidStep& step, const LidStates& state);
[[nodiscard]] LidStates lidrates_ofTrench(LidStep& step, const LidStates& state);
[[nodiscard]] LidStates lidrates_ofPavement(LidStep& step, const LidStates& state);
[[nodiscard]] LidStates lidrates_ofBarrel(LidStep& step, const LidStates& state);
[[nodiscard]] LidStates lidrates_ofSwale(LidStep& step, const LidStates& state);

/// Water in all layers of a unit at its levels, per area, m.
[[nodiscard]] double lidrates_getVolume(const Lid& lid, const LidUnit& unit);

/// Outflow over the berm at a level (m), m/s.
[[nodiscard]] double lidrates_getSurfaceOutflow(const LidStep& step, double level);

/// Flow of the underdrain, m/s, by the head that stands on it.
[[nodiscard]] double lidrates_getDrain(const Lid& lid, const LidStates& state);
