// The tables of the manual that are made from the list of columns.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/manual.h"

namespace {

/// A column of its own, or a block with one for each pollutant: a host is told of every one, of the first, or of none.
enum Place { COLUMN, EVERY, FIRST, NONE };

struct ManualColumn {
    std::string name;
    std::string unit;
    std::string meaning;
    std::string toldUnit;
    std::string toldMeaning;
    Place place;

    bool operator==(const ManualColumn&) const = default;
};

struct ManualTable {
    std::string name;
    std::string words;
    bool isSuccess;
    std::vector<ManualColumn> columns;
};

// clang-format off
const std::vector<ManualTable> TABLES = {
#define RESULT_TABLE(token, table, type, kind, words, toldResult, record) {table, words, toldResult, {
#define RESULT_COLUMN(column, unit, meaning) {column, unit, meaning, unit, meaning, COLUMN},
#define RESULT_VALUE(column, unit, meaning, value, toldUnit, toldMeaning, told) \
    {column, unit, meaning, toldUnit, toldMeaning, COLUMN},
#define RESULT_QUALITY(meaning, ...) {"", "mg/L", meaning, "mg/L", meaning, EVERY},
#define RESULT_LAYER(prefix, meaning, lastMass, thisMass, volume, told) \
    {prefix, "mg/L", meaning, "mg/L", meaning, told},
#define RESULT_END() }},
#include "results/columns.def"
};
// clang-format on

/// Whether a table with the same columns stands ahead, with which this one is shown.
bool isShown(size_t table) {
    for (size_t k = 0; k < table; ++k) {
        if (TABLES[k].columns == TABLES[table].columns) {
            return true;
        }
    }
    return false;
}

/// The heads of all tables with the columns of one.
template <class Format>
std::string joinTables(size_t table, Format format) {
    std::string text;
    for (size_t k = table; k < TABLES.size(); ++k) {
        if (TABLES[k].columns == TABLES[table].columns) {
            text += (text.empty() ? "" : ", ") + format(k);
        }
    }
    return text;
}

std::string makeCell(const std::string& text) {
    return text.empty() ? "| " : "| " + text + ' ';
}

std::string makeColumns() {
    std::string text = "| Table | Column | Unit | What it holds |\n|---|---|---|---|\n";
    for (size_t t = 0; t < TABLES.size(); ++t) {
        if (isShown(t)) {
            continue;
        }
        std::string head = joinTables(t, [](size_t k) { return '`' + TABLES[k].name + '`'; });
        for (const ManualColumn& column : TABLES[t].columns) {
            text += makeCell(head);
            text += makeCell((column.name.empty() ? "" : '`' + column.name + '`') +
                             (column.place == COLUMN ? "" : "*pollutant*"));
            text += makeCell(column.unit);
            text += makeCell(column.meaning) + "|\n";
            head.clear();
        }
    }
    return text;
}

std::string makeCodes() {
    std::string text = "| Object | Code | Result | Unit | Returns |\n|---|---|---|---|---|\n";
    for (size_t t = 1; t < TABLES.size(); ++t) {
        if (isShown(t)) {
            continue;
        }
        std::string head = joinTables(t, [](size_t k) { return std::to_string(k) + ' ' + TABLES[k].words; });
        int code = 0;
        for (const ManualColumn& column : TABLES[t].columns) {
            if (column.place == NONE) {
                continue;
            }
            const bool isSuccess = column.place == EVERY || (column.place == COLUMN && TABLES[t].isSuccess);
            const bool isFirst = column.place == FIRST;
            text += makeCell(head);
            text += makeCell(std::to_string(code) + (column.place == EVERY ? " + p" : isFirst ? " + n" : ""));
            text +=
                makeCell(column.toldMeaning + (isFirst ? ", of pollutant 0 alone; not there without pollutants" : ""));
            text += makeCell(column.toldUnit);
            text += makeCell(isSuccess ? "0" : "−1") + "|\n";
            head.clear();
            code += column.place == COLUMN ? 1 : 0;
        }
    }
    return text;
}

}  // namespace

TEST(Manual, HoldsTheColumnsOfResults) {
    manual_check("results.md", "the list of columns", makeColumns());
}

TEST(Manual, HoldsTheCodesOfResults) {
    manual_check("host.md", "the list of columns", makeCodes());
}
