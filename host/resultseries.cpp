// Shows series: as tables, as values divided by commas, or as JSON. Lists of many objects are written row by row; all
// else is kept object by object ahead of it.

#include <cstdio>

#include "characters.h"
#include "console.h"
#include "json.h"
#include "results.h"

namespace {

/// What is shown at a time.
struct Shown {
    const ResultTable& table;
    const std::string& object;
    const std::vector<size_t>& columns;
};

/// Series of one object. Results are of single precision, and there may be many.
struct ObjectSeries {
    std::vector<double> dates;
    std::vector<std::vector<float>> values;  ///< per chosen column
};

/// Reads the series of the objects of a part, in their order.
std::vector<ObjectSeries> readObjects(const ResultFile& file, const ResultPart& part, const ResultWindow& window) {
    std::vector<ObjectSeries> series(part.objects.size());
    for (ObjectSeries& object : series) {
        object.values.resize(part.columns.size());
    }
    ResultRows rows(file, part, window);
    while (result_nextRow(rows)) {
        ObjectSeries& object = series[rows.object];
        object.dates.push_back(rows.date);
        for (size_t c = 0; c < object.values.size(); ++c) {
            object.values[c].push_back(static_cast<float>(rows.values[c]));
        }
    }
    return series;
}

/// True if a value was no number.
bool showTable(const Shown& shown, const ObjectSeries& series) {
    bool isIncomplete = false;
    std::printf("%s %s\n%-19s", shown.table.name.c_str(), characters_makePrintable(shown.object).c_str(), "Date");
    for (const size_t column : shown.columns) {
        std::printf(" %20s", characters_makePrintable(results_addUnit(shown.table.columns[column])).c_str());
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
void showCsv(const Shown& shown, const ObjectSeries& series) {
    std::printf("Date");
    for (const size_t column : shown.columns) {
        std::printf(",%s", characters_quoteCsv(results_addUnit(shown.table.columns[column])).c_str());
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

void showJson(const Shown& shown, const ObjectSeries& series) {
    std::printf("{\"table\": %s, \"object\": %s,\n \"dates\": [", json_quote(shown.table.name).c_str(),
                json_quote(shown.object).c_str());
    for (size_t k = 0; k < series.dates.size(); ++k) {
        std::printf("%s\"%s\"", k > 0 ? ", " : "", result_formatDate(series.dates[k]).c_str());
    }
    std::printf("],\n \"columns\": [");
    for (size_t c = 0; c < series.values.size(); ++c) {
        const ResultColumn& column = shown.table.columns[shown.columns[c]];
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
void showList(const ResultFile& file, const std::vector<ResultPart>& parts, const ResultWindow& window) {
    std::printf("Date,Table,Object,Column,Value\n");
    for (const ResultPart& part : parts) {
        const ResultTable& table = file.tables[part.table];
        std::vector<std::string> titles;
        for (const size_t column : part.columns) {
            titles.push_back(characters_quoteCsv(results_addUnit(table.columns[column])));
        }
        std::vector<std::string> names;  // quoted once, and not anew in each row
        for (const size_t object : part.objects) {
            names.push_back(',' + table.name + ',' + characters_quoteCsv(table.objects[object]) + ',');
        }
        ResultRows rows(file, part, window);
        while (!console_isOutputBroken() && result_nextRow(rows)) {
            const std::string date = result_formatDate(rows.date);
            for (size_t k = 0; k < titles.size(); ++k) {
                std::printf("%s%s%s,%s\n", date.c_str(), names[rows.object].c_str(), titles[k].c_str(),
                            results_formatNumber(rows.values[k], "").c_str());
            }
        }
    }
}

/// Shows objects one after the other. Their series are read before, those of as many as have room.
void showObjects(const ResultFile& file, const std::vector<ResultPart>& parts, bool isOne, SeriesForm form,
                 const ResultWindow& window) {
    const bool isJson = form == SeriesForm::JSON;
    bool isFirst = true, isIncomplete = false;
    for (const ResultPart& part : parts) {
        const ResultTable& table = file.tables[part.table];
        const auto measure = [&](size_t object) {
            return (8 + 4 * part.columns.size()) * result_countRows(table, file, object) + 32 * part.columns.size();
        };
        for (size_t begin = 0; begin < part.objects.size() && !console_isOutputBroken();) {
            const ResultPart cut =
                results_cut(part, begin, file.database ? RESULTS_MOST_OF_DATABASE : RESULTS_MOST_OF_FILE, measure);
            const std::vector<ObjectSeries> series = readObjects(file, cut, window);
            for (size_t k = 0; k < series.size() && !console_isOutputBroken(); ++k) {
                const Shown shown{table, table.objects[cut.objects[k]], cut.columns};
                std::printf("%s", isOne ? "" : isFirst ? (isJson ? "[" : "") : isJson ? ",\n" : "\n");
                if (isJson) {
                    showJson(shown, series[k]);
                } else if (isOne && form == SeriesForm::CSV) {
                    showCsv(shown, series[k]);
                } else {
                    isIncomplete = showTable(shown, series[k]) || isIncomplete;
                }
                isFirst = false;
            }
            begin += cut.objects.size();
        }
    }
    std::printf("%s", isJson         ? (isOne     ? "\n"
                                        : isFirst ? "[]\n"
                                                  : "]\n")
                      : isIncomplete ? "\n-  no number, as where no step fell into a report period\n"
                                     : "");
}

}  // namespace

void results_showSeries(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window) {
    const std::vector<ResultPart> parts = results_choose(file, request);
    result_checkWindow(file, window);
    // The shape goes by what is asked for, so that a script can rely on it. One name may still mean two objects, each
    // of which has some of the columns.
    const bool isOneNamed = request.objects.size() == 1 && request.tables.empty();
    const bool isOne = isOneNamed && parts.size() == 1 && parts[0].objects.size() == 1;
    if (request.form == SeriesForm::CSV && !isOne) {
        showList(file, parts, window);
    } else {
        showObjects(file, parts, isOne, request.form, window);
    }
}
