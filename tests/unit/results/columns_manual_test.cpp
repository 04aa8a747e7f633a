// The tables of the manual that are made from the list of columns. With TARNVELDE_WRITE_MANUAL in the environment, as
// scripts/write-manual.sh sets it, they are written and not compared.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/tempfolder.h"

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

constexpr const char* BEGIN = "<!-- from the list of columns: scripts/write-manual.sh -->\n";
constexpr const char* END = "<!-- end of the list -->\n";

/// Compares what stands between the marks of a chapter with what should, or puts it there.
void checkChapter(const std::string& chapter, const std::string& tables) {
    const std::string file = std::string(TARNVELDE_SOURCE_DIR) + "/docs/" + chapter;
    std::string text = readFile(file);
    const size_t begin = text.find(BEGIN);
    const size_t end = text.find(END);
    ASSERT_NE(begin, std::string::npos) << chapter;
    ASSERT_NE(end, std::string::npos) << chapter;
    const size_t from = begin + std::string(BEGIN).size();
    if (std::getenv("TARNVELDE_WRITE_MANUAL")) {
        std::ofstream(file, std::ios::binary) << text.replace(from, end - from, '\n' + tables + '\n');
        return;
    }
    EXPECT_EQ(text.substr(from, end - from), '\n' + tables + '\n')
        << chapter << " isn't up to date: run scripts/write-manual.sh";
}

}  // namespace

TEST(Manual, HoldsTheColumnsOfResults) {
    checkChapter("results.md", makeColumns());
}

TEST(Manual, HoldsTheCodesOfResults) {
    checkChapter("host.md", makeCodes());
}
