#include "text/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(Number, IsCutTowardsZero) {
    EXPECT_EQ(number_truncate(2.999), 2);
    EXPECT_EQ(number_truncate(-2.999), -2);
    EXPECT_EQ(number_truncate(-0.5), 0);
    EXPECT_EQ(number_truncate(2147483647.9), INT32_MAX);
    EXPECT_EQ(number_truncate(-2147483648.9), INT32_MIN);
}

TEST(Number, ThatDoesntFitIsTheSmallestInteger) {
    for (const double value :
         {2147483648.0, -2147483649.0, 1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_EQ(number_truncate(value), INT32_MIN) << value;
        EXPECT_EQ(number_truncate(-value), INT32_MIN) << -value;
    }
}
