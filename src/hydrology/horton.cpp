// Infiltration by Horton's law (1940): the rate falls from an initial to a final one, exponentially with time. The time
// is an equivalent one, the place on the cumulative curve: it moves on by what the ground could have taken, also in a
// light rain, and back in dry steps. Subcatchments call this room once per runoff step.

#include "hydrology/horton.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

static constexpr double NO_WATER = 1e-10;         ///< m/s, at or below which the ground dries
static constexpr double CURVE_END = 16.0;         ///< of decay times time, from which the final rate holds
static constexpr double STEEPEST_DECAY = 60.0;    ///< of decay times time, for the exponential of a trial
static constexpr double NEAR_ENOUGH = 0.001;      ///< of the step, by which the last pass may move the time
static constexpr int32_t MAX_NEWTON_PASSES = 20;  ///< of Newton's method

/// exp(x), without the work where nothing has begun to decay.
static double getDecayed(double x) {
    return x == 0.0 ? 1.0 : std::exp(x);
}

/// The ground recovers. The logarithm is never positive, so the time falls to 0 in the first dry step and infiltration
/// starts afresh: recovery is whole after one step, whatever its rate.
static void recover(const HortonSoil& soil, HortonState& state, double dt) {
    if (state.time != 0.0) {
        const double left = 1.0 - std::exp(-soil.decay * state.time);
        const double next = 1.0 / soil.decay * std::log(1.0 - left * std::exp(-soil.recovery * dt));
        state.time = next > 0.0 ? next : 0.0;
    }
    if (soil.maxVolume > 0.0) {
        state.volume = (1.0 - getDecayed(-state.time * soil.decay)) * ((soil.maxRate - soil.minRate) / soil.decay) +
                       state.time * soil.minRate;
    }
}

/// The time at which the cumulative curve reaches `target` (m), by Newton's method from the time of the state.
static double findTime(const HortonSoil& soil, double time, double target, double dt) {
    const double c = (soil.maxRate - soil.minRate) / soil.decay;
    time = time + dt * 0.5;
    for (int32_t pass = 0; pass < MAX_NEWTON_PASSES; ++pass) {
        const double x = std::min(time * soil.decay, STEEPEST_DECAY);
        const double ex = std::exp(-x);
        const double delta =
            ((1.0 - ex) * c + time * soil.minRate - target) / ((soil.maxRate - soil.minRate) * ex + soil.minRate);
        time = time - delta;
        if (!(std::fabs(delta) > dt * NEAR_ENOUGH)) {
            break;
        }
    }
    return time;
}

double horton_getRate(const HortonSoil& soil, HortonState& state, double available, double dt) {
    if (soil.recovery > 0.0 && !(available > NO_WATER)) {
        recover(soil, state, dt);
        return 0.0;
    }
    const double tp = state.time;
    const double end = tp + dt;
    const double c = (soil.maxRate - soil.minRate) / soil.decay;
    const double limit = CURVE_END / soil.decay;
    double sum, endSum;  // m, on the cumulative curve at both ends of the step
    if (tp < limit) {
        sum = (1.0 - getDecayed(-tp * soil.decay)) * c + tp * soil.minRate;
        endSum = (1.0 - std::exp(-end * soil.decay)) * c + end * soil.minRate;
    } else {
        sum = tp * soil.minRate + c;
        endSum = soil.minRate * dt + sum;
    }
    double rate = (endSum - sum) / dt;
    rate = rate < soil.minRate ? soil.minRate : rate;
    if (end > limit || available > rate) {
        state.time = end;
    } else {
        // The place on the curve moves by what the ground could take, not by what there is.
        state.time = findTime(soil, tp, rate * dt + sum, dt);
    }
    if (soil.maxVolume > 0.0) {
        if (rate * dt + state.volume > soil.maxVolume) {
            rate = (soil.maxVolume - state.volume) / dt;
        }
        rate = rate < 0.0 ? 0.0 : rate;
        state.volume = rate * dt + state.volume;
    }
    return std::min(rate, available);
}
