// LID units over a step. The rooms lidgroup, in a runoff step, and lidmono, in a routing step, call the solver; each
// has units of its own. The solver is one explicit Euler step of the four states, but for the swale, whose channel
// wants the trapezoidal rule by fixed-point passes. It stands here once for each type, so that a step doesn't ask for
// it again and again; bio-retention cell and rain garden are one.

#include "hydrology/lidsolver.h"

#include <algorithm>
#include <cmath>

#include "hydrology/lidquality.h"
#include "model/model.h"

static constexpr double UNLIMITED = 1e10;  ///< m
static constexpr int32_t MAX_PASSES = 19;
static constexpr double PASS_TOLERANCE = 0.00328;  ///< m, and the same figure for the moisture

/// Upper limit of the infiltration of the surface: what comes in, what the next layer conducts, and what room it has.
/// The water that stands on the surface has no part in it.
template <LidType TYPE>
[[gnu::always_inline]] static inline double getInfiltrationLimit(const LidStep& s) {
    const Lid& lid = *s.lid;
    if constexpr (TYPE == LID_PP) {
        return 0.0;
    }
    if (lid.soilRate > 0.0) {
        return std::min(std::min(lid.soilRate, s.inflow), (lid.porosity - s.unit->soilMoisture) * lid.soilDepth / s.dt);
    }
    if (lid.storageRate > 0.0) {
        return std::min(std::min(lid.storageRate, s.inflow),
                        (lid.storageDepth - s.unit->storageLevel) * lid.storageVoid / s.dt);
    }
    return 0.0;
}

/// Fluxes and volumes of a unit that has none of the layers they belong to. Written out, so that those are left out
/// which the rates of a type set.
[[gnu::always_inline]] static inline void clearFluxes(LidStep& s) {
    s.surfaceVolume = s.pavementVolume = s.soilVolume = s.storageVolume = 0.0;
    s.surfaceEvap = s.pavementEvap = s.soilEvap = s.storageEvap = 0.0;
    s.surfaceOutflow = s.pavementPerc = s.soilPerc = 0.0;
    s.storageInflow = s.storageExfil = s.storageDrain = 0.0;
}

struct StateLimits {
    LidStates min;
    LidStates max;
};

template <LidType TYPE>
static StateLimits getLimits(const Lid& lid) {
    StateLimits limits;
    limits.min[STATE_SURFACE] = 0.0;
    limits.max[STATE_SURFACE] = UNLIMITED;
    limits.min[STATE_SOIL] = lid.soilDepth > 0.0 ? lid.wiltingPoint : 0.0;
    limits.max[STATE_SOIL] = lid.soilDepth > 0.0 ? lid.porosity : UNLIMITED;
    limits.min[STATE_STORAGE] = 0.0;
    limits.max[STATE_STORAGE] = TYPE == LID_GR ? lid.matDepth : lid.storageDepth > 0.0 ? lid.storageDepth : UNLIMITED;
    limits.min[STATE_PAVEMENT] = 0.0;
    limits.max[STATE_PAVEMENT] = lid.pavementDepth > 0.0 ? lid.pavementDepth : UNLIMITED;
    return limits;
}

template <LidType TYPE>
static LidStates getRates(LidStep& s, const LidStates& state) {
    switch (TYPE) {
        case LID_BC:
        case LID_RG: return lidrates_ofBioCell(s, state);
        case LID_GR: return lidrates_ofGreenRoof(s, state);
        case LID_IT: return lidrates_ofTrench(s, state);
        case LID_PP: return lidrates_ofPavement(s, state);
        case LID_RB: return lidrates_ofBarrel(s, state);
        default: return lidrates_ofSwale(s, state);
    }
}

static double moveState(double rate, double dt, double state, double min, double max) {
    return std::min(std::max(rate * dt + state, min), max);
}

/// Advances `state` by one step. `rates` are the old rates at first, and those of the step in the end.
template <LidType TYPE>
[[gnu::always_inline]] static inline void integrate(LidStep& s, LidStates& state, LidStates& rates) {
    const StateLimits limits = getLimits<TYPE>(*s.lid);
    const LidStates newRates = getRates<TYPE>(s, state);
    for (size_t i = 0; i < LID_STATE_COUNT; ++i) {
        // The old rates have a weight of 0, which makes no number of one that isn't finite, and takes the sign of -0.0.
        state[i] = moveState(newRates[i] + 0.0 * rates[i], s.dt, state[i], limits.min[i], limits.max[i]);
    }
    rates = newRates;
}

/// The same by the trapezoidal rule. `rates` are those of the last pass in the end, which belong to the state before
/// the last update.
template <>
void integrate<LID_VS>(LidStep& s, LidStates& state, LidStates& rates) {
    const StateLimits limits = getLimits<LID_VS>(*s.lid);
    const LidStates oldState = state, oldRates = rates;
    for (int32_t pass = 1; pass <= MAX_PASSES; ++pass) {
        rates = getRates<LID_VS>(s, state);
        bool isSteady = true;
        for (size_t i = 0; i < LID_STATE_COUNT; ++i) {
            const double rate = 0.5 * rates[i] + 0.5 * oldRates[i];
            const double value = moveState(rate, s.dt, oldState[i], limits.min[i], limits.max[i]);
            isSteady = isSteady && std::fabs(value - state[i]) <= PASS_TOLERANCE;
            state[i] = value;
        }
        if (isSteady) {
            return;
        }
    }
}

/// Without an outflow width nothing can pond above the berm: it runs off within the step.
template <LidType TYPE>
static void spillAboveBerm(LidStep& s, double& level) {
    const Lid& lid = *s.lid;
    if (TYPE == LID_RB || s.unit->fullWidth != 0.0) {
        return;
    }
    const double excess = level - lid.surfaceDepth;
    if (excess > 0.0) {
        level = lid.surfaceDepth;
        s.surfaceOutflow += excess * lid.surfaceVoid / s.dt;
    }
}

/// Adds the step to the water balance of its unit.
[[gnu::always_inline]] static inline void addBalance(const LidStep& s, const LidOutflow& out) {
    LidUnit& unit = *s.unit;
    unit.inflowRate = s.inflow;
    unit.infilRate = out.infil;
    // Summed in another order than the rate that leaves the step, which can make another last bit.
    unit.evapRate = s.pavementEvap + s.surfaceEvap + s.soilEvap + s.storageEvap;
    unit.inflowDepth += s.dt * s.inflow;
    unit.infilDepth += out.infil * s.dt;
    unit.evapDepth += unit.evapRate * s.dt;
    unit.surfaceOutDepth += out.surface * s.dt;
    unit.drainDepth += out.drain * s.dt;
    // The water at the last pass, which for an explicit step is that at its start.
    unit.finalDepth = s.pavementVolume + s.surfaceVolume + s.soilVolume + s.storageVolume;
}

template <LidType TYPE>
[[gnu::noinline]] static LidOutflow advance(const Model& model, LidStep& s) {
    LidUnit& unit = *s.unit;
    LidStates state = {unit.surfaceLevel, unit.soilMoisture, unit.storageLevel, unit.pavementLevel};
    LidStates rates = {unit.surfaceChange, unit.soilChange, unit.storageChange, unit.pavementChange};
    clearFluxes(s);
    s.surfaceInfil = getInfiltrationLimit<TYPE>(s);
    integrate<TYPE>(s, state, rates);
    spillAboveBerm<TYPE>(s, state[STATE_SURFACE]);
    lidquality_advance(model, s);
    unit.surfaceLevel = state[STATE_SURFACE];
    unit.soilMoisture = state[STATE_SOIL];
    unit.storageLevel = state[STATE_STORAGE];
    unit.pavementLevel = state[STATE_PAVEMENT];
    unit.surfaceChange = rates[STATE_SURFACE];
    unit.soilChange = rates[STATE_SOIL];
    unit.storageChange = rates[STATE_STORAGE];
    unit.pavementChange = rates[STATE_PAVEMENT];
    const LidOutflow out = {s.surfaceEvap + s.pavementEvap + s.soilEvap + s.storageEvap, s.storageExfil, s.storageDrain,
                            s.surfaceOutflow};
    addBalance(s, out);
    return out;
}

LidOutflow lidsolver_advance(const Model& model, LidStep& s) {
    switch (s.lid->type) {
        case LID_BC:
        case LID_RG: return advance<LID_BC>(model, s);
        case LID_GR: return advance<LID_GR>(model, s);
        case LID_IT: return advance<LID_IT>(model, s);
        case LID_PP: return advance<LID_PP>(model, s);
        case LID_RB: return advance<LID_RB>(model, s);
        default: return advance<LID_VS>(model, s);
    }
}
