// `tarnvelde run`: files, output, exit status.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "program.h"
#include "support/child.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(HostRun, WritesTheReportBesideTheModel) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.write("model.inp", GOOD_PROJECT)});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, StartsWith("tarnvelde: continuity errors: flow 0.192 % green\n"));
    EXPECT_THAT(result.err, EndsWith("tarnvelde: no warnings\n"));
    EXPECT_THAT(readFile(folder.file("model.rpt")), HasSubstr("Flow Routing Continuity"));
}

TEST(HostRun, TellsWhatItDoesInPlainLines) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model});
    EXPECT_EQ(result.out,
              "  Retrieving project data\n  Simulating 0.1 days\n  Simulation complete\n  Writing output report\n"
              "  Report:  " +
                  folder.file("model.rpt") + "\n  Results: " + folder.file("model.bin") + "\n");
}

TEST(HostRun, WritesTheReportWhereItIsWanted) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.write("model.inp", GOOD_PROJECT), "--report",
                                             folder.file("wanted.txt"), "--results", folder.file("wanted.out")});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.file("wanted.txt")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("wanted.out")));
    EXPECT_THAT(result.out, EndsWith("\n  Report:  " + folder.file("wanted.txt") +
                                     "\n  Results: " + folder.file("wanted.out") + "\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.rpt")));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.bin")));
}

TEST(HostRun, ManyThreadsLeaveTheSameFiles) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    ASSERT_EQ(runProgram({"run", model}).status, 0);
    const std::string report = readFile(folder.file("model.rpt")), results = readFile(folder.file("model.bin"));
    for (const char* threads : {"1", "3", "256"}) {
        EXPECT_EQ(runProgram({"run", model, "--threads", threads, "--report", folder.file("other.rpt"), "--results",
                              folder.file("other.bin")})
                      .status,
                  0);
        EXPECT_EQ(readFile(folder.file("other.rpt")), report) << threads;
        EXPECT_EQ(readFile(folder.file("other.bin")), results) << threads;
    }
}

TEST(HostRun, TellsThatTheReportIsCut) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const int status = process_fork([&] {
        process_limitFileSize(256);
        const ProcessResult result = runProgram({"run", model, "--results", "/dev/null", "--quiet"});
        return result.status == 1 && result.err.find("tarnvelde: the report can't be written: ") == 0 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

TEST(HostRun, FindsTheFilesOfAModelThatIsAllExtension) {
    TempFolder folder;
    const ProcessResult result =
        runProgram({"run", folder.write(".inp", GOOD_PROJECT), "--database", "--report", folder.file("r.txt")});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.file(".db")));
    EXPECT_THAT(result.out, HasSubstr("  Results: " + folder.file(".db") + "\n"));
}

TEST(HostRun, QuietPrintsNothing) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.write("model.inp", GOOD_PROJECT), "--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST(HostRun, QuietRunReportsTheSame) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    ASSERT_EQ(runProgram({"run", model, "--report", folder.file("loud.rpt")}).status, 0);
    ASSERT_EQ(runProgram({"run", model, "--report", folder.file("quiet.rpt"), "--quiet"}).status, 0);
    EXPECT_EQ(readFile(folder.file("quiet.rpt")), readFile(folder.file("loud.rpt")));
}

TEST(HostRun, DatabaseRunKeepsTheEngineSilent) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.write("model.inp", GOOD_PROJECT), "--database"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "  Report:  " + folder.file("model.rpt") + "\n  Results: " + folder.file("model.db") + "\n");
    EXPECT_THAT(result.err, StartsWith("tarnvelde: continuity errors: flow 0.192 % green\n"));
    EXPECT_THAT(result.err, EndsWith("tarnvelde: no warnings\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.bin")));
}

TEST(HostRun, ADatabaseRunDoesNotMindTheNameOfTheBinaryFile) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    // The report takes the name that a binary file would have by default.
    const std::string report = folder.file("model.bin");
    const ProcessResult result = runProgram({"run", model, "--database", "--report", report});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "  Report:  " + report + "\n  Results: " + folder.file("model.db") + "\n");
    EXPECT_THAT(result.err, StartsWith("tarnvelde: continuity errors: flow 0.192 % green\n"));
    EXPECT_THAT(result.err, EndsWith("tarnvelde: no warnings\n"));
    EXPECT_THAT(readFile(report), HasSubstr("Flow Routing Continuity"));
    EXPECT_TRUE(readFile(folder.file("model.db")).starts_with("SQLite format 3"));
    EXPECT_EQ(countFiles(folder.path), 3u) << "there is more than model, report and database";
}

TEST(HostRun, TheDatabaseGoesWhereItIsWanted) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", "--database=" + folder.file("wanted.db"), model});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(readFile(folder.file("wanted.db")).starts_with("SQLite format 3"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.db")));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.bin")));
}

TEST(HostRun, ResultsGoToTheFileAndTheDatabaseTogether) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    ASSERT_EQ(runProgram({"run", model, "--quiet"}).status, 0);
    const ProcessResult result = runProgram({"run", model, "--database", "--results", folder.file("both.bin")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr(folder.file("both.bin") + "\n"));
    EXPECT_THAT(result.out, HasSubstr(folder.file("model.db") + "\n"));
    EXPECT_EQ(readFile(folder.file("both.bin")), readFile(folder.file("model.bin")));
    EXPECT_TRUE(readFile(folder.file("model.db")).starts_with("SQLite format 3"));
}

TEST(HostRun, OneFileForTwoKindsOfResultIsError301) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--database", "--results", folder.file("./model.db")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 301: "));
    EXPECT_EQ(countFiles(folder.path), 1u);
}

TEST(HostRun, NamesOfFilesMayBeLong) {
    TempFolder folder;
    std::string deep = folder.path.string();
    for (int k = 0; k < 3; ++k) {
        deep += '/' + std::string(120, 'a');
        std::filesystem::create_directory(deep);
    }
    const std::string model = deep + "/model.inp";
    std::filesystem::copy_file(folder.write("model.inp", GOOD_PROJECT), model);
    EXPECT_EQ(runProgram({"check", model}).status, 0);
    EXPECT_EQ(runProgram({"run", model, "--quiet"}).status, 0);
    EXPECT_THAT(readFile(deep + "/model.rpt"), HasSubstr("Flow Routing Continuity"));
    EXPECT_TRUE(std::filesystem::exists(deep + "/model.bin"));
}

TEST(HostRun, AReportInPlaceOfTheDatabaseIsError301) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const std::string database = folder.write("model.db", "results of a run before");
    for (const std::string& report : {database, folder.file("./model.db")}) {
        const ProcessResult result = runProgram({"run", model, "--database", "--report", report});
        EXPECT_EQ(result.status, 1) << report;
        EXPECT_THAT(result.err, HasSubstr("ERROR 301: ")) << report;
        EXPECT_EQ(readFile(database), "results of a run before");
    }
}

TEST(HostRun, AStepThatFailsEndsTheRun) {
    TempFolder folder;
    // The name A'1 breaks the row of its node in the first report, at half the time. The engine's clock stands still
    // from then on, so a loop that doesn't heed the code never ends.
    const std::string model = folder.write("model.inp",
                                           "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:10\n"
                                           "ROUTING_STEP 0:01:00\nREPORT_STEP 0:05:00\n[JUNCTIONS]\nA'1\n"
                                           "[OUTFALLS]\nOUT\n[PIPES]\nP1 A'1 OUT NO 120 2 0.2 0\n"
                                           "[DWFS]\nA'1 FLOW 0.01 \"\"\n");
    const ProcessResult result = runProgramWithin(20, {"run", model, "--database"});
    EXPECT_EQ(result.status, 1) << "124 is a run without an end";
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "ERROR 315: Database SQL error: near \"1\": syntax error.\ntarnvelde: " + model +
                              ": the engine ended with code 315\n");
}

struct HostRunErrors : testing::TestWithParam<std::vector<std::string>> {};

TEST_P(HostRunErrors, AreShownWithTheirCodes) {
    TempFolder folder;
    std::vector<std::string> arguments{"run", folder.write("model.inp", BAD_PROJECT)};
    arguments.insert(arguments.end(), GetParam().begin(), GetParam().end());
    const ProcessResult result = runProgram(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "ERROR 209: undefined object NOWHERE at line 6 of [PIPES] section:\n"
              "  P1 J1 NOWHERE NO 300 1 0.2 0\n"
              "ERROR 203: too few items at line 7 of [PIPES] section:\n"
              "  ERROR J1 O1\n"
              "ERROR 211: invalid number 3OO at line 8 of [PIPES] section:\n"
              "  P3 J1 O1 NO 3OO 1 0.2 0\n"
              "tarnvelde: " +
                  folder.file("model.inp") + ": the engine ended with code 200\n" +
                  (GetParam() == std::vector<std::string>{"--quiet"}
                       ? ""
                       : "tarnvelde: tarnvelde check " + folder.file("model.inp") + " shows what to do\n"));
}

INSTANTIATE_TEST_SUITE_P(HostRun, HostRunErrors,
                         testing::Values(std::vector<std::string>{}, std::vector<std::string>{"--quiet"},
                                         std::vector<std::string>{"--database"}));

TEST(HostRun, MissingModelIsError303) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.file("nothing.inp")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 303: cannot open the project file " + folder.file("nothing.inp") + "\n"));
}

TEST(HostRun, OldReportIsNotTakenForThatOfAMissingModel) {
    TempFolder folder;
    folder.write("nothing.rpt", "\n  \n  ERROR 209: undefined object OLD at line 1 of [PIPES] section:\n  OLD");
    const ProcessResult result = runProgram({"run", folder.file("nothing.inp"), "--quiet"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, Not(HasSubstr("OLD")));
}

TEST(HostRun, FolderAsModelIsError303) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.path.string(), "--report", folder.file("r"), "--quiet"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 303"));
}

TEST(HostRun, UnwritableReportIsError305) {
    TempFolder folder;
    const std::string report = folder.file("no/such/folder.rpt");
    const ProcessResult result = runProgram({"run", folder.write("model.inp", GOOD_PROJECT), "--report", report});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err,
                HasSubstr("ERROR 305: cannot open the report file " + report + ": No such file or directory\n"));
}

TEST(HostRun, UnwritableResultsAreError307) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--results", "."});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "ERROR 307: cannot open the binary results file .: it is a folder, a device or a pipe\ntarnvelde: " +
                  model + ": the engine ended with code 307\n");
    EXPECT_THAT(result.out, Not(HasSubstr("Results:")));
}

TEST(HostRun, UnwritableDatabaseIsError313) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    std::filesystem::create_directory(folder.file("model.db"));
    const ProcessResult result = runProgram({"run", model, "--database"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ERROR 313: cannot open the database file " + folder.file("model.db") +
                              ": it is a folder, a device or a pipe\ntarnvelde: " + model +
                              ": the engine ended with code 313\n");
    EXPECT_THAT(result.out, Not(HasSubstr("Results:")));
}

struct HostRunSameFile : testing::TestWithParam<const char*> {};

TEST_P(HostRunSameFile, IsError301AndSparesTheModel) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    std::filesystem::create_symlink(model, folder.file("link.rpt"));
    const ProcessResult result = runProgram({"run", model, "--report", folder.path.string() + GetParam()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 301: model, report and results must be three different files\n"));
    EXPECT_EQ(readFile(model), GOOD_PROJECT);
}

INSTANTIATE_TEST_SUITE_P(HostRun, HostRunSameFile,
                         testing::Values("/model.inp", "/./model.inp", "/link.rpt", "/model.bin", "/./model.bin"));

TEST(HostRun, ControlCharactersOfAModelDoNotReachTheTerminal) {
    TempFolder folder;
    const ProcessResult result =
        runProgram({"check", folder.write("model.inp", "[PIPES]\nP1 \033[2J J1 NO 300 1 0.2 0\n")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.find('\033'), std::string::npos);
    EXPECT_THAT(result.err, HasSubstr("?[2J"));
}

TEST(HostRun, WorksWithItsStandardStreamsClosed) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    ASSERT_EQ(runProgram({"run", model, "--quiet", "--report", folder.file("quiet.rpt")}).status, 0);
    const ProcessResult result = process_run({"sh", "-c", "\"$0\" run \"$1\" <&- >&- 2>&-", TARNVELDE_PROGRAM, model});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(readFile(model), GOOD_PROJECT);
    EXPECT_EQ(readFile(folder.file("model.rpt")), readFile(folder.file("quiet.rpt")));
}

TEST(HostRun, AStartLongAheadOfTheRainIsNoWalkThroughTheYears) {
    // From the year 1 to 2012 there are 63 thousand million seconds, and a gage may report each.
    TempFolder folder;
    const std::string model = folder.write(
        "model.inp",
        "[GENERAL]\nSTART_DATE 0001/03/01\nEND_DATE 2012/03/03\nROUTING_STEP 0:00:01\nREPORT_STEP 1:00:00\n"
        "[RAINGAGES]\nG1 INTENSITY 0:00:01 R1\n[SUBCATCHS]\nS1 G1 J1 5 50 200 0.5 0.015 0.1 1 3 50 5 4 7 0\n"
        "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 60\n"
        "[TIMESERIES]\nR1 2012/03/01 0:10 5 0:20 0\n");
    const ProcessResult result = runProgramWithin(60, {"run", model, "--until", "0001/03/01 2:00", "--quiet"});
    EXPECT_EQ(result.status, 0) << "124 is a walk through the years; " << result.err;
}
