// Totals: of the flow its peak, mean and volume, of what it carries the load and the flow-weighted mean, of all else
// the maximum and the mean over time. Volumes and loads are those of `tarnvelde stats` without a gap or a threshold.

#include "exporttotals.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "characters.h"
#include "results.h"
#include "statsevents.h"
#include "units.h"

namespace {

constexpr int64_t ENDLESS = int64_t{1} << 60;  ///< s, a gap that no run has

/// The field of a name and a unit; a new one, if there is none. Names differ by more than the case of their letters: a
/// pollutant may be called as a column is.
size_t findField(MapLayer& layer, const std::string& wanted, const std::string& unit, bool isText = false) {
    std::string name = wanted;
    for (int number = 2;; ++number) {
        const auto found = std::find_if(layer.fields.begin(), layer.fields.end(), [&](const MapField& field) {
            return characters_toLower(field.name) == characters_toLower(name);
        });
        if (found == layer.fields.end()) {
            layer.fields.push_back({name, unit, isText});
            return layer.fields.size() - 1;
        }
        if (found->name == name && found->unit == unit && found->isText == isText) {
            return static_cast<size_t>(found - layer.fields.begin());
        }
        name = wanted + "_" + std::to_string(number);
    }
}

/// The flow of a table that tells of its water: the one that carries its concentrations, or else what comes in.
size_t findFlow(const ResultTable& table) {
    const size_t carrier = result_findCarrier(table);
    return carrier != RESULT_NONE ? carrier : result_findColumnOf(table, "TotInflow");
}

void planColumn(const ResultTable& table, size_t k, TotalsPlan& plan, MapLayer& layer) {
    const ResultColumn& column = table.columns[plan.part.columns[k]];
    const std::string name = column.name == "Outfow" ? "Outflow" : characters_toUtf8(column.name);
    const auto use = [&](TotalsSource source, size_t place, const std::string& field, const std::string& unit,
                         bool isText = false) {
        plan.uses.push_back({source, place, findField(layer, field, unit, isText)});
    };
    if (plan.part.columns[k] == plan.flow) {
        use(TotalsSource::PEAK, k, "peak_flow", FLOW_UNIT);
        use(TotalsSource::PEAK_TIME, k, "peak_time", "", true);
        use(TotalsSource::MEAN_FLOW, k, "mean_flow", FLOW_UNIT);
        use(TotalsSource::VOLUME, k, "volume", "m3");
        return;
    }
    if (column.unit == CONCENTRATION_UNIT && result_findCarrier(table) != RESULT_NONE) {
        use(TotalsSource::LOAD, plan.pollutants.size(), "load_" + name, "kg");
        use(TotalsSource::CONCENTRATION, plan.pollutants.size(), "conc_" + name, CONCENTRATION_UNIT);
        plan.pollutants.push_back(plan.part.columns[k]);
    } else {
        use(TotalsSource::MEAN, k, "mean_" + name, column.unit);
    }
    use(TotalsSource::MAXIMUM, k, "max_" + name, column.unit);
}

/// The number that reads as the shortest text of a result, which is of single precision: so maps and other exports
/// show the same figures.
MapValue takeFigure(double figure) {
    const std::string text = results_formatNumber(figure, "");
    MapValue value;
    value.isThere =
        !text.empty() && std::from_chars(text.data(), text.data() + text.size(), value.number).ec == std::errc();
    return value;
}

MapValue takeNumber(double number) {
    return {std::isfinite(number), number};
}

/// Volume and loads of an object.
struct TotalsWalk {
    StatsEvents walk;
    StatsEvent total{};
};

std::vector<TotalsWalk> walkObjects(const ResultFile& file, const TotalsPlan& plan, const ResultPart& cut,
                                    const ResultWindow& window) {
    StatsRule rule;
    rule.step = file.reportStep;
    rule.gap = ENDLESS;
    rule.pollutants = plan.pollutants.size();
    std::vector<TotalsWalk> objects(cut.objects.size(), TotalsWalk{{rule}});
    ResultPart read{cut.table, cut.objects, {plan.flow}};
    read.columns.insert(read.columns.end(), plan.pollutants.begin(), plan.pollutants.end());
    ResultRows rows(file, read, window);
    while (result_nextRow(rows)) {
        const double flow =
            std::fabs(rows.values[0]) <= std::numeric_limits<float>::max() ? rows.values[0] : std::nan("");
        const StatsRow row{export_getTime(file, rows.date), flow, rows.values.data() + 1};
        TotalsWalk& object = objects[rows.object];
        (void)statsevents_push(object.walk, row, object.total);  // no gap is so long
    }
    for (TotalsWalk& object : objects) {
        object.total.loads.resize(rule.pollutants);  // of an object without flow
        (void)statsevents_close(object.walk, object.total);
    }
    return objects;
}

MapValue getValue(const TotalsUse& use, const ResultSummary* summaries, const StatsEvent& total) {
    const ResultSummary& summary = summaries[use.column];
    switch (use.source) {
        case TotalsSource::VOLUME: return takeNumber(total.volume);
        case TotalsSource::LOAD: return takeNumber(total.loads[use.column].mass);
        case TotalsSource::CONCENTRATION: return takeNumber(statsevents_getMean(total.loads[use.column]));
        default: break;
    }
    if (summary.count == 0) {
        return {};
    }
    switch (use.source) {
        case TotalsSource::PEAK_TIME: return {true, 0.0, result_formatDate(summary.maximumDate)};
        case TotalsSource::MEAN_FLOW:
        case TotalsSource::MEAN: return takeFigure(summary.mean);
        default: return takeFigure(summary.maximum);
    }
}

}  // namespace

TotalsPlan totals_plan(const ResultFile& file, const ResultPart& part, MapLayer& layer) {
    const ResultTable& table = file.tables[part.table];
    TotalsPlan plan{part, findFlow(table)};
    for (size_t k = 0; k < part.columns.size(); ++k) {
        planColumn(table, k, plan, layer);
    }
    return plan;
}

void totals_fill(const ResultFile& file, const TotalsPlan& plan, const ResultPart& cut, const ResultWindow& window,
                 std::vector<std::vector<MapValue>>& values) {
    const size_t columns = cut.columns.size();
    const std::vector<ResultSummary> summaries = result_summarize(file, cut, window);
    std::vector<TotalsWalk> walks(cut.objects.size());
    if (plan.flow != RESULT_NONE) {
        walks = walkObjects(file, plan, cut, window);
    }
    for (size_t k = 0; k < cut.objects.size(); ++k) {
        for (const TotalsUse& use : plan.uses) {
            values[k][use.field] = getValue(use, &summaries[k * columns], walks[k].total);
        }
    }
}

uint64_t totals_measure(const TotalsPlan& plan) {
    constexpr uint64_t OF_SUMMARY = 96, OF_VALUE = sizeof(MapValue) + 32;
    return OF_SUMMARY * plan.part.columns.size() + sizeof(TotalsWalk) + 2 * sizeof(StatsLoad) * plan.pollutants.size() +
           OF_VALUE * plan.uses.size();
}
