// The exchange with the model inside a SWMM node, seen through a test engine that writes down its calls.

#include <gtest/gtest.h>

#include <cmath>

#include "support/allkinds.h"

namespace {

class Swmm : public ::testing::Test {
protected:
    AllKinds project;
    double value = 77.0;

    void SetUp() override {
        project.start();
        project.takeCalls();
    }

    void expectCalls(const std::vector<std::string>& calls) { EXPECT_EQ(project.takeCalls(), calls); }
};

}  // namespace

TEST_F(Swmm, CallsGoThroughAsTheyAre) {
    char name[1025] = "";
    EXPECT_EQ(tarnvelde_setSwmmRainfall("SW", "RG", 12.5), 0);
    EXPECT_EQ(tarnvelde_getSwmmObjCount("SW", 1), 2);
    EXPECT_EQ(tarnvelde_getSwmmObjID("SW", 1, 1, name), 0);
    EXPECT_STREQ(name, "OUT");
    EXPECT_EQ(tarnvelde_getSwmmObjIndex("SW", 2, "R"), 0);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("SW", "R", &value), 0);
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(tarnvelde_getSwmmResult("SW", 2, "R", 1, &value), 0);
    EXPECT_EQ(value, 0.0);
    expectCalls({"a swmm_setRainfall \"RG\" 12.5 = 0", "a swmm_getObjCount 1 = 2", "a swmm_getObjID 1 1 = 0",
                 "a swmm_getObjIndex 2 \"R\" = 0", "a swmm_getCurrentSetting \"R\" = 0",
                 "a swmm_getResult 2 \"R\" 1 = 0 : 0"});
}

TEST_F(Swmm, ParametersGoThroughTheirOwnFunctions) {
    EXPECT_EQ(tarnvelde_setSwmmParam("SW", 0, "RG", 1, 1.5), 0);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 0, "RG", 1, &value), 0);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(tarnvelde_setSwmmNodeParam("SW", 1, "IN", 2, 2.5), 0);
    EXPECT_EQ(tarnvelde_getSwmmNodeParam("SW", 1, "IN", 2, &value), 0);
    EXPECT_EQ(value, 2.5);
    EXPECT_EQ(tarnvelde_setSwmmLinkParam("SW", 2, "R", 3, 3.5), 0);
    EXPECT_EQ(tarnvelde_getSwmmLinkParam("SW", 2, "R", 3, &value), 0);
    EXPECT_EQ(value, 3.5);
    EXPECT_EQ(tarnvelde_setSwmmNodeDepth("SW", "IN", 4.5), 0);
    EXPECT_EQ(tarnvelde_setSwmmLinkDepth("SW", "R", 5.5), 0);
    EXPECT_EQ(tarnvelde_setSwmmLinkFlow("SW", "R", 6.5), 0);
    expectCalls({"a swmm_setParam 0 \"RG\" 1 1.5 = 0", "a swmm_getParam 0 \"RG\" 1 = 0",
                 "a swmm_setNodeParam 1 \"IN\" 2 2.5 = 0", "a swmm_getNodeParam 1 \"IN\" 2 = 0",
                 "a swmm_setLinkParam 2 \"R\" 3 3.5 = 0", "a swmm_getLinkParam 2 \"R\" 3 = 0",
                 "a swmm_setNodeDepth \"IN\" 4.5 = 0", "a swmm_setLinkDepth \"R\" 5.5 = 0",
                 "a swmm_setLinkFlow \"R\" 6.5 = 0"});
}

TEST_F(Swmm, RefusalsOfTheEngineComeBackAndStoreNothing) {
    EXPECT_EQ(tarnvelde_getSwmmResult("SW", 9, "R", 1, &value), -1);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 1, "nobody", 0, &value), -1);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("SW", "nobody", &value), -1);
    EXPECT_EQ(tarnvelde_setSwmmRainfall("SW", "nobody", 1.0), -1);
    EXPECT_EQ(value, 77.0);
}

// T is the first of the tanks as SW is the first of the SWMM nodes.
TEST_F(Swmm, AnyNodeReachesTheEngineInItsPlace) {
    EXPECT_EQ(tarnvelde_getSwmmObjCount("T", 1), 2);
    EXPECT_EQ(tarnvelde_getSwmmObjCount("OS", 1), -1);  // the third outfall
}

TEST_F(Swmm, RequestsReachTheEngineInTheStepOnce) {
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "OUT", 0.5), 0);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "R", 0.25), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "OUT", "B", 0.125), 0);
    const std::string longName(3000, 'p');
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "OUT", longName.c_str(), 0.5), 0);
    expectCalls({"a swmm_isNode \"OUT\" = 1", "a swmm_isLink \"R\" = 0", "a swmm_isNode \"OUT\" = 1",
                 "a swmm_isNode \"OUT\" = 1"});
    project.step();
    const std::vector<std::string> calls = project.takeCalls("a swmm_set");
    const auto has = [&](const std::string& call) {
        return std::any_of(calls.begin(), calls.end(), [&](const std::string& c) { return c.rfind(call, 0) == 0; });
    };
    EXPECT_TRUE(has("a swmm_setExtInflow \"OUT\" 0.5 = 0"));
    EXPECT_TRUE(has("a swmm_setExtPollutLoad \"OUT\" \"B\" 0.125 = 0"));
    EXPECT_TRUE(has("a swmm_setExtPollutLoad \"OUT\" \"" + longName + "\" 0.5 = -1"));
    EXPECT_TRUE(has("a swmm_setSetting \"R\" 0.25 675 = 0"));
    project.step();
    for (const std::string& call : project.takeCalls("a swmm_set")) {
        EXPECT_EQ(call.find("\"OUT\""), std::string::npos) << call;
        EXPECT_EQ(call.find("swmm_setSetting"), std::string::npos) << call;
    }
}

TEST_F(Swmm, RefusedRequestsMakeNoCall) {
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "OUT", -0.5), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "R", -0.01), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "R", 1.01), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "OUT", "B", -0.5), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("nobody", "OUT", "B", 0.5), -1);
    expectCalls({});
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "R", 0.5), -1);  // no node
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "OUT", 0.5), -1);  // no link
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "R", "B", 0.5), -1);
}
