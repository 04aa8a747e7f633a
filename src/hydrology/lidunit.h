#pragma once
// LID units at work: the water and the pollutants in the layers of a unit over one step.

#include <cstdint>

#include "hydrology/lid.h"

/// The four states of a unit, in the order in which the solver holds them and their rates of change.
enum LidState : int32_t { STATE_SURFACE, STATE_SOIL, STATE_STORAGE, STATE_PAVEMENT, LID_STATE_COUNT };

/// What the solver works with for the unit in hand. It means nothing between two calls.
struct LidStepRecord {
    LidUnit* unit;
    const Lid* lid;
    const double* load;     ///< kg/s, entering, one per pollutant
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

extern LidStepRecord LidStep;

/// Puts all units of subcatchments to the start of a run.
void lid_initUnits();

/// The seven arrays of the quality balance of a unit, zeroed; they live from a start to the next. A failure is
/// reported.
void lid_allocBalance(LidUnit& unit);

/// Lets go of the seven arrays.
void lid_freeBalance(LidUnit& unit);

/// Scratch for the loads of a unit, kg/s, one per pollutant; null before the first start.
double* lid_getLoadScratch();

/// New becomes old, for the group of a subcatchment at the start of a runoff step.
void lid_shiftGroup(int32_t subcatch);

/// All units of a subcatchment over one runoff step (s); adds to RunoffVolumes.
void lid_stepUnits(int32_t subcatch, double dt);

/// Takes from the mass that leaves a subcatchment in a runoff step (kg, one per pollutant) the share that its units
/// catch, and adds what they let go over their surfaces.
void lid_addSurfaceLoads(int32_t subcatch, double* runoffLoad);

/// Adds the underdrains of all units to their nodes, in the routing step.
void lid_addDrains();

/// One unit over one step (s). Outputs in m/s; the result is its surface outflow, m/s.
double lid_solveUnit(LidUnit& unit, const Lid& lid, double inflow, double evap, double dt, double* evapRate,
                     double* infilRate, double* drainRate, const double* load);

/// Adds the step in LidStep to the water balance of its unit.
void lid_addBalance();

/// Rates of change of the four states by the law of the unit's type, and the fluxes in LidStep.
void lid_ratesBioCell(const double* state, double* rates);
void lid_ratesGreenRoof(const double* state, double* rates);
void lid_ratesTrench(const double* state, double* rates);
void lid_ratesPavement(const double* state, double* rates);
void lid_ratesBarrel(const double* state, double* rates);
void lid_ratesSwale(const double* state, double* rates);

/// Outflow over the berm at a level (m), m/s.
double lid_surfaceOutflowRate(double level);

/// Flow of the underdrain, m/s, by the head that stands on it: levels in m, moisture as a share.
double lid_drainRate(double level, double moisture, double pavement, double surface);

/// Moves the pollutants with the water of the step, from the state before it.
void lid_moveQuality();
