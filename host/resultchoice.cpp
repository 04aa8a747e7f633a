// Which objects and columns of a file are asked for.

#include <algorithm>

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

/// Whether one of these objects, of which those of a table stand together, has a column.
bool hasColumn(const ResultFile& file, const std::vector<ResultChoice>& found, const std::string& column) {
    for (size_t k = 0; k < found.size(); ++k) {
        const bool isNew = k == 0 || found[k - 1].table != found[k].table;
        if (isNew && result_findColumnOf(file.tables[found[k].table], column) != RESULT_NONE) {
            return true;
        }
    }
    return false;
}

/// Series are those of one object, wherever one is named. A summary takes all of the name, as it tells their tables.
void chooseObject(const ResultFile& file, const ResultsRequest& request, const std::string& name,
                  std::vector<ResultPart>& parts) {
    const std::vector<ResultChoice> found = result_findObject(file, name);
    if (request.columns.empty() && found.size() > 1 && !request.isSummary) {
        throw ResultError("more than one object is called " + name + ": ask for " + file.tables[found[0].table].name +
                          ':' + name + " or the like");
    }
    for (const std::string& column : request.columns) {
        if (!request.isSummary || !hasColumn(file, found, column)) {
            (void)result_findColumn(file, name, column);  // throws, unless it is found once
        }
    }
    for (const ResultChoice& choice : found) {
        parts[choice.table].objects.push_back(choice.object);
    }
}

void chooseTables(const ResultFile& file, const ResultsRequest& request, const std::vector<size_t>& tables,
                  std::vector<ResultPart>& parts) {
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
        for (size_t k = 0; k < file.tables[t].objects.size(); ++k) {
            parts[t].objects.push_back(k);
        }
    }
}

}  // namespace

std::vector<ResultPart> results_choose(const ResultFile& file, const ResultsRequest& request) {
    std::vector<ResultPart> parts;
    for (size_t t = 0; t < file.tables.size(); ++t) {
        parts.push_back({t, {}, listColumns(file.tables[t], request.columns)});
    }
    for (const std::string& object : request.objects) {
        chooseObject(file, request, object, parts);
    }
    std::vector<size_t> tables;
    for (const std::string& table : request.tables) {
        tables.push_back(result_findTable(file, table));
    }
    for (size_t t = 0; t < file.tables.size() && request.objects.empty() && request.tables.empty(); ++t) {
        tables.push_back(t);
    }
    if (!tables.empty()) {
        chooseTables(file, request, tables, parts);
    }
    for (ResultPart& part : parts) {  // what was asked for more than once stands there once
        std::sort(part.objects.begin(), part.objects.end());
        part.objects.erase(std::unique(part.objects.begin(), part.objects.end()), part.objects.end());
    }
    std::erase_if(parts, [](const ResultPart& part) { return part.objects.empty() || part.columns.empty(); });
    return parts;
}
