// `tarnvelde run --lid-results`: what it writes, and that it takes the place of nothing else.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "program.h"
#include "runningprogram.h"
#include "smalldisk.h"
#include "support/process.h"
#include "support/reporttables.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A barrel on the whole of a subcatchment of 100 m2, under 36 mm/h for an hour: 0.001 m3/s. It holds 1 m, and waits a
/// day before it drains. The land goes by ten minutes, which a large plain beside it leaves uncut, reports by a quarter
/// of an hour.
constexpr const char* BARREL =
    "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 2:00\nROUTING_STEP 0:01:00\n"
    "RUNOFF_STEP 0:10:00\nREPORT_STEP 0:15:00\n[RAINGAGES]\nG INTENSITY 0:10 RAIN\n"
    "[TIMESERIES]\nRAIN 2024/01/01 0:00 36 0:10 36 0:20 36 0:30 36 0:40 36 0:50 36\n"
    "[SUBCATCHS]\nS G O1 0.01 10 50 1 0.012 0.1 1 3 20 6 4 5 12\n"
    "PLAIN G O1 100 10 50 1 0.012 0.1 1 3 20 6 4 5 12\n"
    "[LIDS]\nB RB\nB STORAGE 1000 1 0\nB DRAIN 3 0.5 10 24\n[LID_GROUPS]\n"
    "[OUTFALLS]\nO1\n";

/// The unit, or two of the same name.
std::string makeBarrels(const std::vector<std::string>& lines) {
    std::string text = BARREL, groups = "[LID_GROUPS]\n";
    for (const std::string& line : lines) {
        groups += line + '\n';
    }
    return text.replace(text.find("[LID_GROUPS]\n"), 13, groups);
}

std::vector<std::string> readLines(const std::string& file) {
    std::istringstream stream(readFile(file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What the sqlite3 program answers, rows in lines and columns divided by bars.
std::string ask(const std::string& database, const std::string& sql) {
    const ProcessResult result = process_run({"sqlite3", database, sql});
    EXPECT_EQ(result.status, 0) << sql << '\n' << result.err;
    return result.out;
}

struct HostLidResults : testing::Test {
    TempFolder folder;
    std::string model = folder.write("model.inp", makeBarrels({"S B 100 0 0 100"}));
    std::string csv = folder.file("lid.csv"), database = folder.file("lid.db");

    ProcessResult run(std::vector<std::string> options) const {
        options.insert(options.begin(), {"run", model, "--quiet"});
        return runProgramWithin(60, options);
    }
    /// The example with a unit of each type, in place of the barrel.
    void takeExample() const {
        const fs::path example = fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "green-street" / "green-street.inp";
        fs::copy_file(example, model, fs::copy_options::overwrite_existing);
    }
};

constexpr int32_t EXAMPLE_REPORTS = 288;

}  // namespace

// --- what there is -------------------------------------------------------------------------------------------------

TEST_F(HostLidResults, HaveARowForEachReport) {
    const ProcessResult result = run({"--lid-results", csv});
    ASSERT_EQ(result.status, 0) << result.err;
    // Means of each quarter of an hour, though the land is ahead of it by five minutes in the first and third; what
    // stands in the barrel is what the land has come to: 0.001 m3/s x 1200 s behind 0:15.
    EXPECT_THAT(readLines(csv),
                ElementsAre("Date,Unit,Inflow (m3/s),Evap (mm/d),Surflow (m3/s),Exfil (mm/h),Drain (m3/s),Volume (m3),"
                            "SurDepth (m),SoilMoist,StorDepth (m),PaveDepth (m)",
                            "2024-01-01 00:15:00,S/B,0.001,0,0,0,0,1.2,0,0,0.012,0",
                            "2024-01-01 00:30:00,S/B,0.001,0,0,0,0,1.8,0,0,0.018,0",
                            "2024-01-01 00:45:00,S/B,0.001,0,0,0,0,3,0,0,0.03,0",
                            "2024-01-01 01:00:00,S/B,0.001,0,0,0,0,3.6,0,0,0.036,0",
                            "2024-01-01 01:15:00,S/B,0,0,0,0,0,3.6,0,0,0.036,0",
                            "2024-01-01 01:30:00,S/B,0,0,0,0,0,3.6,0,0,0.036,0",
                            "2024-01-01 01:45:00,S/B,0,0,0,0,0,3.6,0,0,0.036,0",
                            "2024-01-01 02:00:00,S/B,0,0,0,0,0,3.6,0,0,0.036,0"));
    EXPECT_FALSE(folder.has("lid.csv.part"));
}

TEST_F(HostLidResults, TellUnitsOfOneNameApart) {
    folder.write("model.inp", makeBarrels({"S B 50 0 0 50", "S B 30 0 0 30", "S B 20 0 0 20"}));
    ASSERT_EQ(run({"--lid-results", csv}).status, 0);
    const std::vector<std::string> lines = readLines(csv);
    ASSERT_EQ(lines.size(), 1U + 3U * 8U);
    EXPECT_THAT(lines[1], StartsWith("2024-01-01 00:15:00,S/B,5e-04,"));
    EXPECT_THAT(lines[2], StartsWith("2024-01-01 00:15:00,S/B/2,3e-04,"));
    EXPECT_THAT(lines[3], StartsWith("2024-01-01 00:15:00,S/B/3,2e-04,"));
}

TEST_F(HostLidResults, ConserveTheVolumesOfTheReport) {
    takeExample();
    ASSERT_EQ(run({"--lid-results", database}).status, 0);
    const std::vector<std::string> rows =
        getRows(readFile(folder.file("model.rpt")), "Subcatchment LID Performance Summary");
    ASSERT_EQ(rows.size(), 7U);
    const std::pair<const char*, double> units[] = {{"BC/CELL", 120},  {"RG/GARDEN", 150}, {"GR/ROOF", 900},
                                                    {"IT/TRENCH", 60}, {"PP/PAVING", 600}, {"RB/BARREL", 12},
                                                    {"VS/DITCH", 200}};
    for (size_t k = 0; k < rows.size(); ++k) {
        const auto& [name, area] = units[k];
        std::ostringstream factor;
        factor.precision(17);
        factor << 600.0 * 1000.0 / area;  // m3/s of ten minutes, as mm
        std::istringstream sums(ask(
            database, "select sum(Inflow)*" + factor.str() + ", sum(Evap)/144.0, sum(Exfil)/6.0, sum(Surflow)*" +
                          factor.str() + ", sum(Drain)*" + factor.str() + " from LID_Unit where Name='" + name + "'"));
        std::istringstream words(rows[k]);
        std::string subcatchment, lid, sum;
        words >> subcatchment >> lid;
        EXPECT_EQ(subcatchment.append(1, '/').append(lid), name);
        for (double expected = 0.0; std::getline(sums, sum, '|');) {
            words >> expected;
            EXPECT_NEAR(std::strtod(sum.c_str(), nullptr), expected, 0.0006) << name;
        }
    }
}

TEST_F(HostLidResults, AreReadLikeAnyOtherResults) {
    takeExample();
    ASSERT_EQ(run({"--lid-results", database}).status, 0);
    EXPECT_EQ(ask(database, "select count(*), max(Period) from LID_Unit"),
              std::to_string(7 * EXAMPLE_REPORTS) + '|' + std::to_string(EXAMPLE_REPORTS) + '\n');
    EXPECT_EQ(ask(database, "pragma integrity_check"), "ok\n");
    const std::string list = runProgram({"results", database}).out;
    EXPECT_THAT(list, HasSubstr("288 reports of 600 s from 2021-06-01 00:00:00 on"));
    EXPECT_THAT(list, HasSubstr("Inflow (m3/s), Evap (mm/d), Surflow (m3/s), Exfil (mm/h), Drain (m3/s), Volume (m3), "
                                "SurDepth (m), SoilMoist, StorDepth (m), PaveDepth (m), Sur_TSS (mg/L)"));
    EXPECT_THAT(list, HasSubstr("objects: BC/CELL RG/GARDEN GR/ROOF IT/TRENCH PP/PAVING RB/BARREL VS/DITCH\n"));
    const ProcessResult stats = runProgram({"stats", database, "--object", "bc/cell", "--column", "drain"});
    EXPECT_EQ(stats.status, 0) << stats.err;
    EXPECT_THAT(stats.out, HasSubstr("BC/CELL"));
    const std::string picture = folder.file("a.svg");
    EXPECT_EQ(runProgram({"plot", database, "--object", "RB/BARREL", "--column", "Volume", "-o", picture}).status, 0);

    // Both forms hold the same, and so does a run by several threads.
    ASSERT_EQ(run({"--lid-results", csv}).status, 0);
    const std::string lines = readFile(csv);
    ASSERT_EQ(run({"--lid-results", csv, "--threads", "2"}).status, 0);
    EXPECT_EQ(readFile(csv), lines);
    const std::string cells = runProgram({"results", database, "--object", "VS/DITCH", "--csv"}).out;
    std::istringstream rows(cells);
    std::string row;
    ASSERT_TRUE(std::getline(rows, row));
    for (int32_t k = 0; k < EXAMPLE_REPORTS; ++k) {
        ASSERT_TRUE(std::getline(rows, row));
        EXPECT_THAT(lines, HasSubstr(row.substr(0, 19) + ",VS/DITCH" + row.substr(19) + '\n'));
    }
}

TEST_F(HostLidResults, ChangeNothingElse) {
    takeExample();
    ASSERT_EQ(run({}).status, 0);
    const std::string report = readFile(folder.file("model.rpt")), results = readFile(folder.file("model.bin"));
    const ProcessResult result = run({"--lid-results", database, "--json"});
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("\"lidResults\": \"" + database + '"'));
    EXPECT_EQ(readFile(folder.file("model.rpt")), report);
    EXPECT_EQ(readFile(folder.file("model.bin")), results);
}

TEST_F(HostLidResults, OfARunThatGoesOnAreThoseOfTheWholeRun) {
    takeExample();
    const std::string state = folder.file("state"), first = folder.file("first.csv"),
                      second = folder.file("second.csv");
    ASSERT_EQ(run({"--lid-results", csv}).status, 0);
    ASSERT_EQ(run({"--lid-results", first, "--until", "2021/06/01 4:00", "--save-state", state}).status, 0);
    ASSERT_EQ(run({"--lid-results", second, "--load-state", state}).status, 0);
    std::vector<std::string> parts = readLines(first);
    const std::vector<std::string> rest = readLines(second);
    EXPECT_EQ(parts.size(), 1U + 7U * 24U);
    parts.insert(parts.end(), rest.begin() + 1, rest.end());
    EXPECT_EQ(parts, readLines(csv));
}

TEST_F(HostLidResults, OfAProjectWithoutUnitsAreEmpty) {
    folder.write("model.inp", GOOD_PROJECT);
    ASSERT_EQ(run({"--lid-results", csv}).status, 0);
    ASSERT_EQ(run({"--lid-results", database}).status, 0);
    EXPECT_EQ(readLines(csv).size(), 1U);
    EXPECT_EQ(ask(database, "select count(*) from LID_Unit"), "0\n");
    EXPECT_EQ(runProgram({"results", database}).status, 0);
}

// --- files ---------------------------------------------------------------------------------------------------------

TEST_F(HostLidResults, TakeThePlaceOfNoFileOfTheRun) {
    folder.write("rain.dat", "2024/01/01 0:00 36\n2024/01/01 0:10 0\n");
    std::string text = readFile(model);
    const std::string series = "RAIN 2024/01/01 0:00 36 0:10 36 0:20 36 0:30 36 0:40 36 0:50 36";
    folder.write("model.inp", text.replace(text.find(series), series.size(), "RAIN FILE rain.dat"));
    const std::string state = folder.file("state"), stats = folder.file("stats.csv"), link = folder.file("link.csv");
    ASSERT_EQ(run({"--save-state", state, "--until", "2024/01/01 1:00"}).status, 0);
    fs::create_symlink("rain.dat", link);
    const std::vector<std::string> names = folder.list();
    const std::string modelBytes = readFile(model), stateBytes = readFile(state),
                      rain = readFile(folder.file("rain.dat"));
    for (const std::string& name :
         {model, folder.file("./model.inp"), folder.file("model.rpt"), folder.file("model.bin"),
          folder.file("model.bin.part"), state, stats, folder.file("rain.dat"), link}) {
        const ProcessResult result =
            run({"--lid-results", name, "--load-state", state, "--stats=" + stats, "--save-state", state});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("ERROR 301")) << name;
        EXPECT_EQ(folder.list(), names) << name;
    }
    fs::rename(state, folder.file("x.db.part-journal"));
    const ProcessResult result =
        run({"--lid-results", folder.file("x.db"), "--load-state", folder.file("x.db.part-journal")});
    EXPECT_THAT(result.err, HasSubstr("the results of LID units would take the place of"));
    EXPECT_EQ(readFile(folder.file("x.db.part-journal")), stateBytes);
    EXPECT_EQ(readFile(model), modelBytes);
    EXPECT_EQ(readFile(folder.file("rain.dat")), rain);
}

TEST_F(HostLidResults, OnAFullDiskAreToldAndTheOldOnesStay) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    takeExample();
    ASSERT_EQ(run({}).status, 0);
    const std::string report = readFile(folder.file("model.rpt")), results = readFile(folder.file("model.bin"));
    for (const char* name : {"lid.csv", "lid.db"}) {
        const std::string file = disk.folder.write(name, "old");
        const ProcessResult result = run({"--lid-results", file});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("cannot write " + file + ": ")) << name;
        EXPECT_EQ(readFile(file), "old");
        EXPECT_THAT(disk.folder.list(), ElementsAre(name));
        EXPECT_EQ(readFile(folder.file("model.rpt")), report) << "the run goes on without them";
        EXPECT_EQ(readFile(folder.file("model.bin")), results);
        fs::remove(file);
    }
}

TEST_F(HostLidResults, WantAPlaceForAFile) {
    for (const std::string& name : {folder.path.string(), folder.file("none/lid.db"), std::string("/dev/full")}) {
        const ProcessResult result = run({"--lid-results", name});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("the results of LID units " + name)) << name;
    }
    EXPECT_EQ(run({"--lid-results", ""}).status, 2);
}

TEST(HostLidResultsKilled, StandAsideAndTheOldOnesStay) {
    const TempFolder folder;
    const std::string database = folder.write("lid.db", "old"), part = database + ".part";
    RunningProgram run({"--lid-results", database});
    ASSERT_TRUE(run.waitForSize(part, 100000));
    EXPECT_THAT(runProgram({"run", run.model, "--report", folder.file("r"), "--results", folder.file("b"),
                            "--lid-results", database})
                    .err,
                HasSubstr("another program is writing it"));
    kill(run.child, SIGKILL);
    EXPECT_EQ(run.wait(), 128 + SIGKILL);
    EXPECT_EQ(readFile(database), "old");
    const ProcessResult result = runProgram({"results", part});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("reports of 600 s from 2024-01-01 00:00:00 on"));
    EXPECT_EQ(ask(part, "select count(*) >= 20000 and count(*) = max(Period) from System"), "1\n");
}
