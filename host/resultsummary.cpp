// Shows a summary of each column: its extremes, its mean over time and, of a concentration, the mean weighted by the
// flow that carries it, which is the load divided by the volume.

#include <cstdio>

#include "json.h"
#include "results.h"

namespace {

struct SummaryRow {
    const ResultTable& table;
    const std::string& object;
    const ResultColumn& column;
    const ResultSummary& summary;

    bool hasValues() const { return summary.count > 0; }
    std::string format(double figure, const char* none) const {
        return hasValues() ? results_formatNumber(figure, none) : none;
    }
};

/// The places of the first seven columns are those that scripts know.
void showCsv(const SummaryRow& row) {
    const ResultSummary& s = row.summary;
    std::printf("%s,%s,%s,%s,%s,%s,%s,%s\n", row.table.name.c_str(), results_quoteCsv(row.object).c_str(),
                results_quoteCsv(results_addUnit(row.column)).c_str(), row.format(s.minimum, "-").c_str(),
                row.format(s.mean, "-").c_str(), row.format(s.maximum, "-").c_str(),
                row.hasValues() ? result_formatDate(s.maximumDate).c_str() : "-",
                row.format(s.flowWeightedMean, "").c_str());
}

void showLine(const SummaryRow& row) {
    const ResultSummary& s = row.summary;
    std::printf("%-12s %-16s %-20s %14s %14s %14s %14s  %s\n", row.table.name.c_str(),
                results_makePrintable(row.object).c_str(), results_makePrintable(results_addUnit(row.column)).c_str(),
                row.format(s.minimum, "-").c_str(), row.format(s.mean, "-").c_str(),
                row.column.unit == "mg/L" ? row.format(s.flowWeightedMean, "-").c_str() : "",
                row.format(s.maximum, "-").c_str(), row.hasValues() ? result_formatDate(s.maximumDate).c_str() : "-");
}

void showJson(const SummaryRow& row, bool isFirst) {
    const ResultSummary& s = row.summary;
    std::printf(
        "%s{\"table\": %s, \"object\": %s, \"column\": %s, \"unit\": %s, \"minimum\": %s, \"meanOverTime\": %s, ",
        isFirst ? "[" : ",\n ", json_quote(row.table.name).c_str(), json_quote(row.object).c_str(),
        json_quote(row.column.name).c_str(), json_quote(row.column.unit).c_str(), row.format(s.minimum, "null").c_str(),
        row.format(s.mean, "null").c_str());
    if (row.column.unit == "mg/L") {
        std::printf("\"flowWeightedMean\": %s, ", row.format(s.flowWeightedMean, "null").c_str());
    }
    const std::string date = row.hasValues() ? json_quote(result_formatDate(s.maximumDate)) : "null";
    std::printf("\"maximum\": %s, \"timeOfMaximum\": %s}", row.format(s.maximum, "null").c_str(), date.c_str());
}

void showHead(SeriesForm form) {
    if (form == SeriesForm::CSV) {
        std::printf("Table,Object,Column,Minimum,Mean over time,Maximum,Time of maximum,Flow-weighted mean\n");
    } else if (form == SeriesForm::TABLE) {
        std::printf("%-12s %-16s %-20s %14s %14s %14s %14s\n", "", "", "", "", "Mean", "Flow-weighted", "");
        std::printf("%-12s %-16s %-20s %14s %14s %14s %14s  %s\n", "Table", "Object", "Column", "Minimum", "over time",
                    "mean", "Maximum", "Time of maximum");
    }
}

/// What the dashes of the table mean.
void showNotes(bool isWithoutNumbers, bool isWithoutFlow) {
    if (isWithoutNumbers || isWithoutFlow) {
        std::printf("\n");
    }
    if (isWithoutNumbers) {
        std::printf("-  no number in the whole column\n");
    }
    if (isWithoutFlow) {
        std::printf("-  no flow-weighted mean: no flow carries this concentration, or no water came\n");
    }
}

}  // namespace

void results_showSummary(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window) {
    const std::vector<ChosenObject> chosen = results_choose(file, request);
    result_checkWindow(file, window);
    showHead(request.form);
    bool isFirst = true, isWithoutNumbers = false, isWithoutFlow = false;
    for (const ChosenTable& part : results_groupTables(chosen)) {
        const ResultTable& table = file.tables[part.table];
        const std::vector<ResultSummary> summaries = result_summarize(file, part.table, part.only, window);
        for (size_t k = part.begin; k < part.end; ++k) {
            for (const size_t c : chosen[k].columns) {
                const ResultSummary& summary = summaries[chosen[k].object * table.columns.size() + c];
                const SummaryRow row{table, table.objects[chosen[k].object], table.columns[c], summary};
                isWithoutNumbers = isWithoutNumbers || !row.hasValues();
                isWithoutFlow = isWithoutFlow ||
                                (row.hasValues() && row.column.unit == "mg/L" && std::isnan(summary.flowWeightedMean));
                if (request.form == SeriesForm::JSON) {
                    showJson(row, isFirst);
                } else if (request.form == SeriesForm::CSV) {
                    showCsv(row);
                } else {
                    showLine(row);
                }
                isFirst = false;
            }
        }
    }
    if (request.form == SeriesForm::JSON) {
        std::printf(isFirst ? "[]\n" : "]\n");
    } else if (request.form == SeriesForm::TABLE) {
        showNotes(isWithoutNumbers, isWithoutFlow);
    }
}
