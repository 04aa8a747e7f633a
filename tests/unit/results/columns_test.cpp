// The list of columns: every place that is made from it against names, units and numbers that stand here once more.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "model/project.h"
#include "results/rows.h"
#include "support/allkinds.h"
#include "support/database.h"
#include "support/results.h"

namespace {

struct Expected {
    const char* table;
    int32_t code;         ///< object code of hosts, and of the first concentration
    int32_t qualityCode;  ///< -1 for the system
    const char* columns;  ///< with their units, joined by ", " as the command line shows them
    std::vector<const char*> blocks;
};

const std::vector<Expected> EXPECTED = {
    {"System",
     0,
     -1,
     "Rainfall (mm/h), Evap (mm/d), Infil (mm/h), Runoff (m3/s), TotInflow (m3/s), DirInflow (m3/s), DWF (m3/s), "
     "Flood (m3/s), SWMMIn (m3/s), Outflow (m3/s), SWMMOut (m3/s), Storage (m3)",
     {}},
    {"Subcatchment",
     TARNVELDE_SUBCATCHMENT,
     TARNVELDE_RESULT_SUBCATCHMENT_QUALITY,
     "Rainfall (mm/h), Evap (mm/d), Infil (mm/h), Runoff (m3/s)",
     {""}},
    {"Junction", TARNVELDE_JUNCTION, TARNVELDE_RESULT_JUNCTION_QUALITY, "TotInflow (m3/s), LatInflow (m3/s)", {""}},
    {"Tank",
     TARNVELDE_TANK,
     TARNVELDE_RESULT_TANK_QUALITY,
     "Depth (m), Vol (m3), TotInflow (m3/s), LatInflow (m3/s), Flood (m3/s)",
     {""}},
    {"Outfall", TARNVELDE_OUTFALL, TARNVELDE_RESULT_OUTFALL_QUALITY, "TotInflow (m3/s), LatInflow (m3/s)", {""}},
    {"Splitter",
     TARNVELDE_SPLITTER,
     TARNVELDE_RESULT_SPLITTER_QUALITY,
     "TotInflow (m3/s), LatInflow (m3/s), Outflow1 (m3/s), Outflow2 (m3/s)",
     {""}},
    {"Reactor",
     TARNVELDE_REACTOR,
     TARNVELDE_RESULT_REACTOR_QUALITY,
     "Vol (m3), TotInflow (m3/s), LatInflow (m3/s), Outflow (m3/s), Surpass (m3/s), Evap (mm/d), Infil (mm/h), "
     "Empty (m3/s)",
     {""}},
    {"LID_Mono",
     TARNVELDE_LID_MONOMER,
     TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY,
     "TotInflow (m3/s), LatInflow (m3/s), Rainfall (mm/h), Evap (mm/d), Surflow (m3/s), Exfil (mm/h), Drain (m3/s), "
     "SurDepth (m), SoilMoist, StorDepth (m), PaveDepth (m)",
     {"Sur_", "Soil_", "Stor_", "Pave_"}},
    {"Pipe",
     TARNVELDE_PIPE,
     TARNVELDE_RESULT_PIPE_QUALITY,
     "Vol (m3), Inflow (m3/s), Outfow (m3/s), Flood (m3/s)",
     {""}},
    {"Pump", TARNVELDE_PUMP, TARNVELDE_RESULT_PUMP_QUALITY, "Flow (m3/s)", {""}},
    {"Connection", TARNVELDE_CONNECTION, TARNVELDE_RESULT_CONNECTION_QUALITY, "Inflow (m3/s), Outflow (m3/s)", {""}},
    {"Conduit",
     TARNVELDE_CONDUIT,
     TARNVELDE_RESULT_CONDUIT_QUALITY,
     "Depth (m), Vol (m3), Velocity (m/s), Inflow (m3/s), Outflow (m3/s), Flood (m3/s)",
     {""}},
    {"Weir", TARNVELDE_WEIR, TARNVELDE_RESULT_WEIR_QUALITY, "Flow (m3/s)", {""}},
    {"Orifice", TARNVELDE_ORIFICE, TARNVELDE_RESULT_ORIFICE_QUALITY, "Flow (m3/s)", {""}},
};

/// The expected columns with those of two pollutants, as the command line shows them.
std::string getColumns(const Expected& expected) {
    std::string columns = expected.columns;
    for (const char* prefix : expected.blocks) {
        for (const char* pollutant : {"B", "J"}) {
            columns += std::string(", ") + prefix + pollutant + " (mg/L)";
        }
    }
    return columns;
}

/// The same without the units.
std::vector<std::string> getNames(const Expected& expected) {
    std::vector<std::string> names;
    std::istringstream columns(getColumns(expected));
    for (std::string word; columns >> word;) {
        if (word[0] != '(') {
            names.push_back(word.substr(0, word.find(',')));
        }
    }
    return names;
}

}  // namespace

TEST(Columns, TablesStandInTheOrderOfTheCodesOfHosts) {
    ASSERT_EQ(EXPECTED.size(), static_cast<size_t>(RESULT_TABLE_COUNT));
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        const Expected& expected = EXPECTED[static_cast<size_t>(table)];
        EXPECT_STREQ(RowTables[table].name, expected.table);
        EXPECT_EQ(expected.code, table);
        if (table != SYSTEM_TABLE) {
            EXPECT_EQ(RowTables[table].columnCount, expected.qualityCode) << expected.table;
        }
    }
    EXPECT_EQ(RowTables[SYSTEM_TABLE].columnCount, SYSTEM_LENGTH);
}

TEST(Columns, HaveTheirNamesAndUnits) {
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        const RowTable& t = RowTables[table];
        const Expected& expected = EXPECTED[static_cast<size_t>(table)];
        std::string columns;
        for (int32_t k = 0; k < t.columnCount; ++k) {
            const std::string unit = t.columns[k].unit;
            columns += (k > 0 ? ", " : "") + std::string(t.columns[k].name) + (unit.empty() ? "" : " (" + unit + ')');
        }
        EXPECT_EQ(columns, expected.columns) << expected.table;
        ASSERT_EQ(static_cast<size_t>(t.qualityBlocks), expected.blocks.size()) << expected.table;
        for (size_t k = 0; k < expected.blocks.size(); ++k) {
            EXPECT_STREQ(t.columns[static_cast<size_t>(t.columnCount) + k].name, expected.blocks[k]) << expected.table;
            EXPECT_STREQ(t.columns[static_cast<size_t>(t.columnCount) + k].unit, "mg/L") << expected.table;
        }
    }
}

// SQLite takes no two columns that differ by the case of their letters.
TEST(Columns, NamesAreUniqueInWhateverCase) {
    std::set<std::string> tables;
    for (const RowTable& table : RowTables) {
        EXPECT_TRUE(tables.insert(table.name).second) << table.name;
        std::set<std::string> columns = {"name", "period"};
        for (int32_t k = 0; k < table.columnCount + table.qualityBlocks; ++k) {
            std::string name = table.columns[k].name;
            std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
            EXPECT_TRUE(columns.insert(name).second) << table.name << ' ' << name;
        }
    }
}

TEST(Columns, MakeTheTablesOfTheDatabase) {
    AllKindsRun run(2);
    run.finish();
    for (const Expected& expected : EXPECTED) {
        std::string columns = expected.code == 0 ? "" : "Name TEXT\n";
        columns += "Period INT\n";
        for (const std::string& name : getNames(expected)) {
            columns += name + " FLOAT\n";
        }
        EXPECT_EQ(ask(getDatabase(run),
                      std::string("select name || ' ' || type from pragma_table_info('") + expected.table + "')"),
                  columns);
    }
}

TEST(Columns, MakeTheCodesOfTheBinaryFile) {
    AllKindsRun run(1);
    run.finish();
    const std::string bytes = readFile(run.results);
    const auto start = static_cast<size_t>(getClosing(bytes, 1));
    FileImage image;
    for (const Expected& expected : EXPECTED) {
        const auto count = static_cast<int32_t>(getNames(expected).size());
        image.addInteger(count);
        for (int32_t code = 0; code < count; ++code) {
            image.addInteger(code);
        }
    }
    EXPECT_EQ(bytes.substr(start, image.bytes.size()), image.bytes);
    EXPECT_EQ(getClosing(bytes, 2), static_cast<int32_t>(start + image.bytes.size()));
}

#ifdef TARNVELDE_PROGRAM
TEST(Columns, ReachTheCommandLine) {
    for (const int32_t saveMode : {1, 2}) {
        AllKindsRun run(saveMode);
        run.finish();
        const std::string file = saveMode == 1 ? run.results : getDatabase(run);
        const ProcessResult result = process_run({TARNVELDE_PROGRAM, "results", file});
        ASSERT_EQ(result.status, 0) << result.err;
        for (const Expected& expected : EXPECTED) {
            const std::string lines =
                std::string("\n") + expected.table + "\n  columns: " + getColumns(expected) + '\n';
            EXPECT_NE(result.out.find(lines), std::string::npos) << lines << "isn't in\n" << result.out;
        }
    }
}
#endif
