// The host's calls into the models of SWMM nodes, through the public header alone.

#include <gtest/gtest.h>

#include <functional>

#include "support/engines.h"
#include "tarnvelde.h"

using Strings = std::vector<std::string>;

/// A SWMM node S, and a junction J that stands first among its kind as S does.
static const std::string Project =
    "[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J S NO 0\nE K S NO 0\nD S O NO 0\n[SWMM_INPS]\nS m.inp "
    "NO\nINFLOW IN C\n"
    "OUTFLOW OUT D\n";

static const std::string Model = "gage G IN 3600\n";

struct Exchange : testing::Test {
    CoupledProject p{Project, 4};
    double value = -7.0;
    char text[1025] = "untouched";

    void SetUp() override {
        p.model("m.inp", getPassingModel(4, Model));
        p.start();
        p.takeCalls();
    }

    /// Expects the result of a call, and the one call of the engine.
    void expectCall(int32_t result, int32_t expected, const std::string& call) {
        EXPECT_EQ(result, expected) << call;
        EXPECT_EQ(p.takeCalls(), Strings{"m " + call});
    }
};

TEST_F(Exchange, PassesValuesOn) {
    expectCall(tarnvelde_setSwmmRainfall("S", "G", 12.5), 0, "swmm_setRainfall \"G\" 12.5 = 0");
    expectCall(tarnvelde_setSwmmParam("S", 1, "IN", 3, 2.5), 0, "swmm_setParam 1 \"IN\" 3 2.5 = 0");
    expectCall(tarnvelde_setSwmmNodeParam("S", 1, "IN", 4, -1.5), 0, "swmm_setNodeParam 1 \"IN\" 4 -1.5 = 0");
    expectCall(tarnvelde_setSwmmLinkParam("S", 2, "R", 5, 0.5), 0, "swmm_setLinkParam 2 \"R\" 5 0.5 = 0");
    expectCall(tarnvelde_setSwmmNodeDepth("S", "OUT", 1.5), 0, "swmm_setNodeDepth \"OUT\" 1.5 = 0");
    expectCall(tarnvelde_setSwmmLinkDepth("S", "R", 0.25), 0, "swmm_setLinkDepth \"R\" 0.25 = 0");
    expectCall(tarnvelde_setSwmmLinkFlow("S", "R", 0.75), 0, "swmm_setLinkFlow \"R\" 0.75 = 0");
}

TEST_F(Exchange, BringsValuesBack) {
    tarnvelde_setSwmmParam("S", 1, "IN", 3, 2.5);
    tarnvelde_setSwmmLinkFlow("S", "R", 0.75);
    p.takeCalls();
    expectCall(tarnvelde_getSwmmParam("s", 1, "IN", 3, &value), 0, "swmm_getParam 1 \"IN\" 3 = 0");
    EXPECT_EQ(value, 2.5);
    expectCall(tarnvelde_getSwmmNodeParam("S", 1, "IN", 3, &value), 0, "swmm_getNodeParam 1 \"IN\" 3 = 0");
    EXPECT_EQ(value, 2.5);
    expectCall(tarnvelde_getSwmmLinkParam("S", 2, "R", 7, &value), 0, "swmm_getLinkParam 2 \"R\" 7 = 0");
    EXPECT_EQ(value, 0.75);
    expectCall(tarnvelde_getSwmmCurrentSetting("S", "R", &value), 0, "swmm_getCurrentSetting \"R\" = 0");
    EXPECT_EQ(value, 1.0);
    expectCall(tarnvelde_getSwmmResult("S", 1, "OUT", 4, &value), 0, "swmm_getResult 1 \"OUT\" 4 = 0 : 0");
    EXPECT_EQ(value, 0.0);
    expectCall(tarnvelde_getSwmmObjCount("S", 1), 2, "swmm_getObjCount 1 = 2");
    expectCall(tarnvelde_getSwmmObjIndex("S", 1, "OUT"), 1, "swmm_getObjIndex 1 \"OUT\" = 1");
    expectCall(tarnvelde_getSwmmObjID("S", 1, 1, text), 0, "swmm_getObjID 1 1 = 0");
    EXPECT_STREQ(text, "OUT");
}

TEST_F(Exchange, HandsBackWhatTheEngineSays) {
    expectCall(tarnvelde_getSwmmResult("S", 1, "X", 4, &value), -1, "swmm_getResult 1 \"X\" 4 = -1");
    EXPECT_EQ(value, -7.0);
    expectCall(tarnvelde_getSwmmObjID("S", 9, 0, text), -1, "swmm_getObjID 9 0 = -1");
    EXPECT_STREQ(text, "untouched");
    expectCall(tarnvelde_getSwmmObjCount("S", -1), -1, "swmm_getObjCount -1 = -1");
    expectCall(tarnvelde_setSwmmRainfall("S", "X", 1.0), -1, "swmm_setRainfall \"X\" 1 = -1");
}

TEST_F(Exchange, RainReachesTheModel) {
    // 1000 mm/h on 3600 m2 is 1 m3/s.
    ASSERT_EQ(tarnvelde_setSwmmRainfall("S", "G", 1000.0), 0);
    p.step();
    ASSERT_EQ(tarnvelde_getSwmmResult("S", 1, "OUT", 4, &value), 0);
    EXPECT_NEAR(value, 1.0, 1e-12);
}

TEST_F(Exchange, ANodeOfAnotherKindReachesTheEngineInItsPlace) {
    expectCall(tarnvelde_getSwmmObjCount("J", 1), 2, "swmm_getObjCount 1 = 2");
    EXPECT_EQ(tarnvelde_getSwmmObjCount("K", 1), -1);  // second among its kind: there is no second engine
    EXPECT_TRUE(p.takeCalls().empty());
}

// --- refused calls -------------------------------------------------------------------------------------------------

/// All fifteen functions with a node and the ID of an object.
static std::vector<std::function<int32_t(const char*, const char*)>> listForwarders(double* value, char* text) {
    return {
        [=](const char* node, const char* id) { return tarnvelde_setSwmmRainfall(node, id, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmResult(node, 1, id, 4, value); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmObjIndex(node, 1, id); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmCurrentSetting(node, id, value); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmParam(node, 1, id, 0, value); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmParam(node, 1, id, 0, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmNodeParam(node, 1, id, 0, value); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmNodeParam(node, 1, id, 0, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_getSwmmLinkParam(node, 2, id, 0, value); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmLinkParam(node, 2, id, 0, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmNodeDepth(node, id, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmLinkDepth(node, id, 1.0); },
        [=](const char* node, const char* id) { return tarnvelde_setSwmmLinkFlow(node, id, 1.0); },
        [=](const char* node, const char* id) { return id ? tarnvelde_getSwmmObjCount(node, 1) : -1; },
        [=](const char* node, const char* id) { return id ? tarnvelde_getSwmmObjID(node, 1, 0, text) : -1; },
    };
}

static std::vector<std::function<int32_t(const char*, const char*)>> listQueues() {
    return {
        [](const char* node, const char* id) { return tarnvelde_setSwmmExtInflow(node, id, 1.0); },
        [](const char* node, const char* id) { return tarnvelde_setSwmmSetting(node, id, 1.0); },
        [](const char* node, const char* id) { return tarnvelde_setSwmmExtLoad(node, id, "A", 1.0); },
    };
}

TEST_F(Exchange, RefusesUnknownNodesAndNullTexts) {
    auto calls = listForwarders(&value, text);
    for (const auto& queue : listQueues()) {
        calls.push_back(queue);
    }
    ASSERT_EQ(calls.size(), 18u);
    for (const auto& call : calls) {
        EXPECT_EQ(call("none", "IN"), -1);
        EXPECT_EQ(call("", "IN"), -1);
        EXPECT_EQ(call(nullptr, "IN"), -1);
        EXPECT_EQ(call("K", "IN"), -1);
        EXPECT_EQ(call("S", nullptr), -1);
    }
    EXPECT_TRUE(p.takeCalls().empty());
    EXPECT_EQ(value, -7.0);
    EXPECT_STREQ(text, "untouched");
}

TEST_F(Exchange, RefusesNullResults) {
    EXPECT_EQ(tarnvelde_getSwmmResult("S", 1, "IN", 4, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("S", "R", nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmParam("S", 1, "IN", 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmNodeParam("S", 1, "IN", 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmLinkParam("S", 2, "R", 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmObjID("S", 1, 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("S", "IN", nullptr, 1.0), -1);
    EXPECT_TRUE(p.takeCalls().empty());
}

TEST_F(Exchange, OfAClosedProjectIsRefused) {
    auto calls = listForwarders(&value, text);
    for (const auto& queue : listQueues()) {
        calls.push_back(queue);
    }
    tarnvelde_close();
    p.takeCalls();
    for (const auto& call : calls) {
        EXPECT_EQ(call("S", "IN"), -1);
    }
    EXPECT_TRUE(p.takeCalls().empty());
}

TEST_F(Exchange, NeverTouchesTheCurrentError) {
    tarnvelde_setSwmmExtInflow("none", "IN", 1.0);
    tarnvelde_getSwmmResult("S", 1, "X", 4, &value);
    double elapsed;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
}

// --- requests ------------------------------------------------------------------------------------------------------

TEST_F(Exchange, QueuesAskTheEngineOnceAndInOrder) {
    expectCall(tarnvelde_setSwmmExtInflow("S", "IN", 0.0), 0, "swmm_isNode \"IN\" = 0");
    expectCall(tarnvelde_setSwmmExtInflow("S", "R", 1.0), -1, "swmm_isNode \"R\" = -1");
    expectCall(tarnvelde_setSwmmSetting("S", "R", 1.0), 0, "swmm_isLink \"R\" = 0");
    expectCall(tarnvelde_setSwmmSetting("S", "IN", 1.0), -1, "swmm_isLink \"IN\" = -1");
    expectCall(tarnvelde_setSwmmExtLoad("S", "IN", "", 1.0), 0, "swmm_isNode \"IN\" = 0");
    expectCall(tarnvelde_setSwmmExtLoad("S", "X", "A", 1.0), -1, "swmm_isNode \"X\" = -1");
}

TEST_F(Exchange, QueuesRefuseValuesWithoutACall) {
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", -1e-9), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("S", "R", -1e-9), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("S", "R", 1.0 + 1e-9), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("S", "IN", "A", -1e-9), -1);
    EXPECT_TRUE(p.takeCalls().empty());
    const double nan = std::strtod("nan", nullptr);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", nan), 0);  // no number is neither below 0 nor above 1
    EXPECT_EQ(tarnvelde_setSwmmSetting("S", "R", nan), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", -0.0), 0);
}

TEST_F(Exchange, QueuesKeepCopiesOfTextsOfAnyLength) {
    std::string pollutant(100000, 'p');
    std::string object = "IN";
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", object.c_str(), pollutant.c_str(), 0.5), 0);
    const std::string expected = "m swmm_setExtPollutLoad \"IN\" \"" + pollutant + "\" 0.5 = -1";
    object.assign("XX");
    pollutant.assign(pollutant.size(), 'q');
    p.takeCalls();
    p.step();
    EXPECT_EQ(p.takeCalls().at(0), expected);
}

TEST_F(Exchange, ManyRequestsLeaveNothingBehind) {
    for (int k = 0; k < 20000; ++k) {
        ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", 1.0), 0);
    }
    tarnvelde_close();
}

// --- engines that failed -------------------------------------------------------------------------------------------

TEST(ExchangeWithoutEngine, IsAnsweredByStandIns) {
    CoupledProject p(Project);
    p.model("m.inp", getPassingModel(4));
    std::filesystem::create_directories(p.path + "engines/swmm5ex.dll");  // there, but no file to copy
    tarnvelde_initSwmmDll((p.path + "engines/").c_str(), p.copies.c_str());
    EXPECT_NE(p.open(), 0);
    double value = -7.0;
    char text[1025] = "untouched";
    for (const auto& call : listForwarders(&value, text)) {
        EXPECT_EQ(call("S", "IN"), -1);
    }
    for (const auto& call : listQueues()) {
        EXPECT_EQ(call("S", "IN"), -1);
    }
    EXPECT_EQ(value, -7.0);
    EXPECT_STREQ(text, "untouched");
}

TEST(ExchangeAfterAFailedStart, GoesOn) {
    CoupledProject p(Project);
    p.model("m.inp", getPassingModel(4, "refuse swmm_start 1\n"));
    ASSERT_EQ(p.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 239);
    EXPECT_EQ(tarnvelde_getSwmmObjCount("S", 2), 1);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", 1.0), 0);
}
