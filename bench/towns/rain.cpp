// See rain.h.

#include "rain.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace {

constexpr uint64_t STORMS = 100;  ///< streams of random numbers
constexpr uint64_t SHARES = 101;

struct Season {
    double storms;        ///< per day
    double cells;         ///< mean number of cells of a storm, beside the first
    double displacement;  ///< h, mean delay of a cell behind the origin of its storm
    double duration;      ///< h, mean of a cell
    double rate;          ///< mm/h, mean of a cell
};

constexpr Season WINTER = {0.29, 5.0, 5.0, 1.6, 0.55};
constexpr Season BETWEEN = {0.27, 4.0, 4.0, 1.2, 0.95};
constexpr Season SUMMER = {0.26, 3.0, 2.5, 0.7, 3.2};

constexpr Season MONTHS[12] = {WINTER, WINTER, BETWEEN, BETWEEN, BETWEEN, SUMMER,
                               SUMMER, SUMMER, BETWEEN, BETWEEN, WINTER,  WINTER};

const Season& findSeason(double day) {
    return MONTHS[static_cast<int>(day / (RAIN_DAYS / 12.0)) % 12];
}

/// The number of points of a Poisson process of rate 1 up to `mean`.
int pickPoisson(TownRandom& random, double mean) {
    int count = 0;
    for (double sum = townRandom_getExponential(random); sum <= mean; sum += townRandom_getExponential(random)) {
        ++count;
    }
    return count;
}

/// Adds a pulse from `begin` to `end` (both in intervals) to the depths, in hundredths of mm/h times intervals.
void addPulse(std::vector<double>& depths, double begin, double end, double rate) {
    const double last = std::min(end, static_cast<double>(depths.size()));
    for (double at = begin; at < last;) {
        const double next = std::min(std::floor(at) + 1.0, last);
        depths[static_cast<size_t>(at)] += rate * (next - at);
        at = next;
    }
}

}  // namespace

std::vector<int32_t> rain_makeYear(uint64_t seed, int gage) {
    constexpr double PER_HOUR = 3600.0 / RAIN_INTERVAL;
    TownRandom random = townRandom_make(seed, STORMS, 0);
    TownRandom shares = townRandom_make(seed, SHARES, static_cast<uint64_t>(gage));
    std::vector<double> depths(static_cast<size_t>(RAIN_DAYS) * RAIN_INTERVALS_PER_DAY, 0.0);
    for (double day = 0.0;;) {
        day += townRandom_getExponential(random) / findSeason(day).storms;
        if (day >= RAIN_DAYS) {
            break;
        }
        const Season& season = findSeason(day);
        const int cells = 1 + pickPoisson(random, season.cells);
        for (int cell = 0; cell < cells; ++cell) {
            const double delay = townRandom_getExponential(random) * season.displacement * PER_HOUR;
            const double duration = townRandom_getExponential(random) * season.duration * PER_HOUR;
            const double rate = townRandom_getExponential(random) * season.rate * 100.0;
            const double begin = day * RAIN_INTERVALS_PER_DAY + delay + gage;
            addPulse(depths, begin, begin + duration, rate * (0.7 + 0.6 * townRandom_getUnit(shares)));
        }
    }
    std::vector<int32_t> rates;
    rates.reserve(depths.size());
    for (const double depth : depths) {
        rates.push_back(static_cast<int32_t>(std::lround(depth)));
    }
    return rates;
}
