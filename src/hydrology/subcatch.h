#pragma once
// Subcatchments: planes of an impervious and a pervious part, each drained as a nonlinear reservoir.

#include <cstdint>

#include "hydrology/horton.h"
#include "hydrology/plane.h"
#include "model/table.h"
#include "text/tokens.h"

struct Model;

/// What one land use holds on a subcatchment.
struct LandShare {
    double fraction;  ///< share of the whole area
    double* buildup;  ///< kg, one per pollutant
};

struct Subcatch {
    const char* name;            ///< the ID as first seen; null until read
    int32_t gage;                ///< rain gage; below 0: no rain
    int32_t outNode;             ///< node that gets the runoff; below 0: nothing does
    double area;                 ///< m2, the area of LID units included
    double* initialLoad;         ///< mass per hectare, one per pollutant; 0 or less: built up over the dry days
    LandShare* landShares;       ///< one per land use
    double width;                ///< m, of the overland flow
    double imperviousFraction;   ///< share of the area without LID units, 0 ... 1
    double slope;                ///< m/m
    double imperviousRoughness;  ///< Manning's n
    double perviousRoughness;    ///< Manning's n
    double imperviousStorage;    ///< m, depression storage
    double perviousStorage;      ///< m, depression storage
    HortonSoil soil;             ///< of the pervious part
    double lidArea;              ///< m2, of all LID units
    double rain;                 ///< m/s, of the runoff step
    double evapRate;             ///< m/s, of the runoff step, over the whole area
    double infilRate;            ///< m/s, likewise
    double imperviousRunoff;     ///< m3/s, of the runoff step
    double perviousRunoff;       ///< m3/s
    double lastRunoff;           ///< m3/s, outflow at the end of the runoff step before
    double thisRunoff;           ///< m3/s, outflow at the end of this runoff step
    double imperviousDepth;      ///< m, ponded
    double perviousDepth;        ///< m, ponded
    HortonState infilState;      ///< of the soil
    SlopeRoot slopeRoot;         ///< of the slope
    SheetPower imperviousSheet;  ///< of what flows off the impervious part
    SheetPower perviousSheet;    ///< likewise
    double* runoffLoad;          ///< kg, leaving in this step, one per pollutant; lives as long as the run
    double* lastWashoffRate;     ///< kg/s, one per pollutant
    double* thisWashoffRate;     ///< kg/s
    double* lastQuality;         ///< mg/L, in lastRunoff
    double* thisQuality;         ///< mg/L, in thisRunoff
    double* pondedMass;          ///< kg, in the ponded water
    double rainfall;             ///< mm, of the run
    double evap;                 ///< mm
    double infil;                ///< mm
    double runoff;               ///< mm
    double peakRunoff;           ///< m3/s
    double* initBuildup;         ///< kg, one per pollutant, as the five below; live from a start to the next
    double* surfaceBuildup;      ///< kg
    double* wetDeposition;       ///< kg
    double* infilLoss;           ///< kg
    double* bmpRemoval;          ///< kg
    double* surfaceWashoff;      ///< kg
};

/// Water of one subcatchment in one runoff step, m3.
struct RunoffVolumes {
    double lidInfil;        ///< infiltration of all LID units
    double evap;            ///< from the area without LID units, and of LID units
    double lidOutflow;      ///< surface outflow of all LID units
    double infil;           ///< of the area without LID units, and of LID units
    double lidRunon;        ///< outflow of the area without LID units that is led onto LID units
    double surfaceOutflow;  ///< outflow of the area without LID units, before that
    double wetInflow;       ///< on the area without LID units: ponded at the start, and rain of the step
};

/// Makes the table for the counted subcatchments with their arrays.
void subcatch_createAll(Model& model);

/// A line of [SUBCATCHS], for the row `subcatch`. An error index, or 0.
[[nodiscard]] int32_t subcatch_readLine(Model& model, const Tokens& tokens, int32_t subcatch);

/// Lines of [COVERAGES] and [LOADINGS]. An error index, or 0.
[[nodiscard]] int32_t subcatch_readCoverage(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t subcatch_readLoading(Model& model, const Tokens& tokens);

/// Drying time of the soil, days; what the record keeps is a rate of recovery.
[[nodiscard]] double subcatch_getDryingTime(const Subcatch& subcatch);
void subcatch_setDryingTime(Subcatch& subcatch, double days);

/// Tests all subcatchments and marks their gages; writes what is wrong to the report.
void subcatch_validateAll(Model& model);

/// Makes the statistics of a run, all of them 0. A failure is reported.
void subcatch_openStatistics(Model& model, Subcatch& subcatch);

/// Sets the statistics that are kept by pollutant back to 0, if there are any.
void subcatch_clearLoads(const Model& model, Subcatch& subcatch);

/// Puts a subcatchment to the start of a run.
void subcatch_initState(const Model& model, Subcatch& subcatch);

/// New becomes old, at the start of a runoff step.
void subcatch_shiftState(const Model& model, Subcatch& subcatch);

/// Rain of a runoff step (s), and the water of the area that no LID unit covers.
[[nodiscard]] RunoffVolumes subcatch_stepLand(const Model& model, Subcatch& subcatch, double dt);

/// The same where nothing happens but that ponded water on the impervious part, which is below its depression storage,
/// evaporates: no rain, nothing ponded on the pervious part, a soil that has recovered, no negative evaporation.
[[nodiscard]] RunoffVolumes subcatch_dryPond(const Model& model, Subcatch& subcatch, double dt);

/// Losses and outflow of the step, once the water of the LID units is known as well.
void subcatch_closeStep(Subcatch& subcatch, const RunoffVolumes& volumes, double dt);

/// Runoff at a routing clock (ms) between the last two runoff steps: the weight of the newer one, 0 ... 1.
[[nodiscard]] double subcatch_getWeight(const Model& model, double time);

/// Adds a step of `dt` seconds to the statistics; and so the losses alone, where nothing else happens.
void subcatch_countLosses(Subcatch& subcatch, double dt);
void subcatch_countStep(const Model& model, Subcatch& subcatch, double dt);
