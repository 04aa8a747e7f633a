// Runs that begin with a state.

#include <gtest/gtest.h>

#include <cmath>

#include "results/massbal.h"
#include "support/stateruns.h"

namespace {

std::string getClock(int seconds) {
    char text[16];
    std::snprintf(text, sizeof text, "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

/// The generated project, whose rules ask for no rain event: an event that has begun before a run isn't the same there.
std::string getText(unsigned seed) {
    std::string text = generateProject(seed);
    const std::string event = "GAGE G EVENT = IN";
    for (size_t at; (at = text.find(event)) != std::string::npos;) {
        text.replace(at, event.size(), "TANK T0 DEPTH > 0.4");
    }
    return text;
}

/// A run of the first half of the time, and one of the second half that begins with its state.
struct HotStart {
    GeneratedFolder folder;
    ModelRun first;
    std::unique_ptr<ModelRun> second;

    /// `more` are further options of the second run; the state is taken after so many steps.
    HotStart(const std::string& text, int steps, const std::string& more = "") : folder(text), first(folder, "first") {
        first.start();
        first.step(steps);
        const int seconds = static_cast<int>(first.model->clock.newRoutingTime / 1000.0);
        folder.write("second.inp", text + "[GENERAL]\nSTART_TIME " + getClock(seconds) + "\n" + more);
        second = std::make_unique<ModelRun>(folder, "second", "second.inp");
        second->start();
        EXPECT_EQ(second->hotStart(first.save()), STATE_OK) << second->readReport();
    }
};

/// The largest difference of two numbers that may be told as rounding.
bool isNear(double a, double b) {
    return std::fabs(a - b) <= 1.0e-7 * (1.0e-3 + std::fabs(a) + std::fabs(b));
}

struct Errors {
    double runoff, flow;
    std::vector<double> washoff, quality;
};

/// Continuity errors of a run, %.
Errors getErrors(Model& model) {
    Errors errors{massbal_closeRunoff(model).error, 0.0, {}, {}};
    massbal_closeFlow(model, &errors.flow);
    for (int p = 0; p < model.polluts.size(); ++p) {
        double error;
        errors.washoff.push_back(massbal_getWashoff(model, p).error);
        massbal_closeQuality(model, p, &error);
        errors.quality.push_back(error);
    }
    return errors;
}

}  // namespace

TEST(StateHotStart, GoesOnAsTheRunThatLeftTheState) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        HotStart runs(getText(seed), 37);
        Model &first = *runs.first.model, &second = *runs.second->model;
        for (int step = 0; step < 60; ++step) {
            runs.first.step();
            runs.second->step();
            for (int32_t k = 0; k < first.nodes.size(); ++k) {
                ASSERT_TRUE(isNear(first.nodes[k].newInflow, second.nodes[k].newInflow))
                    << seed << " " << step << " " << first.nodes[k].id << ": " << first.nodes[k].newInflow << " "
                    << second.nodes[k].newInflow;
                for (int32_t p = 0; p < first.polluts.size(); ++p) {
                    ASSERT_TRUE(isNear(first.nodes[k].newQual[p], second.nodes[k].newQual[p]))
                        << seed << " " << step << " " << first.nodes[k].id;
                }
            }
            for (int32_t k = 0; k < first.subcatches.size(); ++k) {
                ASSERT_TRUE(isNear(first.subcatches[k].thisRunoff, second.subcatches[k].thisRunoff)) << seed;
            }
        }
    }
}

/// Water and a pollutant come in the first hour; the state is taken while they are on their way, and in the end all
/// that isn't stored has left. So the balance of the second run shows every drop that the state was given wrongly.
static const char* const EmptyingText =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 20:00\nROUTING_STEP 0:01:00\n"
    "RUNOFF_STEP 0:05:00\nREPORT_STEP 0:10:00\nREPORT_AVERAGE NO\n[POLLUTANTS]\nQ 0\n"
    "[JUNCTIONS]\nA\nB\nC\nD\nE\n[TANKS]\nT SHAPE 3 0.5\n[OUTFALLS]\nO\nO2\n"
    "[REACTORS]\nR CSTR O2 FLOW_CAPACITY 90000 40 10 20\nF PFR O2 FLOW_CAPACITY 90000 0.5 10\n"
    "[PIPES]\nAB A B NO 180 3 0.2 0\nBC B C NO 300 2 0.1 0\nDE D E YES 120 2 0 0\n"
    "[CONNECTIONS]\nCT C T NO 430\nRF R F NO 60\nFD F D NO 0\nEO E O YES 600\n"
    "[ORIFICES]\nTR T R NO CIRCULAR 0.6 0.4 0.1\n[CURVES]\nSHAPE TANK 0 20 2 60 6 90\n"
    "[INFLOWS]\nA FLOW FLOW 0 S 1\nA MASS Q 0 S 0.05\nC FLOW FLOW 0 S 0.4\n"
    "[TIMESERIES]\nS 2021/03/01 0:00 0.02 0:30 0.08 1:00 0.05 1:01 0 20:00 0\nRAIN 2021/03/01 0:00 12 0:10 30 0:20 18 "
    "0:30 8 "
    "0:40 5 0:50 0\n[RAINGAGES]\nG INTENSITY 0:10 RAIN\n[SUBCATCHS]\nS1 G A 2 90 40 1 0.012 0.1 1 3 10 3 4 5 0\n"
    "[LIDS]\nCELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\nCELL STORAGE 300 0.67 3\n"
    "CELL DRAIN 3 0.5 100\n[LID_GROUPS]\nS1 CELL 500 10 20 25\n[LANDUSES]\nROAD\n[COVERAGES]\nS1 ROAD 100\n"
    "[BUILDUP]\nROAD Q 40 0.4\n[WASHOFF]\nROAD Q EXP 0.4 1.2 0\n[LOADINGS]\nS1 Q 20\n";

/// The balances of runs that begin with a state of so many steps, against these bounds in per cent.
static void expectClosed(const std::string& text, double flowBound, double qualityBound) {
    for (const int steps : {13, 28, 41, 61, 62, 63, 64, 65, 72, 90}) {
        HotStart runs(text, steps);
        runs.second->stepToEnd();
        const Errors errors = getErrors(*runs.second->model);
        EXPECT_NEAR(errors.runoff, 0.0, 0.3) << steps;
        EXPECT_NEAR(errors.washoff[0], 0.0, 0.7) << steps;
        EXPECT_NEAR(errors.flow, 0.0, flowBound) << steps;
        EXPECT_NEAR(errors.quality[0], 0.0, qualityBound) << steps;
    }
}

TEST(StateHotStart, ClosesItsBalances) {
    std::string text = EmptyingText;
    const std::string pipes = "[PIPES]\nAB A B NO 180 3 0.2 0\nBC B C NO 300 2 0.1 0\nDE D E YES 120 2 0 0\n";
    text.replace(text.find(pipes), pipes.size(), "[CONNECTIONS]\nAB A B NO 180\nBC B C NO 300\nDE D E YES 120\n");
    expectClosed(text, 0.5, 0.7);
}

/// Pipes make a few per cent of their own: what comes in the step of a firing is in no sum.
TEST(StateHotStart, ClosesItsBalancesWithPipes) {
    expectClosed(EmptyingText, 2.0, 4.0);
}

/// No run makes water: what a generated project loses by its oddities it loses again.
TEST(StateHotStart, GivesNoWaterFromNowhere) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        HotStart runs(getText(seed), 37);
        runs.second->stepToEnd();
        const Errors errors = getErrors(*runs.second->model);
        EXPECT_GT(errors.flow, -0.1) << seed;
        EXPECT_LT(errors.flow, 10.0) << seed;
        EXPECT_NEAR(errors.runoff, 0.0, 1.0) << seed;
    }
}

TEST(StateHotStart, TakesAnotherStep) {
    HotStart runs(EmptyingText, 41, "ROUTING_STEP 0:00:30\n");
    runs.second->stepToEnd();
    EXPECT_NEAR(getErrors(*runs.second->model).flow, 0.0, 1.0);
}

TEST(StateHotStart, LeavesParametersAndTotalsOfItsOwn) {
    HotStart runs(EmptyingText, 41);
    Model& model = *runs.second->model;
    EXPECT_EQ(model.totals.flow.externalInflow, 0.0);
    EXPECT_EQ(model.results->period, 1);
    EXPECT_EQ(model.clock.newRoutingTime, 0.0);
    EXPECT_EQ(model.nodes[0].statInflowVolume, 0.0);
    EXPECT_EQ(model.tanks[0].newDepth, runs.first.model->tanks[0].newDepth);
    EXPECT_GT(model.totals.flow.initStorage, 0.0);
    EXPECT_GT(model.totals.initSurfaceStorage, 0.0);
}
