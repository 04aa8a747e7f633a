#pragma once
// Low-impact development: definitions of controls as stacks of layers, and the units that stand on subcatchments.

#include <cstdint>

#include "model/decay.h"
#include "model/table.h"
#include "text/tokens.h"

/// Types of control: bio-retention cell, rain garden, green roof, infiltration trench, permeable pavement, rain barrel,
/// vegetative swale.
enum LidType : int32_t { LID_BC, LID_RG, LID_GR, LID_IT, LID_PP, LID_RB, LID_VS };

/// One kind of control.
struct Lid {
    const char* name;         ///< the ID as first seen; null until read
    int32_t type;             ///< LidType; -1 until a type line is read
    double surfaceDepth;      ///< m, height of the berm
    double surfaceVoid;       ///< 0 ... 1, the share that plants leave free
    double surfaceRoughness;  ///< Manning's n
    double surfaceSlope;      ///< m/m
    double sideSlope;         ///< run per rise, of a swale
    double surfaceAlpha;      ///< sqrt(slope) / n
    Decay* surfaceDecay;      ///< one per pollutant, as the others
    double pavementDepth;     ///< m, thickness
    double pavementVoid;      ///< 0 ... 1
    double pavementRate;      ///< m/s, permeability
    Decay* pavementDecay;
    double soilDepth;      ///< m, thickness
    double porosity;       ///< 0 ... 1
    double fieldCapacity;  ///< 0 ... 1
    double wiltingPoint;   ///< 0 ... 1
    double soilRate;       ///< m/s, saturated conductivity
    double soilSlope;      ///< slope of ln(conductivity) over the moisture deficit
    Decay* soilDecay;
    double storageDepth;  ///< m, thickness; of a green roof that of its mat
    double storageVoid;   ///< 0 ... 1
    double storageRate;   ///< m/s, seepage into the native soil
    Decay* storageDecay;
    double drainCoefficient;  ///< mm/h per mm^exponent of head
    double drainExponent;
    double drainOffset;   ///< m, height of the drain above the floor of the storage
    double drainDelay;    ///< s, dry time before a barrel drains
    double matDepth;      ///< m, thickness of the drainage mat
    double matVoid;       ///< 0 ... 1
    double matRoughness;  ///< Manning's n
    double matAlpha;      ///< sqrt(slope) / n
    Decay* matDecay;
};

/// A control at work on a part of a subcatchment. The same record serves the one that stands as a node.
struct LidUnit {
    int32_t lid;               ///< the definition
    int32_t gage;              ///< rain gage of a node, or -1
    double area;               ///< m2
    double fullWidth;          ///< m, of the outflow
    double initialSaturation;  ///< 0 ... 1
    double fromImpervious;     ///< 0 ... 1, share taken of the subcatchment's runoff, or of the node's inflow
    int32_t drainNode;         ///< node that gets the underdrain, or -1
    int32_t next;              ///< next unit of the same subcatchment, or -1
    double surfaceLevel;       ///< m
    double pavementLevel;      ///< m
    double soilMoisture;       ///< 0 ... 1
    double storageLevel;       ///< m
    double* lastSurfaceMass;   ///< kg, one per pollutant; at the start of the step, as the three below
    double* lastPavementMass;  ///< kg
    double* lastSoilMass;      ///< kg
    double* lastStorageMass;   ///< kg
    double* thisSurfaceMass;   ///< kg, at the end of the step, as the three below
    double* thisPavementMass;  ///< kg
    double* thisSoilMass;      ///< kg
    double* thisStorageMass;   ///< kg
    double dryTime;            ///< s, since it rained
    double surfaceChange;      ///< m/s, last rate of change of the level
    double soilChange;         ///< 1/s
    double storageChange;      ///< m/s
    double pavementChange;     ///< m/s
    double lastSurfaceFlow;    ///< m3/s
    double thisSurfaceFlow;    ///< m3/s, over the surface; of a node with what passes around the unit
    double* lastSurfaceLoad;   ///< kg/s, one per pollutant
    double* thisSurfaceLoad;   ///< kg/s
    double lastDrainFlow;      ///< m3/s
    double thisDrainFlow;      ///< m3/s, through the underdrain
    double* lastDrainLoad;     ///< kg/s, one per pollutant
    double* thisDrainLoad;     ///< kg/s
    double evapRate;           ///< mm/day, for results of a node
    double infilRate;          ///< mm/h, for results of a node
    double rainDepth;          ///< m, of the run, of a node
    double inflowDepth;        ///< m, of the run
    double evapDepth;          ///< m
    double infilDepth;         ///< m
    double surfaceOutDepth;    ///< m
    double drainDepth;         ///< m
    double initialDepth;       ///< m, stored at the start
    double finalDepth;         ///< m, stored at the end
    double* rainLoad;          ///< kg, one per pollutant, of the run, as the six below
    double* inflowLoad;        ///< kg
    double* exfilLoad;         ///< kg
    double* surfaceOutLoad;    ///< kg
    double* drainOutLoad;      ///< kg
    double* finalLoad;         ///< kg
    double* reactedLoad;       ///< kg
};

/// The units of one subcatchment, in the order of their lines.
struct LidGroup {
    double lastSurfaceOutflow;  ///< m3/s, of all units
    double thisSurfaceOutflow;  ///< m3/s
    double lastDrainFlow;       ///< m3/s
    double thisDrainFlow;       ///< m3/s
    int32_t firstUnit;          ///< unit, or -1 for a subcatchment without units
    int32_t lastUnit;           ///< unit
};

extern Table<Lid> Lids;
extern Table<LidGroup> LidGroups;  ///< one per subcatchment
extern Table<LidUnit> LidUnits;    ///< of all subcatchments, in the order of their lines

/// Makes the table of definitions at their defaults, and a group without units for each subcatchment. A failure is the
/// current error.
void lid_createTables();

/// The group of a subcatchment, or null if no unit stands on it.
LidGroup* lid_findGroup(int32_t subcatch);

/// Forgets groups, units and definitions.
void lid_deleteTables();

/// A line of [LIDS] or [LID_GROUPS]. An error index, or 0.
int32_t lid_readLine(const Tokens& tokens);
int32_t lid_readGroupLine(const Tokens& tokens);

/// The items of a line of [DECAY_COEFFICIENT] for a definition, from token 2 on. An error index, or 0.
int32_t lid_readDecayLine(const Tokens& tokens, int32_t lid);

/// Adds a unit at the end of a subcatchment's group: area in m2, width in m, initial saturation and share in %. An
/// error index, or 0.
int32_t lid_addUnit(int32_t subcatch, int32_t lid, double area, double width, double saturation, double share,
                    int32_t drainNode);

/// Tests all definitions, then the units of each subcatchment; writes what is wrong to the report.
void lid_validateAll();

/// Tests one definition and works out what follows from it.
void lid_validateOne(int32_t lid);
