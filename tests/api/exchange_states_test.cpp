// The exchange functions where they can't work: without a project, with wrong names, with null pointers. Each call
// fails with -1, and nothing crashes; what works in an unusual state is tested as well.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "support/allkinds.h"

namespace {

using NamedCall = std::function<int32_t(const char* id)>;

/// A function that takes the ID of an object: its name, a good ID, an ID of a wrong kind (null where any kind goes),
/// and whether a good call returns 0 in an open project.
struct Entry {
    const char* name;
    const char* good;
    const char* wrong;
    NamedCall call;
    int32_t result = 0;
};

double Number;
int32_t Whole;
char Text[2048];

std::vector<Entry> getEntries() {
    return {
        {"setExtInflow", "J", nullptr, [](const char* id) { return tarnvelde_setExtInflow(id, 0.1); }},
        {"setExtLoad", "J", "T", [](const char* id) { return tarnvelde_setExtLoad(id, "", 0.1); }},
        {"setSplittedValue", "SP", "J", [](const char* id) { return tarnvelde_setSplittedValue(id, 0.1); }},
        {"setPumpFlow", "PU", "P", [](const char* id) { return tarnvelde_setPumpFlow(id, 0.1); }},
        {"setReactorEmptyingValue", "R", "T",
         [](const char* id) { return tarnvelde_setReactorEmptyingValue(id, 0.1); }},
        {"setWeirParams", "W", "OR", [](const char* id) { return tarnvelde_setWeirParams(id, 0, 2.0); }},
        {"setSetting", "W", nullptr, [](const char* id) { return tarnvelde_setSetting(id, 0.5); }},
        {"getSetting", "W", nullptr, [](const char* id) { return tarnvelde_getSetting(id, &Number); }},
        {"setTankDepth", "T", "R", [](const char* id) { return tarnvelde_setTankDepth(id, 0.5); }},
        {"setLinkFlow", "P", nullptr, [](const char* id) { return tarnvelde_setLinkFlow(id, 0.5); }},
        {"getNodeType", "J", nullptr, [](const char* id) { return tarnvelde_getNodeType(id, &Whole); }},
        {"getLinkType", "P", nullptr, [](const char* id) { return tarnvelde_getLinkType(id, &Whole); }},
        {"isInEvent", "G", nullptr, [](const char* id) { return tarnvelde_isInEvent(id) < 0 ? -1 : 0; }},
        {"findObject 0", "S", "J", [](const char* id) { return tarnvelde_findObject(0, id); }},
        {"findObject 1", "J", "P", [](const char* id) { return tarnvelde_findObject(1, id); }},
        {"findObject 2", "P", "T", [](const char* id) { return tarnvelde_findObject(2, id); }},
    };
}

std::vector<Entry> getSwmmEntries() {
    return {
        {"setSwmmRainfall", "SW", "", [](const char* id) { return tarnvelde_setSwmmRainfall(id, "RG", 1.0); }},
        {"getSwmmResult", "SW", "", [](const char* id) { return tarnvelde_getSwmmResult(id, 1, "IN", 4, &Number); }},
        {"getSwmmObjCount", "SW", "", [](const char* id) { return tarnvelde_getSwmmObjCount(id, 1); }, 2},
        {"getSwmmObjID", "SW", "", [](const char* id) { return tarnvelde_getSwmmObjID(id, 1, 0, Text); }},
        {"getSwmmObjIndex", "SW", "", [](const char* id) { return tarnvelde_getSwmmObjIndex(id, 1, "OUT"); }, 1},
        {"getSwmmCurrentSetting", "SW", "",
         [](const char* id) { return tarnvelde_getSwmmCurrentSetting(id, "R", &Number); }},
        {"getSwmmParam", "SW", "", [](const char* id) { return tarnvelde_getSwmmParam(id, 1, "IN", 0, &Number); }},
        {"setSwmmParam", "SW", "", [](const char* id) { return tarnvelde_setSwmmParam(id, 1, "IN", 0, 2.0); }},
        {"getSwmmNodeParam", "SW", "",
         [](const char* id) { return tarnvelde_getSwmmNodeParam(id, 1, "IN", 0, &Number); }},
        {"setSwmmNodeParam", "SW", "", [](const char* id) { return tarnvelde_setSwmmNodeParam(id, 1, "IN", 0, 2.0); }},
        {"getSwmmLinkParam", "SW", "",
         [](const char* id) { return tarnvelde_getSwmmLinkParam(id, 2, "R", 0, &Number); }},
        {"setSwmmLinkParam", "SW", "", [](const char* id) { return tarnvelde_setSwmmLinkParam(id, 2, "R", 0, 2.0); }},
        {"setSwmmNodeDepth", "SW", "", [](const char* id) { return tarnvelde_setSwmmNodeDepth(id, "IN", 1.0); }},
        {"setSwmmLinkDepth", "SW", "", [](const char* id) { return tarnvelde_setSwmmLinkDepth(id, "R", 1.0); }},
        {"setSwmmLinkFlow", "SW", "", [](const char* id) { return tarnvelde_setSwmmLinkFlow(id, "R", 1.0); }},
        {"setSwmmExtInflow", "SW", "", [](const char* id) { return tarnvelde_setSwmmExtInflow(id, "IN", 1.0); }},
        {"setSwmmSetting", "SW", "", [](const char* id) { return tarnvelde_setSwmmSetting(id, "R", 0.5); }},
        {"setSwmmExtLoad", "SW", "", [](const char* id) { return tarnvelde_setSwmmExtLoad(id, "IN", "B", 1.0); }},
    };
}

std::vector<Entry> getAllEntries() {
    std::vector<Entry> entries = getEntries();
    for (const Entry& entry : getSwmmEntries()) {
        entries.push_back(entry);
    }
    return entries;
}

/// Parameters and results of every code, wanted with an ID.
void expectNoRows(const char* id) {
    for (int32_t object = -1; object <= 14; ++object) {
        for (int32_t code = -1; code <= 15; ++code) {
            double value = 77.0;
            EXPECT_EQ(tarnvelde_getParam(object, id, code, &value), -1) << object << " " << code;
            EXPECT_EQ(tarnvelde_setParam(object, id, code, 1.0), -1) << object << " " << code;
            EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), -1) << object << " " << code;
            EXPECT_EQ(value, 77.0) << object << " " << code;
        }
    }
}

void expectNothingWorks() {
    for (const Entry& entry : getAllEntries()) {
        EXPECT_EQ(entry.call(entry.good), -1) << entry.name;
    }
    for (const CodedObject& object : CODED_OBJECTS) {
        expectNoRows(object.id);
    }
    double start = 7.0, end = 8.0;
    EXPECT_EQ(tarnvelde_getDateTime(&start, &end), -1);
    EXPECT_EQ(tarnvelde_getRoutingStep(&start), -1);
    EXPECT_EQ(start, 7.0);
    EXPECT_EQ(end, 8.0);
    double errors[3] = {1.0, 2.0, 3.0};
    EXPECT_EQ(tarnvelde_getMassBalErr(&errors[0], &errors[1], &errors[2]), 0);
    for (const double error : errors) {
        EXPECT_EQ(error, 0.0);
    }
}

void expectAllWork(const std::vector<Entry>& entries) {
    for (const Entry& entry : entries) {
        EXPECT_EQ(entry.call(entry.good), entry.result) << entry.name;
    }
}

}  // namespace

TEST(ExchangeStates, NothingWorksBeforeAnOpen) {
    tarnvelde_close();
    expectNothingWorks();
}

TEST(ExchangeStates, NothingWorksAfterAClose) {
    AllKinds project;
    project.start();
    project.step(2);
    tarnvelde_close();
    expectNothingWorks();
}

TEST(ExchangeStates, NothingWorksAfterAnOpenThatFoundNoFile) {
    TempFolder folder;
    const std::string input = folder.file("none.inp"), report = folder.file("m.rpt"), results = folder.file("m.bin");
    EXPECT_EQ(tarnvelde_open(input.c_str(), report.c_str(), results.c_str()), 303);
    expectNothingWorks();
    tarnvelde_close();
}

TEST(ExchangeStates, NamesWithoutTablesAreUnknownAfterAFailedFirstPass) {
    // A name given twice ends the reading before any table is made, though the names are known by then.
    CoupledProject project(AllKindsText + "[JUNCTIONS]\nJ\n", ALL_KINDS_STEPS);
    EXPECT_EQ(project.open(), 200);
    for (const Entry& entry : getAllEntries()) {
        EXPECT_EQ(entry.call(entry.good), -1) << entry.name;
    }
    for (const CodedObject& object : CODED_OBJECTS) {
        expectNoRows(object.id);
    }
}

TEST(ExchangeStates, CallsAfterAFailedOpenDoNoHarm) {
    CoupledProject project(AllKindsText + "[PIPES]\nwrong\n", ALL_KINDS_STEPS);
    EXPECT_NE(project.open(), 0);
    for (const Entry& entry : getAllEntries()) {
        const int32_t result = entry.call(entry.good);
        EXPECT_TRUE(result >= -1) << entry.name;
    }
    for (const CodedObject& object : CODED_OBJECTS) {
        for (int32_t code = -1; code <= 15; ++code) {
            tarnvelde_getParam(object.code, object.id, code, &Number);
            tarnvelde_getResult(object.code, object.id, code, &Number);
            tarnvelde_setParam(object.code, object.id, code, 1.0);
        }
    }
    double start = -1.0, end = -1.0;
    EXPECT_EQ(tarnvelde_getDateTime(&start, &end), 0);  // the project counts as open
    EXPECT_GE(start, 0.0);
    EXPECT_GE(end, 0.0);
}

TEST(ExchangeStates, AllWorkBeforeTheStart) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0) << project.getReport();
    expectAllWork(getEntries());
    for (const CodedObject& object : CODED_OBJECTS) {
        for (int32_t code = 0; code < object.resultCount; ++code) {
            Number = NAN;
            tarnvelde_getResult(object.code, object.id, code, &Number);
            const bool isQuality = tarnvelde_getResult(object.code, object.id, code, &Number) == 0;
            EXPECT_TRUE(isQuality || !std::isnan(Number)) << object.id << " " << code;
        }
    }
}

TEST(ExchangeStates, AllWorkInARunAndAfterItsEnd) {
    AllKinds project;
    project.start();
    project.step();
    expectAllWork(getAllEntries());
    ASSERT_EQ(tarnvelde_end(), 0);
    expectAllWork(getEntries());
    for (const CodedObject& object : CODED_OBJECTS) {
        for (int32_t code = -1; code <= object.resultCount; ++code) {
            tarnvelde_getResult(object.code, object.id, code, &Number);
        }
    }
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.step();
    expectAllWork(getAllEntries());
}

TEST(ExchangeStates, CallsNeverTouchTheCurrentError) {
    AllKinds project;
    project.start();
    for (const Entry& entry : getAllEntries()) {
        entry.call(nullptr);
        entry.call("nobody");
    }
    double days;
    EXPECT_EQ(tarnvelde_step(&days), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
}

TEST(ExchangeNames, NullEmptyAndUnknownNamesFail) {
    AllKinds project;
    project.start();
    for (const Entry& entry : getAllEntries()) {
        EXPECT_EQ(entry.call(nullptr), -1) << entry.name;
        EXPECT_EQ(entry.call(""), -1) << entry.name;
        EXPECT_EQ(entry.call("nobody"), -1) << entry.name;
        EXPECT_EQ(entry.call(std::string(5000, 'x').c_str()), -1) << entry.name;
    }
    expectNoRows(nullptr);
    expectNoRows("");
    expectNoRows("nobody");
}

TEST(ExchangeNames, CaseOfLettersDoesntMatter) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_findObject(1, "sp"), tarnvelde_findObject(1, "SP"));
    EXPECT_EQ(tarnvelde_setSplittedValue("sP", 0.1), 0);
}

TEST(ExchangeNames, OfAWrongKindFail) {
    AllKinds project;
    project.start();
    for (const Entry& entry : getEntries()) {
        if (entry.wrong) {
            EXPECT_EQ(entry.call(entry.wrong), -1) << entry.name;
        }
    }
}

TEST(ExchangeNames, OfAnotherKindHaveNoParametersAndResults) {
    AllKinds project;
    project.start();
    for (const CodedObject& wanted : CODED_OBJECTS) {
        for (const CodedObject& object : CODED_OBJECTS) {
            double value = 77.0;
            if (object.code != wanted.code) {
                EXPECT_EQ(tarnvelde_getParam(wanted.code, object.id, 0, &value), -1) << wanted.code << object.id;
                EXPECT_EQ(tarnvelde_getResult(wanted.code, object.id, 0, &value), -1) << wanted.code << object.id;
                EXPECT_EQ(value, 77.0) << wanted.code << object.id;
            }
        }
    }
}

TEST(ExchangeNull, OutPointersFailAndStoreNothing) {
    AllKinds project;
    project.start();
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getDateTime(nullptr, &value), -1);
    EXPECT_EQ(tarnvelde_getDateTime(&value, nullptr), -1);
    EXPECT_EQ(value, 77.0);
    EXPECT_EQ(tarnvelde_getRoutingStep(nullptr), -1);
    EXPECT_EQ(tarnvelde_getSetting("W", nullptr), -1);
    EXPECT_EQ(tarnvelde_getNodeType("J", nullptr), -1);
    EXPECT_EQ(tarnvelde_getLinkType("P", nullptr), -1);
    for (const CodedObject& object : CODED_OBJECTS) {
        EXPECT_EQ(tarnvelde_getParam(object.code, object.id, 0, nullptr), -1);
        EXPECT_EQ(tarnvelde_getResult(object.code, object.id, 0, nullptr), -1);
        EXPECT_EQ(tarnvelde_getResult(object.code, object.id, object.resultCount - 1, nullptr), -1);
    }
    EXPECT_EQ(tarnvelde_getSwmmResult("SW", 1, "IN", 4, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmObjID("SW", 1, 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("SW", "R", nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 1, "IN", 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmNodeParam("SW", 1, "IN", 0, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmLinkParam("SW", 2, "R", 0, nullptr), -1);
}

TEST(ExchangeNull, MassBalanceErrorsSkipTheNullOnes) {
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getMassBalErr(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(nullptr, &value, nullptr), 0);
    EXPECT_EQ(value, 0.0);
}

TEST(ExchangeNull, SecondNamesFail) {
    AllKinds project;
    project.start();
    EXPECT_EQ(tarnvelde_setExtLoad("J", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmRainfall("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmResult("SW", 1, nullptr, 4, &Number), -1);
    EXPECT_EQ(tarnvelde_getSwmmObjIndex("SW", 1, nullptr), -1);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("SW", nullptr, &Number), -1);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 1, nullptr, 0, &Number), -1);
    EXPECT_EQ(tarnvelde_setSwmmParam("SW", 1, nullptr, 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmNodeParam("SW", 1, nullptr, 0, &Number), -1);
    EXPECT_EQ(tarnvelde_setSwmmNodeParam("SW", 1, nullptr, 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmLinkParam("SW", 2, nullptr, 0, &Number), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkParam("SW", 2, nullptr, 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmNodeDepth("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkDepth("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkFlow("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", nullptr, "B", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "IN", nullptr, 1.0), -1);
}
