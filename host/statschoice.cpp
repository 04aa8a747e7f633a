// Which objects are asked for, and which of their flows; and which concentrations belong to that flow.

#include <algorithm>
#include <string_view>

#include "stats.h"
#include "units.h"

namespace {

constexpr const char* DEFAULT_TABLES[] = {"Outfall", "Pump", "Weir", "Orifice"};

/// Whether the concentrations of a row are those of a flow that isn't the carrier of its table: of what a splitter
/// hands on, and of what a full tank, pipe or conduit loses. Other flows have a quality that no row tells: what comes
/// in on the side, what enters a link, what surpasses a reactor.
bool isCarriedToo(const ResultTable& table, size_t flow) {
    static constexpr std::pair<std::string_view, std::string_view> CARRIED[] = {
        {"Splitter", "Outflow1"}, {"Splitter", "Outflow2"}, {"Tank", "Flood"}, {"Pipe", "Flood"}, {"Conduit", "Flood"}};
    return std::any_of(std::begin(CARRIED), std::end(CARRIED), [&](const auto& pair) {
        return table.name == pair.first && table.columns[flow].name == pair.second;
    });
}

std::string listFlows(const ResultTable& table) {
    std::string names;
    for (const ResultColumn& column : table.columns) {
        if (column.unit == FLOW_UNIT) {
            names.append(names.empty() ? "" : ", ").append(column.name);
        }
    }
    return names.empty() ? "none" : names;
}

/// The flow of a table that is asked for, or RESULT_NONE.
size_t findFlow(const ResultTable& table, const std::string& column) {
    const size_t flow = column.empty() ? result_findCarrier(table) : result_findColumnOf(table, column);
    return flow != RESULT_NONE && table.columns[flow].unit == FLOW_UNIT ? flow : RESULT_NONE;
}

[[noreturn]] void refuse(const ResultTable& table, const std::string& column, const std::string& of) {
    throw ResultError((column.empty() ? "no flow carries the water of " : "no flow " + column + " of ") + of +
                      "; the flows of the table " + table.name + " are: " + listFlows(table));
}

void addObject(const ResultFile& file, const StatsRequest& request, const std::string& name,
               std::vector<StatsPart>& parts) {
    const std::vector<ResultChoice> found = result_findObject(file, name);
    bool isAny = false;
    for (const ResultChoice& choice : found) {
        StatsPart& part = parts[choice.table];
        if (!part.part.columns.empty()) {
            part.part.objects.push_back(choice.object);
            isAny = true;
        }
    }
    if (!isAny) {
        refuse(file.tables[found.front().table], request.column, name);
    }
}

void addTable(const ResultFile& file, size_t table, std::vector<StatsPart>& parts) {
    for (size_t k = 0; k < file.tables[table].objects.size(); ++k) {
        parts[table].part.objects.push_back(k);
    }
}

void addDefaults(const ResultFile& file, const StatsRequest& request, std::vector<StatsPart>& parts) {
    bool isAny = false;
    for (size_t t = 0; t < file.tables.size(); ++t) {
        const bool isOne = std::find(std::begin(DEFAULT_TABLES), std::end(DEFAULT_TABLES), file.tables[t].name) !=
                           std::end(DEFAULT_TABLES);
        if (isOne && !parts[t].part.columns.empty()) {
            addTable(file, t, parts);
            isAny = true;
        }
    }
    if (!isAny) {
        throw ResultError("no outfall, pump, weir or orifice in " + file.name +
                          (request.column.empty() ? "" : " has a flow " + request.column) + ": name objects or tables");
    }
}

/// A part without objects, and without columns if its table has no such flow.
StatsPart beginPart(const ResultFile& file, size_t t, const std::string& column) {
    const ResultTable& table = file.tables[t];
    StatsPart part{{t, {}, {}}};
    const size_t flow = findFlow(table, column);
    if (flow == RESULT_NONE) {
        return part;
    }
    part.part.columns.push_back(flow);
    const bool isCarried = flow == result_findCarrier(table) || isCarriedToo(table, flow);
    for (size_t k = 0; k < table.columns.size(); ++k) {
        if (table.columns[k].unit == CONCENTRATION_UNIT) {
            part.hasOthers = !isCarried;
            if (isCarried) {
                part.part.columns.push_back(k);
            }
        }
    }
    return part;
}

}  // namespace

std::vector<StatsPart> stats_choose(const ResultFile& file, const StatsRequest& request) {
    std::vector<StatsPart> parts;
    for (size_t t = 0; t < file.tables.size(); ++t) {
        parts.push_back(beginPart(file, t, request.column));
    }
    for (const std::string& object : request.objects) {
        addObject(file, request, object, parts);
    }
    for (const std::string& name : request.tables) {
        const size_t table = result_findTable(file, name);
        if (parts[table].part.columns.empty()) {
            refuse(file.tables[table], request.column, "the table " + file.tables[table].name);
        }
        addTable(file, table, parts);
    }
    if (request.objects.empty() && request.tables.empty()) {
        addDefaults(file, request, parts);
    }
    for (StatsPart& part : parts) {  // what was asked for more than once stands there once
        std::vector<size_t>& objects = part.part.objects;
        std::sort(objects.begin(), objects.end());
        objects.erase(std::unique(objects.begin(), objects.end()), objects.end());
    }
    std::erase_if(parts, [](const StatsPart& part) { return part.part.objects.empty(); });
    return parts;
}
