#pragma once
// Land uses, and what runoff and rain take from the land.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

/// Buildup saturates exponentially.
struct BuildupRule {
    double maxBuildup;    ///< mass per hectare, limit of the curve
    double rateConstant;  ///< 1/day
};

/// The words of a line of [WASHOFF]; those behind EMC act as EMC with the concentration of an older EMC line, 0 without
/// one.
enum WashoffKind : int32_t {
    WASHOFF_EXP,
    WASHOFF_EMC,
    WASHOFF_SURFACE,
    WASHOFF_SOIL,
    WASHOFF_STORAGE,
    WASHOFF_PAVEMENT,
    WASHOFF_DRAINMAT,
    WASHOFF_DRAIN
};

struct WashoffRule {
    int32_t kind;         ///< WashoffKind
    double coefficient;   ///< of exponential washoff
    double exponent;      ///< on the runoff rate in mm/h
    double emc;           ///< mg/L, event-mean concentration
    double removal;       ///< share removed by treatment on the land; may exceed 1
    int32_t usesBuildup;  ///< 1: washoff takes its mass from the buildup
};

struct Landuse {
    const char* name;      ///< the ID as first seen
    BuildupRule* buildup;  ///< one per pollutant
    WashoffRule* washoff;  ///< one per pollutant
};

extern Table<Landuse> Landuses;

/// Makes the table for the counted land uses with their rules.
void landuse_createAll();

/// A line of [LANDUSES], for the row `index`. An error index, or 0.
int32_t landuse_readLine(const Tokens& tokens, int32_t index);

/// Lines of [COVERAGES], [BUILDUP], [WASHOFF] and [LOADINGS]. An error index, or 0.
int32_t landuse_readCoverage(const Tokens& tokens);
int32_t landuse_readBuildup(const Tokens& tokens);
int32_t landuse_readWashoff(const Tokens& tokens);
int32_t landuse_readLoading(const Tokens& tokens);

/// Buildup (kg) on an area (ha) after a dry time (s), from the present buildup (kg).
double landuse_buildupAfter(int32_t landuse, int32_t pollutant, double area, double present, double time);

/// Buildup of a subcatchment at the start of a run, and its sum into the balance.
void landuse_initBuildup(int32_t subcatch);

/// Buildup of a dry runoff step.
void landuse_growBuildup(int32_t subcatch, double dt);

/// Washoff of the land uses at a runoff rate (m/s) in one runoff step (s).
void landuse_washLand(int32_t subcatch, double rate, double dt);

/// What rain brings and ponded water holds, in one runoff step (s); reads RunoffVolumes of the same step.
void landuse_washRain(int32_t subcatch, double dt);
