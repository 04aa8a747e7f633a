// Walks through the rows of what is asked for and hands them to the walks of events and to the summaries. Percentiles
// need all flows of an object at once: as many objects as have room go through the file together.

#include "stats.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <unordered_map>

#include "characters.h"
#include "console.h"
#include "status.h"
#include "units.h"

namespace {

/// What single precision holds: a database may hold more, which is no result of a run.
constexpr double MOST_FLOW = std::numeric_limits<float>::max();

/// An object on its way.
struct ObjectWalk {
    StatsEvents walk;
    StatsSummary summary{};
    std::vector<StatsEvent> events{};
};

int64_t getTime(const ResultFile& file, double date) {
    if (!(std::fabs(date) < RESULT_FARTHEST_DATE)) {
        throw ResultError(file.name + " is damaged: its dates can't be");
    }
    return static_cast<int64_t>(std::floor(date * SECONDS_PER_DAY + 0.5));
}

StatsRule getRule(const ResultFile& file, const StatsRequest& request, const ResultPart& part) {
    const auto gap = static_cast<int64_t>(std::floor(request.gap * SECONDS_PER_HOUR + 0.5));
    return {file.reportStep, gap, request.threshold, part.columns.size() - 1};
}

void takeEvent(const StatsRequest& request, const StatsEvent& event, ObjectWalk& object) {
    statssummary_addEvent(object.summary, event);
    if (request.hasEvents) {
        object.events.push_back(event);
    }
}

std::vector<ObjectWalk> walkObjects(const ResultFile& file, const ResultPart& part, const StatsRequest& request,
                                    const ResultWindow& window) {
    const StatsRule rule = getRule(file, request, part);
    std::vector<ObjectWalk> objects(part.objects.size(), ObjectWalk{{rule}});
    StatsEvent event;
    ResultRows rows(file, part, window);
    while (result_nextRow(rows)) {
        ObjectWalk& object = objects[rows.object];
        const double flow = std::fabs(rows.values[0]) <= MOST_FLOW ? rows.values[0] : std::nan("");
        const StatsRow row{getTime(file, rows.date), flow, rows.values.data() + 1};
        statssummary_addRow(object.summary, rule, row);
        if (statsevents_push(object.walk, row, event)) {
            takeEvent(request, event, object);
        }
    }
    for (ObjectWalk& object : objects) {
        if (statsevents_close(object.walk, event)) {
            takeEvent(request, event, object);
        }
        object.summary.loads.resize(rule.pollutants);
        statssummary_close(object.summary);
    }
    return objects;
}

/// Bytes that an object takes. Its months, of 30 days here, and its events are no more than have room in its time, and
/// no more than its rows.
uint64_t measure(const ResultFile& file, const StatsRequest& request, const ResultPart& part, size_t object) {
    constexpr uint64_t OF_SPAN = 192;  // of a month, with its part of years
    constexpr double MONTH = 30.0 * SECONDS_PER_DAY;
    const uint64_t rows = result_countRows(file.tables[part.table], file, object);
    const StatsRule rule = getRule(file, request, part);
    const auto step = static_cast<double>(rule.step), time = static_cast<double>(rows) * step;
    const auto count = [&](double length) { return std::min(rows, static_cast<uint64_t>(time / length) + 3); };
    const uint64_t loads = sizeof(StatsLoad) * rule.pollutants, ofEvent = sizeof(StatsEvent) + loads;
    const uint64_t events = count(step + static_cast<double>(std::max(rule.gap, rule.step)));
    return sizeof(ObjectWalk) + 2 * loads + sizeof(float) * rows + OF_SPAN * count(MONTH) +
           (request.hasEvents ? events * ofEvent : 0);
}

void note(StatsShow& show, const StatsFound& found) {
    const StatsSummary& summary = found.summary;
    ++show.count;
    show.isShort = show.isShort || (summary.known > 0 && statssummary_getYears(summary) < 1.0);
    show.missing += summary.missing;
    show.negative += summary.negative;
    show.hasOthers = show.hasOthers || found.part.hasOthers;
    for (const StatsLoad& load : summary.loads) {
        show.missingLoads += load.missing;
    }
}

void showObject(StatsShow& show, const StatsFound& found) {
    switch (show.request.form) {
        case SeriesForm::JSON: statsjson_show(show, found); break;
        case SeriesForm::CSV: statscsv_show(show, found); break;
        case SeriesForm::TABLE: statstable_show(show, found); break;
    }
    note(show, found);
}

void showPart(StatsShow& show, const StatsPart& part, const ResultWindow& window) {
    const ResultTable& table = show.file.tables[part.part.table];
    const uint64_t most = show.file.database ? RESULTS_MOST_OF_DATABASE : RESULTS_MOST_OF_FILE;
    for (size_t begin = 0; begin < part.part.objects.size() && !console_isOutputBroken();) {
        const ResultPart cut = results_cut(
            part.part, begin, most, [&](size_t object) { return measure(show.file, show.request, part.part, object); });
        const std::vector<ObjectWalk> objects = walkObjects(show.file, cut, show.request, window);
        for (size_t k = 0; k < objects.size() && !console_isOutputBroken(); ++k) {
            showObject(show, {table, table.objects[cut.objects[k]], part, objects[k].summary, objects[k].events});
        }
        begin += cut.objects.size();
    }
}

/// Whole report periods alone: that which ends as the window begins stands for the time ahead of it.
ResultWindow cutWindow(const ResultFile& file, const ResultWindow& window) {
    return {window.from + file.reportStep / SECONDS_PER_DAY, window.to};
}

/// Tells of the file in the middle of which reading failed; JSON is closed ahead of that.
void showParts(StatsShow& show, const std::vector<StatsPart>& parts, const ResultWindow& window) {
    const SeriesForm form = show.request.form;
    if (form == SeriesForm::JSON) {
        statsjson_begin(show);
    } else if (form == SeriesForm::CSV) {
        statscsv_begin(show);
    } else {
        statstable_begin(show);
    }
    try {
        for (const StatsPart& part : parts) {
            showPart(show, part, window);
        }
    } catch (const ResultError& error) {
        if (form == SeriesForm::JSON) {
            statsjson_end(show, error.what());
        }
        throw;
    }
    if (form == SeriesForm::JSON) {
        statsjson_end(show, "");
    } else if (form == SeriesForm::TABLE) {
        statstable_end(show);
    }
}

/// A table says at its end what was left out; other forms leave it to standard error.
void tellOddities(const StatsShow& show) {
    if (show.request.form == SeriesForm::TABLE) {
        return;
    }
    if (show.missing > 0) {
        std::fprintf(stderr, "tarnvelde: %lld flows are no numbers and left out\n",
                     static_cast<long long>(show.missing));
    }
    if (show.negative > 0) {
        std::fprintf(stderr, "tarnvelde: %lld flows are negative and count as none\n",
                     static_cast<long long>(show.negative));
    }
}

}  // namespace

std::string stats_formatTime(int64_t time) {
    return result_formatDate(static_cast<double>(time) / SECONDS_PER_DAY);
}

double stats_getHours(int64_t seconds) {
    return static_cast<double>(seconds) / SECONDS_PER_HOUR;
}

std::vector<std::string> stats_listPollutants(const ResultFile& file, std::vector<StatsPart>& parts) {
    std::vector<std::string> names;
    std::unordered_map<std::string, size_t> places;
    for (StatsPart& part : parts) {
        for (size_t k = 1; k < part.part.columns.size(); ++k) {
            const std::string& name = file.tables[part.part.table].columns[part.part.columns[k]].name;
            const auto [place, isNew] = places.emplace(name, names.size());
            if (isNew) {
                names.push_back(name);
            }
            part.pollutants.resize(names.size(), RESULT_NONE);
            part.pollutants[place->second] = k - 1;
        }
    }
    for (StatsPart& part : parts) {
        part.pollutants.resize(names.size(), RESULT_NONE);
    }
    return names;
}

int stats_execute(const StatsRequest& request) {
    ResultWindow window;
    if (!results_readWindow(request.from, request.to, &window)) {
        return EXIT_WRONG_USAGE;
    }
    if (request.form == SeriesForm::CSV && request.hasEvents && request.hasCurve) {
        std::fprintf(stderr, "tarnvelde: --csv is a list of events or of curves, not of both\n");
        return EXIT_WRONG_USAGE;
    }
    try {
        ResultFile file;
        results_open(file, request.file);
        std::vector<StatsPart> parts = stats_choose(file, request);
        window = cutWindow(file, window);
        result_checkWindow(file, window);
        StatsShow show{file, request, stats_listPollutants(file, parts)};
        showParts(show, parts, window);
        tellOddities(show);
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}
