// Lines of evaporation.

#include "hydrology/evap.h"

#include <gtest/gtest.h>

#include "support/lineerrors.h"
#include "support/model.h"

TEST(EvaporationLines, AreRefused) {
    expectRefused("[EVAPORATION]", "DAILY 1", "ERROR 205: invalid keyword DAILY ");
    expectRefused("[EVAPORATION]", "CONSTANT", "ERROR 203: too few items ");
    expectRefused("[EVAPORATION]", "CONSTANT x", "ERROR 211: invalid number x ");
    expectRefused("[EVAPORATION]", "MONTHLY 1 2 3 4 5 6 7 8 9 10 11", "ERROR 203: too few items ");
    expectRefused("[EVAPORATION]", "MONTHLY 1 2 3 4 5 6 7 8 9 10 11 y", "ERROR 211: invalid number y ");
}

TEST(EvaporationLines, MayBeGoodOnce) {
    EXPECT_EQ(getErrors("[EVAPORATION]\nCONSTANT x\nCONSTANT -1\nMONTHLY\n"),
              lineError("ERROR 211: invalid number x ", LINES_BEFORE + 2, "[EVAPORATION]", "CONSTANT x\n") +
                  lineError("ERROR 217: invalid input line ", LINES_BEFORE + 4, "[EVAPORATION]", "MONTHLY\n"));
}

TEST(EvaporationLines, AreTakenBesideAWrongOne) {
    const Project project(getGeneral(10) + NETWORK + "[EVAPORATION]\nCONSTANT x\nCONSTANT -1\n");
    EXPECT_EQ(project.open(), 200);
    EXPECT_EQ(testModel().evap->constant, -1.0);
}

TEST(EvaporationLines, AreTestedForTheirWordBeforeTheyAreASecondOne) {
    EXPECT_EQ(getErrors("[EVAPORATION]\nCONSTANT 1\nDAILY 2\n"),
              lineError("ERROR 205: invalid keyword DAILY ", LINES_BEFORE + 3, "[EVAPORATION]", "DAILY 2\n"));
}
