// Lines of decay and of initial concentrations.

#include <gtest/gtest.h>

#include "links/pipe.h"
#include "model/decay.h"
#include "model/pattern.h"
#include "support/lineerrors.h"
#include "support/model.h"

TEST(DecayLines, AreRefused) {
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST 1", "ERROR 203: too few items ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 PIPE COD FIRST 1 \"\"", "ERROR 205: invalid keyword PIPE ");
    expectRefused("[DECAY_COEFFICIENT]", "P9 LINK COD FIRST 1 \"\"", "ERROR 209: undefined object P9 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK X FIRST 1 \"\"", "ERROR 209: undefined object X ");
    expectRefused("[DECAY_COEFFICIENT]", "p1 LINK COD ZERO 1 \"\"", "ERROR 800: not FIRST decay type for object p1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD THIRD 1 \"\"", "ERROR 800: not FIRST decay type for object P1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST -1x \"\"", "ERROR 211: invalid number -1x ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK X ZERO -1x NONE", "ERROR 209: undefined object X ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD ZERO -1x NONE", "ERROR 800: not FIRST decay type for object P1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST -1x NONE", "ERROR 211: invalid number -1x ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST 1 NONE", "ERROR 209: undefined object NONE ");
    expectRefused("[DECAY_COEFFICIENT]", "A NODE COD FIRST 1 \"\"", "ERROR 209: undefined object A ");
}

TEST(DecayLines, TakeWordsAsZeroAndNegativeNumbersAsTheyAre) {
    Project project(getGeneral(10) + NETWORK +
                    "[DECAY_COEFFICIENT]\nP1 LINK TSS first word H\nP1 link COD FIRST -8.64 \"\"\n");
    ASSERT_EQ(project.open(), 0);
    const Decay* decay = testModel().pipes[0].decay;
    EXPECT_EQ(decay[1].type, FIRST_ORDER);
    EXPECT_EQ(decay[1].k, 0.0);
    EXPECT_EQ(decay[1].pattern, 0);
    EXPECT_EQ(decay[0].k, -8.64 / 86400.0);
    EXPECT_EQ(decay[0].pattern, -1);
}

TEST(DecayLines, LeaveTheSecondPollutantAtZeroWithoutOne) {
    Project project(getGeneral(10) + NETWORK);
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().pipes[0].decay[0].type, -1);
    EXPECT_EQ(testModel().pipes[0].decay[0].pattern, -1);
    EXPECT_EQ(testModel().pipes[0].decay[1].type, 0);
    EXPECT_EQ(testModel().pipes[0].decay[1].pattern, 0);
}

TEST(DecayLines, AreDroppedForLinksWithoutWater) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\nB\n[CONNECTIONS]\nC B OUT NO 0\n[DECAY_COEFFICIENT]\nC LINK X Y Z Q\n", 0), "");
}

TEST(DecayLines, AreDroppedAheadOfTheirPipe) {
    Project project(
        "[POLLUTANTS]\nCOD 0\n[DECAY_COEFFICIENT]\nP1 LINK COD FIRST 1 \"\"\n[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\n"
        "P1 A OUT NO 60 1 0 0\n" +
        getGeneral(5));
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().pipes[0].decay[0].type, -1);
}

TEST(ConcentrationLines, AreDroppedForNodesWithoutStorage) {
    EXPECT_EQ(getErrors("[INITIAL_CONCENTRATION]\nA x NOTHING -x\n", 0), "");
    expectRefused("[INITIAL_CONCENTRATION]", "A x COD", "ERROR 203: too few items ");
    expectRefused("[INITIAL_CONCENTRATION]", "X x COD 1", "ERROR 209: undefined object X ");
}
