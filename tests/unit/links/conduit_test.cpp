#include "links/conduit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "links/transect.h"
#include "model/curve.h"
#include "model/errors.h"
#include "results/rows.h"
#include "support/model.h"
#include "support/storage.h"

static const double PI = std::acos(-1.0);

/// J --C--> OUT with the conduit's line going on behind its nodes as given, and a dry weather flow into J.
static std::string getProject(const std::string& rest, double flow = 0.5) {
    return getGeneral(600) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONDUITS]\nC J OUT " + rest + "\n[DWFS]\nJ FLOW " +
           std::to_string(flow) + " \"\"\n";
}

static const char* const BED = "[CURVES]\nX TRANSECT 0 3 0 1 4 1 4 3\n";

static double getArea(double depth) {
    return conduit_getArea(testModel(), Records::conduit("C"), depth);
}

static double getDepth(double volume) {
    return conduit_getDepth(testModel(), Records::conduit("C"), volume);
}

/// Area of a circle below a depth, with the chord's half angle from the middle.
static double getCircleArea(double D, double y) {
    const double a = std::acos(1.0 - 2.0 * y / D);
    return D * D / 4.0 * (a - std::sin(a) * std::cos(a));
}

// --- sections ------------------------------------------------------------------------------------------------------

TEST(ConduitSection, OfACircleIsTheSegmentAtTheHundredths) {
    StartedProject model(getProject("NO 100 0.5 0.013 CIRCULAR 1.5"));
    EXPECT_EQ(model.conduit("C").fullDepth, 1.5);
    for (int i = 1; i <= 100; ++i) {
        const double y = 1.5 * i / 100.0;
        EXPECT_NEAR(model.conduit("C").areaTable[i - 1], getCircleArea(1.5, y), 2e-8) << i;
        EXPECT_NEAR(getArea(y), getCircleArea(1.5, y), 2e-8) << i;
    }
}

TEST(ConduitSection, IsLinearBetweenTheHundredths) {
    StartedProject model(getProject("NO 100 0.5 0.013 CIRCULAR 2"));
    const double* table = model.conduit("C").areaTable;
    EXPECT_NEAR(getArea(0.01), table[0] / 2.0, 1e-15);
    EXPECT_NEAR(getArea(1.01), (table[49] + table[50]) / 2.0, 1e-15);
    EXPECT_NEAR(getArea(1.99), (table[98] + table[99]) / 2.0, 1e-15);
}

TEST(ConduitSection, EndsWithTheFullDepth) {
    for (const double D : {0.3, 0.7, 1.1, 1.329, 2.3}) {
        StartedProject model(getProject("NO 100 0.5 0.013 CIRCULAR " + std::to_string(D)));
        const Conduit& conduit = model.conduit("C");
        EXPECT_NEAR(getArea(conduit.fullDepth), conduit.areaTable[99], 1e-12) << D;
        EXPECT_EQ(getArea(std::nextafter(conduit.fullDepth, 10.0)), 0.0) << D;
        EXPECT_EQ(getArea(0.0), 0.0);
        EXPECT_EQ(getArea(-1.0), 0.0);
    }
}

TEST(ConduitSection, OfCirclesOfOneDiameterShareATable) {
    StartedProject model(getGeneral(60) +
                         "[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nOUT\n[CONDUITS]\nC J K NO 100 0.5 0.013 CIRCULAR 1.5\n"
                         "D K OUT NO 90 0.4 0.015 CIRCULAR 1.5\n");
    const Conduit &c = model.conduit("C"), &d = model.conduit("D");
    EXPECT_EQ(c.areaTable, d.areaTable);
    EXPECT_EQ(c.risingTable, d.risingTable);
    for (int k = 1; k <= 20; ++k) {
        tarnvelde_end();
        testModel().conduits[&d - testModel().conduits.data()].height = 1.5 + k;
        ASSERT_EQ(tarnvelde_start(0), 0);
        EXPECT_NEAR(c.areaTable[99], PI * 0.75 * 0.75, 1e-8);
        EXPECT_NEAR(d.areaTable[99], PI * d.height * d.height / 4.0, 1e-5);
        EXPECT_LE(testModel().circleTables->byDiameter.size(), 3u) << "of two conduits, and one of the last start";
    }
}

TEST(ConduitSection, OfARectangleStopsAtItsHeight) {
    StartedProject model(getProject("NO 100 0.5 0.013 RECTANGULAR 1.5 2"));
    EXPECT_EQ(model.conduit("C").areaTable, nullptr);
    EXPECT_EQ(getArea(0.5), 1.0);
    EXPECT_EQ(getArea(1.5), 3.0);
    EXPECT_EQ(getArea(2.0), 3.0);
}

TEST(ConduitSection, OfATransectIsTabledInItsCurve) {
    StartedProject model(getProject("NO 100 0.5 0.013 IRREGULAR X") + BED);
    EXPECT_EQ(model.conduit("C").fullDepth, 2.0);
    for (int i = 1; i <= 100; ++i) {
        EXPECT_NEAR(testModel().curves[0].geometry[i - 1], 4.0 * 0.02 * i, 1e-9);
    }
    EXPECT_NEAR(getArea(1.03), 4.12, 1e-9);
}

TEST(ConduitSection, MayUseACurveOfAnyType) {
    StartedProject model(getProject("NO 100 0.5 0.013 IRREGULAR X") + "[CURVES]\nX TANK 0 2 1 0 2 2\n");
    EXPECT_NEAR(getArea(1.0), 0.5, 1e-9);
}

TEST(ConduitSection, OfATransectWithItsLowestPointAtABankIsEmpty) {
    StartedProject model(getProject("NO 100 0.5 0.013 IRREGULAR X") + "[CURVES]\nX TRANSECT 0 1 2 3 4 4\n");
    EXPECT_EQ(model.conduit("C").fullDepth, 0.0);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(testModel().curves[0].geometry[i], 0.0);
    }
    model.step();
    EXPECT_EQ(model.conduit("C").newFlood, 0.5);
    EXPECT_EQ(model.link("C").newFlow, 0.0);
}

// --- depth of a volume ---------------------------------------------------------------------------------------------

TEST(ConduitDepth, IsTheInverseOfTheArea) {
    for (const char* shape : {"CIRCULAR 1.5", "RECTANGULAR 1.5 2", "IRREGULAR X"}) {
        StartedProject model(getProject(std::string("NO 80 0.5 0.013 ") + shape) +
                             "[CURVES]\nX TRANSECT 0 3 1 1 2 2 3 0 6 2.5\n");
        const double full = model.conduit("C").fullDepth;
        std::mt19937 random(3);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        for (int k = 0; k < 1000; ++k) {
            const double depth = full * unit(random);
            const double volume = getArea(depth) * 80.0;
            EXPECT_NEAR(getArea(getDepth(volume)) * 80.0, volume, 1e-9 * volume) << shape;
        }
    }
}

TEST(ConduitDepth, OfAFullConduitIsTheFullDepth) {
    for (const double D : {0.3, 0.7, 1.1, 1.329, 2.3}) {
        for (const double length : {13.0, 77.7, 226.6399}) {
            StartedProject model(
                getProject("NO " + std::to_string(length) + " 0.5 0.013 CIRCULAR " + std::to_string(D)));
            const double full = model.conduit("C").fullDepth;
            EXPECT_EQ(getDepth(getArea(full) * model.conduit("C").length), full);
        }
    }
}

TEST(ConduitDepth, OfAFullRectangleIsItsHeight) {
    StartedProject model(getProject("NO 77.7 0.5 0.013 RECTANGULAR 0.7 1.1"));
    EXPECT_EQ(getDepth(getArea(0.7) * 77.7), 0.7);
    EXPECT_EQ(getDepth(1e6), 0.7);
}

TEST(ConduitDepth, OfNothingAndLessIs0) {
    for (const char* shape : {"CIRCULAR 1.5", "RECTANGULAR 1.5 2", "IRREGULAR X"}) {
        StartedProject model(getProject(std::string("NO 80 0.5 0.013 ") + shape) + BED);
        EXPECT_EQ(getDepth(0.0), 0.0);
        EXPECT_EQ(getDepth(-5.0), 0.0);
    }
}

TEST(ConduitDepth, OfMoreThanACircleHoldsIs0) {
    StartedProject model(getProject("NO 100 0.5 0.013 CIRCULAR 1.5"));
    EXPECT_EQ(getDepth(getArea(1.5) * 101.0), 0.0);
}

TEST(ConduitDepth, IsTheSameBySearchAndByWalk) {
    StartedProject model(getProject("NO 100 0.5 0.013 CIRCULAR 1.5"));
    Conduit& conduit = model.conduit("C");
    ASSERT_EQ(conduit.risingTable, conduit.areaTable);
    for (int k = 0; k <= 1000; ++k) {
        const double volume = 178.0 * k / 1000.0;
        conduit.risingTable = conduit.areaTable;
        const double found = getDepth(volume);
        conduit.risingTable = nullptr;
        EXPECT_EQ(found, getDepth(volume));
    }
}

// --- flow ----------------------------------------------------------------------------------------------------------

/// Puts a conduit into a state and runs one step with a flow into it; its own flow of the step.
static double routeFrom(double depth, double inflow) {
    Records::conduit("C").depth = depth;
    conduit_route(testModel(), Records::link("C"), Records::conduit("C"), inflow, nullptr);
    return Records::link("C").newFlow;
}

static double getManning(double area, double perimeter, double slope, double n) {
    return area / n * std::cbrt(area / perimeter * (area / perimeter)) * std::sqrt(slope);
}

TEST(ConduitFlow, OfAFullCircleIsManningOverThePerimeter) {
    StartedProject model(getProject("NO 5000 0.2 0.013 CIRCULAR 1.5"));
    const double expected = getManning(PI * 1.5 * 1.5 / 4.0, PI * 1.5, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(1.5, 0.0), expected, 1e-7 * expected);
}

TEST(ConduitFlow, OfAHalfFullCircleIsHalfThatOfTheFullOne) {
    StartedProject model(getProject("NO 5000 0.2 0.013 CIRCULAR 1.5"));
    const double expected = getManning(PI * 1.5 * 1.5 / 4.0, PI * 1.5, 0.002, 0.013) / 2.0;
    EXPECT_NEAR(routeFrom(0.75, 0.0), expected, 1e-7 * expected);
}

TEST(ConduitFlow, OfAThreeQuarterCircleHasItsOwnArc) {
    StartedProject model(getProject("NO 5000 0.2 0.013 CIRCULAR 2"));
    const double arc = 2.0 * (PI - std::acos(0.5));  // the chord stands half a radius above the middle
    const double expected = getManning(getCircleArea(2.0, 1.5), arc, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(1.5, 0.0), expected, 1e-7 * expected);
}

TEST(ConduitFlow, OfARectangleHasNoRoofBelowItsHeight) {
    StartedProject model(getProject("NO 5000 0.2 0.013 RECTANGULAR 1.5 2"));
    const double half = getManning(1.5, 3.5, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(0.75, 0.0), half, 1e-12 * half);
    const double full = getManning(3.0, 7.0, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(1.5, 0.0), full, 1e-12 * full);
}

TEST(ConduitFlow, OfATransectIsThatOfItsPolygon) {
    StartedProject model(getProject("NO 5000 0.2 0.013 IRREGULAR X") + BED);
    const double expected = getManning(4.0 * 1.2, 4.0 + 2.4, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(1.2, 0.0), expected, 1e-8 * expected);
}

TEST(ConduitFlow, IsNothingFromADryConduit) {
    StartedProject model(getProject("NO 5000 0.2 0.013 CIRCULAR 1.5", 0.0));
    model.step();
    EXPECT_EQ(model.link("C").newFlow, 0.0);
    EXPECT_EQ(model.conduit("C").depth, 0.0);
}

TEST(ConduitFlow, SettlesAtTheInflow) {
    for (const char* shape : {"CIRCULAR 1.5", "RECTANGULAR 1.5 2", "IRREGULAR X"}) {
        StartedProject model(getProject(std::string("NO 800 0.2 0.013 ") + shape) + BED);
        model.step(500);
        EXPECT_NEAR(model.link("C").newFlow, 0.5, 1e-6) << shape;
        EXPECT_EQ(model.conduit("C").newInflow, 0.5) << shape;
    }
}

TEST(ConduitFlow, LeavesTheBalanceOfTheStore) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    double before = 0.0;
    for (int k = 0; k < 50; ++k) {
        model.step();
        const double after = model.conduit("C").depth * 2.0 * 800.0;
        EXPECT_NEAR(after - before, 60.0 * (0.5 - model.link("C").newFlow), 1e-9);
        before = after;
    }
}

TEST(ConduitFlow, FloodsWhatTheFullSectionCannotHold) {
    StartedProject model(getProject("NO 100 0.01 0.02 RECTANGULAR 1 1", 5.0));
    // 300 m3 come in a step, 100 m3 fit, and at the full section Manning takes less than that.
    model.step();
    EXPECT_NEAR(model.conduit("C").newFlood, 200.0 / 60.0, 1e-12);
    EXPECT_NEAR(model.link("C").newFlow, getManning(1.0, 4.0, 0.0001, 0.02), 1e-12);
    EXPECT_EQ(model.conduit("C").oldFlood, 0.0);
    model.step();
    EXPECT_NEAR(model.conduit("C").oldFlood, 200.0 / 60.0, 1e-12);
    EXPECT_EQ(model.conduit("C").oldInflow, 5.0);
}

TEST(ConduitFlow, EmptiesASteepConduitWithoutDelivering) {
    StartedProject model(getProject("NO 10 20 0.01 RECTANGULAR 1 1", 0.05) + "J A 100 \"\"\n[POLLUTANTS]\nA 0\n");
    // 3 m3 stand 0.3 m high in 10 m; their normal flow would take far more in a minute.
    model.step();
    EXPECT_GT(60.0 * getManning(0.3, 1.6, 0.2, 0.01), 3.0);
    EXPECT_EQ(model.link("C").newFlow, 0.0);
    EXPECT_EQ(model.conduit("C").depth, 0.0);
    EXPECT_EQ(model.conduit("C").newFlood, 0.0);
    // That water and what it carries are in no total: after n steps all of it is missing.
    model.step(9);
    tarnvelde_report();
    EXPECT_NEAR(testModel().totals.flowError, 100.0, 1e-9);
    EXPECT_NEAR(testModel().totals.qualityError, 100.0, 1e-9);
    EXPECT_EQ(testModel().totals.quality[0].reactedLoss, 0.0);
}

TEST(ConduitFlow, IsEmptiedByANegativeInflow) {
    for (const char* shape : {"CIRCULAR 1.5", "RECTANGULAR 1.5 2", "IRREGULAR X"}) {
        StartedProject model(getProject(std::string("NO 800 0.2 0.013 ") + shape) + BED);
        model.step(5);
        EXPECT_GT(model.conduit("C").depth, 0.0);
        EXPECT_EQ(routeFrom(model.conduit("C").depth, -100.0), 0.0) << shape;
        EXPECT_EQ(model.conduit("C").depth, 0.0) << shape;
    }
}

TEST(ConduitFlow, TakesNoNoteOfTheSetting) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    model.link("C").setting = model.link("C").targetSetting = 0.0;
    model.step(300);
    EXPECT_NEAR(model.link("C").newFlow, 0.5, 1e-4);
}

TEST(ConduitFlow, IsNotMovedByAFlowThatAHostWrites) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    model.step(5);
    const double depth = model.conduit("C").depth;
    model.link("C").newFlow = 99.0;
    model.step();
    const double after = model.conduit("C").depth;
    EXPECT_NEAR((after - depth) * 1600.0, 60.0 * (0.5 - model.link("C").newFlow), 1e-9);
}

TEST(ConduitFlow, StartsDryAtEachStart) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    model.step(20);
    const double depth = model.conduit("C").depth;
    tarnvelde_end();
    tarnvelde_start(0);
    EXPECT_EQ(model.conduit("C").depth, 0.0);
    EXPECT_EQ(model.conduit("C").newInflow, 0.0);
    model.step(20);
    EXPECT_EQ(model.conduit("C").depth, depth);
}

// --- quality -------------------------------------------------------------------------------------------------------

TEST(ConduitQuality, MixesTheInflowIntoTheStore) {
    StartedProject model(getProject("NO 100 0.2 0.013 RECTANGULAR 1.5 2") + "[POLLUTANTS]\nA 0\n");
    model.conduit("C").depth = 0.5;  // 100 m3
    model.link("C").oldQual[0] = 10.0;
    const double inflow = 40.0;
    conduit_route(testModel(), model.link("C"), model.conduit("C"), 2.0, &inflow);  // 120 m3
    EXPECT_NEAR(model.link("C").newQual[0], (100.0 * 10.0 + 120.0 * 40.0) / 220.0, 1e-12);
}

TEST(ConduitQuality, Is0WithoutWater) {
    StartedProject model(getProject("NO 100 0.2 0.013 RECTANGULAR 1.5 2", 0.0) + "[POLLUTANTS]\nA 0\n");
    model.step();
    EXPECT_EQ(model.link("C").newQual[0], 0.0);
}

TEST(ConduitQuality, DecaysByTheHourAndBooksTheLoss) {
    StartedProject model(
        getProject("NO 100 0.2 0.013 RECTANGULAR 1.5 2") +
        "[POLLUTANTS]\nA 0\nB 0\n[PATTERNS]\nP HOURLY 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2\n"
        "[DECAY_COEFFICIENT]\nC LINK B FIRST 864 P\n");
    model.conduit("C").depth = 0.5;
    model.link("C").oldQual[0] = model.link("C").oldQual[1] = 10.0;
    const double inflow[] = {40.0, 40.0};
    conduit_route(testModel(), model.link("C"), model.conduit("C"), 2.0, inflow);
    const double mixed = (100.0 * 10.0 + 120.0 * 40.0) / 220.0;
    const double left = std::exp(-2.0 * 0.01 * 60.0);
    EXPECT_NEAR(model.link("C").newQual[0], mixed, 1e-12);
    EXPECT_NEAR(model.link("C").newQual[1], mixed * left, 1e-12);
    EXPECT_EQ(testModel().totals.quality[0].reactedLoss, 0.0);
    EXPECT_NEAR(testModel().totals.quality[1].reactedLoss, 220.0 * mixed * (1.0 - left) / 1000.0, 1e-12);
}

// --- balance -------------------------------------------------------------------------------------------------------

/// A chain of conduits of all shapes with random sizes.
static std::string getChain(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::string nodes = "[JUNCTIONS]\n", conduits = "[CONDUITS]\n", inflows = "[DWFS]\n",
                decays = "[DECAY_COEFFICIENT]\n";
    for (int k = 0; k < 12; ++k) {
        const std::string node = "J" + std::to_string(k);
        const std::string next = k < 11 ? "J" + std::to_string(k + 1) : "OUT";
        nodes += node + "\n";
        inflows += node + " FLOW " + std::to_string(0.2 * unit(random)) + " \"\"\n";
        inflows += node + " A " + std::to_string(100.0 * unit(random)) + " \"\"\n";
        const std::string id = "C" + std::to_string(k);
        conduits.append(id).append(" ").append(node).append(" ").append(next).append(" NO ");
        conduits += std::to_string(400.0 + 600.0 * unit(random)) + " ";
        conduits += std::to_string(0.05 + 0.1 * unit(random)) + " 0.015 ";
        switch (k % 3) {
            case 0: conduits += "CIRCULAR " + std::to_string(0.6 + unit(random)) + "\n"; break;
            case 1: conduits += "RECTANGULAR 0.8 " + std::to_string(1.0 + unit(random)) + "\n"; break;
            default: conduits += "IRREGULAR X\n"; break;
        }
        decays += id + " LINK A FIRST " + std::to_string(20.0 * unit(random)) + " \"\"\n";
    }
    return getGeneral(600) + nodes + "[OUTFALLS]\nOUT\n" + conduits + "[POLLUTANTS]\nA 0\n" + inflows + decays +
           "[CURVES]\nX TRANSECT 0 2 1 1 1.5 1.2 2 0.1 3 0 4 0.5 6 2.2\n";
}

TEST(ConduitBalance, ClosesInGeneratedChains) {
    for (const unsigned seed : {1u, 2u, 3u}) {
        StartedProject model(getChain(seed));
        EXPECT_EQ(stepToEnd(), 0);
        tarnvelde_report();
        EXPECT_NEAR(testModel().totals.flowError, 0.0, 1e-9) << seed;
        EXPECT_NEAR(testModel().totals.qualityError, 0.0, 1e-9) << seed;
        EXPECT_GT(testModel().totals.flow.externalOutflow, 0.0);
    }
}

TEST(ConduitBalance, KeepsTheMaximaOfARun) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    double maxDepth = 0.0, maxVelocity = 0.0;
    for (int k = 0; k < 30; ++k) {
        model.step();
        // The flow of a step belongs to the depth ahead of its release, the area to the depth after it.
        const double area = 2.0 * model.conduit("C").depth;
        maxDepth = std::max(maxDepth, model.conduit("C").depth);
        maxVelocity = std::max(maxVelocity, area > 0.0 ? model.link("C").newFlow / area : 0.0);
    }
    EXPECT_EQ(model.conduit("C").statMaxDepth, maxDepth);
    EXPECT_EQ(model.conduit("C").statMaxVelocity, maxVelocity);
}

// --- report and rows -----------------------------------------------------------------------------------------------

TEST(ConduitReport, HasATableOfItsOwn) {
    Project project(getProject("NO 100 0.01 0.02 RECTANGULAR 1 1", 5.0));
    EXPECT_EQ(project.run(), 0);
    // The full section from the first step on. The velocity is greatest where it is divided by what a step leaves.
    const double flow = getManning(1.0, 4.0, 0.0001, 0.02);
    const double left = (100.0 - 60.0 * flow) / 100.0;
    char row[200];
    std::snprintf(row, sizeof row, "\n  %-16s %16.3f %16.3f %16.3f", "C", left, left, flow / left);
    const std::string expected =
        std::string("\n  \n  ********************\n  Conduit Flow Summary\n  ********************") +
        "\n                         Max. Depth    Max. Capacity    Max. Velocity"
        "\n  Conduit                         m                               m/s"
        "\n  ---------------- ---------------- ---------------- ----------------" +
        row;
    const std::string report = project.getReport();
    EXPECT_NE(report.find(expected), std::string::npos) << report;
}

TEST(ConduitRow, MixesOldAndNewButForDepthAndVolume) {
    StartedProject model(getProject("NO 100 0.2 0.013 RECTANGULAR 1.5 2") + "[POLLUTANTS]\nA 0\n");
    Conduit& conduit = model.conduit("C");
    conduit.depth = 0.5;
    conduit.oldInflow = 1.0;
    conduit.newInflow = 2.0;
    conduit.oldFlood = 4.0;
    conduit.newFlood = 0.0;
    Link& link = model.link("C");
    link.oldFlow = 2.0;
    link.newFlow = 6.0;
    link.oldQual[0] = 8.0;
    link.newQual[0] = 4.0;
    float row[7];
    rows_fill(testModel(), CONDUIT_TABLE, model.findLink("C"), 0.25, row);
    const float expected[] = {0.5f, 100.0f, 3.0f, 1.25f, 3.0f, 3.0f, 7.0f};
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(row[k], expected[k]) << k;
    }
    conduit.depth = 0.0;
    rows_fill(testModel(), CONDUIT_TABLE, model.findLink("C"), 0.25, row);
    EXPECT_EQ(row[2], 0.0f);  // no velocity without an area
}

// --- line ----------------------------------------------------------------------------------------------------------

TEST(ConduitLine, FillsTheRow) {
    StartedProject model(getProject("yes 120 0.5 0.013 rectangular 1.5 2 more"));
    EXPECT_EQ(model.link("C").kind, CONDUIT);
    EXPECT_EQ(model.link("C").isLagged, 1);
    const Conduit& conduit = model.conduit("C");
    EXPECT_EQ(conduit.length, 120.0);
    EXPECT_EQ(conduit.slope, 0.5 / 100.0);
    EXPECT_EQ(conduit.roughness, 0.013);
    EXPECT_EQ(conduit.shape, RECTANGULAR_CONDUIT);
    EXPECT_EQ(conduit.curve, -1);
    EXPECT_EQ(conduit.height, 1.5);
    EXPECT_EQ(conduit.width, 2.0);
}

TEST(ConduitLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"C J X NO 100 1 0.013 CIRCULAR", "ERROR 203: too few items "},
        {"C X OUT NO 100 1 0.013 CIRCULAR 1", "ERROR 209: undefined object X "},
        {"C J X NO 100 1 0.013 CIRCULAR 1", "ERROR 209: undefined object X "},
        {"C J OUT NOT 0 1 0.013 CIRCULAR 1", "ERROR 205: invalid keyword NOT "},
        {"C J OUT NO 0 -1 0.013 CIRCULAR 1", "ERROR 211: invalid number 0 "},
        {"C J OUT NO 100 -1 x CIRCULAR 1", "ERROR 211: invalid number -1 "},
        {"C J OUT NO 100 1 nan ROUND 1", "ERROR 211: invalid number nan "},
        {"C J OUT NO 100 1 0.013 ROUND 1", "ERROR 205: invalid keyword ROUND "},
        {"C J OUT NO 100 1 0.013 CIRCULAR 0", "ERROR 211: invalid number 0 "},
        {"C J OUT NO 100 1 0.013 RECTANGULAR w", "ERROR 211: invalid number w "},
        {"C J OUT NO 100 1 0.013 RECTANGULAR 1", "ERROR 203: too few items "},
        {"C J OUT NO 100 1 0.013 RECTANGULAR 1 0", "ERROR 211: invalid number 0 "},
        {"C J OUT NO 100 1 0.013 IRREGULAR Y", "ERROR 209: undefined object Y "},
    };
    for (const auto& bad : cases) {
        const std::string text =
            getGeneral(10) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONDUITS]\n" + bad.line + "\n" + BED;
        EXPECT_TRUE(refusesLine(text, bad.message, "[CONDUITS]", bad.line));
    }
}

TEST(ConduitLine, IsLengthenedSilently) {
    const std::string line = "NO 5 0.5 0.013 CIRCULAR 1\n[GENERAL]\nCONDUIT_LENGTHENING ";
    {
        StartedProject model(getProject(line + "10"));
        EXPECT_EQ(model.conduit("C").length, 10.0);
    }
    {
        StartedProject model(getProject(line + "4"));
        EXPECT_EQ(model.conduit("C").length, 5.0);
    }
    EXPECT_EQ(openProject(getProject(line + "10")).report, "");
}

TEST(ConduitDecayLine, FillsItsRecord) {
    StartedProject model(
        getProject("NO 100 0.2 0.013 CIRCULAR 1") +
        "[POLLUTANTS]\nA 0\nB 0\n[PATTERNS]\nP HOURLY 1\n[DECAY_COEFFICIENT]\nC LINK B FIRST 86.4 P\n");
    const Decay* decay = model.conduit("C").decay;
    EXPECT_EQ(decay[0].type, -1);
    EXPECT_EQ(decay[1].type, FIRST_ORDER);
    EXPECT_EQ(decay[1].k, 86.4 / 86400.0);
    EXPECT_EQ(decay[1].pattern, 0);
}

TEST(ConduitDecayLine, IsDroppedInFrontOfItsConduit) {
    const OpenResult result = openProject("[POLLUTANTS]\nA 0\n[DECAY_COEFFICIENT]\nC LINK A FIRST 1 \"\"\n" +
                                          getProject("NO 100 0.2 0.013 CIRCULAR 1"));
    EXPECT_EQ(result.code, 0);
}

TEST(ConduitDecayLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"C LINK X ZERO 1 \"\"", "ERROR 209: undefined object X "},
        {"C LINK A ZERO 1 \"\"", "ERROR 800: not FIRST decay type for object C "},
        {"C LINK A FIRST -1x \"\"", "ERROR 211: invalid number -1x "},
        {"C LINK A FIRST 1 Y", "ERROR 209: undefined object Y "},
    };
    for (const auto& bad : cases) {
        const std::string text =
            getProject("NO 100 0.2 0.013 CIRCULAR 1") + "[POLLUTANTS]\nA 0\n[DECAY_COEFFICIENT]\n" + bad.line + "\n";
        EXPECT_TRUE(refusesLine(text, bad.message, "[DECAY_COEFFICIENT]", bad.line));
    }
}

// --- what only a host can do ---------------------------------------------------------------------------------------

TEST(ConduitHost, MayLeaveItWithoutASection) {
    StartedProject model(getProject("NO 800 0.2 0.013 RECTANGULAR 1.5 2"));
    model.step(5);
    for (const int32_t shape : {static_cast<int32_t>(IRREGULAR_CONDUIT), 3, -1}) {
        model.conduit("C").shape = shape;
        pace_noteNetworkChange(testModel().pace);
        EXPECT_EQ(getArea(0.5), 0.0);
        EXPECT_EQ(getDepth(100.0), 0.0);
        EXPECT_EQ(routeFrom(0.5, 2.0), 0.0);
        EXPECT_EQ(model.conduit("C").newFlood, 2.0);
        tarnvelde_end();
        EXPECT_EQ(tarnvelde_start(0), 0);
        EXPECT_EQ(model.conduit("C").fullDepth, 0.0);
        EXPECT_EQ(routeFrom(0.0, 2.0), 0.0);
        EXPECT_EQ(model.conduit("C").newFlood, 2.0);
    }
}

TEST(ConduitHost, ChangesSizesAtOnceWhereAFormulaUsesThem) {
    StartedProject model(getProject("NO 5000 0.2 0.013 CIRCULAR 1.5"));
    model.conduit("C").height = 3.0;
    EXPECT_EQ(model.conduit("C").fullDepth, 1.5);
    const double arc = 3.0 * std::acos(0.0);  // the table is that of 1.5 m, the arc that of 3 m, half full
    const double expected = getManning(getArea(1.5), arc, 0.002, 0.013);
    EXPECT_NEAR(routeFrom(1.5, 0.0), expected, 1e-7 * expected);
    tarnvelde_end();
    tarnvelde_start(0);
    EXPECT_EQ(model.conduit("C").fullDepth, 3.0);
    EXPECT_NEAR(getArea(3.0), PI * 9.0 / 4.0, 1e-7);
}

TEST(ConduitHost, MayTurnAShapeIntoAnother) {
    StartedProject model(getProject("NO 800 0.2 0.013 IRREGULAR X") + BED);
    model.conduit("C").shape = CIRCULAR_CONDUIT;
    model.step();
    tarnvelde_end();
    model.conduit("C").height = 1.0;
    tarnvelde_start(0);
    EXPECT_NEAR(getArea(1.0), PI / 4.0, 1e-8);
    model.conduit("C").shape = IRREGULAR_CONDUIT;
    model.step(3);
    EXPECT_GE(model.conduit("C").depth, 0.0);
}

TEST(ConduitMemory, IsMissedAtTheStart) {
    expectStartsWithoutMemory(getProject("NO 800 0.2 0.013 IRREGULAR X") + BED);
}
