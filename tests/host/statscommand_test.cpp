// What `tarnvelde stats` shows of files of results, and that its volumes are those of the engine.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

#include "host/jsontext.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr double START = 44256.0;  ///< 1 March 2021

std::string cutLine(const std::string& text, size_t number) {
    std::istringstream lines(text);
    std::string line;
    for (size_t k = 0; k <= number; ++k) {
        std::getline(lines, line);
    }
    return line;
}

/// The number behind the first `"name": ` of a text, from a place on.
double readNumber(const std::string& json, const std::string& name, size_t from = 0) {
    const std::string mark = '"' + name + "\": ";
    const size_t at = json.find(mark, from);
    if (at == std::string::npos) {
        ADD_FAILURE() << "no member " << name;
        return 0.0;
    }
    return std::stod(json.substr(at + mark.size(), 40));
}

}  // namespace

// Reports of a minute. O_1 gets 0, 0, 0.5 and 0.5 m3/s with 4 mg/L: 60 m3 and 0.24 kg in two minutes, the thirtieth
// part of an hour. The four minutes are 240 / 31557600 years, so a year has 131490 of such records.

TEST_F(Results, StatsTellOfAnOutfall) {
    const ProcessResult result = runProgram({"stats", binary, "--object", "O_1", "--events"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out,
                HasSubstr("Flow above 0 m3/s; events end where 6 h are without it\n\nOutfall O_1, TotInflow\n"
                          "  2021-03-01 00:00:00 to 2021-03-01 00:04:00: 4 reports of 60 s, "));
    EXPECT_THAT(result.out, HasSubstr("\n  Events                            1  131490 a year\n"
                                      "  Hours with flow           0.0333333  4383 a year\n"
                                      "  Volume (m3)                      60  7889400 a year\n"
                                      "  Mean event (m3)                  60\n"
                                      "  Largest event (m3)               60  from 2021-03-01 00:02:00\n"
                                      "  Peak (m3/s)                     0.5  2021-03-01 00:03:00\n"));
    EXPECT_THAT(result.out, ContainsRegex("\n  NH4-N +0\\.24 +31557\\.6 +4 +4\n"));
    EXPECT_THAT(result.out, ContainsRegex("\n  2021 +- +- +60 +- .* 60 +1 +0\\.0333333\n"));
    EXPECT_THAT(result.out,
                ContainsRegex("\n      1  2021-03-01 00:02:00  2021-03-01 00:04:00 +0\\.0333333 +60 +0\\.5  "
                              "2021-03-01 00:03:00 +0\\.24 +4 +4  goes on\n"));
    EXPECT_THAT(result.out,
                EndsWith("\nThe record is shorter than a year: figures a year are only scaled up from it.\n"));
}

TEST_F(Results, StatsAreThoseOfOverflowsIfNothingIsNamed) {
    const ProcessResult result = runProgram({"stats", binary});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out,
                ContainsRegex("\nOutfall +O_1 +TotInflow +1 +131490 +0\\.0333333 +4383 +60 +7889400 +0\\.5  "
                              "2021-03-01 00:03:00\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("J1")));
    EXPECT_THAT(result.out, Not(HasSubstr("C1")));
}

TEST_F(Results, StatsOfBothKindsOfFileAreTheSame) {
    for (const std::vector<std::string>& form : std::vector<std::vector<std::string>>{
             {"--csv"}, {"--csv", "--events"}, {"--csv", "--curve"}, {"--events", "--curve"}}) {
        std::vector<std::string> arguments{"stats", binary, "--table", "Junction", "--table", "connection"};
        arguments.insert(arguments.end(), form.begin(), form.end());
        std::string ofBinary = runProgram(arguments).out;
        arguments[1] = database;
        std::string ofDatabase = runProgram(arguments).out;
        // Names of columns have low lines in a database.
        ofBinary = std::regex_replace(ofBinary, std::regex("NH4-N"), "NH4_N");
        EXPECT_EQ(ofBinary, ofDatabase);
        EXPECT_THAT(ofDatabase, HasSubstr("J1"));
    }
}

TEST_F(Results, StatsOfEventsAreRowsOfCsv) {
    const ProcessResult result =
        runProgram({"stats", binary, "--object", "O_1", "--object", "Connection:C1", "--events", "--csv"});
    EXPECT_EQ(
        result.out,
        "Table,Object,Column,Event,Start,End,Began before,Goes on,Hours with flow,Volume (m3),Peak (m3/s),Time of "
        "peak,Load of NH4-N (kg),Flow-weighted mean of NH4-N (mg/L),Maximum of NH4-N (mg/L)\n"
        "Outfall,O_1,TotInflow,1,2021-03-01 00:02:00,2021-03-01 00:04:00,no,yes,0.03333333333333333,60,0.5,"
        "2021-03-01 00:03:00,0.24,4,4\n"
        "Connection,C1,Outflow,1,2021-03-01 00:02:00,2021-03-01 00:04:00,no,yes,0.03333333333333333,60,0.5,"
        "2021-03-01 00:03:00,0.24,4,4\n");
}

TEST_F(Results, StatsHaveARowOfCsvForEachObject) {
    const std::string out = runProgram({"stats", binary, "--csv"}).out;
    const std::string head = cutLine(out, 0), row = cutLine(out, 1);
    EXPECT_EQ(std::count(head.begin(), head.end(), ','), std::count(row.begin(), row.end(), ','));
    EXPECT_THAT(head, HasSubstr(",99 % (m3/s),January (m3),"));
    EXPECT_THAT(row, testing::StartsWith("Outfall,O_1,TotInflow,2021-03-01 00:00:00,2021-03-01 00:04:00,4,0,0,"));
    EXPECT_THAT(row, ContainsRegex(",0,0,0\\.25,0\\.5,0\\.5,0\\.5,,,60,,,,,,,,,,0\\.24,31557\\.6[0-9]*,4,4$"))
        << "flows 0, 0, 0.5, 0.5; March";
    EXPECT_EQ(cutLine(out, 2), "");
}

TEST_F(Results, StatsOfACurveHaveThePlacesOfWeibull) {
    EXPECT_EQ(runProgram({"stats", binary, "--object", "O_1", "--curve", "--csv"}).out,
              "Table,Object,Column,Rank,Exceedance,Flow (m3/s)\n"
              "Outfall,O_1,TotInflow,1,0.2,0.5\nOutfall,O_1,TotInflow,2,0.4,0.5\n"
              "Outfall,O_1,TotInflow,3,0.6,0\nOutfall,O_1,TotInflow,4,0.8,0\n");
    EXPECT_THAT(runProgram({"stats", binary, "--object", "O_1", "--curve"}).out,
                ContainsRegex("\n +3 +60 +0\n +4 +80 +0\n"));
}

TEST_F(Results, StatsForProgramsAreJson) {
    for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{{}, {"--events", "--curve"}}) {
        std::vector<std::string> arguments{"stats", binary, "--table", "Junction", "--table", "Outfall", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const std::string out = runProgram(arguments).out;
        EXPECT_TRUE(isJson(out)) << out;
        EXPECT_EQ(readNumber(out, "reportStep"), 60.0);
        EXPECT_EQ(readNumber(out, "gap"), 6.0);
        const size_t outfall = out.find("\"O_1\"");
        EXPECT_EQ(readNumber(out, "volume", outfall), 60.0);
        EXPECT_EQ(readNumber(out, "load", outfall), 0.24);
        EXPECT_THAT(out, HasSubstr("\"returnPeriods\": []"));
        EXPECT_EQ(out.find("\"eventList\"") != std::string::npos, !more.empty());
        EXPECT_EQ(out.find("\"curve\"") != std::string::npos, !more.empty());
    }
}

TEST_F(Results, StatsOfAWindowTakeWholeReportPeriods) {
    // The report of 0:02 stands for the minute ahead of the window. What is left is one of 30 m3, cut at both ends.
    const std::string out = runProgram({"stats", binary, "--object", "J1", "--events", "--json", "--from",
                                        "2021/03/01 0:02", "--to", "2021/03/01 0:03"})
                                .out;
    EXPECT_EQ(readNumber(out, "reports"), 1.0);
    EXPECT_EQ(readNumber(out, "volume"), 30.0);
    EXPECT_THAT(out, HasSubstr("\"start\": \"2021-03-01 00:02:00\", \"end\": \"2021-03-01 00:03:00\", "
                               "\"beganBefore\": true, \"goesOn\": true"));
}

TEST_F(Results, StatsOfAnEmptyWindowAreRefused) {
    for (const std::string& file : {binary, database}) {
        expectFailure({"stats", file, "--from", "2021/03/01 0:02", "--to", "2021/03/01 0:02:30"},
                      "no report of " + file + " lies in this time; its 4 reports go from");
    }
}

TEST_F(Results, StatsOfAFlowByItsName) {
    const ProcessResult lateral = runProgram({"stats", binary, "--object", "J1", "--column", "latinflow"});
    EXPECT_THAT(lateral.out, HasSubstr("Junction J1, LatInflow\n"));
    EXPECT_THAT(lateral.out, HasSubstr("  Volume (m3)                     120  "));
    EXPECT_THAT(lateral.out, Not(HasSubstr("NH4-N"))) << "the concentration is that of all water in the node";
    EXPECT_THAT(lateral.out, EndsWith("No loads: the concentrations of a row aren't those of this flow.\n"));
    EXPECT_THAT(runProgram({"stats", binary, "--object", "System", "--column", "Outflow"}).out,
                HasSubstr("  Volume (m3)                      60  "));
}

TEST_F(Results, StatsOfWhatIsNoFlowAreRefused) {
    expectFailure({"stats", binary, "--object", "J1", "--column", "NH4-N"},
                  "no flow NH4-N of J1; the flows of the table Junction are: TotInflow, LatInflow\n");
    expectFailure(
        {"stats", binary, "--table", "System"},
        "no flow carries the water of the table System; the flows of the table System are: Runoff, TotInflow,");
    expectFailure({"stats", binary, "--column", "Surpass"},
                  "no outfall, pump, weir or orifice in " + binary + " has a flow Surpass: name objects or tables\n");
    expectFailure({"stats", binary, "--object", "nobody"}, "no object nobody in ");
    expectFailure({"stats", binary, "--table", "nothing"}, "no table nothing in ");
}

TEST_F(Results, StatsWithAThreshold) {
    const std::string out = runProgram({"stats", binary, "--object", "O_1", "--threshold", "0.5"}).out;
    EXPECT_THAT(out, HasSubstr("  Events                            0  0 a year\n"));
    EXPECT_THAT(out, HasSubstr("    not above threshold            60  not counted\n"));
    EXPECT_THAT(out, HasSubstr("  Peak (m3/s)                       0  -\n"));
}

TEST_F(Results, StatsTellOfFlowsThatAreNone) {
    // 0, 0, no number, -0.5.
    patch(getOutflowPlace(2), getBytes(NOT_A_NUMBER));
    binary = folder.file("patched.bin");
    const std::string odd = patch(getOutflowPlace(3), getBytes(-0.5F));
    const ProcessResult table = runProgram({"stats", odd, "--object", "C1"});
    EXPECT_EQ(table.status, 0);
    EXPECT_THAT(table.out, HasSubstr(": 3 reports of 60 s"));
    EXPECT_THAT(table.out, HasSubstr("  Volume (m3)                       0  "));
    EXPECT_THAT(table.out, HasSubstr("\n1 flows are no numbers: their reports are left out.\n"
                                     "1 flows are negative: they count as no flow.\n"));
    const ProcessResult csv = runProgram({"stats", odd, "--object", "C1", "--csv"});
    EXPECT_THAT(csv.out, HasSubstr("\nConnection,C1,Outflow,2021-03-01 00:00:00,2021-03-01 00:04:00,3,1,1,"));
    EXPECT_EQ(csv.err,
              "tarnvelde: 1 flows are no numbers and left out\ntarnvelde: 1 flows are negative and count as none\n");
    const std::string json = runProgram({"stats", odd, "--object", "C1", "--json"}).out;
    EXPECT_TRUE(isJson(json));
    EXPECT_EQ(readNumber(json, "missing"), 1.0);
    EXPECT_EQ(readNumber(json, "negative"), 1.0);
}

TEST_F(Results, StatsTellOfConcentrationsThatAreNone) {
    const std::string odd = patch(getOutflowPlace(3) + 4, getBytes(NOT_A_NUMBER));
    const std::string out = runProgram({"stats", odd, "--object", "C1"}).out;
    EXPECT_THAT(out, ContainsRegex("\n  NH4-N +0\\.12 +15778\\.8 +4 +4\n")) << "30 m3 with 4 mg/L are known";
    EXPECT_THAT(out, EndsWith("\n1 concentrations are no numbers: loads are without their water.\n"));
}

TEST_F(Results, StatsOfAFileThatWasCutGoToItsLastWholeRecord) {
    const std::string whole = readFile(binary);
    const std::string cut = folder.write("cut.bin", whole.substr(0, whole.size() - 28 - 10));  // within the fourth
    const ProcessResult result = runProgram({"stats", cut, "--object", "O_1", "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("has no closing block"));
    EXPECT_EQ(readNumber(result.out, "reports"), 3.0);
    EXPECT_EQ(readNumber(result.out, "volume"), 30.0);
}

// --- files that no run has written ---------------------------------------------------------------------------------

TEST(StatsCommand, OneReportIsARecord) {
    TempFolder folder;
    const std::string file = folder.write("one.bin", makeResults(START, 600, 1));  // a flow of 1 m3/s
    const std::string out = runProgram({"stats", file, "--table", "Junction", "--json"}).out;
    EXPECT_TRUE(isJson(out));
    EXPECT_EQ(readNumber(out, "volume"), 600.0);
    EXPECT_EQ(readNumber(out, "95"), 1.0);
}

TEST(StatsCommand, NoReportIsNone) {
    TempFolder folder;
    const ProcessResult result =
        runProgram({"stats", folder.write("none.bin", makeResults(START, 600, 0)), "--table", "Junction", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("holds no report\n"));
}

TEST(StatsCommand, NothingThatSpillsMustBeNamed) {
    TempFolder folder;
    const ProcessResult result = runProgram({"stats", folder.write("j.bin", makeResults(START, 600, 3))});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("no outfall, pump, weir or orifice in "));
}

TEST(StatsCommand, NamesAreMadeFitForTheirReaders) {
    TempFolder folder;
    const std::string file = folder.write("odd.bin", makeResults(START, 600, 2, "=a,\"b\x1b"));
    EXPECT_THAT(cutLine(runProgram({"stats", file, "--table", "Junction", "--csv"}).out, 1),
                testing::StartsWith("Junction,\"'=a,\"\"b?\",TotInflow,"));
    EXPECT_THAT(runProgram({"stats", file, "--table", "Junction"}).out, HasSubstr(" =a,\"b? "));
    const std::string json = runProgram({"stats", file, "--table", "Junction", "--json"}).out;
    EXPECT_TRUE(isJson(json));
    EXPECT_THAT(json, HasSubstr("\"object\": \"=a,\\\"b\\u001b\""));
}

TEST(StatsCommand, LongRecordsHaveReturnPeriods) {
    // Days with flows 1 ... 6, 0, 1 ... from 1 March 2021 on, for five years and two days: each year has a 6. Of the
    // first 28 days, four weeks, four are dry; a gap of 24 h divides weeks of 21 m3/s x 86400 s.
    TempFolder folder;
    const std::string file = folder.write("long.bin", makeResults(START, 86400, 1828));
    const std::string out = runProgram({"stats", file, "--object", "J1", "--gap", "24", "--json", "--events"}).out;
    EXPECT_TRUE(isJson(out));
    EXPECT_THAT(out, HasSubstr("{\"rank\": 1, \"begin\": \"2021-03-01 00:00:00\", \"peak\": 6, \"timeOfPeak\": "
                               "\"2021-03-07 00:00:00\", \"returnPeriod\": 6}"));
    EXPECT_THAT(out, HasSubstr("{\"rank\": 5, \"begin\": \"2025-03-01 00:00:00\", \"peak\": 6, "));
    EXPECT_THAT(out, Not(HasSubstr("\"rank\": 6")));
    EXPECT_EQ(readNumber(out, "events"), 262.0) << "261 weeks and a day";
    EXPECT_EQ(readNumber(out, "largestEvent"), 21.0 * 86400.0);
    EXPECT_EQ(readNumber(out, "volume"), (261.0 * 21.0 + 1.0) * 86400.0);
    const std::string table = runProgram({"stats", file, "--object", "J1"}).out;
    EXPECT_THAT(table, HasSubstr("return period (n + 1) / m (Weibull)\n"));
    EXPECT_THAT(table, ContainsRegex("\n +1 +6 a +6  2021-03-07 00:00:00 2021-03-01 00:00:00\n"));
    EXPECT_THAT(table, Not(HasSubstr("shorter than a year")));
}

TEST(StatsCommand, JsonIsWholeWhereReadingFails) {
    TempFolder folder;
    std::string bytes = makeResults(START, 600, 3);
    bytes.replace(bytes.size() - 28 - 64, 8, getBytes(1e300));  // the date of the last record, of 8 + 14 x 4 bytes
    const ProcessResult result = runProgram({"stats", folder.write("bad.bin", bytes), "--table", "Junction", "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"error\": \""));
    EXPECT_THAT(result.err, HasSubstr("is damaged: its dates can't be\n"));
}

TEST(StatsCommand, WrongUsageIsTold) {
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"--gap", "-1"},
                                               {"--gap", "nan"},
                                               {"--gap", "inf"},
                                               {"--gap", "6h"},
                                               {"--gap", ""},
                                               {"--threshold", "-0.1"},
                                               {"--threshold", "1e7"},
                                               {"--csv", "--json"},
                                               {"--csv", "--events", "--curve"},
                                               {"--from", "2021/03/02", "--to", "2021/03/01"},
                                               {"--from", "then"}}) {
        std::vector<std::string> arguments{"stats", "none.bin"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 2) << words[0] << ' ' << words[1];
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
}

TEST(StatsCommand, TheManualShowsWhatIsPrinted) {
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "storm-tank", folder.path, fs::copy_options::recursive);
    const std::string text = readFile(TARNVELDE_SOURCE_DIR "/docs/statistics.md");
    const std::string command = " stats storm-tank.bin --object RIVER --threshold 0.01 --gap 1 --events";
    EXPECT_THAT(text, HasSubstr("\n    tarnvelde run storm-tank.inp\n    tarnvelde" + command + '\n'));
    const ProcessResult result =
        process_run({"sh", "-c", "cd \"$1\" && \"$0\" run storm-tank.inp --quiet && exec \"$0\"" + command,
                     TARNVELDE_PROGRAM, folder.path.string()});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(text, HasSubstr("\n```\n" + result.out + "```\n"));
}

// --- against the engine --------------------------------------------------------------------------------------------

namespace {

/// Projects of the examples that have outfalls.
std::vector<fs::path> listExamples(const fs::path& folder) {
    std::vector<fs::path> projects;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() != ".inp") {
            continue;
        }
        const std::string text = readFile(entry.path());
        if (text.find("[OUTFALLS]") != std::string::npos && text.find("[GENERAL]") != std::string::npos) {
            projects.push_back(entry.path());
        }
    }
    return projects;
}

void useMeans(const fs::path& project) {
    std::string text = std::regex_replace(readFile(project), std::regex("REPORT_AVERAGE +NO"), "REPORT_AVERAGE YES");
    std::ofstream(project, std::ios::binary) << text;
}

/// Where the balance of a node or a link stands, behind the verdict, which may name it as well.
size_t findBalance(const std::string& json, const std::string& id, const char* kind = "node") {
    return json.find(std::string(R"("kind": ")") + kind + R"(", "id": ")" + id + '"', json.find("\"balances\""));
}

/// What the engine has counted into a node, step by step (m3).
double readInflow(const std::string& balances, const std::string& node) {
    return readNumber(balances, "in", findBalance(balances, node));
}

}  // namespace

TEST(StatsCommand, VolumesOfOutfallsAreThoseOfTheEngine) {
    // A mean of up to 15 steps is summed and divided in single precision: 16 roundings of 2^-24 each, 1e-6 in all.
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples", folder.path, fs::copy_options::recursive);
    size_t outfalls = 0;
    for (const fs::path& project : listExamples(folder.path)) {
        useMeans(project);
        const std::string results = folder.file("means.bin");
        const bool isPlant = project.stem() == "catchment-plant-river";
        if (isPlant && !fs::exists(fs::path(TARNVELDE_ENGINE_FOLDER) / "engines" / "plant" / "libvorn.so")) {
            continue;  // a build without SUNDIALS
        }
        const std::string engines = project.stem() == "nested-town" ? "nested"
                                    : isPlant                       ? "plant"
                                                                    : TARNVELDE_ENGINE_FOLDER;
        const ProcessResult run =
            runProgram({"run", project.string(), "--engines", engines, "--results", results, "--json", "--balances"});
        ASSERT_EQ(run.status, 0) << project << run.err;
        const std::string stats = runProgram({"stats", results, "--table", "Outfall", "--json"}).out;
        static const std::string MARK = "\"object\": \"";
        for (size_t at = stats.find(MARK); at != std::string::npos; at = stats.find(MARK, at + 1)) {
            const size_t name = at + MARK.size();
            const std::string outfall = stats.substr(name, stats.find('"', name) - name);
            const double expected = readInflow(run.out, outfall);
            EXPECT_NEAR(readNumber(stats, "volume", at), expected, 2e-6 * expected) << project << ' ' << outfall;
            ++outfalls;
        }
    }
    EXPECT_GE(outfalls, 20U);
}

namespace {

/// A wave of water and mud through a pipe that lets 0.3 m3/s through, a splitter, and a small tank: pipe and tank
/// flood.
constexpr const char* FLOODS =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 6:00\nROUTING_STEP 0:01:00\nREPORT_STEP 0:01:00\n"
    "REPORT_AVERAGE NO\n[POLLUTANTS]\nCOD 0\n[JUNCTIONS]\nJ1\n[SPLITTERS]\nSP C2 FLOW_RATIO 0.25 0\n"
    "[TANKS]\nT SHAPE 2 1.5\n[OUTFALLS]\nO1\nO2\n[PIPES]\nP1 J1 SP NO 300 1 0.2 0.3\n"
    "[CONNECTIONS]\nC2 SP O1 NO 0\nC3 SP T NO 0\n[ORIFICES]\nOR T O2 NO CIRCULAR 0.62 0 0.05\n"
    "[CURVES]\nSHAPE TANK 0 100 2 100\n"
    "[TIMESERIES]\nWATER 2021/03/01 0:00 0 1:00 0.2 2:00 0.4 3:00 0.1 4:00 0\n"
    "MUD 2021/03/01 0:00 0 1:00 0.02 2:00 0.06 3:00 0.001 4:00 0\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0 WATER 1\nJ1 MASS COD 0 MUD 1\n";

}  // namespace

TEST(StatsCommand, LoadsOfFloodsAndBranchesAreThoseOfTheEngine) {
    TempFolder folder;
    const ProcessResult run = runProgram({"run", folder.write("m.inp", FLOODS), "--json", "--balances"});
    ASSERT_EQ(run.status, 0) << run.err;
    struct Case {
        const char *object, *column, *kind, *id, *figure;
    };
    for (const Case& one : {Case{"Pipe:P1", "Flood", "link", "P1", "lost"},
                            {"T", "Flood", "node", "T", "lost"},
                            {"SP", "Outflow1", "link", "C2", "in"},
                            {"SP", "Outflow2", "link", "C3", "in"}}) {
        const std::string stats =
            runProgram({"stats", folder.file("m.bin"), "--object", one.object, "--column", one.column, "--json"}).out;
        const size_t place = findBalance(run.out, one.id, one.kind);
        const double volume = readNumber(run.out, one.figure, place);
        const double load = readNumber(run.out, one.figure, run.out.find("\"id\": \"COD\"", place));
        EXPECT_GT(load, 1.0) << one.object;
        EXPECT_NEAR(readNumber(stats, "volume"), volume, 1e-6 * volume) << one.object << one.column;
        EXPECT_NEAR(readNumber(stats, "load"), load, 1e-6 * load) << one.object << one.column;
    }
}

TEST(StatsCommand, AnObjectIsWhateverBearsItsNameAndHasAFlow) {
    TempFolder folder;
    std::string text = MODEL;  // whose junction may have one outlet
    text.erase(text.find("C1 J1 O'1"), std::string("C1 J1 O'1 NO 120\n").size());
    ASSERT_EQ(runProgram({"run", folder.write("m.inp", text), "--quiet"}).status, 0);
    const std::string both = runProgram({"stats", folder.file("m.bin"), "--object", "J1"}).out;
    EXPECT_THAT(both, HasSubstr("\nJunction J1, TotInflow\n"));
    EXPECT_THAT(both, HasSubstr("\nConnection J1, Outflow\n"));
    const std::string link = runProgram({"stats", folder.file("m.bin"), "--object", "J1", "--column", "Outflow"}).out;
    EXPECT_THAT(link, Not(HasSubstr("Junction")));
    EXPECT_THAT(link, HasSubstr("\nConnection J1, Outflow\n"));
}

// --- steps of a run ------------------------------------------------------------------------------------------------

namespace {

/// The storm tank, whose results are samples.
struct StatsOfSteps : testing::Test {
    TempFolder folder;
    std::string project = folder.file("storm-tank.inp"), json = folder.file("storm-tank.stats.json");

    void SetUp() override {
        fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "storm-tank", folder.path, fs::copy_options::recursive);
    }
    ProcessResult run(const std::vector<std::string>& more) const {
        std::vector<std::string> arguments{"run", project, "--quiet"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runProgram(arguments);
    }
};

}  // namespace

TEST_F(StatsOfSteps, HaveTheWaterAndTheLoadsOfTheEngine) {
    const ProcessResult result = run({"--stats", "--json", "--balances"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\"statistics\": \"" + json + "\""));
    const std::string stats = readFile(json);
    EXPECT_TRUE(isJson(stats));
    EXPECT_EQ(readNumber(stats, "routingStep"), 60.0);
    for (const std::string node : {"WORKS", "RIVER"}) {
        const size_t at = stats.find("\"object\": \"" + node), balance = findBalance(result.out, node);
        const double volume = readNumber(result.out, "in", balance);
        EXPECT_NEAR(readNumber(stats, "volume", at), volume, 1e-9 * volume) << node;
        for (const std::string pollutant : {"COD", "TSS"}) {
            const double load = readNumber(result.out, "in", result.out.find("\"id\": \"" + pollutant, balance));
            const size_t place = stats.find("\"name\": \"" + pollutant, at);
            EXPECT_NEAR(readNumber(stats, "load", place), load, 1e-9 * load) << node << ' ' << pollutant;
        }
    }
}

TEST_F(StatsOfSteps, ChangeNothingOfTheRun) {
    ASSERT_EQ(run({}).status, 0);
    const std::string results = readFile(folder.file("storm-tank.bin"));
    EXPECT_FALSE(folder.has("storm-tank.stats.json"));
    ASSERT_EQ(run({"--stats"}).status, 0);
    EXPECT_TRUE(readFile(folder.file("storm-tank.bin")) == results);
}

TEST_F(StatsOfSteps, AreAListOfEventsByTheirName) {
    const std::string list = folder.file("events.csv");
    ASSERT_EQ(run({"--stats=" + list, "--stats-gap", "1", "--stats-threshold", "0.01"}).status, 0);
    const std::string text = readFile(list);
    EXPECT_THAT(text, testing::StartsWith("Table,Object,Column,Event,Start,End,"));
    EXPECT_THAT(text,
                ContainsRegex("\nOutfall,RIVER,TotInflow,1,2024-06-18 12:[0-9]+:00,2024-06-18 14:[0-9]+:00,no,no,"));
    EXPECT_THAT(text, ContainsRegex("\nWeir,CREST,Flow,1,"));
}

TEST_F(StatsOfSteps, OfARunThatIsStoppedGoUpToThere) {
    ASSERT_EQ(run({"--stats", "--until", "2024/06/18 13:00"}).status, 0);
    const std::string stats = readFile(json);
    EXPECT_THAT(stats,
                HasSubstr("\"from\": \"2024-06-18 00:00:00\", \"to\": \"2024-06-18 13:00:00\", \"reports\": 780,"));
    EXPECT_THAT(stats, HasSubstr("\"goesOn\": true"));
}

TEST_F(StatsOfSteps, ThatHaveNoPlaceAreRefusedAheadOfTheRun) {
    const ProcessResult result = run({"--stats=" + folder.file("none/s.json")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot save the statistics " + folder.file("none/s.json") + ": No such file"));
    EXPECT_FALSE(folder.has("storm-tank.bin"));
    EXPECT_THAT(run({"--stats=" + folder.path.string()}).err, HasSubstr(": it is a folder"));
}

TEST(StatsCommand, DoesntTakeThePlaceOfASeriesThatTheProjectReads) {
    const TempFolder folder;
    const fs::path example = fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "interceptor";
    for (const char* name : {"interceptor.inp", "border_meter.dat"}) {
        fs::copy_file(example / name, folder.path / name);
    }
    const std::string series = readFile(folder.file("border_meter.dat"));
    const ProcessResult result =
        runProgram({"run", folder.file("interceptor.inp"), "--stats=" + folder.file("./border_meter.dat")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 301"));
    EXPECT_EQ(readFile(folder.file("border_meter.dat")), series);
    EXPECT_FALSE(folder.has("interceptor.bin"));
}

TEST_F(StatsOfSteps, DontTakeThePlaceOfAnotherFile) {
    for (const char* name : {"storm-tank.inp", "storm-tank.rpt", "storm-tank.bin", "storm-tank.rpt.part"}) {
        const ProcessResult result = run({"--stats=" + folder.file(name)});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("the statistics would take the place of ")) << name;
    }
}

TEST(StatsCommand, GapsOfStepsGoWithStatistics) {
    EXPECT_EQ(runProgram({"run", "none.inp", "--stats-gap", "2"}).status, 2);
    EXPECT_EQ(runProgram({"run", "none.inp", "--stats-threshold", "2"}).status, 2);
}
