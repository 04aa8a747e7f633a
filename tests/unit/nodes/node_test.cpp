// What every node does with what its links deliver.

#include <gtest/gtest.h>

#include <string>

#include "support/lineerrors.h"
#include "support/model.h"
#include "support/pipes.h"

TEST(JunctionLines, NeedNothingButAnId) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\nB words behind\n[PIPES]\nP2 B OUT NO 60 1 0 0\n", 0), "");
}

TEST(Mixing, WeighsByFlow) {
    StartedProject m(
        getGeneral(60) +
        "[JUNCTIONS]\nA\nB\nC\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nK A C NO 0\nL B C NO 0\nM C OUT NO 0\n[POLLUTANTS]\nX "
        "0\n"
        "[DWFS]\nA FLOW 1 \"\"\nA X 40 \"\"\nB FLOW 3 \"\"\nB X 8 \"\"\n");
    m.step();
    EXPECT_NEAR(m.node("C").newQual[0], (40.0 + 3.0 * 8.0) / 4.0, 1e-12);
    EXPECT_NEAR(m.node("OUT").newQual[0], 16.0, 1e-12);
    EXPECT_EQ(testModel().totals.quality[0].externalOutflow,
              DT * (m.node("OUT").newInflow * m.node("OUT").newQual[0] / 1000.0));
}
