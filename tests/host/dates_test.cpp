// Dates of the command line, which are those of the project file with nothing behind them.

#include "dates.h"

#include <gtest/gtest.h>

TEST(Dates, AreReadWithTheirTimes) {
    // 1 March 2021 is day 44256.
    for (const auto& [text, date] : {std::pair{"2021/03/01", 44256.0},
                                     {"2021-mar-01", 44256.0},
                                     {"2021/3/1 6", 44256.25},
                                     {"2021/03/01T6:00", 44256.25},
                                     {"2021/03/01 6:00:00", 44256.25},
                                     {"2021/03/01 24:00", 44257.0},
                                     {"2021/03/01 0.75", 44256.03125},
                                     {"2020/02/29", 43890.0},
                                     {"0001/01/01", -693593.0},
                                     {"9999/12/31", 2958465.0}}) {
        double read = 0.0;
        EXPECT_TRUE(dates_parse(text, &read)) << text;
        EXPECT_EQ(read, date) << text;
    }
}

TEST(Dates, ThatAreNoneLeaveEverythingAsItIs) {
    for (const char* text :
         {"",          "2021",      "2021/",      "2021/03",     "2021/03/",   "2021/03-",   "2021.03.01", "2021/03.01",
          "x/03/01",   "2021/x/01", "2021/JA",    "2021/JUX/01", "2021/03/x",  "2021/-3/01", "-1/03/01",   "0/03/01",
          "10000/1/1", "2021/0/01", "2021/13/01", "2021/03/00",  "2021/03/32", "2021/02/29", "2021/03/01x"}) {
        double date = 77.0;
        EXPECT_FALSE(dates_parse(text, &date)) << text;
        EXPECT_EQ(date, 77.0) << text;
    }
}

TEST(Dates, WithoutAWholeTimeOfDayAreNone) {
    for (const char* time :
         {" ",        "T",      " x",     " 6:", " 6;30", " 6:x",   " :30",   " 6:30:",    " 6:30:x", " 6:60",
          " 6:30:60", " 25:00", " 24:01", " 25", " -1",   " -1:30", " 6:30x", " 6:30:15x", " 6:30 ",  " 6:30:15:1"}) {
        double date = 77.0;
        EXPECT_FALSE(dates_parse(std::string("2021/03/01") + time, &date)) << time;
        EXPECT_EQ(date, 77.0) << time;
    }
}
