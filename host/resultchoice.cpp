// Which objects and columns of a file are asked for.

#include <algorithm>
#include <tuple>

#include "results.h"

namespace {

std::vector<size_t> listColumns(const ResultTable& table, const std::vector<std::string>& names) {
    std::vector<size_t> columns;
    for (size_t k = 0; k < table.columns.size() && names.empty(); ++k) {
        columns.push_back(k);
    }
    for (const std::string& name : names) {
        const size_t column = result_findColumnOf(table, name);
        if (column != RESULT_NONE && std::find(columns.begin(), columns.end(), column) == columns.end()) {
            columns.push_back(column);
        }
    }
    return columns;
}

/// Series are those of one object, wherever one is named. A summary takes all of the name, as it tells their tables.
void chooseObject(const ResultFile& file, const ResultsRequest& request, const std::string& name,
                  std::vector<ChosenObject>& chosen) {
    const std::vector<ResultChoice> found = result_findObject(file, name);
    if (request.columns.empty() && found.size() > 1 && !request.isSummary) {
        throw ResultError("more than one object is called " + name + ": ask for " + file.tables[found[0].table].name +
                          ':' + name + " or the like");
    }
    for (const std::string& column : request.columns) {
        const bool isAny = request.isSummary && std::any_of(found.begin(), found.end(), [&](const ResultChoice& c) {
                               return result_findColumnOf(file.tables[c.table], column) != RESULT_NONE;
                           });
        if (isAny) {
            continue;
        }
        const ResultChoice choice = result_findColumn(file, name, column);
        chosen.push_back({choice.table, choice.object, {choice.column}});
    }
    for (const ResultChoice& choice : found) {
        if (request.columns.empty() || request.isSummary) {
            chosen.push_back({choice.table, choice.object, listColumns(file.tables[choice.table], request.columns)});
        }
    }
}

void chooseTables(const ResultFile& file, const ResultsRequest& request, const std::vector<size_t>& tables,
                  std::vector<ChosenObject>& chosen) {
    for (const std::string& column : request.columns) {
        const bool isFound = std::any_of(tables.begin(), tables.end(), [&](size_t t) {
            return result_findColumnOf(file.tables[t], column) != RESULT_NONE;
        });
        if (!isFound) {
            throw ResultError("no column " + column + " in " +
                              (tables.size() == 1 ? "the table " + file.tables[tables[0]].name + " of " : "") +
                              file.name);
        }
    }
    for (const size_t t : tables) {
        const std::vector<size_t> columns = listColumns(file.tables[t], request.columns);
        for (size_t k = 0; k < file.tables[t].objects.size() && !columns.empty(); ++k) {
            chosen.push_back({t, k, columns});
        }
    }
}

/// Puts what was asked for more than once together.
std::vector<ChosenObject> sortChosen(std::vector<ChosenObject> chosen) {
    std::stable_sort(chosen.begin(), chosen.end(), [](const ChosenObject& a, const ChosenObject& b) {
        return std::tie(a.table, a.object) < std::tie(b.table, b.object);
    });
    std::vector<ChosenObject> sorted;
    for (const ChosenObject& next : chosen) {
        if (sorted.empty() || sorted.back().table != next.table || sorted.back().object != next.object) {
            sorted.push_back(next);
            continue;
        }
        std::vector<size_t>& columns = sorted.back().columns;
        for (const size_t column : next.columns) {
            if (std::find(columns.begin(), columns.end(), column) == columns.end()) {
                columns.push_back(column);
            }
        }
    }
    std::erase_if(sorted, [](const ChosenObject& object) { return object.columns.empty(); });
    return sorted;
}

}  // namespace

std::vector<ChosenObject> results_choose(const ResultFile& file, const ResultsRequest& request) {
    std::vector<ChosenObject> chosen;
    for (const std::string& object : request.objects) {
        chooseObject(file, request, object, chosen);
    }
    std::vector<size_t> tables;
    for (const std::string& table : request.tables) {
        tables.push_back(result_findTable(file, table));
    }
    for (size_t t = 0; t < file.tables.size() && request.objects.empty() && request.tables.empty(); ++t) {
        tables.push_back(t);
    }
    if (!tables.empty()) {
        chooseTables(file, request, tables, chosen);
    }
    return sortChosen(std::move(chosen));
}

std::vector<ChosenTable> results_groupTables(const std::vector<ChosenObject>& chosen) {
    std::vector<ChosenTable> tables;
    for (size_t k = 0; k < chosen.size(); ++k) {
        if (tables.empty() || tables.back().table != chosen[k].table) {
            tables.push_back({chosen[k].table, chosen[k].object, k, k + 1});
        } else {
            tables.back().only = RESULT_ALL;
            tables.back().end = k + 1;
        }
    }
    return tables;
}
