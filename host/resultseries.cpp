// Shows series: as tables, as values divided by commas, or as JSON. Lists of many objects are written row by row; all
// else is kept object by object ahead of it.

#include <cstdio>

#include "json.h"
#include "results.h"

namespace {

/// Series of one object. Results are of single precision, and there may be many.
struct ObjectSeries {
    std::vector<double> dates;
    std::vector<std::vector<float>> values;  ///< per chosen column
};

/// Where each object of a table stands in the list of the chosen ones; RESULT_NONE for others.
std::vector<size_t> findPlaces(const ResultFile& file, const ChosenTable& part,
                               const std::vector<ChosenObject>& chosen) {
    std::vector<size_t> places(file.tables[part.table].objects.size(), RESULT_NONE);
    for (size_t k = part.begin; k < part.end; ++k) {
        places[chosen[k].object] = k;
    }
    return places;
}

/// Reads the series of the chosen objects of one table, in their order.
std::vector<ObjectSeries> readObjects(const ResultFile& file, const ChosenTable& part,
                                      const std::vector<ChosenObject>& chosen, const ResultWindow& window) {
    const std::vector<size_t> places = findPlaces(file, part, chosen);
    std::vector<ObjectSeries> series(part.end - part.begin);
    for (size_t k = 0; k < series.size(); ++k) {
        series[k].values.resize(chosen[part.begin + k].columns.size());
    }
    ResultRows rows(file, part.table, part.only, window);
    while (result_nextRow(rows)) {
        const size_t place = places[rows.object];
        if (place == RESULT_NONE) {
            continue;
        }
        ObjectSeries& object = series[place - part.begin];
        object.dates.push_back(rows.date);
        for (size_t c = 0; c < object.values.size(); ++c) {
            object.values[c].push_back(static_cast<float>(rows.values[chosen[place].columns[c]]));
        }
    }
    return series;
}

/// True if a value was no number.
bool showTable(const ResultTable& table, const ChosenObject& chosen, const ObjectSeries& series) {
    bool isIncomplete = false;
    std::printf("%s %s\n%-19s", table.name.c_str(), results_makePrintable(table.objects[chosen.object]).c_str(),
                "Date");
    for (const size_t column : chosen.columns) {
        std::printf(" %20s", results_makePrintable(results_addUnit(table.columns[column])).c_str());
    }
    std::printf("\n");
    for (size_t k = 0; k < series.dates.size(); ++k) {
        std::printf("%s", result_formatDate(series.dates[k]).c_str());
        for (const std::vector<float>& values : series.values) {
            isIncomplete = isIncomplete || !std::isfinite(values[k]);
            std::printf(" %20s", results_formatNumber(values[k], "-").c_str());
        }
        std::printf("\n");
    }
    return isIncomplete;
}

/// A column for each column.
void showCsv(const ResultTable& table, const ChosenObject& chosen, const ObjectSeries& series) {
    std::printf("Date");
    for (const size_t column : chosen.columns) {
        std::printf(",%s", results_quoteCsv(results_addUnit(table.columns[column])).c_str());
    }
    std::printf("\n");
    for (size_t k = 0; k < series.dates.size(); ++k) {
        std::printf("%s", result_formatDate(series.dates[k]).c_str());
        for (const std::vector<float>& values : series.values) {
            std::printf(",%s", results_formatNumber(values[k], "").c_str());
        }
        std::printf("\n");
    }
}

void showJson(const ResultTable& table, const ChosenObject& chosen, const ObjectSeries& series) {
    std::printf("{\"table\": %s, \"object\": %s,\n \"dates\": [", json_quote(table.name).c_str(),
                json_quote(table.objects[chosen.object]).c_str());
    for (size_t k = 0; k < series.dates.size(); ++k) {
        std::printf("%s\"%s\"", k > 0 ? ", " : "", result_formatDate(series.dates[k]).c_str());
    }
    std::printf("],\n \"columns\": [");
    for (size_t c = 0; c < series.values.size(); ++c) {
        const ResultColumn& column = table.columns[chosen.columns[c]];
        std::printf("%s\n  {\"name\": %s, \"unit\": %s, \"values\": [", c > 0 ? "," : "",
                    json_quote(column.name).c_str(), json_quote(column.unit).c_str());
        for (size_t k = 0; k < series.values[c].size(); ++k) {
            std::printf("%s%s", k > 0 ? ", " : "", results_formatNumber(series.values[c][k], "null").c_str());
        }
        std::printf("]}");
    }
    std::printf("\n ]}");
}

/// A line for each value: objects of all tables go into one list of one shape.
void showList(const ResultFile& file, const std::vector<ChosenObject>& chosen, const ResultWindow& window) {
    std::printf("Date,Table,Object,Column,Value\n");
    for (const ChosenTable& part : results_groupTables(chosen)) {
        const ResultTable& table = file.tables[part.table];
        const std::vector<size_t> places = findPlaces(file, part, chosen);
        std::vector<std::string> titles;
        for (const ResultColumn& column : table.columns) {
            titles.push_back(results_quoteCsv(results_addUnit(column)));
        }
        ResultRows rows(file, part.table, part.only, window);
        while (result_nextRow(rows)) {
            const size_t place = places[rows.object];
            if (place == RESULT_NONE) {
                continue;
            }
            const std::string head = result_formatDate(rows.date) + ',' + table.name + ',' +
                                     results_quoteCsv(table.objects[rows.object]) + ',';
            for (const size_t column : chosen[place].columns) {
                std::printf("%s%s,%s\n", head.c_str(), titles[column].c_str(),
                            results_formatNumber(rows.values[column], "").c_str());
            }
        }
    }
}

}  // namespace

void results_showSeries(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window) {
    const std::vector<ChosenObject> chosen = results_choose(file, request);
    result_checkWindow(file, window);
    // The shape goes by what is asked for, so that a script can rely on it. One name may still mean two objects, each
    // of which has some of the columns.
    const bool isOne = request.objects.size() == 1 && request.tables.empty() && chosen.size() == 1;
    const bool isJson = request.form == SeriesForm::JSON;
    if (request.form == SeriesForm::CSV && !isOne) {
        showList(file, chosen, window);
        return;
    }
    bool isFirst = true, isIncomplete = false;
    for (const ChosenTable& part : results_groupTables(chosen)) {
        const std::vector<ObjectSeries> series = readObjects(file, part, chosen, window);
        for (size_t k = 0; k < series.size(); ++k) {
            const ResultTable& table = file.tables[part.table];
            const ChosenObject& object = chosen[part.begin + k];
            if (isJson) {
                std::printf("%s", isOne ? "" : isFirst ? "[" : ",\n");
                showJson(table, object, series[k]);
            } else if (isOne && request.form == SeriesForm::CSV) {
                showCsv(table, object, series[k]);
            } else {
                std::printf("%s", isFirst ? "" : "\n");
                isIncomplete = showTable(table, object, series[k]) || isIncomplete;
            }
            isFirst = false;
        }
    }
    std::printf("%s", isJson         ? (isOne ? "\n" : "]\n")
                      : isIncomplete ? "\n-  no number, as where no step fell into a report period\n"
                                     : "");
}
