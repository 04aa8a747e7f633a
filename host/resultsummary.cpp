// Shows a summary of each column: its extremes, its mean over time and, of a concentration, the mean weighted by the
// flow that carries it, which is the load divided by the volume.

#include <cstdio>

#include "characters.h"
#include "console.h"
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
    std::printf("%s,%s,%s,%s,%s,%s,%s,%s\n", row.table.name.c_str(), characters_quoteCsv(row.object).c_str(),
                characters_quoteCsv(results_addUnit(row.column)).c_str(), row.format(s.minimum, "-").c_str(),
                row.format(s.mean, "-").c_str(), row.format(s.maximum, "-").c_str(),
                row.hasValues() ? result_formatDate(s.maximumDate).c_str() : "-",
                row.format(s.flowWeightedMean, "").c_str());
}

void showLine(const SummaryRow& row) {
    const ResultSummary& s = row.summary;
    std::printf("%-12s %-16s %-20s %14s %14s %14s %14s  %s\n", row.table.name.c_str(),
                characters_makePrintable(row.object).c_str(),
                characters_makePrintable(results_addUnit(row.column)).c_str(), row.format(s.minimum, "-").c_str(),
                row.format(s.mean, "-").c_str(),
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

/// What has been shown so far.
struct SummaryState {
    bool isFirst = true;
    bool isWithoutNumbers = false;
    bool isWithoutFlow = false;
};

void showRow(const SummaryRow& row, SeriesForm form, SummaryState& state) {
    const bool isConcentration = row.column.unit == "mg/L";
    state.isWithoutNumbers = state.isWithoutNumbers || !row.hasValues();
    state.isWithoutFlow =
        state.isWithoutFlow || (row.hasValues() && isConcentration && std::isnan(row.summary.flowWeightedMean));
    if (form == SeriesForm::JSON) {
        showJson(row, state.isFirst);
    } else if (form == SeriesForm::CSV) {
        showCsv(row);
    } else {
        showLine(row);
    }
    state.isFirst = false;
}

/// A part goes through several walks if its summaries are more than may be held in memory.
void showPart(const ResultFile& file, const ResultPart& part, SeriesForm form, const ResultWindow& window,
              SummaryState& state) {
    constexpr uint64_t MOST = uint64_t{64} << 20, SIZE = 96;  // bytes; of one summary with its sums
    const ResultTable& table = file.tables[part.table];
    for (size_t begin = 0; begin < part.objects.size() && !console_isOutputBroken();) {
        const ResultPart cut = results_cut(part, begin, MOST, [&](size_t) { return SIZE * part.columns.size(); });
        const std::vector<ResultSummary> summaries = result_summarize(file, cut, window);
        for (size_t k = 0; k < summaries.size() && !console_isOutputBroken(); ++k) {
            const size_t object = cut.objects[k / cut.columns.size()], column = cut.columns[k % cut.columns.size()];
            showRow({table, table.objects[object], table.columns[column], summaries[k]}, form, state);
        }
        begin += cut.objects.size();
    }
}

}  // namespace

void results_showSummary(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window) {
    const std::vector<ResultPart> parts = results_choose(file, request);
    result_checkWindow(file, window);
    showHead(request.form);
    SummaryState state;
    for (const ResultPart& part : parts) {
        showPart(file, part, request.form, window, state);
    }
    if (request.form == SeriesForm::JSON) {
        std::printf(state.isFirst ? "[]\n" : "]\n");
    } else if (request.form == SeriesForm::TABLE) {
        showNotes(state.isWithoutNumbers, state.isWithoutFlow);
    }
}
