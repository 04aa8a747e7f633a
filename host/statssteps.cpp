// The tables are those that a file of results would have, with the objects of the model, so that choice and output are
// the same as of a file.

#include "statssteps.h"

#include <cmath>
#include <new>

#include "aside.h"
#include "characters.h"
#include "modelview.h"
#include "posix.h"
#include "stats.h"
#include "units.h"

namespace {

/// The tables with objects that water leaves the sewers by.
struct OutletKind {
    const char* table;
    int32_t objectClass;
    int32_t kind;
};
constexpr OutletKind OUTLET_KINDS[] = {{"Outfall", TV_NODE, TV_OUTFALL},
                                       {"Pump", TV_LINK, TV_PUMP},
                                       {"Weir", TV_LINK, TV_WEIR},
                                       {"Orifice", TV_LINK, TV_ORIFICE}};

/// What a class is asked for.
struct Variables {
    int32_t flow = -1, concentration = -1;
};

Variables findVariables(int32_t objectClass) {
    Variables variables;
    tv_findVariable(objectClass, objectClass == TV_NODE ? "inflow" : "flow", &variables.flow);
    tv_findVariable(objectClass, "concentration", &variables.concentration);
    return variables;
}

double getValue(const tv_model* model, int32_t variable, int32_t index, int32_t pollutant) {
    double value = 0.0;
    return tv_getValue(model, variable, index, pollutant, &value) == TV_OK ? value : std::nan("");
}

/// An object on its way.
struct StepsObject {
    int32_t objectClass;
    int32_t index;
    StatsEvents walk;
    StatsSummary summary{};
    std::vector<StatsEvent> events{};
};

}  // namespace

struct StatsSteps {
    StatsRequest request;
    std::string file;
    ResultFile tables{};
    StatsRule rule{};
    Variables ofNodes, ofLinks;
    std::vector<StepsObject> objects{};  ///< table by table
    std::vector<double> concentrations{};
};

void StatsStepsEnd::operator()(StatsSteps* steps) const {
    delete steps;
}

/// Fills a table with the objects of its kind.
static void addObjects(StatsSteps& steps, const OutletKind& kind, const tv_model* model, ResultTable& table) {
    for (int32_t k = 0; k < modelview_count(model, kind.objectClass); ++k) {
        int32_t itsKind = -1;
        tv_getKind(model, kind.objectClass, k, &itsKind);
        if (itsKind == kind.kind) {
            table.objects.push_back(modelview_getId(model, kind.objectClass, k));
            steps.objects.push_back({kind.objectClass, k, {steps.rule}});
        }
    }
}

StatsStepsHandle statssteps_begin(const StatsStepsRequest& request, const std::string& project, const tv_model* model) {
    StatsStepsHandle handle(new StatsSteps);
    StatsSteps& steps = *handle;
    steps.file = request.file;
    steps.request.gap = request.gap;
    steps.request.threshold = request.threshold;
    steps.request.hasEvents = true;
    steps.request.form = request.file.ends_with(".csv") ? SeriesForm::CSV : SeriesForm::JSON;
    tv_clock clock{};
    tv_getClock(model, &clock);
    std::vector<std::string> pollutants;
    for (int32_t p = 0; p < modelview_count(model, TV_POLLUTANT); ++p) {
        pollutants.push_back(modelview_getId(model, TV_POLLUTANT, p));
    }
    steps.tables.name = project;
    steps.tables.reportStep = static_cast<int32_t>(std::lround(clock.step));
    steps.rule = {steps.tables.reportStep, std::llround(request.gap * SECONDS_PER_HOUR), request.threshold,
                  pollutants.size(), false};
    steps.concentrations.resize(pollutants.size());
    steps.ofNodes = findVariables(TV_NODE);
    steps.ofLinks = findVariables(TV_LINK);
    for (ResultTable& table : result_listTables(pollutants)) {
        for (const OutletKind& kind : OUTLET_KINDS) {
            if (table.name == kind.table) {
                addObjects(steps, kind, model, table);
                steps.tables.tables.push_back(table);
            }
        }
    }
    std::erase_if(steps.tables.tables, [](const ResultTable& table) { return table.objects.empty(); });
    return handle;
}

static void takeEvent(StepsObject& object, const StatsEvent& event) {
    statssummary_addEvent(object.summary, event);
    object.events.push_back(event);
}

void statssteps_add(StatsSteps& steps, const tv_model* model) {
    tv_clock clock{};
    tv_getClock(model, &clock);
    const auto time = static_cast<int64_t>(std::floor(clock.now * SECONDS_PER_DAY + 0.5));
    StatsEvent event;
    for (StepsObject& object : steps.objects) {
        const Variables& variables = object.objectClass == TV_NODE ? steps.ofNodes : steps.ofLinks;
        const double flow = getValue(model, variables.flow, object.index, TV_NO_POLLUTANT);
        if (statsevents_isFlow(steps.rule, flow)) {  // of a step without, nobody asks for them
            for (size_t p = 0; p < steps.concentrations.size(); ++p) {
                steps.concentrations[p] =
                    getValue(model, variables.concentration, object.index, static_cast<int32_t>(p));
            }
        }
        const StatsRow row{time, flow, steps.concentrations.data()};
        statssummary_addRow(object.summary, steps.rule, row);
        if (statsevents_push(object.walk, row, event)) {
            takeEvent(object, event);
        }
    }
}

/// All of the file. The tables have no objects but those of the walk, in the same order.
static void show(StatsSteps& steps, std::FILE* out) {
    std::vector<StatsPart> parts;
    if (!steps.objects.empty()) {
        parts = stats_choose(steps.tables, steps.request);
    }
    StatsShow shown{steps.tables, steps.request, stats_listPollutants(steps.tables, parts)};
    shown.isOfSteps = true;
    shown.out = out;
    const bool isCsv = steps.request.form == SeriesForm::CSV;
    isCsv ? statscsv_begin(shown) : statsjson_begin(shown);
    const StepsObject* object = steps.objects.data();
    for (const StatsPart& part : parts) {
        const ResultTable& table = steps.tables.tables[part.part.table];
        for (const size_t k : part.part.objects) {
            const StatsFound found{table, table.objects[k], part, object->summary, object->events};
            isCsv ? statscsv_show(shown, found) : statsjson_show(shown, found);
            ++shown.count;
            ++object;
        }
    }
    if (!isCsv) {
        statsjson_end(shown, "");
    }
}

static void endWalks(StatsSteps& steps) {
    StatsEvent event;
    for (StepsObject& object : steps.objects) {
        if (statsevents_close(object.walk, event)) {
            takeEvent(object, event);
        }
        object.summary.loads.resize(steps.rule.pollutants);
    }
}

std::vector<StatsStepsFound> statssteps_take(StatsSteps& steps) {
    endWalks(steps);
    std::vector<StatsStepsFound> all;
    auto object = steps.objects.begin();
    for (const ResultTable& table : steps.tables.tables) {
        for (const std::string& name : table.objects) {
            all.push_back({table.name, name, std::move(object->summary), std::move(object->events)});
            ++object;
        }
    }
    return all;
}

std::string statssteps_write(StatsSteps& steps) {
    endWalks(steps);
    const std::string bytes = posix_catchText([&](std::FILE* out) { show(steps, out); });
    if (bytes.empty()) {
        throw std::bad_alloc();  // what else can fail of a stream into memory
    }
    return aside_write(steps.file, bytes);
}
