// Lines of pollutants.

#include <gtest/gtest.h>

#include "support/lineerrors.h"

TEST(PollutantLines, AreRefused) {
    expectRefused("[POLLUTANTS]", "P", "ERROR 203: too few items ");
    expectRefused("[POLLUTANTS]", "P -1", "ERROR 211: invalid number -1 ");
    expectRefused("[POLLUTANTS]", "P x", "ERROR 211: invalid number x ");
}
