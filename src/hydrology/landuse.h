#pragma once
// Land uses: the laws by which pollutants build up on them and wash off.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

struct Model;

/// Buildup saturates exponentially.
struct BuildupRule {
    double maxBuildup;    ///< mass per hectare, limit of the curve
    double rateConstant;  ///< 1/day
};

/// The words of a line of [WASHOFF]. Those from SURFACE on act as EMC with the concentration of an older EMC line, 0
/// without one.
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
    int32_t kind;        ///< WashoffKind
    double coefficient;  ///< of exponential washoff
    double exponent;     ///< on the runoff rate in mm/h
    double emc;          ///< mg/L, event-mean concentration
    double removal;      ///< share removed by treatment on the land; may exceed 1
    bool usesBuildup;    ///< washoff takes its mass from the buildup
};

struct Landuse {
    const char* name;      ///< the ID as first seen
    BuildupRule* buildup;  ///< one per pollutant
    WashoffRule* washoff;  ///< one per pollutant
};

/// A runoff rate, and its powers: land uses and pollutants mostly share a few exponents.
struct RunoffRate {
    static constexpr uint32_t ROOM = 4;

    double value;            ///< m/s
    double base;             ///< mm/h
    uint32_t count;          ///< of powers that were taken
    double exponents[ROOM];  ///< the last of them
    double powers[ROOM];
};

/// Makes the table for the counted land uses with their rules.
void landuse_createAll(Model& model);

/// A line of [LANDUSES], for the row `index`. An error index, or 0.
[[nodiscard]] int32_t landuse_readLine(Model& model, const Tokens& tokens, int32_t index);

/// Lines of [BUILDUP] and [WASHOFF]. An error index, or 0.
[[nodiscard]] int32_t landuse_readBuildup(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t landuse_readWashoff(Model& model, const Tokens& tokens);

/// From which buildup per hectare on one counts as there, and the logarithm of what is missing then. The curve has its
/// limit from that age (days) on.
extern const double LOG_NEARLY_FULL;
[[nodiscard]] double landuse_getNearlyFull(const BuildupRule& rule);
[[nodiscard]] double landuse_getFullAge(const BuildupRule& rule);

/// Buildup (kg) on an area (ha) after a dry time (s), from the present buildup (kg).
[[nodiscard]] double landuse_getBuildup(const BuildupRule& rule, double area, double present, double time);

/// A runoff rate (m/s) that no power was taken of yet.
[[nodiscard]] RunoffRate landuse_makeRate(double value);

/// Concentration (kg/m3) that a buildup (kg) on an area (m2) gives off at a runoff rate.
[[nodiscard]] double landuse_getWashoff(const WashoffRule& rule, double buildup, double area, RunoffRate& rate);
