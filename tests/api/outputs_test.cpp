// What both faces do to files that others write, and to those that a project reads.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/child.h"
#include "support/generate.h"
#include "support/project.h"
#include "support/tvmodel.h"
#include "tarnvelde.h"

namespace fs = std::filesystem;

static constexpr int32_t CODE_SAME_NAMES = 301;
static constexpr int32_t CODE_REPORT = 305;
static constexpr int32_t CODE_RESULTS = 307;
static constexpr int32_t CODE_DATABASE = 313;

namespace {

/// A project whose inflow stands in a file beside it.
struct SeriesProject : Project {
    std::string series = folder.write("rain.dat", "2024/01/01 0:00 1\n2024/01/03 0:00 2\n");
    std::string seriesBytes = readFile(series);

    SeriesProject()
        : Project(
              "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 01:00\nROUTING_STEP 0:01:00\n"
              "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 1 0.2 0\n"
              "[INFLOWS]\nJ1 FLOW FLOW 0.5 RAIN 1\n[TIMESERIES]\nRAIN FILE rain.dat\n") {}

    std::string name(const char* spelling) const { return folder.path.string() + '/' + spelling; }
};

}  // namespace

// --- what a project reads ------------------------------------------------------------------------------------------

TEST(Outputs, OfTheOldFaceAreNoInputs) {
    const SeriesProject project;
    fs::create_symlink(project.series, project.name("link"));
    for (const char* spelling : {"rain.dat", "./rain.dat", "link"}) {
        SCOPED_TRACE(spelling);
        EXPECT_EQ(tarnvelde_open(project.input.c_str(), project.name(spelling).c_str(), ""), CODE_REPORT);
        EXPECT_EQ(tarnvelde_close(), 0);
        EXPECT_EQ(readFile(project.series), project.seriesBytes);
        ASSERT_EQ(tarnvelde_open(project.input.c_str(), project.report.c_str(), project.name(spelling).c_str()), 0);
        EXPECT_EQ(tarnvelde_start(TARNVELDE_SAVE_BINARY), CODE_RESULTS);
        EXPECT_EQ(tarnvelde_close(), 0);
        EXPECT_EQ(readFile(project.series), project.seriesBytes);
    }
}

TEST(Outputs, OfTheOldFaceAreNotTheProjectInOtherWords) {
    const SeriesProject project;
    const std::string bytes = readFile(project.input);
    const std::string other = project.folder.path.string() + "/./" + fs::path(project.input).filename().string();
    EXPECT_EQ(tarnvelde_open(project.input.c_str(), other.c_str(), ""), CODE_REPORT);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(readFile(project.input), bytes);
}

TEST(Outputs, OfTheOldFaceAreNoDatabaseThatIsRead) {
    const SeriesProject project;
    const std::string text = readFile(project.input);
    const std::string database = fs::path(project.input).replace_extension(".db").string();
    fs::rename(project.series, database);
    const std::string file = fs::path(database).filename().string();
    project.folder.write(fs::path(project.input).filename().string(),
                         text.substr(0, text.rfind("rain.dat")) + file + '\n');
    ASSERT_EQ(tarnvelde_open(project.input.c_str(), project.report.c_str(), ""), 0);
    EXPECT_EQ(tarnvelde_start(TARNVELDE_SAVE_DATABASE), CODE_DATABASE);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(readFile(database), project.seriesBytes);
}

TEST(Outputs, OfModelsAreNoInputs) {
    const SeriesProject project;
    TvModel model;
    EXPECT_EQ(tv_open(model, project.input.c_str(), project.series.c_str()), CODE_SAME_NAMES);
    ASSERT_EQ(model.getErrors().size(), 1u);
    EXPECT_STREQ(
        model.getErrors()[0].text,
        ("files share same names. (the report " + project.series + " is the file of time series RAIN)").c_str());
    int32_t phase = -1;
    EXPECT_EQ(tv_getPhase(model, &phase), TV_OK);
    EXPECT_EQ(phase, TV_CLOSED);
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    EXPECT_EQ(tv_start(model, project.name("./rain.dat").c_str(), nullptr), CODE_SAME_NAMES);
    EXPECT_EQ(tv_start(model, nullptr, project.series.c_str()), CODE_SAME_NAMES);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(readFile(project.series), project.seriesBytes);
}

// --- company -------------------------------------------------------------------------------------------------------

TEST(Outputs, OfARunAreItsOwnOnBothFaces) {
    const SeriesProject project, other;
    ASSERT_EQ(tarnvelde_open(project.input.c_str(), project.report.c_str(), project.results.c_str()), 0);
    ASSERT_EQ(tarnvelde_start(TARNVELDE_SAVE_BINARY), 0);
    const std::string begun = readFile(project.report);
    TvModel model;
    EXPECT_EQ(tv_open(model, other.input.c_str(), project.report.c_str()), CODE_REPORT);
    ASSERT_EQ(tv_open(model, other.input.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_start(model, project.results.c_str(), nullptr), CODE_RESULTS);
    EXPECT_EQ(readFile(project.report), begun);
    double elapsed = 1.0;
    while (elapsed > 0.0) {
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    }
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tarnvelde_open(other.input.c_str(), other.report.c_str(), project.results.c_str()), 0);
    EXPECT_EQ(tarnvelde_start(TARNVELDE_SAVE_BINARY), CODE_RESULTS);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(tv_close(model), TV_OK);
}

// --- aside ---------------------------------------------------------------------------------------------------------

TEST(Outputs, OfModelsArePutInPlaceAtTheEnd) {
    const SeriesProject project;
    project.folder.write(fs::path(project.results).filename().string(), "results before");
    project.folder.write(fs::path(project.report).filename().string(), "report before");
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(readFile(project.results), "results before");
    EXPECT_EQ(tv_report(model), TV_OK);
    EXPECT_EQ(tv_end(model), TV_OK);
    EXPECT_GT(readFile(project.results).size(), 100u);
    EXPECT_EQ(readFile(project.report), "report before");
    EXPECT_EQ(tv_close(model), TV_OK);
    EXPECT_NE(readFile(project.report).find("Flow Routing Continuity"), std::string::npos);
    EXPECT_FALSE(fs::exists(project.results + ".part"));
    EXPECT_FALSE(fs::exists(project.report + ".part"));
}

TEST(Outputs, OfAProjectThatNeverRanLeaveTheReportBefore) {
    const SeriesProject project;
    project.folder.write(fs::path(project.report).filename().string(), "report before");
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(readFile(project.report), "report before");
    EXPECT_FALSE(fs::exists(project.report + ".part"));
}

TEST(Outputs, ThatCantBeWrittenGiveACode) {
    const SeriesProject project;
    const int status = process_fork([&] {
        TvModel model;
        const bool isOpen = tv_open(model, project.input.c_str(), project.report.c_str()) == TV_OK &&
                            tv_start(model, nullptr, nullptr) == TV_OK && tv_runUntil(model, TV_END) == TV_OK;
        process_limitFileSize(500);
        const bool isTold = isOpen && tv_report(model) == TV_ERROR_FILE && tv_end(model) == TV_OK &&
                            tv_close(model) == TV_ERROR_FILE && model.getErrors().size() == 1;
        return isTold ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(fs::exists(project.report));
    EXPECT_FALSE(fs::exists(project.report + ".part"));
}

namespace {

enum Use { REPORT, RESULTS, DATABASE, STATE };

/// What a run tells, and only once, of an output that nothing can be put in place of.
void expectToldOnce(const SeriesProject& project, Use use, const std::string& name, const std::string& words) {
    SCOPED_TRACE(name + " as " + std::to_string(use));
    TvModel model;
    int32_t code = tv_open(model, project.input.c_str(), use == REPORT ? name.c_str() : nullptr);
    if (use != REPORT) {
        ASSERT_EQ(code, TV_OK);
        code = tv_start(model, use == RESULTS ? name.c_str() : nullptr, use == DATABASE ? name.c_str() : nullptr);
    }
    if (use == STATE) {
        ASSERT_EQ(code, TV_OK);
        code = tv_testOutput(model, "state", name.c_str());
        EXPECT_EQ(tv_saveStateFile(model, name.c_str()), TV_ERROR_FILE);
    }
    EXPECT_EQ(code, use == REPORT     ? CODE_REPORT
                    : use == RESULTS  ? CODE_RESULTS
                    : use == DATABASE ? CODE_DATABASE
                                      : TV_ERROR_FILE);
    ASSERT_EQ(model.getErrors().size(), 1U);
    const std::string text = model.getErrors()[0].text, told = name + ": " + words + (use == STATE ? "" : ")");
    ASSERT_GE(text.size(), told.size()) << text;
    EXPECT_EQ(text.substr(text.size() - told.size()), told);
}

}  // namespace

TEST(Outputs, ThatNothingCanBePutInPlaceOfAreToldOnceAndAheadOfTheRun) {
    const SeriesProject project;
    {
        TvModel model;
        ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
        ASSERT_EQ(tv_start(model, nullptr, project.name("fixed.db").c_str()), TV_OK);
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        ASSERT_EQ(tv_close(model), TV_OK);
    }
    fs::create_directory(project.name("closed"));
    fs::create_directory(project.name("folder"));
    fs::copy_file(project.name("fixed.db"), project.name("closed/there"));
    fs::permissions(project.name("closed/there"), fs::perms(0666));
    fs::permissions(project.name("closed"), fs::perms(0555));
    fs::permissions(project.name("fixed.db"), fs::perms(0444));
    fs::permissions(project.folder.path, fs::perms(0777));
    const int status = process_fork([&] {
        if (!process_giveUpRights()) {
            return 77;
        }
        for (const Use use : {REPORT, RESULTS, DATABASE, STATE}) {
            expectToldOnce(project, use, project.name("closed/new"), "Permission denied in its folder");
            expectToldOnce(project, use, project.name("closed/there"), "Permission denied in its folder");
            expectToldOnce(project, use, project.name("fixed.db"), "Permission denied");
            expectToldOnce(project, use, project.name("none/new"), "No such file or directory");
            expectToldOnce(project, use, project.name("folder"), "it is a folder, a device or a pipe");
        }
        return testing::Test::HasFailure() ? 1 : 0;
    });
    fs::permissions(project.name("closed"), fs::perms(0777));
    if (status == 77) {
        GTEST_SKIP() << "rights can't be given up here";
    }
    EXPECT_EQ(status, 0);
}

TEST(Outputs, OfNamesOfAnyLengthArePutInPlace) {
    const SeriesProject project;
    const std::string name = project.name(std::string(247, 'n').c_str());
    fs::create_directory(project.name("at"));
    const std::string longest = project.name("at/") + std::string(251, 'n');
    for (const std::string& front : {name, longest}) {
        SCOPED_TRACE(front.size());
        for (int k = 0; k < 2; ++k) {
            TvModel model;
            ASSERT_EQ(tv_open(model, project.input.c_str(), (front + ".rpt").c_str()), TV_OK);
            ASSERT_EQ(tv_start(model, (front + ".bin").c_str(), nullptr), TV_OK);
            ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
            ASSERT_EQ(tv_report(model), TV_OK);
            ASSERT_EQ(tv_close(model), TV_OK);
            EXPECT_GT(readFile(front + ".bin").size(), 100U);
            EXPECT_NE(readFile(front + ".rpt").find("Flow Routing Continuity"), std::string::npos);
        }
        std::error_code tooLong;  // the name of the text, if it is longer than one may be
        EXPECT_EQ(fs::exists(front + ".bin.run", tooLong), front == name);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(project.name("at")), fs::directory_iterator()), 2);
}

// --- what a run is known by ----------------------------------------------------------------------------------------

namespace {

/// A run with results in a file, up to a date; the text beside them.
std::string runFor(const SeriesProject& project, double days) {
    TvModel model;
    EXPECT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    tv_clock clock{};
    EXPECT_EQ(tv_getClock(model, &clock), TV_OK);
    EXPECT_EQ(tv_runUntil(model, clock.start + days), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    return readFile(project.results + ".run");
}

std::string getLine(const std::string& text, const std::string& name) {
    const size_t place = text.find('\n' + name + ' ');
    return place == std::string::npos ? "" : text.substr(place + 1, text.find('\n', place + 1) - place - 1);
}

}  // namespace

TEST(RunIdentity, TellsWhereARunBeganAndHowItEnded) {
    const SeriesProject project;
    const std::string whole = runFor(project, 1.0), half = runFor(project, 0.5 / 24.0);
    EXPECT_EQ(whole.substr(0, whole.find('\n')), "tarnvelde run");
    EXPECT_EQ(getLine(whole, "version"), std::string("version ") + tv_getVersion());
    EXPECT_EQ(getLine(whole, "begin"), "begin 2024-01-01 00:00:00");
    EXPECT_EQ(getLine(whole, "end"), "end 2024-01-01 00:59:59");  // a run ends a second ahead of its date
    EXPECT_EQ(getLine(whole, "state"), "state complete");
    EXPECT_EQ(getLine(half, "end"), "end 2024-01-01 00:30:00");
    EXPECT_EQ(getLine(half, "state"), "state stopped");
    EXPECT_EQ(getLine(half, "inputs"), getLine(whole, "inputs"));
    EXPECT_EQ(runFor(project, 1.0), whole);
}

TEST(RunIdentity, ChangesWithAllThatIsRead) {
    const SeriesProject project;
    const std::string before = getLine(runFor(project, 1.0), "inputs");
    project.folder.write("rain.dat", project.seriesBytes + "2024/01/04 0:00 3\n");
    const std::string withSeries = getLine(runFor(project, 1.0), "inputs");
    EXPECT_NE(withSeries, before);
    project.write(readFile(project.input) + "[DESCRIPTION]\nanother\n");
    EXPECT_NE(getLine(runFor(project, 1.0), "inputs"), withSeries);
}

TEST(RunIdentity, IsLeftAwayByTheOldFaceAndByTheNullDevice) {
    const SeriesProject project;
    ASSERT_EQ(project.run(), 0);
    EXPECT_FALSE(fs::exists(project.results + ".run"));
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), "/dev/null"), TV_OK);
    ASSERT_EQ(tv_start(model, "/dev/null", nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    EXPECT_FALSE(fs::exists("/dev/null.run"));
}

TEST(RunIdentity, OfAnotherRunIsTakenAwayByTheOldFace) {
    const SeriesProject project;
    EXPECT_NE(runFor(project, 1.0), "");
    ASSERT_EQ(project.run(), 0);
    EXPECT_FALSE(fs::exists(project.results + ".run"));
    project.folder.write(fs::path(project.results).filename().string() + ".run", "of the user");
    ASSERT_EQ(project.run(), 0);
    EXPECT_EQ(readFile(project.results + ".run"), "of the user");
}

TEST(RunIdentity, IsWrittenOverNothingElse) {
    const SeriesProject project;
    const std::string beside = project.results + ".run";
    project.folder.write(fs::path(beside).filename().string(), "of the user");
    EXPECT_EQ(runFor(project, 1.0), "of the user");
    fs::remove(beside);
    fs::create_directory(beside);
    runFor(project, 1.0);
    EXPECT_TRUE(fs::is_directory(beside));
    EXPECT_TRUE(fs::exists(project.results));
}

// --- what hosts do -------------------------------------------------------------------------------------------------

TEST(Outputs, AreNoInputUnderTheNamesOfFilesBesideThem) {
    const SeriesProject project;
    const std::string text = readFile(project.input);
    for (const char* name : {"r.bin.part", "r.bin.run", "r.bin.run.part", "far/r.bin.part"}) {
        SCOPED_TRACE(name);
        fs::create_directories(project.name("far"));
        fs::remove(project.name("link.bin"));
        fs::create_symlink("far/r.bin", project.name("link.bin"));
        project.folder.write(name, project.seriesBytes);
        project.write(text.substr(0, text.rfind("rain.dat")) + name + '\n');
        const bool isFar = std::string(name).find("far") == 0;
        TvModel model;
        EXPECT_EQ(tv_open(model, project.input.c_str(), project.name(isFar ? "link.bin" : "r.bin").c_str()),
                  CODE_SAME_NAMES);
        ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
        EXPECT_EQ(tv_start(model, project.name(isFar ? "link.bin" : "r.bin").c_str(), nullptr), CODE_SAME_NAMES);
        EXPECT_EQ(tv_close(model), TV_OK);
        EXPECT_EQ(readFile(project.name(name)), project.seriesBytes);
        fs::remove(project.name(name));
    }
}

TEST(Outputs, OfAStateAreNoInputsAndNoResults) {
    const SeriesProject project;
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    const std::string bytes = readFile(project.input);
    for (const std::string& name : {project.input, project.series, project.results, project.results + ".part",
                                    project.report, project.report + ".part"}) {
        EXPECT_EQ(tv_saveStateFile(model, name.c_str()), TV_ERROR_FILE) << name;
        EXPECT_EQ(tv_testOutput(model, "state", name.c_str()), CODE_SAME_NAMES) << name;
    }
    EXPECT_EQ(tv_testOutput(model, "state", nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_testOutput(model, nullptr, "x"), TV_ERROR_NULL);
    EXPECT_EQ(tv_testOutput(model, "state", project.name("state").c_str()), TV_OK);
    EXPECT_FALSE(fs::exists(project.name("state")));
    EXPECT_FALSE(fs::exists(project.name("state.part")));
    EXPECT_EQ(tv_saveStateFile(model, project.name("state").c_str()), TV_OK);
    EXPECT_EQ(readFile(project.input), bytes);
    EXPECT_EQ(readFile(project.series), project.seriesBytes);
    EXPECT_EQ(tv_close(model), TV_OK);
}

TEST(Outputs, OfARunWithoutAStepLeaveWhatWasThere) {
    const SeriesProject project;
    project.folder.write(fs::path(project.results).filename().string(), "results before");
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), project.name("r.db").c_str()), TV_OK);
    const char garbage[] = "no state at all";
    EXPECT_NE(tv_restoreState(model, garbage, sizeof garbage), TV_OK);
    EXPECT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(readFile(project.results), "results before");
    EXPECT_FALSE(fs::exists(project.name("r.db")));
    EXPECT_FALSE(fs::exists(project.name("r.db.part")));
    EXPECT_FALSE(fs::exists(project.results + ".part"));
}

TEST(Outputs, AreNotEndedByAForkedProcess) {
    const SeriesProject project;
    TvModel whole;
    ASSERT_EQ(tv_open(whole, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(whole, project.name("whole.bin").c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(whole, TV_END), TV_OK);
    ASSERT_EQ(tv_close(whole), TV_OK);
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), project.name("r.db").c_str()), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    EXPECT_EQ(process_fork([&] { return tv_close(model) == TV_OK ? 0 : 1; }), 0);
    EXPECT_FALSE(fs::exists(project.results));
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(tv_report(model), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(readFile(project.results), readFile(project.name("whole.bin")));
    EXPECT_TRUE(fs::exists(project.name("r.db")));
    EXPECT_TRUE(fs::exists(project.report));
}

TEST(Outputs, ThatWereTakenAwayAreNotReplacedByOthers) {
    const SeriesProject project;
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    fs::remove(project.results + ".part");
    project.folder.write(fs::path(project.results).filename().string() + ".part", "of somebody else");
    EXPECT_EQ(tv_end(model), 309);
    EXPECT_FALSE(fs::exists(project.results));
    EXPECT_EQ(readFile(project.results + ".part"), "of somebody else");
}
