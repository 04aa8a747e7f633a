// The balances of a run: what goes into each total, what is added to them at the close, and their errors.

#include "results/massbal.h"

#include <gtest/gtest.h>

#include <string>

#include "hydrology/lidgroup.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "support/lids.h"
#include "support/model.h"
#include "support/reporttables.h"
#include "support/storage.h"

namespace {

constexpr double DT = 60.0;  ///< s, the routing step of getGeneral

/// Two steps of a pipe with K = 60 s whose node takes in a flow q (m3/s) with 50 mg/L. It fires once, in the second
/// step, with the flow of the first one: into an empty reach q × 60 m3 come, and q × 30 / (60 + 30) = q / 3 goes out.
/// So of 120 q m3 that came in, 20 q left and 40 q stand in the pipe; half of the water is in no total.
std::string getPipe(const std::string& inflows) {
    return getGeneral(2) + "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 1 0 0\n[POLLUTANTS]\nX 0\n" +
           inflows;
}

std::string getInflow(const std::string& flow) {
    return "[INFLOWS]\nA FLOW FLOW " + flow + " \"\" 1\nA CONCEN X 50 \"\" 1\n";
}

struct Errors {
    double runoff = 77.0, flow = 77.0, quality = 77.0;
};

Errors getErrors() {
    Errors errors;
    EXPECT_EQ(tarnvelde_getMassBalErr(&errors.runoff, &errors.flow, &errors.quality), 0);
    return errors;
}

}  // namespace

// --- floods --------------------------------------------------------------------------------------------------------

// The first firing of the pipe lets 2 m3/s out, of which 0.5 may pass.
TEST(FloodingLoss, OfAPipeTakesItsConcentrationAlong) {
    StartedProject model(getGeneral(4) +
                         "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 1 0 0.5\n[POLLUTANTS]\nX 0\n" +
                         getInflow("6"));
    model.step(2);
    const double flood = 6.0 * 30.0 / 90.0 - 0.5;
    EXPECT_NEAR(testModel().totals.flow.floodingLoss, DT * flood, 1e-12);
    EXPECT_NEAR(testModel().totals.quality[0].floodingLoss, DT * flood * 50.0 / 1000.0, 1e-12);  // 4.5 kg
}

// Of the 300 m3 of the step 100 fit into the conduit.
TEST(FloodingLoss, OfAConduitTakesItsConcentrationAlong) {
    StartedProject model(getGeneral(4) +
                         "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONDUITS]\nC J OUT NO 100 0.01 0.02 RECTANGULAR 1 1\n"
                         "[POLLUTANTS]\nX 0\n[DWFS]\nJ FLOW 5 \"\"\nJ X 50 \"\"\n");
    model.step();
    EXPECT_NEAR(testModel().totals.flow.floodingLoss, 200.0, 1e-9);
    EXPECT_NEAR(testModel().totals.quality[0].floodingLoss, 200.0 * 50.0 / 1000.0, 1e-9);
}

// --- errors --------------------------------------------------------------------------------------------------------

TEST(FlowError, DividesByANegativeTotal) {
    StartedProject model(getPipe("[INFLOWS]\nA FLOW FLOW -0.3 \"\" 1\n"));
    model.step(2);
    double error = 0.0;
    const FlowTotalsRecord totals = massbal_closeFlow(testModel(), &error);
    EXPECT_NEAR(totals.externalInflow, -36.0, 1e-12);
    EXPECT_NEAR(totals.externalOutflow, -6.0, 1e-12);
    EXPECT_NEAR(totals.finalStorage, -12.0, 1e-12);
    EXPECT_NEAR(error, (-36.0 + 6.0 + 12.0) / -36.0 * 100.0, 1e-9);
    EXPECT_EQ(testModel().totals.flowError, error);
}

TEST(ContinuityErrors, AreZeroWhereNothingCameIn) {
    StartedProject model(getPipe(""));
    model.step(2);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    EXPECT_EQ(getRow(report, "Flow Routing Continuity", "Continuity Error (%)"), "0.000");
    EXPECT_EQ(getRow(report, "Quality Routing Continuity", "Continuity Error (%)"), "0.000");
    ASSERT_EQ(tarnvelde_end(), 0);
    const Errors errors = getErrors();
    EXPECT_EQ(errors.runoff, 0.0);
    EXPECT_EQ(errors.flow, 0.0);
    EXPECT_EQ(errors.quality, 0.0);
}

// --- a second report -----------------------------------------------------------------------------------------------

// What stands in the pipe, 12 m3 with 50 mg/L, is added to copies of the totals.
TEST(SecondReport, RepeatsTheRoutingTables) {
    StartedProject model(getPipe(getInflow("0.3")));
    model.step(2);
    ASSERT_EQ(tarnvelde_report(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    std::vector<std::string> texts;
    for (size_t begin = 0; (begin = report.find("Flow Routing Continuity", begin)) != std::string::npos;) {
        const size_t end = report.find("Node Inflow Summary", begin);
        texts.push_back(report.substr(begin, end - begin));
        begin = end;
    }
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(getRow(report, "Flow Routing Continuity", "Final Storage"), "12.000");
    EXPECT_EQ(getRow(report, "Quality Routing Continuity", "Final Storage"), "0.600");
}

// The first report empties the statistics by pollutant. Those of reactors are losses of the network too: of 10 kg, 2
// seeped away and 3 reacted, which the second report no longer knows. Volumes stay.
TEST(SecondReport, HasLostWhatSeepedAndReactedInReactors) {
    StartedProject model(
        getGeneral(4) +
        "[POLLUTANTS]\nX 0\n[OUTFALLS]\nOUT\nSUR\n[REACTORS]\nR CSTR SUR FLOW_CAPACITY 864000 100 0 0\n"
        "[CONNECTIONS]\nC R OUT NO 0\n");
    testModel().totals.flow.externalInflow = 100.0;
    testModel().totals.quality[0].externalInflow = 10.0;
    testModel().reactors[0].statEvap = 40.0;
    testModel().reactors[0].statInfil = 7.0;
    testModel().reactors[0].statInfilLoad[0] = 2.0;
    testModel().reactors[0].statReactedLoad[0] = 3.0;
    const struct {
        const char* seepage;
        const char* reacted;
        const char* error;
    } expected[] = {{"2.000", "3.000", "50.000"}, {"0.000", "0.000", "100.000"}};
    for (const auto& loads : expected) {
        ASSERT_EQ(tarnvelde_report(), 0);
        const std::string report = model.getReport();
        EXPECT_EQ(getRow(report, "Quality Routing Continuity", "Seepage Loss"), loads.seepage);
        EXPECT_EQ(getRow(report, "Quality Routing Continuity", "Reacted Loss"), loads.reacted);
        EXPECT_EQ(getRow(report, "Quality Routing Continuity", "Continuity Error (%)"), loads.error);
        EXPECT_EQ(getRow(report, "Flow Routing Continuity", "Evap. Loss"), "40.000");
        EXPECT_EQ(getRow(report, "Flow Routing Continuity", "Seepage Loss"), "7.000");
        EXPECT_EQ(getRow(report, "Flow Routing Continuity", "Continuity Error (%)"), "53.000");
    }
}

// --- a report without a run ----------------------------------------------------------------------------------------

TEST(ReportBeforeAStart, ShowsNothingOfTheProjectBefore) {
    {
        StartedProject model(getPipe(getInflow("0.3")));
        model.step(2);
        ASSERT_EQ(tarnvelde_report(), 0);
        ASSERT_EQ(getRow(model.getReport(), "Flow Routing Continuity", "External Inflow"), "36.000");
        ASSERT_EQ(getRow(model.getReport(), "Flow Routing Continuity", "External Outflow"), "6.000");
    }
    Project project(getGeneral(2) + "[OUTFALLS]\nO\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::vector<std::string> rows = getRows(project.getReport(), "Flow Routing Continuity");
    EXPECT_EQ(rows.size(), 15U);
    for (const std::string& row : rows) {
        EXPECT_EQ(row.substr(row.rfind(' ') + 1), "0.000") << row;
    }
    EXPECT_EQ(getErrors().flow, 0.0);
}

// --- LID controls --------------------------------------------------------------------------------------------------

namespace {

/// A node M of 100 m2 and a unit of 50 m2 on the subcatchment S, both empty; no rain.
std::string getLids() {
    LidProject project;
    project.lids = "IT IT\nIT STORAGE 500 1 0\n";
    project.groups = "S IT 50 0 0 0\n";
    project.nodes = "[LID_MONOS]\nM IT * 100 0 0 100\n[CONNECTIONS]\nC M OUT NO 0\n";
    return project.text();
}

}  // namespace

TEST(LidNodes, AreInTheFlowBalance) {
    StartedProject model(getLids());
    LidMono& mono = testModel().lidMonos[0];
    mono.unit.initialDepth = 0.01;
    mono.rainDepth = 0.02;
    mono.unit.evapDepth = 0.003;
    mono.unit.infilDepth = 0.004;
    mono.unit.finalDepth = 0.005;
    double error = 0.0;
    const FlowTotalsRecord totals = massbal_closeFlow(testModel(), &error);
    EXPECT_NEAR(totals.initStorage, 1.0, 1e-12);
    EXPECT_NEAR(totals.wetWeatherInflow, 2.0, 1e-12);
    EXPECT_NEAR(totals.evapLoss, 0.3, 1e-12);
    EXPECT_NEAR(totals.seepageLoss, 0.4, 1e-12);
    EXPECT_NEAR(totals.finalStorage, 0.5, 1e-12);
    EXPECT_NEAR(error, (3.0 - 0.3 - 0.4 - 0.5) / 3.0 * 100.0, 1e-9);  // 60
}

TEST(LidNodes, AreInTheQualityBalanceOfTheirPollutant) {
    StartedProject model(getLids());
    LidMono& mono = testModel().lidMonos[0];
    mono.unit.rainLoad[1] = 1.0;
    mono.unit.exfilLoad[1] = 0.2;
    mono.unit.reactedLoad[1] = 0.3;
    mono.unit.finalLoad[1] = 0.4;
    double error = 77.0;
    EXPECT_EQ(massbal_closeQuality(testModel(), 0, &error).wetWeatherInflow, 0.0);
    EXPECT_EQ(error, 0.0);
    const QualTotalsRecord totals = massbal_closeQuality(testModel(), 1, &error);
    EXPECT_NEAR(totals.wetWeatherInflow, 1.0, 1e-12);
    EXPECT_NEAR(totals.seepageLoss, 0.2, 1e-12);
    EXPECT_NEAR(totals.reactedLoss, 0.3, 1e-12);
    EXPECT_NEAR(totals.finalStorage, 0.4, 1e-12);
    EXPECT_NEAR(error, 10.0, 1e-9);  // 0.1 of 1 kg
}

TEST(LidUnitsOfLand, AreInTheRunoffBalance) {
    StartedProject model(getLids());
    testModel().lidUnits[0].initialDepth = 0.02;
    testModel().lidUnits[0].drainDepth = 0.004;
    testModel().lidUnits[0].finalDepth = 0.01;
    const RunoffBalance balance = massbal_closeRunoff(testModel());
    EXPECT_NEAR(balance.initLidStorage, 1.0, 1e-12);
    EXPECT_NEAR(balance.lidDrainage, 0.2, 1e-12);
    EXPECT_NEAR(balance.finalStorage, 0.5, 1e-12);
    EXPECT_NEAR(balance.error, 30.0, 1e-9);  // 1 - 0.2 - 0.5 of 1 m3
    EXPECT_EQ(testModel().totals.runoffError, balance.error);
}

TEST(LidUnitsOfLand, AreInTheWashoffBalanceOfTheirPollutant) {
    StartedProject model(getLids());
    const LidUnit& unit = testModel().lidUnits[0];
    unit.rainLoad[1] = 2.0;
    unit.exfilLoad[1] = 0.5;
    unit.drainOutLoad[1] = 0.25;
    unit.finalLoad[1] = 0.125;
    unit.reactedLoad[1] = 0.0625;
    const WashoffBalance balance = massbal_getWashoff(testModel(), 1);
    EXPECT_EQ(balance.wetDeposition, 2.0);
    EXPECT_EQ(balance.infilLoss, 0.5);
    EXPECT_EQ(balance.lidDrainage, 0.25);
    EXPECT_EQ(balance.lidFinalStorage, 0.125);
    EXPECT_EQ(balance.lidRemoval, 0.0625);
    EXPECT_NEAR(balance.error, (2.0 - 0.9375) / 2.0 * 100.0, 1e-12);  // 53.125
    EXPECT_EQ(massbal_getWashoff(testModel(), 0).wetDeposition, 0.0);
}
