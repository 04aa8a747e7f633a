// What stays of the host's values before a start, after an end, and in a second run.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/allkinds.h"

namespace {

double result(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    tarnvelde_getResult(object, id, code, &value);
    return value;
}

}  // namespace

// --- SWMM nodes: the engine is there from the open to the close ----------------------------------------------------

TEST(SwmmStates, TheEngineAnswersBeforeTheStartAndAfterTheEnd) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getSwmmObjCount("SW", 1), 2);
    EXPECT_EQ(tarnvelde_setSwmmParam("SW", 0, "RG", 1, 1.5), 0);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 0, "RG", 1, &value), 0);
    EXPECT_EQ(value, 1.5);
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.step();
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_getSwmmObjCount("SW", 1), 2);
    EXPECT_EQ(tarnvelde_getSwmmObjIndex("SW", 1, "OUT"), 1);
    tarnvelde_close();
    EXPECT_EQ(tarnvelde_getSwmmObjCount("SW", 1), -1);
}

TEST(SwmmStates, RequestsBeforeTheStartWaitForTheFirstStep) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "OUT", 0.5), 0);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "R", 0.25), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "OUT", "B", 0.125), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.takeCalls();
    project.step();
    const std::vector<std::string> calls = project.takeCalls("a swmm_set");
    const auto has = [&](const std::string& beginning) {
        return std::any_of(calls.begin(), calls.end(),
                           [&](const std::string& c) { return c.rfind(beginning, 0) == 0; });
    };
    EXPECT_TRUE(has("a swmm_setExtInflow \"OUT\" 0.5 "));
    EXPECT_TRUE(has("a swmm_setSetting \"R\" 0.25 "));
    EXPECT_TRUE(has("a swmm_setExtPollutLoad \"OUT\" \"B\" 0.125 "));
}

// --- flows and depths ----------------------------------------------------------------------------------------------

TEST(ReactorRate, StaysInTheNextRun) {
    AllKinds project;
    project.start();
    ASSERT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.02), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(tarnvelde_setExtInflow("R", 0.2), 0);
        project.step();
    }
    EXPECT_NEAR(result(6, "R", 7), 0.02, 1e-15);
}

// A host's setting before the start is undone by it, for links of all kinds; so is the splitter's value.
TEST(StatesBeforeTheStart, AreUndoneByIt) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    for (const char* id : {"P", "PU", "C", "D", "W", "OR"}) {
        ASSERT_EQ(tarnvelde_setSetting(id, 0.25), 0);
        ASSERT_EQ(tarnvelde_setLinkFlow(id, 0.5), 0);
    }
    ASSERT_EQ(tarnvelde_setSplittedValue("SP", 0.4), 0);
    ASSERT_EQ(tarnvelde_setPumpFlow("PU", 0.01), 0);
    ASSERT_EQ(tarnvelde_setTankDepth("T", 5.0), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    for (const char* id : {"P", "PU", "C", "D", "W", "OR"}) {
        double setting = NAN;
        EXPECT_EQ(tarnvelde_getSetting(id, &setting), 0);
        EXPECT_EQ(setting, 1.0) << id;
    }
    EXPECT_EQ(result(8, "P", 2), 0.0);
    EXPECT_EQ(result(10, "C", 1), 0.0);
    EXPECT_EQ(result(3, "T", 0), 1.0);
    ASSERT_EQ(tarnvelde_setSetting("OR", 0.0), 0);
    ASSERT_EQ(tarnvelde_setExtInflow("SP", 0.5), 0);
    project.step();
    EXPECT_EQ(result(5, "SP", 2), 0.2);
    EXPECT_NEAR(result(9, "PU", 0), 0.05, 1e-15);
}

// --- parameters ----------------------------------------------------------------------------------------------------

TEST(ParamsOfStates, WorkInARunAndBehindItsEnd) {
    AllKinds project;
    project.start();
    project.step();
    ASSERT_EQ(tarnvelde_end(), 0);
    for (const CodedObject& object : CODED_OBJECTS) {
        for (int32_t code = 0; code < object.parameterCount; ++code) {
            if (object.code == TARNVELDE_PIPE && code == 0) {
                continue;
            }
            const int32_t expected = object.code == TARNVELDE_PUMP ? -1 : 0;
            double value = NAN;
            EXPECT_EQ(tarnvelde_setParam(object.code, object.id, code, 2.0), expected) << object.id << code;
            EXPECT_EQ(tarnvelde_getParam(object.code, object.id, code, &value), expected) << object.id << code;
            EXPECT_NEAR(value, object.code == 1 && code == 11 ? 0.5 : 2.0, 1e-12) << object.id << code;
        }
    }
}

TEST(ParamsOfKinds, AreNotSetForObjectsOfAnotherKind) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    for (const int32_t wanted : {TARNVELDE_SUBCATCHMENT, TARNVELDE_TANK, TARNVELDE_SPLITTER}) {
        for (const CodedObject& object : CODED_OBJECTS) {
            if (object.code != wanted) {
                EXPECT_EQ(tarnvelde_setParam(wanted, object.id, 0, 1.0), -1) << wanted << object.id;
            }
        }
    }
}

// --- continuity errors ---------------------------------------------------------------------------------------------

// The tank holds 10 kg of A, and the host doubles its water: -100 %. Of B the pipe loses what comes in the second of
// two steps: 50 %. The figure held keeps its sign, so that any later error is above one below 0.
TEST(BalanceErrorsOfPollutants, AreToldByTheLastAboveTheFigureHeld) {
    Project file(getGeneral(2) +
                 "[JUNCTIONS]\nJ\n[TANKS]\nT SHAPE 10 1\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 60 1 0 0\n"
                 "[WEIRS]\nW T O NO RECTANGULAR 1.86 1 9 0\n[CURVES]\nSHAPE TANK 0 1000 20 1000\n"
                 "[POLLUTANTS]\nA 0\nB 0\n[INITIAL_CONCENTRATION]\nT x A 10\n"
                 "[INFLOWS]\nJ FLOW FLOW 0.3 \"\" 1\nJ MASS B 0.003 \"\" 1\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setTankDepth("T", 2.0), 0);
    double days = 0.0, quality = 77.0;
    ASSERT_EQ(tarnvelde_step(&days), 0);
    ASSERT_EQ(tarnvelde_step(&days), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(nullptr, nullptr, &quality), 0);
    EXPECT_NEAR(quality, 50.0, 1e-9);
}
