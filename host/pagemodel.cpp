// A run for a page: no file is written beside the model. Rows of results go from the library to the series of the page
// as they come.

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "characters.h"
#include "console.h"
#include "files.h"
#include "interrupt.h"
#include "modelview.h"
#include "page.h"
#include "pagenetwork.h"
#include "pagetables.h"
#include "pagewatch.h"
#include "progress.h"
#include "resultfile.h"
#include "statssteps.h"
#include "status.h"
#include "units.h"

namespace {

constexpr double STEP_ROUNDING = 1e-6;  ///< of a report step: dates are rounded
constexpr size_t MOST_LINES = 10;       ///< of a description

/// A run on its way.
struct PageWork {
    const PageRequest& request;
    ModelHandle model;
    PageRun& run;
    int32_t code = TV_OK;
    int signal = 0;
    int64_t steps = 0;
    bool isStarted = false;
    PageWatch watch{};
    StatsStepsHandle stats{};
    std::vector<std::vector<float>> rows{};  ///< of a period, by table
};

void note(PageWork& work, int32_t code) {
    work.code = work.code != TV_OK ? work.code : code;
}

tv_clock getClock(const PageWork& work) {
    tv_clock clock{};
    tv_getClock(work.model.get(), &clock);
    return clock;
}

// --- what a project says of itself ---------------------------------------------------------------------------------

/// The lines of the section [DESCRIPTION], and those ahead of any section, as the report has them.
std::vector<std::string> readDescription(const std::string& project) {
    constexpr size_t LONGEST = 1023;
    std::ifstream stream(project, std::ios::binary);
    std::vector<std::string> lines;
    bool isWithin = true;
    for (std::string line; lines.size() < MOST_LINES && std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '/') {
            continue;
        }
        if (line[first] == '[') {
            std::string word = line.substr(first, line.find_first_of(" \t", first) - first);
            for (char& c : word) {
                c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
            }
            isWithin = word == "[DESCRIPTION]";
        } else if (isWithin) {
            lines.push_back(line.substr(0, LONGEST));
        }
    }
    return lines;
}

std::string formatSeconds(double seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%.15g s", seconds);
    return text;
}

void addCount(PageRun& run, const tv_model* model, int32_t objectClass, const char* name) {
    if (const int32_t count = modelview_count(model, objectClass); count > 0) {
        run.facts.emplace_back(name, std::to_string(count));
    }
}

void readFacts(PageWork& work) {
    const tv_model* model = work.model.get();
    PageRun& run = work.run;
    const tv_clock clock = getClock(work);
    run.facts.emplace_back("Start", result_formatDate(clock.start));
    run.facts.emplace_back("End", result_formatDate(clock.end));
    run.facts.emplace_back("Routing step", formatSeconds(modelview_getSystemValue(model, "routing_step")));
    if (modelview_count(model, TV_SUBCATCHMENT) > 0) {
        run.facts.emplace_back("Runoff step", formatSeconds(modelview_getSystemValue(model, "runoff_step")));
    }
    run.facts.emplace_back("Report step", formatSeconds(modelview_getSystemValue(model, "report_step")));
    addCount(run, model, TV_SUBCATCHMENT, "Subcatchments");
    addCount(run, model, TV_GAGE, "Rain gages");
    addCount(run, model, TV_LID_UNIT, "LID units");
    addCount(run, model, TV_NODE, "Nodes");
    addCount(run, model, TV_LINK, "Links");
    addCount(run, model, TV_RULE, "Rules");
    std::string pollutants;
    for (const std::string& pollutant : modelview_listPollutants(model)) {
        pollutants += (pollutants.empty() ? "" : ", ") + pollutant;
    }
    if (!pollutants.empty()) {
        run.facts.emplace_back("Pollutants", pollutants);
    }
}

// --- steps ---------------------------------------------------------------------------------------------------------

/// Tables of the rows, with their objects, and room for the rows of a period.
std::vector<PageSeriesTable> listTables(PageWork& work) {
    const tv_model* model = work.model.get();
    std::vector<PageSeriesTable> tables;
    tv_table description{};
    for (int32_t t = 0; tv_getTable(model, t, &description) == TV_OK; ++t) {
        PageSeriesTable table{description.name, {}, {}};
        for (int32_t c = 0; c < description.columnCount; ++c) {
            const char *name = "", *unit = "";
            tv_getColumn(model, t, c, &name, &unit);
            table.columns.push_back({name, unit});
        }
        std::vector<int32_t> objects(static_cast<size_t>(description.rowCount));
        tv_getRowObjects(model, t, objects.data(), objects.size());
        for (const int32_t object : objects) {
            table.objects.push_back(t == 0 ? "System" : modelview_getId(model, description.objectClass, object));
        }
        work.rows.emplace_back(table.objects.size() * table.columns.size());
        tables.push_back(std::move(table));
    }
    return tables;
}

/// A report period has ended: its rows go into the series. Called by the library.
int32_t takePeriod(void* user, tv_model* model, int64_t period, double /*date*/) {
    auto& work = *static_cast<PageWork*>(user);
    for (size_t t = 0; t < work.rows.size(); ++t) {
        std::vector<float>& rows = work.rows[t];
        const size_t columns = work.run.series.tables[t].columns.size();
        if (rows.empty() || tv_getRows(model, static_cast<int32_t>(t), rows.data(), rows.size()) != TV_OK) {
            continue;
        }
        for (size_t object = 0; object * columns < rows.size(); ++object) {
            pageseries_add(work.run.series, t, object, period - 1, rows.data() + object * columns);
        }
    }
    return 0;
}

/// False if the page can't be written, or no run begins.
bool start(PageWork& work, uint64_t most) {
    tv_model* model = work.model.get();
    note(work, tv_keepRows(model, 1));
    note(work, tv_keepLoads(model, work.request.hasBalances ? 1 : 0));
    note(work, tv_start(model, nullptr, nullptr));
    if (work.code == TV_OK) {
        work.isStarted = true;
        note(work, tv_testOutput(model, "page", work.request.output.c_str()));
    }
    if (work.code != TV_OK) {
        return false;
    }
    const tv_clock clock = getClock(work);
    work.run.reportStep = static_cast<int32_t>(std::lround(modelview_getSystemValue(model, "report_step")));
    const double step = work.run.reportStep / SECONDS_PER_DAY;
    work.run.firstReport = clock.start + step;
    const auto count = static_cast<int64_t>(std::floor((clock.end - clock.start) / step + STEP_ROUNDING));
    work.run.series = pageseries_begin(listTables(work), count, most);
    work.watch = pagewatch_begin(model);
    work.stats = statssteps_begin({"", work.request.gap, work.request.threshold}, work.run.name, model);
    note(work, tv_setPeriodCallback(model, takePeriod, &work));
    return work.code == TV_OK;
}

void stepToEnd(PageWork& work) {
    tv_model* model = work.model.get();
    tv_clock clock = getClock(work);
    Progress progress = progress_begin(work.request.isQuiet ? 0.0 : clock.end - clock.start);
    int32_t phase = TV_STARTED;
    while (work.code == TV_OK && phase == TV_STARTED && (work.signal = interrupt_get()) == 0) {
        note(work, tv_step(model));
        if (work.code == TV_OK) {
            ++work.steps;
            clock = getClock(work);
            pagewatch_update(work.watch, model, clock);
            statssteps_add(*work.stats, model);
        }
        tv_getPhase(model, &phase);
        progress_update(progress, clock.now - clock.start);
    }
    progress_end(progress);
}

/// All that is to be known of the run after its last step.
void gather(PageWork& work) {
    tv_model* model = work.model.get();
    PageRun& run = work.run;
    const tv_clock clock = getClock(work);
    run.end = clock.now;
    run.facts.emplace_back("Reports", std::to_string(clock.period));
    run.facts.emplace_back("Steps", std::to_string(work.steps));
    if (work.signal != 0) {
        run.facts.emplace_back(
            "Stopped", std::string("by ") + interrupt_getName(work.signal) + " at " + result_formatDate(clock.now));
    }
    pagewatch_end(work.watch, model);
    pagenetwork_addMeasures(run.network, model);
    run.tables = pagetables_read(model, work.watch);
    pagetables_addEvents(run.tables, statssteps_take(*work.stats), modelview_listPollutants(model),
                         "Found step by step.");
    run.note = run.series.note;
    if (work.code == TV_OK) {
        run.verdicts = verdict_read(model);
    }
}

/// "node T1" says less than "tank T1".
void nameKinds(PageRun& run, const tv_model* model) {
    for (HostVerdict& verdict : run.verdicts) {
        for (HostPlace& place : verdict.causes) {
            const int32_t objectClass = place.kind == "node" ? TV_NODE : place.kind == "link" ? TV_LINK : -1;
            int32_t index = -1;
            if (objectClass >= 0 && tv_findObject(model, objectClass, place.id.c_str(), &index) == TV_OK) {
                place.kind = modelview_getKindName(model, objectClass, index);
            }
            place.id = characters_toUtf8(place.id);
        }
        verdict.pollutant = characters_toUtf8(verdict.pollutant);
    }
}

void tell(const PageWork& work, const std::string& name) {
    messages_show(work.run.messages, {false, false, console_isErrorTerminal(), MESSAGES_WARNINGS_SHOWN});
    messages_showEnd(work.code, name);
    if (work.code == TV_OK && work.isStarted) {
        verdict_show(work.run.verdicts, !work.request.isQuiet);
    }
    if (work.signal != 0 && work.code == TV_OK) {
        const std::string end = work.steps > 0
                                    ? " at " + result_formatDate(work.run.end) + "; the page holds the run up to there"
                                    : " before the first step; no page was written";
        std::fprintf(stderr, "tarnvelde: stopped by %s%s\n", interrupt_getName(work.signal), end.c_str());
    }
}

/// Runs what is open and looks at it ahead of its end.
void runOpen(PageWork& work, const std::string& name, uint64_t most, std::vector<HostMessage>& ofMap) {
    PageRun& run = work.run;
    const tv_clock clock = getClock(work);
    run.start = run.end = clock.start;
    readFacts(work);
    run.network = pagenetwork_read(work.model.get(), name, ofMap);
    if (start(work, most)) {
        stepToEnd(work);
    }
    if (work.stats) {
        gather(work);
        nameKinds(run, work.model.get());
    }
    if (work.isStarted) {
        note(work, tv_end(work.model.get()));
    }
}

}  // namespace

PageEnd pagemodel_run(const PageRequest& request, const std::string& model, uint64_t most, PageRun& run) {
    PageWork work{request, handle_make(request.engines), run};
    tv_setThreads(work.model.get(), request.threads);
    run.name = files_toPath(model).filename().string();
    run.source = "model";
    run.description = readDescription(model);
    note(work, tv_open(work.model.get(), model.c_str(), nullptr));
    int32_t phase = TV_CLOSED;
    tv_getPhase(work.model.get(), &phase);
    std::vector<HostMessage> ofMap;
    if (work.code == TV_OK) {
        runOpen(work, model, most, ofMap);
    }
    run.messages = messages_read(work.model.get(), {model, "", "", ""});
    run.messages.insert(run.messages.end(), ofMap.begin(), ofMap.end());
    tell(work, model);
    PageEnd end;
    end.status = work.code != TV_OK ? EXIT_ENGINE_ERROR : work.signal != 0 ? EXIT_SIGNAL + work.signal : EXIT_DONE;
    end.isTested = work.stats != nullptr;
    end.hasPage = phase != TV_CLOSED && (!work.isStarted || end.isTested);
    if (work.signal != 0 && work.steps == 0) {
        end.hasPage = false;
    }
    return end;
}
