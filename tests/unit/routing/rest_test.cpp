// What can't change isn't worked out: a run in which the network may rest against a plain one, which works out every
// step of every object. After each step both must be in the same state, down to the last bit.

#include "routing/rest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "links/conduit.h"
#include "links/link.h"
#include "links/pipe.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "routing/loadbook.h"
#include "support/generate.h"
#include "support/project.h"
#include "support/stateruns.h"

namespace {

/// The same project twice: one run may rest, the other is plain.
struct Pair {
    GeneratedFolder folder;
    ModelRun resting{folder, "resting"}, plain{folder, "plain"};

    explicit Pair(const std::string& text) : folder(text) { start(); }
    explicit Pair(unsigned seed) : folder(seed) { start(); }

    void start() {
        plain.model->pace.isPlain = true;
        resting.start();
        plain.start();
    }
    /// Does the same to both, as a host does.
    void write(const std::function<void(Model&)>& change) {
        for (ModelRun* run : {&resting, &plain}) {
            change(*run->model);
            pace_noteChange(run->model->pace);
        }
    }
    /// What a rule does, of which nobody is told.
    void steer(const std::function<void(Model&)>& change) {
        for (ModelRun* run : {&resting, &plain}) {
            change(*run->model);
        }
    }
    bool step(int count = 1) {
        bool goesOn = true;
        for (int k = 0; k < count && goesOn; ++k) {
            goesOn = resting.step();
            EXPECT_EQ(plain.step(), goesOn);
            EXPECT_EQ(tellDifference(*resting.model, resting.save(), plain.save()), "");
            goesOn = goesOn && !testing::Test::HasFailure();
        }
        return goesOn;
    }
    /// Ends both; they must leave the same bytes behind.
    void finish() {
        resting.finish();
        plain.finish();
        EXPECT_EQ(resting.readReport(), plain.readReport());
        run_close(*resting.model);
        run_close(*plain.model);
        EXPECT_EQ(readFile(resting.results), readFile(plain.results));
    }

    Model& model() { return *resting.model; }
    bool doesPipeRest(int32_t pipe) {
        return model().links[model().pipes[pipe].link].clock.restKey == model().rest.key;
    }
    bool doesVisitRest(int32_t node) { return rest_isVisitResting(model(), node); }
};

std::string chain(const std::string& pipes, const std::string& more = "", int minutes = 600) {
    return getGeneral(minutes) + "[POLLUTANTS]\nX 0\n[JUNCTIONS]\nA\nB\n[OUTFALLS]\nOUT\n[PIPES]\n" + pipes + more;
}

const std::string TWO_PIPES = "P A B NO 120 2 0.2 0\nQ B OUT NO 60 1 0.1 0\n";

void pour(Model& model, double flow, double load) {
    model.requests.inflows.push_back({0, 0, flow});
    model.requests.loads.push_back({0, 0, load});
}

}  // namespace

// --- pipes and junctions -------------------------------------------------------------------------------------------

TEST(RestOfPipes, BeginsOnceTheyHaveFiredOnNothing) {
    Pair pair(chain(TWO_PIPES));
    pair.step(8);
    EXPECT_TRUE(pair.doesPipeRest(0));
    EXPECT_TRUE(pair.doesPipeRest(1));
    EXPECT_FALSE(pair.plain.model->rest.isAllowed);
    pair.finish();
}

TEST(RestOfPipes, EndsWithWater) {
    Pair pair(chain(TWO_PIPES));
    pair.step(8);
    pair.steer([](Model& model) { pour(model, 0.5, 0.1); });
    pair.step();
    EXPECT_FALSE(pair.doesPipeRest(0));
    EXPECT_TRUE(pair.doesPipeRest(1));
    pair.step(200);
    EXPECT_GT(pair.model().links[1].statFlowVolume, 0.0);
    pair.finish();
}

TEST(RestOfPipes, EndsWithALoadWithoutWater) {
    Pair pair(chain(TWO_PIPES));
    pair.step(8);
    pair.steer([](Model& model) { pour(model, 0.0, 0.1); });
    pair.step(20);
    pair.steer([](Model& model) { pour(model, 0.0, -std::numeric_limits<double>::infinity()); });
    pair.step(20);
    pair.finish();
}

// A reservoir gives the same share of what it holds, until there is no smaller number: what is left never leaves, or
// has left once too much.
TEST(RestOfPipes, BeginsWithWaterThatNeverLeavesAndEndsWithMore) {
    bool hasLeft = false, lacks = false;
    for (const char* pipe : {"60 2 0", "75 2 0.1", "90 2 0.2", "110 2 0.3", "130 2 0.4", "170 2 0.45", "97 1 0.3"}) {
        Pair pair(chain(std::string("P A B NO ") + pipe + " 0\nQ B OUT NO 90 1 0.2 0\n", "", 4000));
        pair.steer([](Model& model) { pour(model, 0.5, 0.1); });
        pair.step(3000);
        const double storage = pair.model().pipes[0].storage[0];
        EXPECT_TRUE(pair.doesPipeRest(0)) << pipe;
        EXPECT_TRUE(pair.doesVisitRest(0)) << pipe;
        EXPECT_NE(storage, 0.0) << pipe;
        EXPECT_LT(std::abs(storage), 1e-320) << pipe;
        hasLeft = hasLeft || storage > 0.0;
        lacks = lacks || std::signbit(pair.model().links[0].newFlow);
        pair.steer([](Model& model) { pour(model, 1e-322, 1e-322); });
        pair.step(100);
        pair.finish();
    }
    EXPECT_TRUE(hasLeft);
    EXPECT_TRUE(lacks);
}

TEST(RestOfPipes, KeepsTheirClocksGoing) {
    Pair pair(chain("P A B NO 420 2 0.2 0\nQ B OUT NO 90 1 0.1 0\n"));
    pair.step(40);
    const FireClock& clock = pair.model().links[0].clock;
    EXPECT_TRUE(pair.doesPipeRest(0));
    EXPECT_GT(clock.lastFireTime, 10.0 * 60000.0);
    EXPECT_EQ(clock.nextFireTime - clock.lastFireTime, 420000.0);
    while (pair.step()) {
    }
    pair.finish();
}

TEST(RestOfPipes, EndsWithWhateverAHostWrites) {
    const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
    for (const double value : {1.0, -1.0, 0.0, -0.0, nan, infinity}) {
        Pair pair(chain(TWO_PIPES));
        const auto tryOut = [&](const std::function<void(Model&)>& change) {
            pair.step(8);
            pair.write(change);
            pair.step(8);
        };
        tryOut([=](Model& model) {
            model.links[0].newFlow = value;
            pipe_noteChange(model, 0);
        });
        tryOut([=](Model& model) {
            model.pipes[0].k = value;
            link_forgetFacts(model.links[0]);
        });
        tryOut([=](Model& model) {
            model.pipes[1].maxFlow = value;
            link_forgetFacts(model.links[1]);
        });
        tryOut([=](Model& model) { link_holdSetting(model, 0, value); });
        tryOut([=](Model& model) { pour(model, value, 1.0 - value); });
        tryOut([=](Model& model) { model.pipes[1].x = value; });
        pair.finish();
        if (testing::Test::HasFailure()) {
            FAIL() << value;
        }
    }
}

TEST(RestOfPipes, EndsWithARulesSetting) {
    // A setting below 0 makes a flow out of nothing.
    Pair pair(chain("P A B NO 120 2 0.2 1\nQ B OUT NO 60 1 0.1 0\n"));
    pair.step(8);  // it fires in every second step, and not in the next one
    ASSERT_TRUE(pair.doesPipeRest(0));
    pair.steer([](Model& model) {
        model.links[0].isHostSetting = false;
        link_noteTarget(model, 0);
        model.links[0].setting = -1.0;  // what the next step takes back
    });
    pair.step();
    EXPECT_EQ(pair.model().links[0].setting, 1.0);
    EXPECT_FALSE(pair.doesPipeRest(0));
    pair.finish();
}

TEST(RestOfPipes, EndsWithTheHourWhereThePatternOfADecayMayGoToPieces) {
    // In hour 1 the factor of the decay is infinite: what was 0 in an empty pipe is no number from then on.
    const std::string decay = "[DECAY_COEFFICIENT]\nP LINK X FIRST 1000000 G\n[PATTERNS]\nG HOURLY 1 -1000000 1\n";
    Pair pair(getGeneral(200) + chain(TWO_PIPES, decay).substr(getGeneral(600).size()));
    pair.step(30);
    const bool rested = pair.doesPipeRest(0);
    pair.step(60);
    EXPECT_TRUE(rested);
    EXPECT_TRUE(std::isnan(pair.model().links[0].newQual[0]));
    pair.finish();
}

TEST(RestOfPipes, SurvivesAllKeys) {
    Pair pair(chain(TWO_PIPES));
    pair.step(8);
    const uint16_t key = pair.model().rest.key;
    for (int k = 0; k < 65534; ++k) {
        pace_noteNetworkChange(pair.model().pace);
        rest_beginStep(pair.model(), 0.0);
    }
    EXPECT_EQ(pair.model().rest.key, key - 1 == 0 ? 65535 : key - 1);
    pace_noteNetworkChange(pair.model().pace);
    rest_beginStep(pair.model(), 0.0);
    EXPECT_EQ(pair.model().rest.key, key);
    EXPECT_FALSE(pair.doesPipeRest(0));
}

// --- visits --------------------------------------------------------------------------------------------------------

TEST(RestOfVisits, BeginsWithTheRestOfThePipesOfAJunction) {
    Pair pair(chain(TWO_PIPES));
    pair.step();
    EXPECT_FALSE(pair.doesVisitRest(0));
    EXPECT_FALSE(pair.doesVisitRest(1));
    while (!pair.doesPipeRest(0) || !pair.doesPipeRest(1)) {
        ASSERT_TRUE(pair.step());
    }
    pair.step();
    EXPECT_TRUE(pair.doesVisitRest(0));
    EXPECT_TRUE(pair.doesVisitRest(1));
    EXPECT_FALSE(pair.doesVisitRest(2)) << "an outfall";
    EXPECT_FALSE(rest_isVisitResting(*pair.plain.model, 0));
    pair.finish();
}

TEST(RestOfVisits, EndsWhereSomethingComesIn) {
    for (const double flow : {0.5, -0.5, 1.0e-300, std::nan("")}) {
        Pair pair(chain(TWO_PIPES));
        pair.step(10);
        ASSERT_TRUE(pair.doesVisitRest(0) && pair.doesVisitRest(1));
        pair.steer([=](Model& model) { pour(model, flow, 0.0); });
        pair.step();
        EXPECT_FALSE(pair.doesVisitRest(0)) << "a request for it";
        pair.step(30);
        pair.finish();
    }
}

TEST(RestOfVisits, EndsBelowAPipeThatIsWoken) {
    // The upper pipe fires in steps 2, 11 and 21.
    Pair pair(chain("P A B NO 600 2 0.2 0\nQ B OUT NO 60 1 0.1 0\n"));
    pair.step(12);
    ASSERT_TRUE(pair.doesVisitRest(0) && pair.doesVisitRest(1));
    pair.steer([](Model& model) { pour(model, 0.5, 0.1); });
    pair.step(4);
    EXPECT_EQ(pair.model().links[0].clock.sumVolume, 30.0) << "it waits to fire";
    EXPECT_TRUE(pair.doesPipeRest(1));
    EXPECT_FALSE(pair.doesVisitRest(1)) << "which nothing has reached yet";
    pair.step(200);
    EXPECT_GT(pair.model().nodes[1].statInflowVolume, 0.0);
    pair.finish();
}

/// The visit of B rests after so many steps, and an hour later no more: something has come from the land.
static void expectWokenByLand(Pair& pair, int steps) {
    pair.step(steps);
    EXPECT_TRUE(pair.doesVisitRest(1));
    pair.step(60);
    EXPECT_FALSE(pair.doesVisitRest(1));
    EXPECT_GT(pair.model().nodes[1].statInflowVolume, 0.0);
}

TEST(RestOfVisits, EndsWithRunoff) {
    const std::string land =
        "[RAINGAGES]\nG INTENSITY 0:05 T\n[SUBCATCHS]\nS G B 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n"
        "[TIMESERIES]\nT 2021/03/01 0:00 0\nT 2021/03/01 2:00 24\nT 2021/03/01 3:00 0\n";
    Pair pair(chain(TWO_PIPES, land));
    expectWokenByLand(pair, 110);
    EXPECT_TRUE(pair.doesVisitRest(0)) << "further up";
    while (pair.step()) {
    }
    pair.finish();
}

TEST(RestOfVisits, EndsWithADrain) {
    // The barrel lets go an hour after the rain.
    const std::string land =
        "[RAINGAGES]\nG INTENSITY 1:00 T\n[SUBCATCHS]\nS G OUT 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n"
        "[TIMESERIES]\nT 2021/03/01 0:00 0\nT 2021/03/01 2:00 60\nT 2021/03/01 3:00 0\n"
        "[LIDS]\nL RB\nL STORAGE 1000 1 0\nL DRAIN 36 1 0 1\n[LID_GROUPS]\nS L 900 10 0 80 B\n";
    Pair pair(chain(TWO_PIPES, land));
    expectWokenByLand(pair, 200);
    while (pair.step()) {
    }
    pair.finish();
}

TEST(RestOfVisits, NeverBeginsWhereAnInflowOrADischargeIsDue) {
    Pair pair(getGeneral(100) +
              "[POLLUTANTS]\nX 0\n[JUNCTIONS]\nA\nB\nE\nF\n[OUTFALLS]\nOUT\n"
              "[REACTORS]\nR CSTR E FLOW_CAPACITY 2000 50 10 40\n[CONNECTIONS]\nD R OUT NO 0\n"
              "[PIPES]\nP A OUT NO 60 1 0.1 0\nQ B OUT NO 60 1 0.1 0\nS E OUT NO 60 1 0.1 0\nT F OUT NO 60 1 0.1 0\n"
              "[INFLOWS]\nA FLOW FLOW 0 \"\" 1\n[DWFS]\nB FLOW 0 \"\"\n");
    pair.step(10);
    for (int32_t pipe = 0; pipe < 4; ++pipe) {
        EXPECT_TRUE(pair.doesPipeRest(pipe)) << pipe;
    }
    EXPECT_FALSE(pair.doesVisitRest(0)) << "an external inflow";
    EXPECT_FALSE(pair.doesVisitRest(1)) << "a dry weather inflow";
    EXPECT_FALSE(pair.doesVisitRest(2)) << "what a reactor doesn't hold";
    EXPECT_TRUE(pair.doesVisitRest(3));
    pair.finish();
}

TEST(RestOfVisits, EndsAtBothEndsOfAPipeWhoseSettingMoves) {
    Pair pair(chain("P A B NO 120 2 0.2 1\nQ B OUT NO 60 1 0.1 0\n"));
    pair.step(10);
    ASSERT_TRUE(pair.doesVisitRest(0) && pair.doesVisitRest(1));
    pair.steer([](Model& model) {
        link_noteTarget(model, 0);
        model.links[0].setting = -1.0;  // what the next step takes back
    });
    pair.step();
    EXPECT_FALSE(pair.doesVisitRest(0));
    EXPECT_FALSE(pair.doesVisitRest(1));
    pair.finish();
}

TEST(RestOfVisits, EndsWithARestoredState) {
    Pair pair(chain(TWO_PIPES));
    const auto restore = [&](const StateBytes& bytes) {
        EXPECT_EQ(pair.resting.restore(bytes), STATE_OK);
        EXPECT_EQ(pair.plain.restore(bytes), STATE_OK);
    };
    pair.step(10);
    const StateBytes dry = pair.resting.save();
    pair.steer([](Model& model) { pour(model, 0.5, 0.1); });
    pair.step(3);
    const StateBytes wet = pair.resting.save();
    restore(dry);
    pair.step(10);
    ASSERT_TRUE(pair.doesVisitRest(0) && pair.doesVisitRest(1));
    restore(wet);
    pair.step(40);
    EXPECT_FALSE(pair.doesVisitRest(0));
    pair.finish();
}

TEST(RestOfVisits, EndsWhereTheRunGoesOnPlainly) {
    Pair pair(chain(TWO_PIPES));
    pair.step(10);
    ASSERT_TRUE(pair.doesVisitRest(1));
    pair.model().pace.isPlain = true;
    pair.steer([](Model& model) { pour(model, 0.5, 0.1); });
    pair.step(5);
    EXPECT_FALSE(pair.doesVisitRest(1));
    pair.model().pace.isPlain = false;
    pair.step(200);
    EXPECT_GT(pair.model().links[1].statFlowVolume, 0.0);
    pair.finish();
}

TEST(RestOfVisits, LeavesTheBookOfLoadsAsItIs) {
    Pair pair(chain(TWO_PIPES));
    pair.steer([](Model& model) {
        model.loadBook->isWanted = true;
        loadbook_open(model);
    });
    pair.step(20);
    ASSERT_TRUE(pair.doesVisitRest(0));
    pair.steer([](Model& model) { pour(model, 0.5, 0.25); });
    pair.step(300);
    Balance rested{}, worked{};
    for (int32_t node = 0; node < 3; ++node) {
        ASSERT_TRUE(loadbook_getNode(pair.model(), node, 0, rested));
        ASSERT_TRUE(loadbook_getNode(*pair.plain.model, node, 0, worked));
        EXPECT_EQ(rested.in, worked.in) << node;
        EXPECT_EQ(rested.out, worked.out) << node;
        EXPECT_GT(rested.in, 0.0) << node;
    }
    pair.finish();
}

// --- stores --------------------------------------------------------------------------------------------------------

TEST(RestOfTanks, BeginsBelowTheirOutletsAndEndsWithInflowOrSetting) {
    const std::string text =
        getGeneral(900) +
        "[POLLUTANTS]\nX 0\n[TANKS]\nT S 3 1\n[OUTFALLS]\nOUT\n"
        "[WEIRS]\nW T OUT NO RECTANGULAR 1.8 1 1.5 0.8\n[ORIFICES]\nO T OUT NO CIRCULAR 0.6 1.2 0.1\n"
        "[PUMPS]\nU T OUT C NO OFF 0 0\n"
        "[CURVES]\nS TANK 0 10 4 30\nC PUMP1 0 0.01 4 0.02\n[INITIAL_CONCENTRATION]\nT x X 7\n";
    Pair pair(text);
    const auto rests = [&] { return pair.model().tanks[0].restKey == pair.model().rest.key; };
    pair.step(60);
    EXPECT_TRUE(rests());
    pair.steer([](Model& model) { pour(model, 0.01, 0.0); });
    pair.step();
    EXPECT_FALSE(rests());
    pair.step(60);
    EXPECT_TRUE(rests());
    pair.steer([](Model& model) { model.links[2].targetSetting = model.links[2].setting = 0.5; });
    pair.write([](Model& model) { link_holdSetting(model, 2, 0.5); });
    pair.step();
    EXPECT_FALSE(rests());
    pair.step(400);
    pair.write([](Model& model) { model.tanks[0].newDepth = 2.5; });
    while (pair.step()) {
    }
    pair.finish();
}

TEST(RestOfReactors, BeginsWhereNothingReactsAndEndsWithARule) {
    const std::string text = getGeneral(900) +
                             "[POLLUTANTS]\nX 0\n[JUNCTIONS]\nA\nE\n[REACTORS]\nR CSTR E FLOW_CAPACITY 2000 50 10 40\n"
                             "[REACTORS_EMPTYING]\nR E 9 0 0 \"\"\n[OUTFALLS]\nOUT\nOUT2\n"
                             "[CONNECTIONS]\nC A R NO 0\nD R OUT NO 0\nF E OUT2 NO 0\n";
    Pair pair(text);
    const auto rests = [&] { return pair.model().reactors[0].restKey == pair.model().rest.key; };
    pair.step(5);
    EXPECT_TRUE(rests());
    EXPECT_EQ(pair.model().reactors[0].storedVolume, 20.0);
    pair.steer([](Model& model) { model.reactors[0].isEmptying = 1; });
    pair.step(5);
    EXPECT_FALSE(rests());
    EXPECT_LT(pair.model().reactors[0].storedVolume, 20.0);
    pair.steer([](Model& model) { model.reactors[0].isEmptying = 0; });
    pair.step(5);
    EXPECT_TRUE(rests());
    pair.steer([](Model& model) { pour(model, 0.1, 0.2); });
    while (pair.step()) {
    }
    pair.finish();
}

TEST(RestOfConduits, LastsUntilWaterComes) {
    for (const char* section : {"CIRCULAR 1", "RECTANGULAR 1 1"}) {
        Pair pair(getGeneral(900) +
                  "[POLLUTANTS]\nX 0\n[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[CONDUITS]\nC A OUT NO 200 0.2 " + "0.013 " +
                  section + "\n");
        const auto rests = [&] { return pair.model().conduits[0].restKey == pair.model().rest.key; };
        pair.step(4);
        EXPECT_TRUE(rests()) << section;
        pair.steer([](Model& model) { pour(model, 0.3, 0.1); });
        pair.step(20);
        EXPECT_FALSE(rests()) << section;
        pair.write([](Model& model) { model.conduits[0].roughness = 0.03; });
        pair.steer([](Model& model) { pour(model, 5.0, 0.1); });
        pair.step(20);
        EXPECT_GT(pair.model().totals.flow.floodingLoss, 0.0) << section;
        pair.write([](Model& model) { model.conduits[0].height = 0.5; });
        pair.steer([](Model& model) { pour(model, 0.2, 0.1); });
        while (pair.step()) {
        }
        pair.finish();
    }
}

// --- all kinds -----------------------------------------------------------------------------------------------------

/// Something of what hosts do, drawn by chance; the same for both.
static void meddle(Pair& pair, std::mt19937& random) {
    const auto pick = [&](auto& rows) { return static_cast<int32_t>(random() % rows.size()); };
    Model& model = pair.model();
    const int32_t node = pick(model.nodes.rows), link = pick(model.links.rows), pipe = pick(model.pipes.rows);
    const double values[] = {0.0, 0.3, 1.0, -0.01, 2.0};
    const double value = values[random() % 5];
    switch (random() % 6) {
        case 0:
            pair.steer([=](Model& each) {
                each.requests.inflows.push_back({node, 0, value});
                each.requests.inflows.push_back({node, 0, 0.01});
            });
            break;
        case 1: pair.write([=](Model& each) { link_holdSetting(each, link, value); }); break;
        case 2: pair.write([=](Model& each) { each.pipes[pipe].maxFlow = value; }); break;
        case 3:
            pair.write([=](Model& each) {
                each.links[link].newFlow = value;
                if (each.links[link].kind == PIPE) {
                    pipe_noteChange(each, each.links[link].kindIndex);
                }
            });
            break;
        case 4: pair.write([=](Model& each) { each.tanks[0].newDepth = std::fabs(value); }); break;
        default: pair.write([=](Model& each) { each.links[link].isHostSetting = false; }); break;
    }
}

class RestOfAllKinds : public testing::TestWithParam<unsigned> {};

TEST_P(RestOfAllKinds, LeavesEveryBitAsItIs) {
    const unsigned seed = GetParam();
    Pair pair(seed);
    std::mt19937 random(seed);
    for (int k = 0; pair.step(); ++k) {
        if (k % 7 == 3 && seed % 2 == 0) {
            meddle(pair, random);
        }
    }
    pair.finish();
}

INSTANTIATE_TEST_SUITE_P(Projects, RestOfAllKinds, testing::Range(0u, 60u));

TEST(RestOfDryNetworks, LeavesEveryBitAsItIs) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        Pair pair(getGeneral(900) + generateNetwork(seed, 25, static_cast<int>(seed % 3)));
        std::mt19937 random(seed);
        for (int k = 0; pair.step(); ++k) {
            if (k % 40 == 20) {
                const auto node = static_cast<int32_t>(random() % pair.model().nodes.rows.size());
                pair.steer([=](Model& model) { model.requests.inflows.push_back({node, 0, 0.2}); });
            }
        }
        pair.finish();
    }
}
