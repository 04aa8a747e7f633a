#pragma once
// LID units: a control at work on a part of a subcatchment, or in a node of the network.

#include <cstdint>

#include "hydrology/lid.h"
#include "model/arena.h"
#include "model/balance.h"
#include "text/tokens.h"

struct Model;

struct LidUnit {
    int32_t lid;               ///< the definition
    double area;               ///< m2
    double fullWidth;          ///< m, of the outflow
    double initialSaturation;  ///< 0 ... 1
    double fromImpervious;     ///< 0 ... 1, share taken of the subcatchment's runoff, or of the node's inflow
    int32_t drainNode;         ///< node that gets the underdrain, or -1
    int32_t next;              ///< next unit of the same subcatchment, or -1
    int32_t subcatch;          ///< subcatchment that it stands on, or -1
    double surfaceLevel;       ///< m; this and the three below stand as the solver has them, like their rates of change
    double soilMoisture;       ///< 0 ... 1
    double storageLevel;       ///< m
    double pavementLevel;      ///< m
    double* lastSurfaceMass;   ///< kg, one per pollutant; at the start of the step, as the three below
    double* lastPavementMass;  ///< kg
    double* lastSoilMass;      ///< kg
    double* lastStorageMass;   ///< kg
    double* thisSurfaceMass;   ///< kg, at the end of the step, as the three below
    double* thisPavementMass;  ///< kg
    double* thisSoilMass;      ///< kg
    double* thisStorageMass;   ///< kg
    double* thisSurfaceLoad;   ///< kg/s, over the surface in this step
    double* thisDrainLoad;     ///< kg/s, through the underdrain in this step
    double dryTime;            ///< s, since it rained
    double surfaceChange;      ///< m/s, last rate of change of the level
    double soilChange;         ///< 1/s
    double storageChange;      ///< m/s
    double pavementChange;     ///< m/s
    double lastSurfaceFlow;    ///< m3/s
    double thisSurfaceFlow;    ///< m3/s, over the surface; of a node with what passes around the unit
    double lastDrainFlow;      ///< m3/s
    double thisDrainFlow;      ///< m3/s, through the underdrain
    double inflowRate;         ///< m/s, rain and runon in the last step, as the balance counts them; so the two below
    double evapRate;           ///< m/s
    double infilRate;          ///< m/s
    double inflowDepth;        ///< m, of the run
    double evapDepth;          ///< m
    double infilDepth;         ///< m
    double surfaceOutDepth;    ///< m
    double drainDepth;         ///< m
    double initialDepth;       ///< m, stored at the start
    double finalDepth;         ///< m, stored at the end
    double* load;              ///< kg/s, entering in this step, one per pollutant; set by whoever steps the unit
    double* rainLoad;          ///< kg, one per pollutant, of the run, as the six below
    double* inflowLoad;        ///< kg
    double* exfilLoad;         ///< kg
    double* surfaceOutLoad;    ///< kg
    double* drainOutLoad;      ///< kg
    double* finalLoad;         ///< kg
    double* reactedLoad;       ///< kg
};

/// Reads the words of a unit's line from `place` on: area, width, saturation, share, and after them the node of the
/// drain, if there is one. The lines of units refuse nan, those of nodes let it pass for all but the area. An error
/// index, or 0.
[[nodiscard]] int32_t lidunit_readItems(Model& model, const Tokens& tokens, int32_t place, bool takesNan,
                                        LidUnit& unit);

/// The arrays of masses and loads in the layers, from one piece of memory of an arena; none without memory, which is
/// false.
[[nodiscard]] bool lidunit_createArrays(const Model& model, LidUnit& unit, Arena& arena);

/// Sets the masses and loads in the layers to 0.
void lidunit_clearArrays(const Model& model, LidUnit& unit);

/// The loads of the quality balance and the load that enters, zeroed; they live from a start to the next. A failure is
/// reported.
void lidunit_openBalance(Model& model, LidUnit& unit);

/// Lets go of the arrays, when the memory of the results of a run goes.
void lidunit_forgetArrays(LidUnit& unit);
void lidunit_forgetBalance(LidUnit& unit);

/// Levels at the initial saturation, flows and the water balance of the start of a run. The water in a mat is worked
/// out with the void given.
void lidunit_initState(LidUnit& unit, const Lid& lid, double matVoid);

/// Water (m3) and one pollutant (kg) over the run, from above and by rain as well. No load before the first start,
/// which is false.
[[nodiscard]] Balance lidunit_getBalance(const LidUnit& unit);
[[nodiscard]] bool lidunit_getLoadBalance(const LidUnit& unit, int32_t pollutant, Balance& balance);

/// Numbers from `load` on: the load that enters and the quality balance stand one after the other.
[[nodiscard]] int64_t lidunit_getSumCount(const Model& model);

/// Whether the masses at the end of a step are, bit for bit, those at its start.
[[nodiscard]] bool lidunit_areMassesSteady(const Model& model, const LidUnit& unit);

/// New becomes old, at the start of a step.
void lidunit_shiftState(const Model& model, LidUnit& unit);
