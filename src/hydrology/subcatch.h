#pragma once
// Subcatchments: planes of an impervious and a pervious part, each drained as a nonlinear reservoir.

#include <cstdint>

#include "model/project.h"
#include "model/table.h"
#include "text/tokens.h"

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
    double maxInfilRate;         ///< m/s, Horton's initial rate
    double minInfilRate;         ///< m/s, Horton's final rate
    double infilDecay;           ///< 1/s, Horton's decay constant
    double infilRecovery;        ///< 1/s, recovery while it is dry
    double maxInfilVolume;       ///< m, limit of the cumulative infiltration; 0 means none
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
    double infilTime;            ///< s, equivalent time on Horton's curve
    double infilVolume;          ///< m, cumulative infiltration; kept only with a limit
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

extern Table<Subcatch> Subcatches;

/// Water of one subcatchment in one runoff step, m3. One record serves all, one after the other.
struct RunoffVolumesRecord {
    double lidInfil;        ///< infiltration of all LID units
    double evap;            ///< from the area without LID units, and of LID units
    double lidOutflow;      ///< surface outflow of all LID units
    double infil;           ///< of the area without LID units, and of LID units
    double lidRunon;        ///< outflow of the area without LID units that is led onto LID units
    double surfaceOutflow;  ///< outflow of the area without LID units, before that
    double wetInflow;       ///< on the area without LID units: ponded at the start, and rain of the step
};

extern RunoffVolumesRecord RunoffVolumes;

/// Makes the table for the counted subcatchments with their arrays, and empties it.
void subcatch_createAll();
void subcatch_deleteAll();

/// A line of [SUBCATCHS], for the row `subcatch`. An error index, or 0.
int32_t subcatch_readLine(const Tokens& tokens, int32_t subcatch);

/// Tests all subcatchments and marks their gages; writes what is wrong to the report.
void subcatch_validateAll();

/// Puts a subcatchment to the start of a run.
void subcatch_initState(int32_t subcatch);

/// Water balance of one runoff step.
void subcatch_stepWater(int32_t subcatch);

/// Drains a plane as a nonlinear reservoir. Outflow in m3/s; updates the depth. Rates in m/s, lengths in m, `dt` in s.
double subcatch_drainSurface(double rain, double evap, double infil, double* depth, double storage, double dt,
                             double area, double width, double slope, double roughness);

/// Horton's infiltration, m/s, never above `available`. `time` (s) is the place on the curve, `volume` (m) its sum.
double subcatch_infilRate(double available, double maxVolume, double maxRate, double minRate, double decay,
                          double recovery, double* time, double* volume, double dt);

/// Runoff at a routing clock (ms) between the last two runoff steps: the weight of the newer one, 0 ... 1.
double subcatch_getWeight(double time);

/// Adds the runoff of all subcatchments to their nodes, in the routing step that begins at `time` (ms).
void subcatch_addRunoff(double time);

/// Adds a step of `dt` seconds to the statistics.
void subcatch_countStep(Subcatch& subcatch, double dt);
