// The life of a model of the second face: what each call does in each phase, what it leaves in files, what it tells.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <regex>
#include <string>
#include <vector>

#include "support/allkinds.h"
#include "support/database.h"
#include "support/generate.h"
#include "support/project.h"
#include "support/tvmodel.h"

static std::string makeNetwork(unsigned seed = 1, int pollutants = 2) {
    return getGeneral(60) + generateNetwork(seed, 12, pollutants);
}

/// Names of files that a run of the second face makes beside those of the first.
struct TwoFaces : Project {
    using Project::Project;
    std::string report2 = folder.file("second.rpt");
    std::string results2 = folder.file("second.bin");
    std::string database2 = folder.file("second.db");
};

// --- files ---------------------------------------------------------------------------------------------------------

TEST(ModelLife, LeavesTheFilesOfAWholeRun) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        TwoFaces project(makeNetwork(seed, static_cast<int>(seed % 3)));
        ASSERT_EQ(project.run(), 0);
        TvModel model;
        ASSERT_EQ(tv_open(model, project.input.c_str(), project.report2.c_str()), TV_OK);
        ASSERT_EQ(tv_start(model, project.results2.c_str(), nullptr), TV_OK);
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        ASSERT_EQ(tv_report(model), TV_OK);
        ASSERT_EQ(tv_end(model), TV_OK);
        EXPECT_EQ(readFile(project.results2), readFile(project.results)) << seed;
        ASSERT_EQ(tv_close(model), TV_OK);
        EXPECT_EQ(readFile(project.report2), readFile(project.report)) << seed;
    }
}

TEST(ModelLife, OfAllKindsLeavesTheSameFiles) {
    AllKinds project;
    ASSERT_EQ(project.run(), 0);
    const std::string report = readFile(project.report), results = readFile(project.results);
    ASSERT_GT(results.size(), 1000u);
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), project.report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_report(model), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(readFile(project.report), report);
    EXPECT_EQ(readFile(project.results), results);
}

TEST(ModelLife, WritesFileAndDatabaseAtOnce) {
    TwoFaces project(makeNetwork());
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, project.results2.c_str(), project.database2.c_str()), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_FALSE(project.folder.has("model.rpt"));
    EXPECT_GT(readFile(project.results2).size(), 1000u);
    EXPECT_EQ(ask(project.database2, "select count(*) from System"), "11\n");
}

TEST(ModelLife, WritesNothingWhereNothingIsAskedFor) {
    testing::internal::CaptureStdout();
    TwoFaces project(makeNetwork());
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_report(model), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(project.folder.list(), std::vector<std::string>{"model.inp"});
}

TEST(ModelLife, OpensATextAsItsFile) {
    TwoFaces project(makeNetwork(3));
    ASSERT_EQ(project.run(), 0);
    std::string text = makeNetwork(3);
    TvModel model;
    ASSERT_EQ(model.openText(text, project.report2.c_str()), TV_OK);
    text.assign(text.size(), 'x');  // the text was copied
    ASSERT_EQ(tv_start(model, project.results2.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_report(model), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(readFile(project.results2), readFile(project.results));
    EXPECT_EQ(readFile(project.report2), readFile(project.report));
}

TEST(ModelLife, FindsTheSeriesOfATextInItsFolder) {
    TempFolder folder;
    folder.write("rain.dat", "2021/03/01 0:00 1\n2021/03/01 2:00 3\n");
    const std::string text = getGeneral(10) + "[JUNCTIONS]\nA\n[OUTFALLS]\nO\n[PIPES]\nP A O NO 60 1 0 0\n" +
                             "[INFLOWS]\nA FLOW FLOW 0 S 1\n[TIMESERIES]\nS FILE rain.dat\n";
    TvModel model;
    EXPECT_EQ(tv_openText(model, text.data(), text.size(), "/nowhere/at/all", nullptr), 361);
    EXPECT_EQ(model.getPhase(), TV_FAILED);
    ASSERT_EQ(tv_close(model), TV_OK);
    std::string path = folder.file("");
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    EXPECT_EQ(tv_openText(model, text.data(), text.size(), path.c_str(), nullptr), TV_OK);
}

TEST(ModelLife, KeepsWhatARunThatIsLetGoOfHasWritten) {
    TwoFaces project(makeNetwork());
    {
        TvModel model;
        ASSERT_EQ(tv_open(model, project.input.c_str(), project.report2.c_str()), TV_OK);
        ASSERT_EQ(tv_start(model, project.results2.c_str(), project.database2.c_str()), TV_OK);
        ASSERT_EQ(tv_runUntil(model, model.getClock().start + 30.0 / 1440.0), TV_OK);
    }
    EXPECT_EQ(ask(project.database2, "select count(*) from System"), "6\n");
    const std::string results = readFile(project.results2);
    ASSERT_GT(results.size(), 28u);
    int32_t count;
    std::memcpy(&count, results.data() + results.size() - 12, sizeof count);
    EXPECT_EQ(count, 6);
}

// --- phases --------------------------------------------------------------------------------------------------------

TEST(ModelLife, RefusesWhatDoesNotFitItsPhase) {
    TvModel model;
    tv_clock clock;
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_step(model), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_report(model), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_end(model), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_close(model), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_getClock(model, &clock), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(model.getPhase(), TV_CLOSED);

    ASSERT_EQ(model.openText(makeNetwork()), TV_OK);
    EXPECT_EQ(model.openText(makeNetwork()), TV_ERROR_OPEN);
    EXPECT_EQ(tv_open(model, "x", nullptr), TV_ERROR_OPEN);
    EXPECT_EQ(tv_setEngines(model, nullptr, nullptr, nullptr, nullptr), TV_ERROR_OPEN);
    EXPECT_EQ(tv_step(model), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_report(model), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_end(model), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(model.getPhase(), TV_OPEN);

    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_ERROR_STARTED);
    EXPECT_EQ(tv_keepRows(model, 1), TV_ERROR_STARTED);
    EXPECT_EQ(model.getPhase(), TV_STARTED);
    EXPECT_EQ(tv_runUntil(model, std::nan("")), TV_ERROR_RANGE);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_FINISHED);
    EXPECT_EQ(tv_step(model), TV_ERROR_FINISHED);
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_ERROR_FINISHED);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_ERROR_STARTED);
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_OPEN);
    EXPECT_EQ(tv_end(model), TV_ERROR_NOT_STARTED);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_CLOSED);
}

TEST(ModelLife, RefusesNulls) {
    EXPECT_EQ(tv_create(nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_free(nullptr), TV_OK);
    EXPECT_EQ(tv_step(nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getPhase(nullptr, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_setLog(nullptr, nullptr, nullptr), TV_ERROR_NULL);
    TvModel model;
    EXPECT_EQ(tv_open(model, nullptr, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_openText(model, nullptr, 0, nullptr, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getPhase(model, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getMessageCount(model, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getMessage(model, 0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(model.getPhase(), TV_CLOSED);
}

TEST(ModelLife, RunsAgainAfterItsEnd) {
    TwoFaces project(makeNetwork(5));
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    std::string first;
    for (int run = 0; run < 3; ++run) {
        ASSERT_EQ(tv_start(model, project.results2.c_str(), nullptr), TV_OK);
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        ASSERT_EQ(tv_end(model), TV_OK);
        const std::string results = readFile(project.results2);
        EXPECT_TRUE(run == 0 || results == first) << run;
        first = results;
    }
}

// --- clock ---------------------------------------------------------------------------------------------------------

TEST(ModelLife, TellsDatesAndProgress) {
    TvModel model;
    ASSERT_EQ(model.openText(makeNetwork()), TV_OK);
    const double start = 44256.0;  // 1 March 2021
    tv_clock clock = model.getClock();
    EXPECT_EQ(clock.start, start);
    EXPECT_EQ(clock.now, start);
    EXPECT_DOUBLE_EQ(clock.end, start + 1.0 / 24.0);
    EXPECT_EQ(clock.step, 60.0);
    EXPECT_EQ(clock.progress, 0.0);
    EXPECT_EQ(clock.period, 0);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    for (int step = 1; step <= 60; ++step) {
        ASSERT_EQ(tv_step(model), TV_OK);
        clock = model.getClock();
        EXPECT_NEAR(clock.now, start + step / 1440.0, 1.1 / 86400.0);
        EXPECT_NEAR(clock.progress, step / 60.0, 1.0 / 3600.0);  // a second of the last step may be lost
        EXPECT_EQ(clock.period, step == 60 ? 11 : step / 5);
    }
    EXPECT_EQ(model.getPhase(), TV_FINISHED);
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(model.getClock().progress, 0.0);
}

TEST(ModelLife, RunsUntilADate) {
    TvModel model;
    ASSERT_EQ(model.openText(makeNetwork()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    const double start = model.getClock().start;
    const auto runTo = [&](double minutes) {
        EXPECT_EQ(tv_runUntil(model, start + minutes / 1440.0), TV_OK);
        return std::round((model.getClock().now - start) * 1440.0 * 1e6) / 1e6;
    };
    EXPECT_EQ(runTo(0.0), 0.0);
    EXPECT_EQ(runTo(-5.0), 0.0);
    for (const double minutes : {1.0, 2.0, 7.0, 20.0, 59.0}) {
        EXPECT_EQ(runTo(minutes), minutes);
        EXPECT_EQ(runTo(minutes), minutes);
    }
    EXPECT_EQ(runTo(10.0), 59.0);
    EXPECT_NEAR(runTo(59.5), 60.0, 1.1 / 60.0);
    EXPECT_EQ(model.getPhase(), TV_FINISHED);
}

// --- messages ------------------------------------------------------------------------------------------------------

TEST(ModelMessages, TellEachFaultWithItsPlace) {
    const std::string text =
        "[GENERAL]\nROUTING_STEP 0:01:00\n[JUNCTIONS]\nA\n[PIPES]\nP1 A NOWHERE NO 60 1 0 0\n  P2 A\n";
    TvModel model;
    ASSERT_EQ(tv_setWarnings(model, 0), TV_OK);
    EXPECT_EQ(model.openText(text), 200);
    EXPECT_EQ(model.getPhase(), TV_FAILED);
    const auto messages = model.getMessages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].level, TV_ERROR);
    EXPECT_EQ(messages[0].code, 209);
    EXPECT_STREQ(messages[0].text, "undefined object NOWHERE");
    EXPECT_STREQ(messages[0].section, "[PIPES]");
    EXPECT_EQ(messages[0].line, 6);
    EXPECT_STREQ(messages[0].words, "P1 A NOWHERE NO 60 1 0 0");
    EXPECT_STREQ(messages[0].object, "NOWHERE");
    EXPECT_STREQ(messages[0].name, "");
    EXPECT_EQ(messages[1].code, 203);
    EXPECT_EQ(messages[1].line, 7);
    EXPECT_STREQ(messages[1].words, "  P2 A");
    int32_t count;
    EXPECT_EQ(tv_getCount(model, TV_NODE, &count), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_ERROR_NOT_OPEN);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(model.getMessages().size(), 2u);  // until the next opening
    ASSERT_EQ(model.openText(makeNetwork()), TV_OK);
    EXPECT_EQ(model.getErrors().size(), 0u);
}

TEST(ModelMessages, TellFaultsOfTheWholeProjectByTheirObject) {
    TvModel model;
    EXPECT_EQ(model.openText(getGeneral(10) + "[JUNCTIONS]\nA\n[OUTFALLS]\nO\n"), 137);
    const auto messages = model.getMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].code, 137);
    EXPECT_STREQ(messages[0].object, "A");
    EXPECT_EQ(messages[0].line, 0);
    EXPECT_STREQ(messages[0].section, "");
}

TEST(ModelMessages, TellFilesThatCannotBeUsed) {
    TempFolder folder;
    TvModel model;
    ASSERT_EQ(tv_setWarnings(model, 0), TV_OK);
    EXPECT_EQ(tv_open(model, folder.file("none.inp").c_str(), nullptr), 303);
    EXPECT_EQ(model.getPhase(), TV_CLOSED);
    ASSERT_EQ(model.getMessages().size(), 1u);
    EXPECT_EQ(model.getMessages()[0].code, 303);
    EXPECT_STREQ(model.getMessages()[0].text, "cannot open input file.");
    folder.write("a.inp", makeNetwork());
    const std::string input = folder.file("a.inp");
    EXPECT_EQ(tv_open(model, input.c_str(), input.c_str()), 301);
    EXPECT_EQ(readFile(input), makeNetwork());
    EXPECT_EQ(tv_open(model, input.c_str(), folder.file("no/such/a.rpt").c_str()), 305);
    EXPECT_EQ(model.getPhase(), TV_CLOSED);
    ASSERT_EQ(tv_open(model, input.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_start(model, input.c_str(), nullptr), 301);
    EXPECT_EQ(tv_start(model, nullptr, input.c_str()), 301);
    EXPECT_EQ(tv_start(model, "same", "same"), 301);
    EXPECT_EQ(readFile(input), makeNetwork());
    EXPECT_EQ(model.getErrors().size(), 3u);
    EXPECT_EQ(tv_start(model, folder.file("no/such/a.bin").c_str(), nullptr), 307);
    EXPECT_EQ(model.getPhase(), TV_OPEN);
    EXPECT_EQ(tv_start(model, nullptr, folder.file("no/such/a.db").c_str()), 313);
    EXPECT_EQ(model.getPhase(), TV_OPEN);
    EXPECT_EQ(model.getErrors().size(), 5u);
    ASSERT_EQ(tv_start(model, folder.file("a.bin").c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
}

namespace {
struct Hearer {
    std::vector<std::string> texts;
    tv_model* model = nullptr;
    int32_t phase = -1, stepCode = 0;

    static void hear(void* user, const tv_message* message) {
        Hearer& self = *static_cast<Hearer*>(user);
        self.texts.emplace_back(message->text);
        tv_getPhase(self.model, &self.phase);
        self.stepCode = tv_close(self.model);
    }
};
}  // namespace

TEST(ModelMessages, AreHeardAsTheyComeByWhoMayOnlyListen) {
    TvModel model;
    Hearer hearer;
    hearer.model = model;
    ASSERT_EQ(tv_setLog(model, Hearer::hear, &hearer), TV_OK);
    EXPECT_EQ(model.openText(getGeneral(10) + "[JUNCTIONS]\nA\n[OUTFALLS]\nO\n"), 137);
    EXPECT_EQ(hearer.texts, std::vector<std::string>{"Node A has no downstream link."});
    EXPECT_EQ(hearer.phase, TV_FAILED);
    EXPECT_EQ(hearer.stepCode, TV_ERROR_BUSY);
    ASSERT_EQ(tv_setLog(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(model.openText("[JUNCTIONS]\nA A A\nA\n"), 200);
    EXPECT_EQ(hearer.texts.size(), 1u);
}

TEST(ModelCodes, AreToldInWords) {
    EXPECT_STREQ(tv_describeCode(0), "done");
    EXPECT_STREQ(tv_describeCode(209), "undefined object ...");
    EXPECT_STREQ(tv_describeCode(303), "cannot open input file.");
    EXPECT_STREQ(tv_describeCode(12345), "unknown code");
    EXPECT_STREQ(tv_describeCode(-1), "unknown code");
    const std::string header = readFile(TARNVELDE_SOURCE_DIR "/include/tarnvelde_model.h");
    const std::regex code("TV_ERROR_\\w+ = (-\\d+),?\\s*/\\* ([^*]*) \\*/");
    int count = 0;
    for (auto match = std::sregex_iterator(header.begin(), header.end(), code); match != std::sregex_iterator();
         ++match, ++count) {
        EXPECT_EQ(tv_describeCode(std::stoi((*match)[1])), (*match)[2].str());
    }
    EXPECT_EQ(count, 24);
    EXPECT_STREQ(tv_getVersion(), TARNVELDE_VERSION);
}
