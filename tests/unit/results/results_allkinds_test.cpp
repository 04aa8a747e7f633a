// Results of a project with objects of all kinds, which don't stand by kind in the project file: the order of the names
// and of the rows, and each value of a row of the network against what a host is told between the steps.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "hydrology/subcatch.h"
#include "model/names.h"
#include "model/project.h"
#include "nodes/lidmono.h"
#include "support/allkinds.h"
#include "support/database.h"
#include "support/model.h"
#include "support/results.h"

namespace {

/// Tables with rows for each object, in the order of a record. Outside models have none.
struct TableOfObjects {
    const char* name;
    int32_t code;    ///< object code of the exchange functions
    int32_t length;  ///< values in a row, with two pollutants
    std::vector<const char*> objects;
};

const std::vector<TableOfObjects> TABLES = {
    {"Subcatchment", TARNVELDE_SUBCATCHMENT, 4 + 2, {"S", "GRASS"}},
    {"Junction", TARNVELDE_JUNCTION, 2 + 2, {"J"}},
    {"Tank", TARNVELDE_TANK, 5 + 2, {"T"}},
    {"Outfall", TARNVELDE_OUTFALL, 2 + 2, {"O", "O2", "OS", "OR2"}},
    {"Splitter", TARNVELDE_SPLITTER, 4 + 2, {"SP"}},
    {"Reactor", TARNVELDE_REACTOR, 8 + 2, {"R"}},
    {"LID_Mono", TARNVELDE_LID_MONOMER, 11 + 4 * 2, {"M"}},
    {"Pipe", TARNVELDE_PIPE, 4 + 2, {"P"}},
    {"Pump", TARNVELDE_PUMP, 1 + 2, {"PU"}},
    {"Connection", TARNVELDE_CONNECTION, 2 + 2, {"C", "CM", "CR", "CS", "CV"}},
    {"Conduit", TARNVELDE_CONDUIT, 6 + 2, {"D"}},
    {"Weir", TARNVELDE_WEIR, 1 + 2, {"W"}},
    {"Orifice", TARNVELDE_ORIFICE, 1 + 2, {"OR"}},
};
constexpr size_t SYSTEM_ROW = 12;

/// Values of all rows behind that of the system.
size_t countValues() {
    size_t count = 0;
    for (const TableOfObjects& table : TABLES) {
        count += static_cast<size_t>(table.length) * table.objects.size();
    }
    return count;
}

size_t getRecordSize() {
    return 8 + 4 * (SYSTEM_ROW + countValues());
}

// --- what the rows should hold -------------------------------------------------------------------------------------

/// A result as a host reads it, whatever the code of the call. NaN where there is none.
double getResult(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    tarnvelde_getResult(object, id, code, &value);
    return value;
}

/// The rain of a report, mm/h: an hour of 36, reports after each step.
double getRain() {
    return testModel().clock.newRoutingTime < 3600000.0 ? 36.0 : 0.0;
}

/// What is kept at both ends of the runoff step, at the time of the report.
double mixRunoff(double last, double now) {
    const double f = (testModel().clock.newRoutingTime - testModel().clock.oldRunoffTime) /
                     (testModel().clock.newRunoffTime - testModel().clock.oldRunoffTime);
    return (1.0 - f) * last + f * now;
}

double getSubcatchValue(const char* id, int32_t column) {
    const Subcatch& s = testModel().subcatches.at((names_find(testModel(), SUBCATCH, id)));
    switch (column) {
        case 0: return getRain();
        case 1:
        case 2: return getResult(TARNVELDE_SUBCATCHMENT, id, column);
        case 3: {
            const double runoff = mixRunoff(s.lastRunoff, s.thisRunoff);
            return runoff < s.area * 7.056e-10 ? 0.0 : runoff;
        }
        default: return mixRunoff(s.lastQuality[column - 4], s.thisQuality[column - 4]);
    }
}

/// mg/L in a layer: its mass over voids, level and area. Of the soil the moisture stands for the level.
double getLayerQuality(const double* mass, int32_t pollutant, double voids, double level) {
    const double volume = voids * level * testModel().lidMonos.at(0).unit.area;
    return volume > 0.0 ? mass[pollutant] / volume * 1000.0 : 0.0;
}

double getLidValue(const char* id, int32_t column) {
    const LidUnit& m = testModel().lidMonos.at(0).unit;
    const Lid& lid = testModel().lids.at(0);
    switch (column) {
        case 2: return getRain();
        case 14: return getLayerQuality(m.thisSoilMass, 1, lid.porosity, m.soilMoisture);
        case 15:
        case 16: return getLayerQuality(m.thisStorageMass, column - 15, lid.storageVoid, m.storageLevel);
        case 17:
        case 18: return getLayerQuality(m.thisPavementMass, column - 17, lid.pavementVoid, m.pavementLevel);
        default: return getResult(TARNVELDE_LID_MONOMER, id, column);
    }
}

float round(double value) {
    return static_cast<float>(value);
}

float getExpected(const TableOfObjects& table, const char* id, int32_t column) {
    if (table.code == TARNVELDE_SUBCATCHMENT) {
        return round(getSubcatchValue(id, column));
    }
    if (table.code == TARNVELDE_LID_MONOMER) {
        return round(getLidValue(id, column));
    }
    if (table.code == TARNVELDE_SPLITTER && column == 3) {
        return round(getResult(table.code, id, 0)) - round(getResult(table.code, id, 2));
    }
    if (table.code == TARNVELDE_CONDUIT && column == 2) {
        const double area = getResult(table.code, id, 1) / 20000.0;  // volume over length
        return area > 0.0 ? round(getResult(table.code, id, 4) / area) : 0.0f;
    }
    return round(getResult(table.code, id, column));
}

std::vector<float> getExpectedValues() {
    std::vector<float> values;
    for (const TableOfObjects& table : TABLES) {
        for (const char* id : table.objects) {
            for (int32_t column = 0; column < table.length; ++column) {
                values.push_back(getExpected(table, id, column));
            }
        }
    }
    return values;
}

// --- runs ----------------------------------------------------------------------------------------------------------

/// The project with the crest of its weir below the top of the tank.
std::string getText() {
    const std::string weir = "W T O NO RECTANGULAR 1.86 6 ";
    std::string text = "REPORT_AVERAGE NO\n" + AllKindsText;
    return text.replace(text.find(weir + "50"), weir.size() + 2, weir + "6.5");
}

/// A run with a sample after each step. The tank is full to above the crest of its weir; dirty water comes to J, clean
/// water to SP, R and M.
struct SampledRun : CoupledProject {
    std::vector<std::vector<float>> expected;  ///< per report

    explicit SampledRun(int32_t saveMode) : CoupledProject(getText(), ALL_KINDS_STEPS) {
        model("a.inp", getPassingModel(ALL_KINDS_STEPS, "substances B J\ngage RG IN 100\n"));
        model("p.sti", getPassingPlant(ALL_KINDS_STEPS));
        EXPECT_EQ(open(), 0) << getReport();
        EXPECT_EQ(tarnvelde_start(saveMode), 0);
        tarnvelde_setTankDepth("T", 7.0);
        for (int k = 0; k < ALL_KINDS_STEPS; ++k) {
            tarnvelde_setExtInflow("J", 0.1);
            tarnvelde_setExtLoad("J", "", 0.004);
            tarnvelde_setExtInflow("SP", 0.5);
            tarnvelde_setExtInflow("R", 0.03);
            tarnvelde_setExtInflow("M", 0.2);
            step();
            expected.push_back(getExpectedValues());
        }
        EXPECT_EQ(tarnvelde_end(), 0);
        tarnvelde_close();
    }
};

/// The binary file of such a run.
struct SampledFile : SampledRun {
    std::string bytes = readFile(results);

    SampledFile() : SampledRun(1) {}

    float getValue(size_t period, size_t place) const {
        const size_t start = static_cast<size_t>(getClosing(bytes, 3)) + period * getRecordSize();
        return getFloat(bytes, start + 8 + 4 * place);
    }
};

/// The number that a row of the database holds for a value.
double roundToSixDecimals(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    return std::strtod(text, nullptr);
}

}  // namespace

TEST(AllKindsResults, NamesStandKindByKind) {
    const SampledFile file;
    FileImage image;
    image.addIntegers({516114522, 21000, 2});
    image.addIntegers({1, 1, 4, 1, 1, 1});  // junctions, tanks, outfalls, splitters, reactors, LID monomers
    image.addIntegers({1, 1, 5, 1, 1, 1});  // pipes, pumps, connections, conduits, weirs, orifices
    image.addInteger(2);
    for (const char* name : {"S",  "GRASS", "J",  "T",  "O",  "O2", "OS", "OR2", "SP", "R", "M", "P",
                             "PU", "C",     "CM", "CR", "CS", "CV", "D",  "W",   "OR", "B", "J"}) {
        image.addName(name);
    }
    EXPECT_EQ(file.bytes.substr(0, image.bytes.size()), image.bytes);
    EXPECT_EQ(getClosing(file.bytes, 1), static_cast<int32_t>(image.bytes.size()));
}

TEST(AllKindsResults, ARecordHoldsTheRowsOfAllObjects) {
    const SampledFile file;
    const size_t results = static_cast<size_t>(getClosing(file.bytes, 3));
    ASSERT_EQ(getClosing(file.bytes, 4), ALL_KINDS_STEPS);
    EXPECT_EQ(file.bytes.size(), results + ALL_KINDS_STEPS * getRecordSize() + 28);
}

TEST(AllKindsResults, RowsHoldWhatAHostIsTold) {
    const SampledFile file;
    ASSERT_EQ(getClosing(file.bytes, 4), ALL_KINDS_STEPS);
    std::vector<bool> hasWater;
    for (size_t report = 0; report < ALL_KINDS_STEPS; ++report) {
        size_t place = 0, index = 0;
        hasWater.resize(TABLES.size());
        for (const TableOfObjects& table : TABLES) {
            for (const char* id : table.objects) {
                for (int32_t column = 0; column < table.length; ++column, ++place) {
                    const float value = file.getValue(report, SYSTEM_ROW + place);
                    ASSERT_FLOAT_EQ(value, file.expected[report][place])
                        << table.name << ' ' << id << ", column " << column << ", report " << report + 1;
                    hasWater[index] = hasWater[index] || value != 0.0f;
                }
            }
            ++index;
        }
    }
    for (size_t k = 0; k < TABLES.size(); ++k) {
        EXPECT_TRUE(hasWater[k]) << "nothing in " << TABLES[k].name;
    }
}

TEST(AllKindsResults, TheDatabaseHoldsTheSameRows) {
    const SampledFile file;
    const SampledRun run(2);
    size_t place = SYSTEM_ROW;
    for (const TableOfObjects& table : TABLES) {
        // One line per row, in the order in which the rows were written.
        std::istringstream lines(ask(getDatabase(run), std::string("select * from ") + table.name + " order by rowid"));
        std::string line, field;
        for (size_t report = 0; report < ALL_KINDS_STEPS; ++report) {
            for (size_t k = 0; k < table.objects.size(); ++k) {
                ASSERT_TRUE(std::getline(lines, line)) << table.name << " has too few rows";
                std::istringstream fields(line);
                std::getline(fields, field, '|');
                ASSERT_EQ(field, table.objects[k]) << line;
                std::getline(fields, field, '|');
                ASSERT_EQ(field, std::to_string(report + 1)) << line;
                for (size_t column = 0; column < static_cast<size_t>(table.length); ++column) {
                    ASSERT_TRUE(std::getline(fields, field, '|')) << line;
                    const float value = file.getValue(report, place + k * static_cast<size_t>(table.length) + column);
                    ASSERT_DOUBLE_EQ(std::strtod(field.c_str(), nullptr), roundToSixDecimals(value))
                        << table.name << ' ' << line << ", column " << column;
                }
                EXPECT_FALSE(std::getline(fields, field, '|')) << line;
            }
        }
        EXPECT_FALSE(std::getline(lines, line)) << table.name << " has more rows: " << line;
        place += static_cast<size_t>(table.length) * table.objects.size();
    }
    std::istringstream lines(ask(getDatabase(run), "select * from System order by rowid"));
    std::string line, field;
    for (size_t report = 0; report < ALL_KINDS_STEPS; ++report) {
        ASSERT_TRUE(std::getline(lines, line)) << "System has too few rows";
        std::istringstream fields(line);
        std::getline(fields, field, '|');
        ASSERT_EQ(field, std::to_string(report + 1));
        for (size_t column = 0; column < SYSTEM_ROW; ++column) {
            ASSERT_TRUE(std::getline(fields, field, '|')) << line;
            ASSERT_DOUBLE_EQ(std::strtod(field.c_str(), nullptr), roundToSixDecimals(file.getValue(report, column)))
                << line << ", column " << column;
        }
    }
}
