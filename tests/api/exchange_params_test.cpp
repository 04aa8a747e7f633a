// Parameters by number: each row with its value and unit, as the project file says it, both ways; the oddities of
// drying time, pipes and pumps; and the test of kinds for links.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "support/allkinds.h"

namespace {

struct Row {
    int32_t object;
    const char* id;
    int32_t code;
    double inFile;  ///< as the project file says it, in the unit of the table
};

/// Rows that a host reads as the file gives them.
const Row PLAIN_ROWS[] = {
    {1, "S", 0, 1.0},   {1, "S", 1, 100.0}, {1, "S", 2, 50.0},   {1, "S", 3, 2.0},           {1, "S", 4, 0.01},
    {1, "S", 5, 0.1},   {1, "S", 6, 1.0},   {1, "S", 7, 3.0},    {1, "S", 8, 50.0 / 3600.0}, {1, "S", 9, 6.0 / 3600.0},
    {1, "S", 10, 4.0},  {1, "S", 12, 30.0}, {3, "T", 0, 10.0},   {3, "T", 1, 1.0},           {5, "SP", 0, 2.0},
    {5, "SP", 1, 0.2},  {5, "SP", 2, 0.0},  {8, "P", 1, 1.0},    {8, "P", 2, 0.0},           {8, "P", 3, 0.0},
    {10, "C", 0, 0.0},  {11, "D", 0, 1.0},  {11, "D", 1, 2.0},   {11, "D", 2, 3.0},          {12, "W", 0, 0.0},
    {12, "W", 1, 1.86}, {12, "W", 2, 6.0},  {12, "W", 3, 50.0},  {12, "W", 4, 0.4},          {13, "OR", 0, 1.0},
    {13, "OR", 1, 0.3}, {13, "OR", 2, 0.2}, {13, "OR", 3, 0.62}, {13, "OR", 4, 0.0}};

bool isWhole(const Row& row) {
    return (row.object == 8 && row.code == 1) ||
           (row.object != 1 && row.object != 3 && row.object != 10 && row.code == 0);
}

double get(int32_t object, const char* id, int32_t code, int32_t result = 0) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getParam(object, id, code, &value), result) << object << " " << id << " " << code;
    return value;
}

class Params : public ::testing::Test {
protected:
    AllKinds project;

    void SetUp() override { ASSERT_EQ(project.open(), 0) << project.getReport(); }
};

}  // namespace

TEST_F(Params, AreReadInTheUnitsOfTheTable) {
    for (const Row& row : PLAIN_ROWS) {
        EXPECT_NEAR(get(row.object, row.id, row.code), row.inFile, 1e-12 * row.inFile) << row.id << " " << row.code;
    }
}

TEST_F(Params, AreReadBackAsTheyWereSet) {
    for (const Row& row : PLAIN_ROWS) {
        const double value = isWhole(row) ? 2.0 : 12.375;
        EXPECT_EQ(tarnvelde_setParam(row.object, row.id, row.code, value), 0) << row.id << " " << row.code;
        EXPECT_NEAR(get(row.object, row.id, row.code), value, 1e-12 * value) << row.id << " " << row.code;
    }
}

TEST_F(Params, AreNotChecked) {
    for (const Row& row : PLAIN_ROWS) {
        EXPECT_EQ(tarnvelde_setParam(row.object, row.id, row.code, -3.0), 0) << row.id << " " << row.code;
        EXPECT_NEAR(get(row.object, row.id, row.code), -3.0, 1e-12) << row.id << " " << row.code;
    }
}

TEST_F(Params, ThatAreWholeAreTruncated) {
    for (const Row& row : PLAIN_ROWS) {
        if (isWhole(row)) {
            const double cases[][2] = {{2.9, 2.0}, {-2.9, -2.0}, {NAN, INT_MIN}, {1e10, INT_MIN}, {-1e10, INT_MIN}};
            for (const auto& pair : cases) {
                EXPECT_EQ(tarnvelde_setParam(row.object, row.id, row.code, pair[0]), 0);
                EXPECT_EQ(get(row.object, row.id, row.code), pair[1]) << row.id << " " << pair[0];
            }
        }
    }
}

TEST_F(Params, DryingTimeIsReadAsItsReciprocal) {
    EXPECT_NEAR(get(1, "S", 11), 1.0 / 5.0, 1e-14);
    EXPECT_EQ(tarnvelde_setParam(1, "S", 11, 4.0), 0);
    EXPECT_NEAR(get(1, "S", 11), 1.0 / 4.0, 1e-14);
    EXPECT_EQ(tarnvelde_setParam(1, "S", 11, 0.0), 0);
    EXPECT_TRUE(std::isinf(get(1, "S", 11)));
}

TEST_F(Params, PipeKIsSetAndNeverRead) {
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getParam(8, "P", 0, &value), 0);
    EXPECT_EQ(value, 77.0);
    EXPECT_EQ(tarnvelde_setParam(8, "P", 0, 2700.0), 0);
    EXPECT_EQ(tarnvelde_getParam(8, "P", 0, &value), 0);
    EXPECT_EQ(value, 77.0);
    EXPECT_EQ(tarnvelde_getParam(8, "C", 0, &value), -1);  // no pipe
}

TEST_F(Params, PumpsMoveTheValueAndFail) {
    EXPECT_EQ(get(9, "PU", 0, -1), 1.0);
    for (int32_t code = 0; code < 3; ++code) {
        EXPECT_EQ(tarnvelde_setParam(9, "PU", code, 1.5 + code), -1);
        EXPECT_EQ(get(9, "PU", code, -1), 1.5 + code);
    }
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getParam(9, "PU", 3, &value), -1);
    EXPECT_EQ(tarnvelde_getParam(9, "PU", -1, &value), -1);
    EXPECT_EQ(value, 77.0);
}

TEST_F(Params, CodesOutOfRangeMoveNothing) {
    for (const CodedObject& object : CODED_OBJECTS) {
        for (const int32_t code : {-1, object.parameterCount, object.parameterCount + 1, INT32_MAX, INT32_MIN}) {
            double value = 77.0;
            EXPECT_EQ(tarnvelde_getParam(object.code, object.id, code, &value), -1) << object.id << " " << code;
            EXPECT_EQ(tarnvelde_setParam(object.code, object.id, code, 1.0), -1) << object.id << " " << code;
            EXPECT_EQ(value, 77.0);
        }
    }
    for (const int32_t object : {-1, 0, 14, INT32_MAX, INT32_MIN}) {
        double value = 77.0;
        EXPECT_EQ(tarnvelde_getParam(object, "J", 0, &value), -1) << object;
        EXPECT_EQ(tarnvelde_setParam(object, "J", 0, 1.0), -1) << object;
        EXPECT_EQ(value, 77.0);
    }
}

// What decides is the node with the link's index. CM is the seventh link, and the seventh node is no junction but a LID
// node, whose number no link has.
TEST_F(Params, OfALinkAreSetByTheNodeInItsPlace) {
    ASSERT_EQ(tarnvelde_findObject(TARNVELDE_CLASS_LINK, "CM"), 6);
    EXPECT_EQ(tarnvelde_setParam(10, "CM", 0, 60.0), -1);
    EXPECT_EQ(get(10, "CM", 0), 0.0);
    // CS and CV stand beside two outfalls (2), and so pass for connections (2).
    ASSERT_EQ(tarnvelde_findObject(TARNVELDE_CLASS_LINK, "CS"), 8);
    EXPECT_EQ(tarnvelde_setParam(10, "CS", 0, 60.0), 0);
    EXPECT_EQ(get(10, "CS", 0), 60.0);
    EXPECT_EQ(tarnvelde_setParam(8, "CS", 0, 60.0), -1);
}

// The kind of the link itself never counts: the row at its place among its own kind is written, in the table of the
// kind wanted.
TEST(ParamsOfLinks, WriteTheTableOfTheKindWanted) {
    Project file(getGeneral(4) +
                 "[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nO\n[PIPES]\nP1 J K NO 300 1 0 0\nP2 K O NO 300 1 0.1 0\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    EXPECT_EQ(tarnvelde_setParam(8, "P2", 2, 0.3), 0);  // junction K is the second node
    EXPECT_EQ(get(8, "P2", 2), 0.3);
    EXPECT_EQ(tarnvelde_setParam(9, "P2", 0, 1.0), -1);  // no tank stands there

    Project other(getGeneral(4) +
                  "[OUTFALLS]\nO\n[JUNCTIONS]\nJ\nK\n[CONNECTIONS]\nC1 J K NO 60\nC2 K O NO 120\n"
                  "[PIPES]\nP J O YES 300 1 0.1 0\n");
    other.open();  // a junction with two outlets is refused, and the tables are there all the same
    EXPECT_EQ(tarnvelde_setParam(8, "C2", 2, 0.4), -1);  // no second pipe
    EXPECT_EQ(tarnvelde_setParam(8, "C1", 2, 0.4), -1);  // beside an outfall
    EXPECT_EQ(tarnvelde_setParam(8, "P", 2, 0.4), 0);
    EXPECT_EQ(get(8, "P", 2), 0.4);
    EXPECT_EQ(tarnvelde_setParam(10, "C1", 0, 240.0), 0);
    EXPECT_EQ(get(10, "C1", 0), 240.0);
}

TEST(ParamsOfLinks, LinksBeyondTheNodesFail) {
    Project file(getGeneral(4) +
                 "[SPLITTERS]\nS P1 FLOW 1\n[OUTFALLS]\nO\n[PIPES]\nP1 S O NO 300 1 0 0\nP2 S O NO 300 1 0 0\nP3 S O "
                 "YES 300 1 0.2 0\n");
    file.open();
    EXPECT_EQ(tarnvelde_setParam(8, "P3", 2, 0.3), -1);
    EXPECT_EQ(get(8, "P3", 2), 0.2);
}

TEST(ParamsOfRuns, StayChangedInTheNextRun) {
    AllKinds project;
    project.start();
    EXPECT_EQ(tarnvelde_setParam(3, "T", 1, 3.0), 0);
    double depth = NAN;
    tarnvelde_getResult(3, "T", 0, &depth);
    EXPECT_EQ(depth, 1.0);  // acts at the next start
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    tarnvelde_getResult(3, "T", 0, &depth);
    EXPECT_EQ(depth, 3.0);
}
