// Results for a page. The file is read once, table by table, in order of time; nothing of it stays in memory but what
// the page shows.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

#include "characters.h"
#include "console.h"
#include "files.h"
#include "modelview.h"
#include "page.h"
#include "pagenetwork.h"
#include "pagetables.h"
#include "results.h"
#include "runidentity.h"
#include "stats.h"
#include "status.h"
#include "units.h"

namespace {

constexpr const char* EVENT_TABLES[] = {"Outfall", "Pump", "Weir", "Orifice"};

/// What the rows of an object make together.
struct RowSums {
    double peak = std::nan("");  ///< m3/s
    double peakDate = 0.0;
    double volume = 0.0;                        ///< m3
    double flooded = 0.0;                       ///< m3
    std::vector<double> carried{}, carriers{};  ///< per concentration: flow × concentration, and the flow
};

/// Columns of a table that mean something to a page.
struct RowColumns {
    size_t flow = RESULT_NONE, flood = RESULT_NONE;
    std::vector<size_t> concentrations{};
    bool isWatched = false;  ///< for events
};

/// An object whose events are looked for.
struct EventWalk {
    StatsEvents walk;
    StatsStepsFound found;
};

RowColumns findColumns(const ResultTable& table) {
    RowColumns columns;
    columns.flow = pageseries_findLeading({table.name, table.columns, {}});
    if (columns.flow >= table.columns.size() || table.columns[columns.flow].unit != "m3/s") {
        columns.flow = RESULT_NONE;
    }
    columns.flood = result_findColumnOf(table, "Flood");
    if (result_findCarrier(table) == columns.flow && columns.flow != RESULT_NONE) {
        for (size_t k = 0; k < table.columns.size(); ++k) {
            if (table.columns[k].unit == CONCENTRATION_UNIT) {
                columns.concentrations.push_back(k);
            }
        }
    }
    columns.isWatched =
        std::find(std::begin(EVENT_TABLES), std::end(EVENT_TABLES), table.name) != std::end(EVENT_TABLES);
    return columns;
}

void addRow(RowSums& sums, const RowColumns& columns, const std::vector<double>& row, double date, double step) {
    if (columns.flow == RESULT_NONE || !std::isfinite(row[columns.flow])) {
        return;
    }
    const double flow = row[columns.flow];
    if (!(sums.peak >= flow)) {
        sums.peak = flow;
        sums.peakDate = date;
    }
    sums.volume += flow * step;
    if (columns.flood != RESULT_NONE && std::isfinite(row[columns.flood])) {
        sums.flooded += row[columns.flood] * step;
    }
    for (size_t k = 0; k < columns.concentrations.size(); ++k) {
        const double concentration = row[columns.concentrations[k]];
        if (std::isfinite(concentration)) {
            sums.carried[k] += flow * concentration;
            sums.carriers[k] += flow;
        }
    }
}

/// A table of results on its way through the page.
struct TableWalk {
    const ResultFile& file;
    size_t table;
    RowColumns columns;
    std::vector<RowSums> sums;
    std::vector<EventWalk> events;
};

void pushEvent(TableWalk& walk, size_t object, int64_t time, const std::vector<double>& row,
               std::vector<double>& concentrations) {
    for (size_t k = 0; k < walk.columns.concentrations.size(); ++k) {
        concentrations[k] = row[walk.columns.concentrations[k]];
    }
    EventWalk& events = walk.events[object];
    const StatsRow statsRow{time, row[walk.columns.flow], concentrations.data()};
    StatsEvent ended;
    statssummary_addRow(events.found.summary, events.walk.rule, statsRow);
    if (statsevents_push(events.walk, statsRow, ended)) {
        statssummary_addEvent(events.found.summary, ended);
        events.found.events.push_back(std::move(ended));
    }
}

TableWalk beginTable(const ResultFile& file, size_t t, const PageRequest& request) {
    const ResultTable& table = file.tables[t];
    TableWalk walk{file, t, findColumns(table), {}, {}};
    const size_t pollutants = walk.columns.concentrations.size();
    RowSums sums;
    sums.carried.resize(pollutants);
    sums.carriers.resize(pollutants);
    walk.sums.assign(table.objects.size(), sums);
    if (walk.columns.isWatched && walk.columns.flow != RESULT_NONE) {
        const StatsRule rule{file.reportStep, std::llround(request.gap * SECONDS_PER_HOUR), request.threshold,
                             pollutants, false};
        for (const std::string& object : table.objects) {
            walk.events.push_back({{rule}, {table.name, object, {}, {}}});
        }
    }
    return walk;
}

/// All rows of a table, in one pass.
TableWalk walkTable(const ResultFile& file, size_t t, const PageRequest& request, PageRun& run) {
    TableWalk walk = beginTable(file, t, request);
    const ResultTable& table = file.tables[t];
    ResultPart part{t, {}, {}};
    for (size_t k = 0; k < table.objects.size(); ++k) {
        part.objects.push_back(k);
    }
    for (size_t k = 0; k < table.columns.size(); ++k) {
        part.columns.push_back(k);
    }
    std::vector<float> values(table.columns.size());
    std::vector<double> concentrations(walk.columns.concentrations.size());
    ResultRows rows(file, part, {});
    while (result_nextRow(rows)) {
        if (!(std::fabs(rows.date) < RESULT_FARTHEST_DATE)) {
            throw ResultError(file.name + " is damaged: its dates can't be");
        }
        std::transform(rows.values.begin(), rows.values.end(), values.begin(),
                       [](double value) { return static_cast<float>(value); });
        const double place = std::round((rows.date - run.firstReport) * SECONDS_PER_DAY / run.reportStep);
        const bool isWithin = place >= 0.0 && place < static_cast<double>(run.series.count);
        pageseries_add(run.series, t, rows.object, isWithin ? static_cast<int64_t>(place) : -1, values.data());
        addRow(walk.sums[rows.object], walk.columns, rows.values, rows.date, file.reportStep);
        if (!walk.events.empty()) {
            const auto time = static_cast<int64_t>(std::floor(rows.date * SECONDS_PER_DAY + 0.5));
            pushEvent(walk, rows.object, time, rows.values, concentrations);
        }
    }
    for (EventWalk& events : walk.events) {
        StatsEvent ended;
        if (statsevents_close(events.walk, ended)) {
            statssummary_addEvent(events.found.summary, ended);
            events.found.events.push_back(std::move(ended));
        }
        events.found.summary.loads.resize(walk.columns.concentrations.size());
    }
    return walk;
}

// --- tables --------------------------------------------------------------------------------------------------------

template <class Get>
std::vector<double> collect(const TableWalk& walk, Get get) {
    std::vector<double> numbers;
    for (const RowSums& sums : walk.sums) {
        numbers.push_back(get(sums));
    }
    return numbers;
}

/// What the rows of a table say of each object.
PageTable makeTable(const TableWalk& walk) {
    const ResultTable& table = walk.file.tables[walk.table];
    PageTable page{
        "rows-" + table.name, table.name, "From the rows of the results: the greatest one, and sums over time.", {}};
    std::vector<std::string> ids;
    for (const std::string& object : table.objects) {
        ids.push_back(characters_toUtf8(object));
    }
    pagetables_addTexts(page, "ID", ids);
    page.objectClass = pagedata_getClass(table.name);
    page.object = page.objectClass.empty() ? -1 : 0;
    const std::string flow = table.columns[walk.columns.flow].name;
    pagetables_addNumbers(page, "Peak " + (flow == "Outfow" ? "Outflow" : flow), "m3/s",
                          collect(walk, [](const RowSums& sums) { return sums.peak; }));
    pagetables_addDates(page, "at", collect(walk, [](const RowSums& sums) { return sums.peakDate; }));
    pagetables_addNumbers(page, "Volume", "m3", collect(walk, [](const RowSums& sums) { return sums.volume; }));
    if (walk.columns.flood != RESULT_NONE) {
        pagetables_addNumbers(page, "Flooded volume", "m3",
                              collect(walk, [](const RowSums& sums) { return sums.flooded; }));
    }
    for (size_t k = 0; k < walk.columns.concentrations.size(); ++k) {
        const ResultColumn& column = table.columns[walk.columns.concentrations[k]];
        pagetables_addNumbers(page, characters_toUtf8(column.name) + ", flow-weighted mean", column.unit,
                              collect(walk, [k](const RowSums& sums) {
                                  return sums.carriers[k] > 0.0 ? sums.carried[k] / sums.carriers[k] : std::nan("");
                              }));
    }
    return page;
}

std::vector<std::string> listPollutants(const TableWalk& walk) {
    std::vector<std::string> names;
    for (const size_t column : walk.columns.concentrations) {
        names.push_back(characters_toUtf8(walk.file.tables[walk.table].columns[column].name));
    }
    return names;
}

// --- network -------------------------------------------------------------------------------------------------------

/// Colours of the network from the rows: by class and ID.
void addMeasures(PageNetwork& network, const std::vector<TableWalk>& walks) {
    PageMeasure peak{"peak", "Peak flow", "m3/s"}, volume{"volume", "Volume", "m3"};
    const auto fill = [&](const char* itsClass, const auto& objects, std::vector<double> PageMeasure::*list) {
        std::unordered_map<std::string, const RowSums*> byId;
        for (const TableWalk& walk : walks) {
            const ResultTable& table = walk.file.tables[walk.table];
            if (pagedata_getClass(table.name) == itsClass) {
                for (size_t k = 0; k < table.objects.size(); ++k) {
                    byId.emplace(characters_toUtf8(table.objects[k]), &walk.sums[k]);
                }
            }
        }
        for (const auto& object : objects) {
            const auto found = byId.find(object.id);
            (peak.*list).push_back(found == byId.end() ? std::nan("") : found->second->peak);
            (volume.*list).push_back(found == byId.end() ? std::nan("") : found->second->volume);
        }
    };
    fill("nodes", network.nodes, &PageMeasure::nodes);
    fill("links", network.links, &PageMeasure::links);
    fill("areas", network.areas, &PageMeasure::areas);
    network.measures = {peak, volume};
}

/// Reads the project of the results for its network. False if it can't be opened; messages tell why.
bool readNetwork(const PageRequest& request, PageRun& run) {
    const ModelHandle model = handle_make(request.engines);
    const int32_t code = tv_open(model.get(), request.model.c_str(), nullptr);
    if (code != TV_OK) {
        messages_show(messages_read(model.get(), {request.model, "", "", ""}),
                      {false, false, console_isErrorTerminal(), 1});
        messages_showEnd(code, request.model);
        return false;
    }
    run.network = pagenetwork_read(model.get(), request.model, run.messages);
    return true;
}

void addFacts(PageRun& run, const ResultFile& file) {
    run.facts.emplace_back("Start", result_formatDate(file.startDate));
    run.facts.emplace_back("Report step", std::to_string(file.reportStep) + " s");
    run.facts.emplace_back("Reports", std::to_string(file.periods));
    for (const ResultTable& table : file.tables) {
        if (table.name != "System") {
            run.facts.emplace_back(table.name, std::to_string(table.objects.size()));
        }
    }
    const std::map<std::string, std::string> identity = runidentity_read(file);
    if (!identity.empty()) {
        run.facts.emplace_back("Run", runidentity_describe(identity));
    }
    if (!file.isEnded) {
        run.facts.emplace_back("Ended", "no: its run was killed, the reports up to then are whole");
    }
}

}  // namespace

PageEnd pageresults_read(const PageRequest& request, const std::string& results, uint64_t most, PageRun& run) {
    ResultFile file;
    results_open(file, results);
    if (!(std::fabs(file.startDate) < RESULT_FARTHEST_DATE)) {
        throw ResultError(file.name + " is damaged: its dates can't be");
    }
    run.name = files_toPath(results).filename().string();
    run.source = "results";
    run.reportStep = file.reportStep;
    run.start = file.startDate;
    run.firstReport = file.startDate + file.reportStep / SECONDS_PER_DAY;
    run.end = file.startDate + static_cast<double>(file.periods) * file.reportStep / SECONDS_PER_DAY;
    if (!request.model.empty() && !readNetwork(request, run)) {
        return {EXIT_ENGINE_ERROR, false, false};
    }
    addFacts(run, file);
    std::vector<PageSeriesTable> tables;
    for (const ResultTable& table : file.tables) {
        tables.push_back({table.name, table.columns, table.objects});
    }
    run.series = pageseries_begin(std::move(tables), file.periods, most);
    std::vector<TableWalk> walks;
    std::vector<StatsStepsFound> events;
    std::vector<std::string> pollutants;
    for (size_t t = 0; t < file.tables.size(); ++t) {
        walks.push_back(walkTable(file, t, request, run));
        TableWalk& walk = walks.back();
        if (walk.columns.flow != RESULT_NONE && file.tables[t].name != "System") {
            run.tables.push_back(makeTable(walk));
        }
        for (EventWalk& object : walk.events) {
            pollutants = listPollutants(walk);
            object.found.object = characters_toUtf8(object.found.object);
            events.push_back(std::move(object.found));
        }
    }
    pagetables_addEvents(run.tables, events, pollutants, "Found report by report: each row stands for its period.");
    if (!run.network.nodes.empty()) {
        addMeasures(run.network, walks);
    }
    run.note = run.series.note;
    return {EXIT_DONE, true, request.model.empty()};
}
