// The lifecycle: codes, states, console lines, and what each call leaves behind.

#include <gtest/gtest.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "project/reader.h"
#include "support/child.h"
#include "support/model.h"
#include "support/process.h"
#include "support/project.h"
#include "support/tempfolder.h"

static const std::string DRAIN =
    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC A OUT NO 0\n[DWFS]\nA FLOW 0.25 \"\"\n";
static const std::string PROJECT = getGeneral(10) + DRAIN;
static const std::string NOT_OPEN = "\n  \n  ERROR 400: project not open or last run not ended.";

/// Standard output of a piece of work.
template <class Work>
static std::string catchConsole(Work work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

// --- opening -------------------------------------------------------------------------------------------------------

TEST(Opening, RefusesTwoEqualNames) {
    Project project(PROJECT);
    const char* a = project.input.c_str();
    const char* b = project.report.c_str();
    for (const auto& [input, report, results] : {std::tuple{a, a, b}, {a, b, a}, {a, b, b}, {"", b, ""}}) {
        int32_t code = 0;
        EXPECT_EQ(catchConsole([&, i = input, r = report, s = results] { code = tarnvelde_open(i, r, s); }),
                  "\n    Cannot use duplicate file names.");
        EXPECT_EQ(code, 301);
        EXPECT_EQ(testModel().isOpen, 0);
        EXPECT_FALSE(std::filesystem::exists(project.report));
    }
}

TEST(Opening, ComparesNamesInTheirCaseAndCutTo259Bytes) {
    Project project(PROJECT);
    const std::string lower = project.folder.file("m.RPT"), upper = project.folder.file("M.RPT");
    EXPECT_EQ(tarnvelde_open(project.input.c_str(), lower.c_str(), upper.c_str()), 0);
    tarnvelde_close();
    const std::string stem(300, 'x');
    EXPECT_EQ(tarnvelde_open(project.input.c_str(), (stem + "a").c_str(), (stem + "b").c_str()), 301);
}

TEST(Opening, TellsThatTheInputFileIsMissing) {
    Project project(PROJECT);
    const std::string name = project.folder.file("no%s%d.inp");
    int32_t code = 0;
    EXPECT_EQ(catchConsole([&] { code = tarnvelde_open(name.c_str(), project.report.c_str(), "r"); }),
              "\n    Cannot open input file " + name);
    EXPECT_EQ(code, 303);
    EXPECT_EQ(testModel().isOpen, 0);
    EXPECT_FALSE(std::filesystem::exists(project.report));
    EXPECT_EQ(tarnvelde_open(project.folder.path.c_str(), project.report.c_str(), "r"), 303);  // a folder
    EXPECT_EQ(tarnvelde_open(nullptr, project.report.c_str(), "r"), 303);
    EXPECT_EQ(tarnvelde_close(), 0);
}

TEST(Opening, TellsThatTheReportCantBeWritten) {
    Project project(PROJECT);
    const std::string name = project.folder.file("none/m.rpt");
    int32_t code = 0;
    EXPECT_EQ(catchConsole([&] { code = tarnvelde_open(project.input.c_str(), name.c_str(), "r"); }),
              "\n    Cannot open report file ");
    EXPECT_EQ(code, 305);
    EXPECT_EQ(testModel().isOpen, 0);
    EXPECT_NE(testModel().files.input.file, nullptr);  // left for the close
    tarnvelde_close();
    EXPECT_EQ(testModel().files.input.file, nullptr);
}

TEST(Opening, TellsThatAFileMayNotBeRead) {
    Project project(PROJECT);
    const std::string closed = project.folder.write("closed.inp", PROJECT);
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    std::filesystem::permissions(project.input, std::filesystem::perms(0644));
    std::filesystem::permissions(project.folder.path, std::filesystem::perms(0711));
    const int status = process_fork([&] {
        if (getuid() == 0 && setuid(65534) != 0) {
            return 1;
        }
        // The file beside it is open to everybody, so only the file itself can be the reason.
        if (tarnvelde_open(project.input.c_str(), "/dev/null", "r") != 0) {
            return 2;
        }
        return tarnvelde_open(closed.c_str(), "/dev/null", "r") == 303 ? 0 : 3;
    });
    EXPECT_EQ(status, 0);
}

TEST(Opening, TellsThatTheReportIsAFolder) {
    Project project(PROJECT);
    EXPECT_EQ(tarnvelde_open(project.input.c_str(), project.folder.path.c_str(), "r"), 305);
    EXPECT_EQ(testModel().isOpen, 0);
}

TEST(Opening, SaysThatItReads) {
    Project project(PROJECT);
    EXPECT_EQ(catchConsole([&] { EXPECT_EQ(project.open(), 0); }), "\n  Retrieving project data");
    EXPECT_EQ(testModel().isOpen, 1);
    EXPECT_EQ(testModel().isStarted, 0);
    tarnvelde_close();
    EXPECT_EQ(readFile(project.report), BANNER);
}

TEST(Opening, PutsTheDatabaseBesideTheInput) {
    Project project(PROJECT);
    project.open();
    EXPECT_EQ(testModel().files.databaseName, project.folder.file("model.db"));
    EXPECT_EQ(testModel().files.inputFolder, project.folder.path.string() + "/");
}

TEST(Opening, NamesTheDatabaseAfterTheWholeInput) {
    const TempFolder folder;
    const std::string stem(300, 'x');  // more than a name may have, so it is cut before it is looked for
    EXPECT_EQ(tarnvelde_open(folder.file(stem + ".inp").c_str(), folder.file("r").c_str(), "b"), 303);
    EXPECT_EQ(testModel().files.databaseName, folder.file(stem + ".db"));
    EXPECT_EQ(testModel().files.inputName, folder.file(stem).substr(0, 259));
}

TEST(Opening, WithErrorsLeavesTheProjectToTheClose) {
    Project project(PROJECT + "[DWFS]\nX FLOW 1 \"\"\n");
    EXPECT_EQ(project.open(), 200);
    EXPECT_EQ(testModel().isOpen, 1);
    EXPECT_EQ(tarnvelde_start(0), 200);
    EXPECT_EQ(testModel().isStarted, 0);
    EXPECT_EQ(tarnvelde_findObject(1, "A"), 0);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(testModel().isOpen, 0);
    EXPECT_EQ(tarnvelde_findObject(1, "A"), -1);
    EXPECT_EQ(testModel().memory.project.taken, 0u);
}

TEST(Opening, ForgetsTheErrorAndTheCountsOfTheProjectBefore) {
    Project bad(PROJECT + "[DWFS]\nX FLOW 1 \"\"\n");
    EXPECT_EQ(bad.open(), 200);
    tarnvelde_close();
    EXPECT_EQ(tarnvelde_open("/no/such/file", bad.report.c_str(), "r"), 303);
    EXPECT_EQ(testModel().counts.objects[NODE], 0);
    EXPECT_EQ(testModel().options.totalDuration, 0.0);
    Project good(PROJECT);
    EXPECT_EQ(good.open(), 0);
    EXPECT_EQ(testModel().error.code, 0);
}

TEST(Opening, ForgetsKindsAndEndOfTheProjectBefore) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().counts.nodeKinds[OUTFALL], 1);
    EXPECT_EQ(testModel().counts.linkKinds[CONNECTION], 1);
    EXPECT_EQ(testModel().options.endDateTime, 44256.0 + 600.0 / 86400.0);
    tarnvelde_close();
    EXPECT_EQ(tarnvelde_open("/no/such/file", project.report.c_str(), "r"), 303);
    for (const int32_t count : testModel().counts.nodeKinds) {
        EXPECT_EQ(count, 0);
    }
    for (const int32_t count : testModel().counts.linkKinds) {
        EXPECT_EQ(count, 0);
    }
    EXPECT_EQ(testModel().options.endDateTime, 0.0);
}

TEST(Opening, MakesNoArraysOfNodesWithoutPollutants) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().nodes.at(0).massInflow, nullptr);
    EXPECT_EQ(testModel().nodes.at(0).oldQual, nullptr);
    EXPECT_EQ(testModel().nodes.at(0).newQual, nullptr);
    EXPECT_NE(testModel().links.at(0).oldQual, nullptr);
    EXPECT_NE(testModel().links.at(0).newQual, nullptr);
}

TEST(Opening, TakesALoneOutfall) {
    Project project(getGeneral(10) + "[OUTFALLS]\nOUT\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().nodes.size(), 1);
    EXPECT_TRUE(testModel().links.empty());
    EXPECT_GT(testModel().memory.project.taken, 0u);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(testModel().memory.project.taken, 0u);
}

TEST(Opening, LetsGoOfAProjectThatIsStillOpen) {
    Project first(PROJECT), second(PROJECT);
    EXPECT_EQ(first.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    double elapsed;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    testModel().requests.inflows.push_back({0, 0, 1.0});
    EXPECT_EQ(second.open(), 0);
    EXPECT_EQ(testModel().isStarted, 0);
    EXPECT_TRUE(testModel().requests.inflows.empty());
    EXPECT_EQ(readFile(first.report), BANNER);
    EXPECT_EQ(first.run(), 0);
}

// --- states --------------------------------------------------------------------------------------------------------

TEST(States, AreAskedForByStartStepAndEnd) {
    EXPECT_EQ(tarnvelde_close(), 0);
    testModel().error.code = 0;
    double elapsed = 5.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 400);
    EXPECT_EQ(elapsed, 5.0);
    EXPECT_EQ(tarnvelde_end(), 400);
    EXPECT_EQ(tarnvelde_start(0), 400);
    EXPECT_EQ(testModel().error.code, ERR_NOT_OPEN);
    EXPECT_EQ(tarnvelde_report(), 400);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(tarnvelde_close(), 0);
}

TEST(States, OneRefusedCallSticks) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(tarnvelde_start(0), 400);
    EXPECT_EQ(testModel().isStarted, 1);
    EXPECT_EQ(catchConsole([] { EXPECT_EQ(tarnvelde_report(), 400); }), "");  // prints nothing from here on
    EXPECT_EQ(tarnvelde_end(), 400);
    EXPECT_EQ(testModel().isStarted, 0);
    EXPECT_EQ(tarnvelde_start(0), 400);
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), NOT_OPEN);
}

TEST(States, AStepBeforeTheStartIsRefused) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    double elapsed = 5.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 400);
    EXPECT_EQ(elapsed, 5.0);
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), NOT_OPEN);
}

TEST(States, AnEndWithoutAStartDoesNothing) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(testModel().isOpen, 1);
}

// --- steps ---------------------------------------------------------------------------------------------------------

TEST(Steps, EndExactlyWithTheRun) {
    Project project(getGeneral(10) + "[GENERAL]\nROUTING_STEP 0:04:00\n" + DRAIN);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    double elapsed = -1.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 240000.0 / 86400000.0);
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 480000.0 / 86400000.0);
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 0.0);
    EXPECT_EQ(testModel().clock.newRoutingTime, testModel().options.totalDuration);
    const double inflow = testModel().totals.flow.dryWeatherInflow;
    EXPECT_EQ(inflow, 3 * 240.0 * 0.25);  // the cut step counts in full
    EXPECT_EQ(project.node("A").statInflowVolume, 3 * 240.0 * 0.25);
    // A connection works with the end of the full step, which lies after the end of the run: what enters is late, and
    // what would leave is no longer due.
    EXPECT_EQ(testModel().totals.flow.delayedVolume, 240.0 * 0.25);
    EXPECT_EQ(project.link("C").newFlow, 0.0);
    EXPECT_EQ(project.link("C").statFlowVolume, 2 * 240.0 * 0.25);
    EXPECT_EQ(project.node("OUT").statInflowVolume, 2 * 240.0 * 0.25);
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 0.0);
    EXPECT_EQ(testModel().totals.flow.dryWeatherInflow, inflow);
    EXPECT_EQ(tarnvelde_step(nullptr), 0);
}

TEST(Steps, FreezeWithAnErrorWhenTheNextRunoffIsDue) {
    Project project(PROJECT);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(testModel().options.runoffStep, 1);  // without land the start cuts it to a second
    testModel().options.runoffStep = 300;
    double elapsed;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(tarnvelde_start(0), 400);
    for (int minute = 2; minute <= 10; ++minute) {
        EXPECT_EQ(tarnvelde_step(&elapsed), 400);
        EXPECT_EQ(testModel().clock.newRoutingTime, std::min(minute, 5) * 60000.0);
        EXPECT_EQ(elapsed, std::min(minute, 5) / 1440.0);
    }
}

TEST(Steps, StandStillAfterAStartWithoutMemory) {
    Project project(getGeneral(10) +
                    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 2147483647 0 0\n[POLLUTANTS]\nX 0\n"
                    "Y 0\nZ 0\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 101);
    for (int k = 0; k < 2; ++k) {
        double elapsed = -1.0;
        EXPECT_EQ(tarnvelde_step(&elapsed), 101);
        EXPECT_EQ(elapsed, 0.0);
        EXPECT_EQ(testModel().clock.newRoutingTime, 0.0);
    }
}

TEST(Steps, OfManySecondsAreTakenInDouble) {
    // 600 hours are 2.16e9 ms, more than 32 bits hold.
    Project project("[GENERAL]\nEND_DATE 2020/04/01\nROUTING_STEP 600\nRUNOFF_STEP 600\nREPORT_STEP 600\n" + DRAIN);
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(testModel().clock.reportTime, 2.16e9);
    double elapsed;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 25.0);
}

TEST(Steps, LoseASecondWhereTheDatesFallShort) {
    Project project(getGeneral(10) + DRAIN);
    EXPECT_EQ(project.open(), 0);
    const double end = 44256.0 + 600.0 / 86400.0;
    EXPECT_EQ(testModel().options.totalDuration, (end - 44256.0) * 86400.0 < 600.0 ? 599000.0 : 600000.0);
}

// --- report, end, close --------------------------------------------------------------------------------------------

TEST(Reporting, SaysSoAlsoWithoutAProject) {
    tarnvelde_close();
    testModel().error.code = 0;
    EXPECT_EQ(catchConsole([] { EXPECT_EQ(tarnvelde_report(), 0); }), "\n  Writing output report");
}

TEST(Reporting, WorksBeforeAStartTwiceAndBehindTheEnd) {
    Project project(PROJECT + "[POLLUTANTS]\nX 0\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    tarnvelde_close();
    const std::string report = project.getReport();
    size_t tables = 0;
    for (size_t at = 0; (at = report.find("Flow Routing Continuity", at)) != std::string::npos; ++at) {
        ++tables;
    }
    EXPECT_EQ(tables, 4u);
}

TEST(Reporting, GivesTheErrorsOnceTheRunHasEnded) {
    Project project(getGeneral(30) +
                    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 1 0 0\n[DWFS]\nA FLOW 0.25 \"\"\n");
    double runoff = 7.0, flow = 7.0, quality = 7.0;
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(&runoff, &flow, &quality), 0);
    EXPECT_EQ(flow, 0.0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(&runoff, &flow, &quality), 0);
    EXPECT_EQ(flow, 0.0);  // still started
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(nullptr, &flow, nullptr), 0);
    EXPECT_GT(flow, 0.0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(&runoff, &flow, &quality), 0);
    EXPECT_EQ(flow, 0.0);  // a start without a report
}

TEST(Running, ShowsItsProgress) {
    Project project("[GENERAL]\nEND_TIME 2:00\nROUTING_STEP 0:30\nRUNOFF_STEP 0:30\nREPORT_STEP 0:30\n" + DRAIN);
    int32_t code = -1;
    const std::string console = catchConsole([&] { code = project.run(); });
    EXPECT_EQ(code, 0);
    const std::string back(14, '\b');
    EXPECT_EQ(console, "\n  Retrieving project data\n  Simulating day: 0     hour:  0" + back + "0     hour: 1 " +
                           "\n  Simulation complete           \n  Writing output report");
    EXPECT_EQ(testModel().isOpen, 0);
}

/// The progress lines of a run of `hours` hourly steps: day and hour are cut from the elapsed days as a double holds
/// them, so an hour that falls just short of its number shows the one before, and a repeated hour is no mistake.
static std::string getProgress(int hours) {
    std::string lines;
    int last = 0;
    for (int k = 1; k < hours; ++k) {
        const double days = k / 24.0;
        if (static_cast<int>(days * 24.0) > last) {
            last = static_cast<int>(days * 24.0);
            char text[32];
            std::snprintf(text, sizeof text, "%-5d hour: %-2d", static_cast<int>(days),
                          static_cast<int>((days - std::floor(days)) * 24.0));
            lines += std::string(14, '\b') + text;
        }
    }
    return lines;
}

TEST(Running, CutsDayAndHourOfItsProgress) {
    Project project(
        "[GENERAL]\nSTART_DATE 2020/01/01\nEND_DATE 2020/01/03\nROUTING_STEP 1:00\nRUNOFF_STEP 1:00\n"
        "REPORT_STEP 1:00\n" +
        DRAIN);
    int32_t code = -1;
    const std::string console = catchConsole([&] { code = project.run(); });
    EXPECT_EQ(code, 0) << project.getReport();
    EXPECT_EQ(console, "\n  Retrieving project data\n  Simulating day: 0     hour:  0" + getProgress(48) +
                           "\n  Simulation complete           \n  Writing output report");
    // 26/24, 29/24 and the like are no binary fractions: what they have beyond the day times 24 is just short of 2, 5.
    std::string second;
    for (const char* hour : {"0 ", "1 ", "1 ", "3 ", "4 ", "4 ", "6 "}) {
        second += std::string(14, '\b') + "1     hour: " + hour;
    }
    const std::string lastOfTheFirst = "0     hour: 23";
    const size_t at = console.find(lastOfTheFirst);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(console.substr(at + lastOfTheFirst.size(), second.size()), second);
}

TEST(Running, GivesTheCodeOfAProjectWithErrors) {
    Project project(PROJECT + "[DWFS]\nX FLOW 1 \"\"\n");
    EXPECT_EQ(catchConsole([&] { EXPECT_EQ(project.run(), 200); }), "\n  Retrieving project data");
    EXPECT_EQ(testModel().isOpen, 0);
    EXPECT_EQ(testModel().memory.project.taken, 0u);
}

TEST(Running, ForgetsThePlaceOfThePlantsEngineOnly) {
    Project project(PROJECT);
    tarnvelde_initVornDll("/x/", "/y/");
    tarnvelde_initSwmmDll("/s/", "/t/");
    EXPECT_EQ(testModel().engines.vornLibrary, "/x/");
    EXPECT_EQ(testModel().engines.vornFolder, "/y/");
    EXPECT_EQ(project.run(), 0);
    EXPECT_EQ(testModel().engines.vornLibrary, "");
    EXPECT_EQ(testModel().engines.vornFolder, "");
    EXPECT_EQ(testModel().engines.swmmLibrary, "/s/");
    EXPECT_EQ(testModel().engines.swmmFolder, "/t/");
    tarnvelde_initSwmmDll("", "");
}

TEST(Running, FailsWhenThePipesNeedMoreMemoryThanThereIs) {
    Project project(
        getGeneral(10) +
        "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 2147483647 0 0\n[POLLUTANTS]\nX 0\nY 0\nZ 0\n");
    int32_t code = 0;
    const std::string console = catchConsole([&] { code = project.run(); });
    EXPECT_EQ(code, 101);
    EXPECT_EQ(console, "\n  Retrieving project data");  // no run, and no report
    EXPECT_EQ(project.getReport(), "\n  \n  ERROR 101: memory allocation error.");
}

/// A row of a continuity table: 26 characters for its name, a blank, and 16 for the figure.
static std::string alignRow(std::string name, std::string figure) {
    name.resize(26, ' ');
    figure.erase(0, figure.find_first_not_of(' '));
    return "\n  " + name + " " + std::string(16 - figure.size(), ' ') + figure;
}

/// A run of 10 steps of 60 s at 0.25 m3/s with 8 mg/L, without delay. The end of the run falls one second short of 10
/// minutes or not, as the dates round; then the flow of the last step is booked as delayed.
struct SmallRun {
    const bool isShort = (44256.0 + 600.0 / 86400.0 - 44256.0) * 86400.0 < 600.0;
    const std::string out = isShort ? "135.000" : "150.000", late = isShort ? " 15.000" : "  0.000";
    const std::string load = isShort ? "1.080" : "1.200", lateLoad = isShort ? "0.120" : "0.000";
    std::string report;

    SmallRun() {
        Project project(getGeneral(10) + DRAIN + "[DWFS]\nA X 8 \"\"\n[POLLUTANTS]\nX 0\n");
        EXPECT_EQ(project.run(), 0);
        report = project.getReport();
    }

    /// The report from the head of one table to that of another; to its end without one.
    std::string getPart(const std::string& from, const std::string& to = "") const {
        const size_t first = report.find("\n  " + from), last = to.empty() ? to.npos : report.find("\n  " + to);
        EXPECT_NE(first, std::string::npos) << report;
        return report.substr(first, last - first);
    }
};

static const std::string STARS = "\n  **************************", DASHES = " ----------------";
static const std::string NO_ERROR_OF_A_TABLE = "\n  Continuity Error (%)                  0.000\n  ";

TEST(Reporting, BeginsWithTheContinuityOfRunoff) {
    const SmallRun run;
    std::string expected = STARS + "           Volume            Depth\n  Runoff Quantity Continuity               m3" +
                           "               mm" + STARS + DASHES + DASHES;
    for (const char* row : {"Total Rainfall   ", "Init. LID Storage", "Evap. Loss       ", "Infil. Loss      ",
                            "Surface Runoff   ", "LID Drainage     ", "Final Storage    "}) {
        expected += "\n  " + std::string(row) + "                     0.000            0.000 ";
    }
    expected += NO_ERROR_OF_A_TABLE;
    EXPECT_EQ(run.report.substr(0, expected.size()), expected);
}

TEST(Reporting, WritesTheContinuityOfTheQualityOfRunoff) {
    const SmallRun run;
    std::string expected = "\n  Runoff Quality Continuity                kg" + STARS + DASHES;
    for (const char* row :
         {"Init. Buildup    ", "Surface Buildup  ", "Wet Deposition   ", "Infil. Loss      ", "BMP Removal      ",
          "LID Removal      ", "Surface Washoff  ", "LID Drainage     ", "LID Final Storage", "Remaining Buildup"}) {
        expected += "\n  " + std::string(row) + "                     0.000";
    }
    const double zero = testModel().clock.newRoutingTime * 0.0;
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "%16.3f", zero / zero);  // as the machine gives it
    expected += std::string("\n  Continuity Error (%)       ") + ratio + STARS + "           Volume";
    EXPECT_EQ(run.getPart("Runoff Quality Continuity", "Flow Routing Continuity"), expected);
    EXPECT_NE(run.report.find(NO_ERROR_OF_A_TABLE + STARS + "                X\n  Runoff Quality Continuity"),
              std::string::npos);
}

TEST(Reporting, WritesTheContinuityOfFlow) {
    const SmallRun run;
    std::string expected = "\n  Flow Routing Continuity                  m3" + STARS + DASHES;
    const auto flow = [&](const char* row, const std::string& value) { expected += alignRow(row, value) + " "; };
    flow("Dry Weather Inflow", "150.000");
    flow("Wet Weather Inflow", "  0.000");
    flow("External Inflow   ", "  0.000");
    flow("SWMM Inflow       ", "  0.000");
    flow("VORN Inflow       ", "  0.000");
    flow("External Outflow  ", run.out);
    flow("Flooding Loss     ", "  0.000");
    flow("SWMM Outflow      ", "  0.000");
    flow("VORN Outflow      ", "  0.000");
    flow("Evap. Loss        ", "  0.000");
    flow("Seepage Loss      ", "  0.000");
    flow("Delayed Vol.      ", run.late);
    flow("Init. Storage     ", "  0.000");
    flow("Final Storage     ", "  0.000");
    expected += NO_ERROR_OF_A_TABLE + STARS + "                X";
    EXPECT_EQ(run.getPart("Flow Routing Continuity", "Quality Routing Continuity"), expected);
}

TEST(Reporting, WritesTheContinuityOfQuality) {
    const SmallRun run;
    std::string expected = "\n  Quality Routing Continuity               kg" + STARS + DASHES;
    const auto quality = [&](const char* row, const std::string& value) { expected += alignRow(row, value); };
    quality("Dry Weather Inflow", "1.200");
    quality("Wet Weather Inflow", "0.000");
    quality("External Inflow   ", "0.000");
    quality("SWMM Inflow       ", "0.000");
    quality("VORN Inflow       ", "0.000");
    quality("External Outflow  ", run.load);
    quality("Flooding Loss     ", "0.000");
    quality("SWMM Outflow      ", "0.000");
    quality("VORN Outflow      ", "0.000");
    quality("Seepage Loss      ", "0.000");
    quality("Reacted Loss      ", "0.000");
    quality("Delayed Mass      ", run.lateLoad);
    quality("Init. Storage     ", "0.000");
    quality("Final Storage     ", "0.000");
    const std::string part = run.getPart("Quality Routing Continuity");
    EXPECT_EQ(part.substr(0, expected.size()), expected);
    const std::string rest = part.substr(expected.size());
    EXPECT_EQ(rest.substr(0, 25), "\n  Continuity Error (%)  ");
    EXPECT_EQ(rest.substr(rest.find("0.000", 25), 5), "0.000");
    EXPECT_EQ(rest.substr(rest.find('\n', 1), 26), "\n  \n  *******************\n");
}

TEST(Reporting, EndsWithTheSummariesOfNodesOutfallsAndLinks) {
    const SmallRun run;
    EXPECT_EQ(
        run.getPart("*******************\n  Node Inflow Summary"),
        "\n  *******************\n  Node Inflow Summary\n  *******************"
        "\n                                              Inflow      Max. Inflow"
        "\n  Node             Type                           m3             m3/s"
        "\n  ---------------- ---------------- ---------------- ----------------"
        "\n  A                JUNCTION                  150.000            0.250"
        "\n  OUT              OUTFALL                   " +
            run.out +
            "            0.250"
            "\n  \n  ***********************\n  Outfall Loading Summary\n  ***********************"
            "\n                                  X"
            "\n  Outfall                        kg"
            "\n  ---------------- ----------------"
            "\n  OUT                         " +
            run.load +
            "\n  \n  *****************\n  Link Flow Summary\n  *****************"
            "\n                                                Flow        Max. Flow            Flood       Max. Flood"
            "\n  Link             Type                           m3             m3/s               m3             m3/s"
            "\n  ---------------- ---------------- ---------------- ---------------- ---------------- ----------------"
            "\n  C                CONNECTION                " +
            run.out + "            0.250            0.000            0.000");
}

TEST(Reporting, PushesARowForALongName) {
    const std::string name(40, 'N');
    Project project(getGeneral(10) + "[OUTFALLS]\n" + name + "\n");
    ASSERT_EQ(project.run(), 0);
    EXPECT_NE(project.getReport().find("\n  " + name + " OUTFALL                     0.000            0.000"),
              std::string::npos);
}
