// What `run` and `check` say of a project that is good by its words and can't be right.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "jsontext.h"
#include "program.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// A day of 0.02 m3/s through a conduit of 20 m that water passes in three seconds.
static const char* const STEEP =
    "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:00:30\n"
    "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\nC1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n";

TEST(HostVerdict, CheckFindsTheConduitAheadOfTheRun) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", STEEP);
    const ProcessResult result = runProgram({"check", model});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, model + ": no errors, 1 serious warning\n");
    EXPECT_THAT(result.err, HasSubstr("SERIOUS W-step-conduit: C1: "));
    EXPECT_THAT(result.err, HasSubstr("at line 10 of [CONDUITS] section:\n"
                                      "  C1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6\n"
                                      "  ^^\n"
                                      "  what happens: "));
    EXPECT_THAT(result.err, HasSubstr("\n  what to do:   "));
}

TEST(HostVerdict, RunTellsWhereTheWaterWent) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.write("model.inp", STEEP)});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("SERIOUS W-run-emptied: C1 at 2024-06-18 00:00:30: "));
    EXPECT_THAT(result.err, EndsWith("tarnvelde: continuity errors: flow 100.000 % red: don't rely on the results "
                                     "before it is explained\n"
                                     "tarnvelde: 1728 m3 of 1728 m3 are in no account (flow), most at link C1 1728 m3\n"
                                     "tarnvelde: 2 serious warnings, 1 warning (tarnvelde explain NAME says what to "
                                     "do)\n"));
    EXPECT_THAT(result.err, Not(HasSubstr("what to do: ")));  // that is for a check
}

TEST(HostVerdict, QuietIsQuietAboutWhatIsGreenAlone) {
    TempFolder folder;
    EXPECT_EQ(runProgram({"run", folder.write("good.inp", GOOD_PROJECT), "--quiet"}).err, "");
    EXPECT_THAT(runProgram({"run", folder.write("bad.inp", STEEP), "--quiet"}).err,
                HasSubstr("continuity errors: flow 100.000 % red"));
}

TEST(HostVerdict, StrictTurnsDoubtIntoAStatus) {
    TempFolder folder;
    const std::string good = folder.write("good.inp", GOOD_PROJECT), steep = folder.write("steep.inp", STEEP);
    const std::string wrong = folder.write("wrong.inp", BAD_PROJECT);
    for (const char* command : {"run", "check"}) {
        EXPECT_EQ(runProgram({command, good, "--strict"}).status, 0) << command;
        EXPECT_EQ(runProgram({command, steep, "--strict"}).status, 3) << command;
        EXPECT_EQ(runProgram({command, steep}).status, 0) << command;
        EXPECT_EQ(runProgram({command, wrong, "--strict"}).status, 1) << command;
    }
}

TEST(HostVerdict, StrictFindsARedBalanceWithoutAWarning) {
    TempFolder folder;
    // A load into a node without water is counted in and never out.
    const std::string model = folder.write("model.inp",
                                           "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\n"
                                           "[JUNCTIONS]\nJ1\nJ2\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n"
                                           "C2 J2 O1 NO 0\n[POLLUTANTS]\nCOD 0\n[INFLOWS]\n"
                                           "J1 MASS COD 0.001 \"\" 0\nJ2 FLOW FLOW 0.1 \"\" 0\n");
    const ProcessResult result = runProgram({"run", model, "--strict"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, HasSubstr("quality of COD 100.000 % red"));
    EXPECT_THAT(result.err, HasSubstr("86.4 kg of 86.4 kg are in no account (quality of COD)"));
}

TEST(HostVerdict, BalancesNameThePlaceThatLosesALoad) {
    TempFolder folder;
    // Of what decays in a pipe the totals book about half.
    const std::string model =
        folder.write("model.inp",
                     "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\n"
                     "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 600 6 0.2 0\n"
                     "[POLLUTANTS]\nCOD 0\n[DECAY_COEFFICIENT]\nP1 LINK COD FIRST 20 \"\"\n"
                     "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN COD 100 \"\" 0\n");
    EXPECT_THAT(runProgram({"run", model}).err, HasSubstr("(quality of COD); --balances names the places\n"));
    EXPECT_THAT(runProgram({"run", model, "--balances"}).err, HasSubstr("(quality of COD), most at link P1 "));
    const ProcessResult json = runProgram({"run", model, "--balances", "--json"});
    EXPECT_TRUE(isJson(json.out)) << json.out;
    EXPECT_THAT(json.out, HasSubstr("{\"kind\": \"node\", \"id\": \"J1\""));
    EXPECT_THAT(json.out, HasSubstr("\"pollutants\": [{\"id\": \"COD\", \"initial\": 0, \"in\": 86"));
}

TEST(HostVerdict, BalancesHaveAllPlacesAndPollutants) {
    TempFolder folder;
    const std::string model =
        folder.write("model.inp",
                     "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/18\nEND_TIME 6:00\nROUTING_STEP 0:01:00\n"
                     "RUNOFF_STEP 0:05:00\n[RAINGAGES]\nG1 INTENSITY 1:00 RAIN\n[TIMESERIES]\nRAIN 2024/06/18 0:00 12 "
                     "2:00 0\n[SUBCATCHS]\nS1 G1 O1 1 100 50 1 0.01 0.1 1 3 50 6 4 5 0\n[OUTFALLS]\nO1\n"
                     "[LIDS]\nBARREL RB\nBARREL STORAGE 1000 1 0\n[LID_GROUPS]\nS1 BARREL 10 1 0 50\n"
                     "[JUNCTIONS]\nJ1\n[PIPES]\nP1 J1 O1 NO 600 6 0.2 0\n[POLLUTANTS]\nCOD 0\nNH4 1\n"
                     "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\n");
    const ProcessResult json = runProgram({"run", model, "--balances", "--json"});
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_TRUE(isJson(json.out)) << json.out;
    EXPECT_THAT(json.out, HasSubstr("{\"kind\": \"subcatchment\", \"id\": \"S1\""));
    EXPECT_THAT(json.out, HasSubstr("{\"kind\": \"LID unit\", \"id\": \"S1/BARREL\""));
    EXPECT_THAT(json.out, HasSubstr("{\"kind\": \"link\", \"id\": \"P1\""));
    EXPECT_THAT(json.out, testing::ContainsRegex("\"id\": \"P1\".*\"pollutants\": .\\{\"id\": \"COD\",[^}]*\\}, "
                                                 "\\{\"id\": \"NH4\","));
}

TEST(HostVerdict, JsonHasItAll) {
    TempFolder folder;
    const ProcessResult result =
        runProgram({"run", folder.write("model.inp", STEEP), "--json", "--balances", "--strict"});
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"status\": 3"));
    EXPECT_THAT(result.out, HasSubstr("\"counts\": {\"errors\": 0, \"serious\": 2, \"warnings\": 1, \"notes\": 0}"));
    EXPECT_THAT(result.out, HasSubstr("\"severity\": \"serious\""));
    EXPECT_THAT(result.out, HasSubstr("\"date\": \"2024-06-18 00:00:30\""));
    EXPECT_THAT(result.out, HasSubstr("{\"part\": \"flow\", "));
    EXPECT_THAT(result.out, HasSubstr("\"grade\": \"red\""));
    EXPECT_THAT(result.out, HasSubstr("\"causes\": [{\"kind\": \"link\", \"id\": \"C1\", "));
    EXPECT_THAT(result.out, HasSubstr("{\"kind\": \"node\", \"id\": \"J1\", \"initial\": 0, \"in\": 17"));
    EXPECT_THAT(runProgram({"run", folder.write("model.inp", STEEP), "--json"}).out, Not(HasSubstr("\"balances\"")));
}

TEST(HostVerdict, ManyOfAKindAreShownByAFewOfThem) {
    std::string project = STEEP;
    for (int k = 2; k <= 120; ++k) {
        const std::string n = std::to_string(k);
        project.append("[JUNCTIONS]\nJ").append(n).append("\n[CONDUITS]\nC").append(n).append(" J").append(n);
        project += " O1 NO 20 5 0.013 CIRCULAR 0.6\n";
    }
    TempFolder folder;
    const std::string model = folder.write("model.inp", project);
    const ProcessResult checked = runProgram({"check", model});
    EXPECT_THAT(checked.err, HasSubstr("SERIOUS W-step-conduit: C100: "));
    EXPECT_THAT(checked.err, Not(HasSubstr("SERIOUS W-step-conduit: C101: ")));
    EXPECT_THAT(checked.err, HasSubstr("SERIOUS W-step-conduit: 20 more of this kind\n"));
    const ProcessResult result = runProgram({"run", model});
    EXPECT_THAT(result.err, HasSubstr("SERIOUS W-step-conduit: C5: "));
    EXPECT_THAT(result.err, Not(HasSubstr("SERIOUS W-step-conduit: C6: ")));
    EXPECT_THAT(result.err, HasSubstr("W-step-conduit: 115 more\n"));
    EXPECT_THAT(checked.out, HasSubstr(": no errors, 120 serious warnings"));
}

TEST(HostVerdict, NotesOfARunAreNamedOnce) {
    // Nothing names the two curves, and nothing flows into J2.
    TempFolder folder;
    const std::string model = folder.write("model.inp", std::string(GOOD_PROJECT) +
                                                            "[JUNCTIONS]\nJ2\n[PIPES]\nP2 J2 O1 NO 300 1 0.2 0\n"
                                                            "[CURVES]\nA TANK 0 1 1 1\nB TANK 0 1 1 1\n");
    EXPECT_THAT(
        runProgram({"run", model}).err,
        HasSubstr("\ntarnvelde: 3 notes: W-node-idle, W-object-unused (tarnvelde explain NAME says what to do)\n"));
}

TEST(HostVerdict, ExplainTellsWhatAWarningMeans) {
    for (const char* name : {"W-step-conduit", "w-STEP-conduit", "step-conduit"}) {
        const ProcessResult result = runProgram({"explain", name});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, testing::StartsWith("W-step-conduit (serious warning)\n"));
        EXPECT_THAT(result.out, HasSubstr("\n  what to do    "));
        EXPECT_EQ(result.out.find("W-", 2), std::string::npos) << "one alone";
    }
    EXPECT_THAT(runProgram({"explain"}).out, HasSubstr("W-run-emptied"));
    const ProcessResult unknown = runProgram({"explain", "W-nothing"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.err, HasSubstr("no warning W-nothing"));
}

TEST(HostVerdict, WhatCameFromNowhereIsRed) {
    // One minute in five rains, which the balance of the land, at routing steps of five minutes, never sees.
    TempFolder folder;
    const std::string rain = "6:00 60 6:05 60 6:10 60 6:15 60";
    const ProcessResult result =
        runProgram({"run",
                    folder.write("model.inp",
                                 "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:05:00\n"
                                 "RUNOFF_STEP 0:05:00\n[RAINGAGES]\nG1 INTENSITY 0:01:00 RAIN\n[SUBCATCHS]\n"
                                 "S1 G1 O1 1 100 100 1 0.1 0.1 0.001 0.001 60 6 4 7 0\n[OUTFALLS]\nO1\n[TIMESERIES]\n"
                                 "RAIN 2024/06/18 " +
                                     rain + "\n"),
                    "--strict", "--json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, HasSubstr("continuity errors: runoff from nowhere red, flow 0.000 % green: don't rely on"));
    EXPECT_THAT(result.err, testing::ContainsRegex("tarnvelde: -[0-9.]+ m3 of 0 m3 are in no account"));
    EXPECT_THAT(result.out, HasSubstr("{\"part\": \"runoff\", \"in\": 0, \"missing\": -"));
}
