// Inflows of nodes from outside, and how they mix.

#include "nodes/inflows.h"

#include <gtest/gtest.h>

#include "support/lineerrors.h"
#include "support/model.h"
#include "support/pipes.h"

// --- external inflows ----------------------------------------------------------------------------------------------

TEST(ExternalInflow, AddsConstantAndScaledSeries) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") +
                     "[INFLOWS]\nA FLOW FLOW 0.5 S 2\n[TIMESERIES]\nS 2021/03/01 0:00 0 0:10 10\n");
    m.step(3);
    EXPECT_NEAR(m.node("A").newLatFlow, 0.5 + 2.0 * 3.0, 2.1 * MILLISECOND);
    EXPECT_NEAR(testModel().totals.flow.externalInflow, DT * (3 * 0.5 + 2.0 * (1.0 + 2.0 + 3.0)),
                3.0 * DT * 2.1 * MILLISECOND);
}

TEST(ExternalInflow, TakesTheWordOfItsKindInAnyCase) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA flow FLOW 1 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 1.0);
}

TEST(ExternalInflow, KeepsOneFlowRecord) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").extInflow->next, nullptr);
}

TEST(ExternalInflow, OfAFlowOverwritesTheNewestRecordWhateverItIs) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA CONCEN X 7 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
    EXPECT_EQ(m.node("A").extInflow->next, nullptr);
}

TEST(ExternalInflow, MayHoldTwoFlowRecordsOfWhichTheNewerCounts) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA CONCEN X 7 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
    ASSERT_NE(m.node("A").extInflow->next, nullptr);
    EXPECT_EQ(m.node("A").extInflow->next->baseline, 1.0);
}

TEST(ExternalInflow, OfAMassAlwaysAddsARecord) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA MASS X 2 \"\" 1\nA MASS X 3 \"\" 1\nA CONCEN X 7 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").massInflow[0],
              2.0);  // the concentration overwrote the newer mass, and without flow is no load
}

TEST(ExternalInflow, OfAConcentrationNeedsAFlowRecord) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA CONCEN X 7 \"\" 1\n");
    testModel().requests.inflows.push_back({m.findNode("A"), 0, 4.0});
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 4.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
}

TEST(ExternalInflow, FromTheHostLastsForOneStep) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA CONCEN X 1000 \"\" 1\n");
    const int32_t a = m.findNode("A"), out = m.findNode("OUT");
    testModel().requests.inflows = {{out, 0, 2.0}, {a, 0, 4.0}, {a, 0, 8.0}};
    testModel().requests.loads = {{out, 1, 0.5}, {a, 0, 0.25}};
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 13.0);
    EXPECT_EQ(m.node("A").massInflow[0], 1.25);  // the concentration goes with the flow of the file alone
    EXPECT_EQ(m.node("OUT").newLatFlow, 2.0);
    EXPECT_EQ(m.node("OUT").massInflow[1], 0.5);
    EXPECT_EQ(testModel().totals.flow.externalInflow, DT * 15.0);
    EXPECT_EQ(testModel().totals.quality[1].externalInflow, DT * 0.5);
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 1.0);
    EXPECT_TRUE(testModel().requests.inflows.empty());
    EXPECT_TRUE(testModel().requests.loads.empty());
}

TEST(ExternalInflow, MayTakeWaterAway) {
    StartedProject m(getGeneral(60) + oneConnection("0") + "[INFLOWS]\nA FLOW FLOW -2 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, -2.0);
    EXPECT_EQ(m.node("OUT").statMaxInflow, 0.0);  // maxima begin at 0
    EXPECT_EQ(m.node("OUT").statInflowVolume, -2.0 * DT);
}

TEST(ExternalInflow, BehindTheNewestRecordBeginsOnALineFromTheOrigin) {
    const double day = 44256.0;  // 1 March 2021
    const std::string text =
        "[INFLOWS]\nA FLOW FLOW 0 S 1\nA CONCEN X 0 T 1\n[POLLUTANTS]\nX 0\n[TIMESERIES]\n"
        "S 2021/03/01 0:00 0 1:00 60 2:00 0\nT 2021/03/01 0:00 0 2:00 0\n";
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + text);
    m.step(30);
    const double t = day + 30.0 / 1440.0;
    EXPECT_NEAR(m.node("A").newLatFlow, t * 60.0 / (day + 1.0 / 24.0), 1e-6);  // 60 and not 30 m3/s
}

TEST(ExternalInflow, BehindTheNewestRecordBeginsOnThatLineInASecondRunToo) {
    // The first run leaves the cursor of S between its last two entries. From there a second one would begin on the
    // line that comes back from the last entry over the one before, with 119 m3/s.
    const double day = 44256.0;  // 1 March 2021
    std::string inLines, inFile;
    for (const std::string point : {"2021/03/01 0:00 0\n", "2021/03/01 1:00 60\n", "2021/03/01 2:00 0\n"}) {
        inLines += "S " + point;
        inFile += point;
    }
    const TempFolder folder;
    for (const std::string& series : {inLines, "S FILE " + folder.write("series.dat", inFile) + "\n"}) {
        StartedProject m(getGeneral(120) + onePipe("60 1 0 0") +
                         "[INFLOWS]\nA FLOW FLOW 0 S 1\nA CONCEN X 0 T 1\n[POLLUTANTS]\nX 0\n" + "[TIMESERIES]\n" +
                         series + "T 2021/03/01 0:00 0 2:00 0\n");
        const double first = (day + 1.0 / 1440.0) * 60.0 / (day + 1.0 / 24.0);
        m.step();
        EXPECT_NEAR(m.node("A").newLatFlow, first, 1e-6) << series;
        m.step(89);
        EXPECT_NEAR(m.node("A").newLatFlow, 30.0, 60.1 / 60.0 * MILLISECOND) << series;  // half way down
        ASSERT_EQ(tarnvelde_end(), 0);
        ASSERT_EQ(tarnvelde_start(0), 0);
        m.step();
        EXPECT_NEAR(m.node("A").newLatFlow, first, 1e-6) << series;
    }
}

TEST(DryWeather, FollowsThePatternOfTheHour) {
    std::string pattern = "[PATTERNS]\nH HOURLY";
    for (int h = 0; h < 24; ++h) {
        pattern += " " + std::to_string(h + 1);
    }
    StartedProject m(getGeneral(180) + onePipe("60 1 0 0") + TWO_POLLUTANTS + pattern +
                     "\n[DWFS]\nA X 100 H\nA FLOW 0.5 H\nA Y 50 \"\"\nA X 200 H\n");
    m.step(59);
    EXPECT_EQ(m.node("A").newLatFlow, 0.5);
    m.step();  // 1:00 and a millisecond
    EXPECT_EQ(m.node("A").newLatFlow, 1.0);
    EXPECT_EQ(m.node("A").massInflow[0], 200.0 * 2.0 * 1.0 / 1000.0);
    EXPECT_EQ(m.node("A").massInflow[1], 50.0 * 1.0 / 1000.0);
    m.step(60);
    EXPECT_EQ(m.node("A").newLatFlow, 1.5);
    EXPECT_DOUBLE_EQ(testModel().totals.flow.dryWeatherInflow, DT * (59 * 0.5 + 60 * 1.0 + 1.5));
}

TEST(DryWeather, WithoutAFlowBringsNoLoad) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[DWFS]\nA X 100 \"\"\n[INFLOWS]\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
}

TEST(DryWeather, TakesTheWordFlowInThatCaseAlone) {
    // FLOW is the water, even where a pollutant has that name; in any other case the word is the pollutant's.
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[POLLUTANTS]\nFLOW 0\n[DWFS]\nA FLOW 2 \"\"\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 2.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
    StartedProject both(getGeneral(60) + onePipe("60 1 0 0") +
                        "[POLLUTANTS]\nFLOW 0\n[DWFS]\nA FLOW 2 \"\"\nA flow 5 \"\"\n");
    both.step();
    EXPECT_EQ(both.node("A").newLatFlow, 2.0);
    EXPECT_EQ(both.node("A").massInflow[0], 5.0 * 2.0 / 1000.0);
}

// --- lines ---------------------------------------------------------------------------------------------------------

TEST(InflowLines, AreRefused) {
    expectRefused("[INFLOWS]", "A FLOW FLOW 1", "ERROR 203: too few items ");
    expectRefused("[INFLOWS]", "X FLOW FLOW 1 \"\" 1", "ERROR 209: undefined object X ");
    expectRefused("[INFLOWS]", "X FLOWS FLOW x NONE", "ERROR 209: undefined object X ");
    expectRefused("[INFLOWS]", "A FLOWS FLOW 1 \"\" 1", "ERROR 205: invalid keyword FLOWS ");
    expectRefused("[INFLOWS]", "A FLOW flow 1 \"\" 1", "ERROR 205: invalid keyword flow ");
    expectRefused("[INFLOWS]", "A CONCEN FLOW 1 \"\" 1", "ERROR 209: undefined object FLOW ");
    expectRefused("[INFLOWS]", "A MASS \"\" 1 \"\" 1", "ERROR 209: undefined object  ");
    expectRefused("[INFLOWS]", "A FLOW FLOW x NONE", "ERROR 211: invalid number x ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 NONE", "ERROR 209: undefined object NONE ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 S", "ERROR 203: too few items ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 S x", "ERROR 211: invalid number x ");
}

TEST(DryWeatherLines, AreRefused) {
    expectRefused("[DWFS]", "A FLOW 1", "ERROR 203: too few items ");
    expectRefused("[DWFS]", "X FLOW 1 H", "ERROR 209: undefined object X ");
    expectRefused("[DWFS]", "A flow 1 H", "ERROR 209: undefined object flow ");
    expectRefused("[DWFS]", "A \"\" 1 \"\"", "ERROR 209: undefined object  ");
    expectRefused("[DWFS]", "A FLOW x H", "ERROR 211: invalid number x ");
    expectRefused("[DWFS]", "A FLOW 1 NONE", "ERROR 209: undefined object NONE ");
}

TEST(DryWeatherLines, NeedAnHourlyPattern) {
    EXPECT_EQ(getErrors("[PATTERNS]\nM MONTHLY 1\n[DWFS]\nA FLOW 1 M\nA COD 1 M\n", 507),
              "\n  \n  ERROR 507: Pattern M of dry weather inflow must be an hourly type."
              "\n  \n  ERROR 507: Pattern M of dry weather inflow must be an hourly type.");
}
