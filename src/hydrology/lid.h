#pragma once
// Low-impact development: definitions of controls as stacks of layers.

#include <cstdint>

#include "model/decay.h"
#include "model/table.h"
#include "text/tokens.h"

struct Model;

/// Types of control: bio-retention cell, rain garden, green roof, infiltration trench, permeable pavement, rain barrel,
/// vegetative swale.
enum LidType : int32_t { LID_BC, LID_RG, LID_GR, LID_IT, LID_PP, LID_RB, LID_VS };

/// Layers, as lines of [LIDS] name them. What LAYER_COUNT stands for beside them is the line of the type.
enum LidLayer : int32_t {
    LAYER_SURFACE,
    LAYER_SOIL,
    LAYER_STORAGE,
    LAYER_PAVEMENT,
    LAYER_DRAINMAT,
    LAYER_DRAIN,
    LAYER_COUNT
};

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

/// Makes the table of definitions at their defaults. A failure is the current error.
void lid_createAll(Model& model);

/// A line of [LIDS]. An error index, or 0.
[[nodiscard]] int32_t lid_readLine(Model& model, const Tokens& tokens);

/// The items of a line of [DECAY_COEFFICIENT] for a definition, from token 2 on. An error index, or 0.
[[nodiscard]] int32_t lid_readDecayLine(Model& model, const Tokens& tokens, int32_t lid);

/// Tests all definitions and works out what follows from them; writes what is wrong to the report.
void lid_validateAll(Model& model);

/// Whether the layers of a definition go together, and what follows from them: for whoever has changed one.
[[nodiscard]] bool lid_isGood(const Lid& lid);
void lid_derive(const Model& model, Lid& lid);

/// Works out the reactions of an hour of the day and a step (s) in all layers of all controls. Units that share a
/// control find them ready then, also in several threads.
void lid_prepareDecay(const Model& model, int32_t hour, double dt);

/// Writes an invalid parameter to the report: the name of the control, and a phrase that tells where to look.
void lid_reportParameter(Model& model, const Lid& lid, const char* phrase);
