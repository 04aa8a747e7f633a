// Sums of a moving window are made by adding alone: what is taken off a sum leaves a rest of its rounding, and a window
// without water would get a mean of nothing.

#include "plotseries.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "dates.h"
#include "statssummary.h"
#include "units.h"

namespace {

constexpr size_t MOST_POINTS = 20000;  ///< of a line that is drawn as it is
constexpr size_t SPANS = 4000;         ///< of a longer one; the largest picture is 1920 points wide

struct Load {
    double mass = 0.0;
    double water = 0.0;

    void add(const Load& other) {
        mass += other.mass;
        water += other.water;
    }
};

/// Sums over a window whose ends move on: behind `middle` one sum, ahead of it sums from each place up to there.
struct LoadWindow {
    const std::vector<Load>& loads;
    std::vector<Load> ahead;
    Load behind{};
    size_t begin = 0, middle = 0;

    explicit LoadWindow(const std::vector<Load>& all) : loads(all), ahead(all.size()) {}

    /// Lets the first one go, where the last one is `last`.
    void drop(size_t last) {
        if (++begin >= middle) {
            Load sum;
            for (size_t k = last + 1; k-- > begin;) {
                sum.add(loads[k]);
                ahead[k] = sum;
            }
            middle = last + 1;
            behind = {};
        }
    }
    [[nodiscard]] Load get() const {
        Load sum = begin < middle ? ahead[begin] : Load{};
        sum.add(behind);
        return sum;
    }
};

bool isNumber(const ResultSeries& series, size_t k) {
    return k < series.values.size() && std::isfinite(series.values[k]);
}

/// Whether no line goes through a point.
bool isLone(const ResultSeries& series, size_t k) {
    return isNumber(series, k) && (k == 0 || !isNumber(series, k - 1)) && !isNumber(series, k + 1);
}

/// The places of a span that can be seen, in order.
std::vector<size_t> choosePlaces(const ResultSeries& series, size_t begin, size_t end) {
    size_t lowest = end, highest = end, gap = end;
    for (size_t k = begin; k < end; ++k) {
        if (!isNumber(series, k)) {
            gap = gap == end ? k : gap;
            continue;
        }
        lowest = lowest == end || series.values[k] < series.values[lowest] ? k : lowest;
        highest = highest == end || series.values[k] > series.values[highest] ? k : highest;
    }
    std::vector<size_t> places{begin, lowest, highest, gap, end - 1};
    std::erase(places, end);
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

std::string write(const ResultSeries& series, const char* form, const std::vector<double>& places) {
    const bool hasLone = plotseries_hasLonePoint(series);
    std::string text;
    bool isGap = false;
    for (size_t k = 0; k < series.values.size(); ++k) {
        if (!isNumber(series, k)) {
            text += isGap ? "" : "\n";
            isGap = true;
            continue;
        }
        isGap = false;
        char row[96];
        const int length = std::snprintf(row, sizeof row, form, places[k], series.values[k]);
        text.append(row, static_cast<size_t>(std::max(length, 0)));
        if (hasLone) {
            std::snprintf(row, sizeof row, " %.9g", isLone(series, k) ? series.values[k] : std::nan(""));
            text += isLone(series, k) ? row : " nan";
        }
        text += '\n';
    }
    return text;
}

}  // namespace

ResultSeries plotseries_weigh(const ResultSeries& concentrations, const std::vector<double>& flows, int64_t length,
                              double start) {
    const size_t count = concentrations.values.size();
    std::vector<Load> loads(count);
    for (size_t k = 0; k < count; ++k) {
        if (std::isfinite(flows[k]) && std::isfinite(concentrations.values[k])) {
            loads[k] = {flows[k] * concentrations.values[k], flows[k]};
        }
    }
    ResultSeries means{concentrations.dates, std::vector<double>(count, std::nan(""))};
    LoadWindow window(loads);
    const double first = dates_countSeconds(start), back = static_cast<double>(length);
    for (size_t k = 0; k < count; ++k) {
        const double begin = dates_countSeconds(concentrations.dates[k]) - back;
        window.behind.add(loads[k]);
        while (window.begin < k && dates_countSeconds(concentrations.dates[window.begin]) <= begin) {
            window.drop(k);
        }
        const Load sum = window.get();
        if (begin >= first && sum.water > 0.0) {
            means.values[k] = sum.mass / sum.water;
        }
    }
    return means;
}

ResultSeries plotseries_cut(const ResultSeries& series, const ResultWindow& window) {
    ResultSeries cut;
    for (size_t k = 0; k < series.dates.size(); ++k) {
        if (result_isWithin(window, series.dates[k])) {
            cut.dates.push_back(series.dates[k]);
            cut.values.push_back(series.values[k]);
        }
    }
    return cut;
}

ResultSeries plotseries_makeCurve(const ResultSeries& series, bool isFlow) {
    std::vector<float> sorted;
    for (const double value : series.values) {
        if (std::fabs(value) <= std::numeric_limits<float>::max()) {  // a database may hold more
            sorted.push_back(static_cast<float>(isFlow ? std::max(value, 0.0) : value));
        }
    }
    std::sort(sorted.begin(), sorted.end());
    ResultSeries curve;
    for (const StatsCurvePoint& point : statssummary_makeCurve(sorted)) {
        curve.dates.push_back(100.0 * point.exceedance);
        curve.values.push_back(point.flow);
    }
    return curve;
}

ResultSeries plotseries_thin(const ResultSeries& series) {
    const size_t count = series.values.size();
    if (count <= MOST_POINTS) {
        return series;
    }
    ResultSeries thin;
    for (size_t span = 0; span < SPANS; ++span) {
        for (const size_t k : choosePlaces(series, span * count / SPANS, (span + 1) * count / SPANS)) {
            thin.dates.push_back(series.dates[k]);
            thin.values.push_back(series.values[k]);
        }
    }
    return thin;
}

std::string plotseries_write(const ResultSeries& series, double origin) {
    std::vector<double> seconds;
    for (const double date : series.dates) {
        seconds.push_back(std::floor((date - origin) * SECONDS_PER_DAY + 0.5));
    }
    return write(series, "%.0f %.9g", seconds);
}

std::string plotseries_writeCurve(const ResultSeries& curve) {
    return write(curve, "%.9g %.9g", curve.dates);
}

bool plotseries_hasLonePoint(const ResultSeries& series) {
    for (size_t k = 0; k < series.values.size(); ++k) {
        if (isLone(series, k)) {
            return true;
        }
    }
    return false;
}
