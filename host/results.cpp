// Shows results on standard output: a list of what there is, a series with its dates, or a summary of every column.

#include "results.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "json.h"
#include "resultfile.h"
#include "status.h"

namespace {

/// The shortest text that reads back as the same single-precision number, which all results are.
std::string formatNumber(double value) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<float>(value));
    return std::string(text, end.ptr);
}

std::string addUnit(const ResultColumn& column) {
    return column.unit.empty() ? column.name : column.name + " (" + column.unit + ')';
}

/// Control characters of a name must not reach the terminal.
std::string makePrintable(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        c = byte < 32 || byte == 127 ? '?' : c;
    }
    return text;
}

std::string quoteCsv(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c;
        quoted += c == '"' ? "\"" : "";
    }
    return quoted + '"';
}

// --- list ----------------------------------------------------------------------------------------------------------

void showList(const ResultFile& file) {
    std::printf("%s: %d reports of %d s from %s on\n", makePrintable(file.name).c_str(), static_cast<int>(file.periods),
                static_cast<int>(file.reportStep), result_formatDate(file.startDate).c_str());
    for (const ResultTable& table : file.tables) {
        std::printf("\n%s\n  columns:", table.name.c_str());
        for (const ResultColumn& column : table.columns) {
            std::printf(" %s%s", makePrintable(addUnit(column)).c_str(), &column == &table.columns.back() ? "\n" : ",");
        }
        if (table.name == "System") {
            continue;
        }
        std::printf("  objects:");
        for (const std::string& object : table.objects) {
            std::printf(" %s", makePrintable(object).c_str());
        }
        std::printf("\n");
    }
}

// --- series --------------------------------------------------------------------------------------------------------

/// The columns asked for: one, or all of the only object of this name.
std::vector<ResultChoice> chooseColumns(const ResultFile& file, const ResultsRequest& request) {
    if (!request.column.empty()) {
        return {result_findColumn(file, request.object, request.column)};
    }
    const std::vector<ResultChoice> objects = result_findObject(file, request.object);
    if (objects.size() > 1) {
        throw ResultError("more than one object is called " + request.object + ": ask for " +
                          file.tables[objects[0].table].name + ':' + request.object + " or the like");
    }
    std::vector<ResultChoice> choices;
    for (size_t k = 0; k < file.tables[objects[0].table].columns.size(); ++k) {
        choices.push_back({objects[0].table, objects[0].object, k});
    }
    return choices;
}

void showTable(const ResultFile& file, const std::vector<ResultChoice>& choices,
               const std::vector<ResultSeries>& series, bool isCsv) {
    const ResultTable& table = file.tables[choices[0].table];
    if (!isCsv) {
        std::printf("%s %s\n", table.name.c_str(), makePrintable(table.objects[choices[0].object]).c_str());
    }
    std::printf(isCsv ? "Date" : "%-19s", "Date");
    for (const ResultChoice& choice : choices) {
        const std::string title = addUnit(table.columns[choice.column]);
        if (isCsv) {
            std::printf(",%s", quoteCsv(title).c_str());
        } else {
            std::printf(" %20s", makePrintable(title).c_str());
        }
    }
    std::printf("\n");
    for (size_t k = 0; k < series[0].values.size(); ++k) {
        std::printf("%s", result_formatDate(series[0].dates[k]).c_str());
        for (const ResultSeries& column : series) {
            const double value = k < column.values.size() ? column.values[k] : std::nan("");
            std::printf(isCsv ? ",%s" : " %20s", isCsv && std::isnan(value) ? "" : formatNumber(value).c_str());
        }
        std::printf("\n");
    }
}

void showJson(const ResultFile& file, const std::vector<ResultChoice>& choices,
              const std::vector<ResultSeries>& series) {
    const ResultTable& table = file.tables[choices[0].table];
    std::printf("{\"table\": %s, \"object\": %s,\n \"dates\": [", json_quote(table.name).c_str(),
                json_quote(table.objects[choices[0].object]).c_str());
    for (size_t k = 0; k < series[0].dates.size(); ++k) {
        std::printf("%s\"%s\"", k > 0 ? ", " : "", result_formatDate(series[0].dates[k]).c_str());
    }
    std::printf("],\n \"columns\": [");
    for (size_t c = 0; c < series.size(); ++c) {
        const ResultColumn& column = table.columns[choices[c].column];
        std::printf("%s\n  {\"name\": %s, \"unit\": %s, \"values\": [", c > 0 ? "," : "",
                    json_quote(column.name).c_str(), json_quote(column.unit).c_str());
        for (size_t k = 0; k < series[c].values.size(); ++k) {
            const double value = series[c].values[k];
            std::printf("%s%s", k > 0 ? ", " : "", std::isfinite(value) ? formatNumber(value).c_str() : "null");
        }
        std::printf("]}");
    }
    std::printf("\n ]}\n");
}

void showSeries(const ResultFile& file, const ResultsRequest& request) {
    const std::vector<ResultChoice> choices = chooseColumns(file, request);
    std::vector<ResultSeries> series;
    for (const ResultChoice& choice : choices) {
        series.push_back(result_readSeries(file, choice));
    }
    if (request.form == SeriesForm::JSON) {
        showJson(file, choices, series);
    } else {
        showTable(file, choices, series, request.form == SeriesForm::CSV);
    }
}

// --- summary -------------------------------------------------------------------------------------------------------

/// One figure, "-" without values.
std::string formatFigure(const ResultSummary& summary, double figure) {
    return summary.count > 0 ? formatNumber(figure) : "-";
}

void showSummaryRow(const ResultTable& table, size_t object, size_t column, const ResultSummary& s, bool isCsv) {
    const std::string title = addUnit(table.columns[column]);
    const std::string date = s.count > 0 ? result_formatDate(s.maximumDate) : "-";
    if (isCsv) {
        std::printf("%s,%s,%s,%s,%s,%s,%s\n", table.name.c_str(), quoteCsv(table.objects[object]).c_str(),
                    quoteCsv(title).c_str(), formatFigure(s, s.minimum).c_str(), formatFigure(s, s.mean).c_str(),
                    formatFigure(s, s.maximum).c_str(), date.c_str());
    } else {
        std::printf("%-12s %-16s %-20s %14s %14s %14s  %s\n", table.name.c_str(),
                    makePrintable(table.objects[object]).c_str(), makePrintable(title).c_str(),
                    formatFigure(s, s.minimum).c_str(), formatFigure(s, s.mean).c_str(),
                    formatFigure(s, s.maximum).c_str(), date.c_str());
    }
}

bool isChosen(const std::vector<ResultChoice>& chosen, size_t table, size_t object) {
    return std::any_of(chosen.begin(), chosen.end(),
                       [&](const ResultChoice& choice) { return choice.table == table && choice.object == object; });
}

void showSummary(const ResultFile& file, const ResultsRequest& request) {
    const bool isCsv = request.form == SeriesForm::CSV;
    std::vector<ResultChoice> chosen;
    if (!request.object.empty()) {
        chosen = result_findObject(file, request.object);
    }
    if (isCsv) {
        std::printf("Table,Object,Column,Minimum,Mean,Maximum,Time of maximum\n");
    } else {
        std::printf("%-12s %-16s %-20s %14s %14s %14s  %s\n", "Table", "Object", "Column", "Minimum", "Mean", "Maximum",
                    "Time of maximum");
    }
    for (size_t t = 0; t < file.tables.size(); ++t) {
        const ResultTable& table = file.tables[t];
        const std::vector<ResultSummary> summaries = result_summarize(file, t);
        for (size_t k = 0; k < table.objects.size(); ++k) {
            if (!request.object.empty() && !isChosen(chosen, t, k)) {
                continue;
            }
            for (size_t c = 0; c < table.columns.size(); ++c) {
                showSummaryRow(table, k, c, summaries[k * table.columns.size() + c], isCsv);
            }
        }
    }
}

}  // namespace

int results_execute(const ResultsRequest& request) {
    try {
        ResultFile file;
        result_open(file, request.file);
        if (request.isSummary) {
            showSummary(file, request);
        } else if (!request.object.empty()) {
            showSeries(file, request);
        } else {
            showList(file);
        }
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
    if (std::fflush(stdout) != 0) {
        std::fprintf(stderr, "tarnvelde: cannot write to standard output\n");
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}
