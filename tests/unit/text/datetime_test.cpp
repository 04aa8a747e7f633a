#include "text/datetime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

static constexpr double INF = std::numeric_limits<double>::infinity();
static const double NOT_A_NUMBER = std::nan("");

static double parseDate(const char* text) {
    DateTime date;
    const int32_t isDate = datetime_parseDate(text, &date);
    EXPECT_EQ(isDate != 0, date != NO_DATE) << text;
    return date;
}

static double parseTime(const char* text) {
    double days;
    return datetime_parseTime(text, &days) ? days : -1000.0;
}

static std::string formatTime(DateTime date) {
    char text[TIME_TEXT_SIZE];
    datetime_formatTime(date, text);
    return text;
}

static std::string formatDateTime(DateTime date) {
    char text[DATE_TIME_TEXT_SIZE];
    datetime_formatDateTime(date, text);
    return text;
}

TEST(EncodeDate, CountsDaysFrom30December1899) {
    EXPECT_EQ(datetime_encodeDate(1899, 12, 30), 0.0);
    EXPECT_EQ(datetime_encodeDate(2020, 1, 1), 43831.0);
    EXPECT_EQ(datetime_encodeDate(1, 1, 1), -693593.0);
}

TEST(EncodeDate, RefusesWhatIsNoDate) {
    for (const auto& [y, m, d] : {std::tuple{0, 1, 1},
                                  {10000, 1, 1},
                                  {2020, 0, 1},
                                  {2020, 13, 1},
                                  {2020, 1, 0},
                                  {2020, 1, 32},
                                  {2020, 2, 30},
                                  {2021, 2, 29},
                                  {1900, 2, 29},
                                  {2020, 4, 31}}) {
        EXPECT_EQ(datetime_encodeDate(y, m, d), NO_DATE) << y << '/' << m << '/' << d;
    }
    EXPECT_NE(datetime_encodeDate(2000, 2, 29), NO_DATE);
    EXPECT_NE(datetime_encodeDate(9999, 12, 31), NO_DATE);
}

TEST(DecodeDate, GivesBackEveryDayOfTheCalendar) {
    // Walks the calendar by its own rules: each day follows the one before.
    double day = datetime_encodeDate(1, 1, 1);
    CalendarDate expected{1, 1, 1};
    const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (; expected.year < 2405; day += 1.0) {
        const CalendarDate date = datetime_decodeDate(day + 0.75);
        ASSERT_EQ(date.year, expected.year) << day;
        ASSERT_EQ(date.month, expected.month) << day;
        ASSERT_EQ(date.day, expected.day) << day;
        ASSERT_EQ(datetime_encodeDate(date.year, date.month, date.day), day);
        const int y = expected.year;
        const bool isLeap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
        const int length = lengths[expected.month - 1] + (isLeap && expected.month == 2 ? 1 : 0);
        if (++expected.day > length) {
            expected.day = 1;
            if (++expected.month > 12) {
                expected.month = 1;
                ++expected.year;
            }
        }
    }
}

TEST(DecodeDate, HasAFixedAnswerBeforeYearOneAndForNoNumber) {
    for (const double x : {NO_DATE, -1.0e6, -INF, INF, NOT_A_NUMBER, 1.0e300}) {
        const CalendarDate date = datetime_decodeDate(x);
        EXPECT_EQ(date.year, 0) << x;
        EXPECT_EQ(date.month, 1) << x;
        EXPECT_EQ(date.day, 1) << x;
    }
}

TEST(TimeOfDay, RoundsToTheSecondAndStaysOnItsDay) {
    EXPECT_EQ(datetime_getSecondOfDay(0.5), 43200);
    EXPECT_EQ(datetime_getSecondOfDay(43831.0 + 59.4 / 86400.0), 59);
    EXPECT_EQ(datetime_getSecondOfDay(43831.0 + 59.6 / 86400.0), 60);
    EXPECT_EQ(datetime_getSecondOfDay(0.99999999), 86399);
    EXPECT_EQ(datetime_getSecondOfDay(-0.25), 64800);
    EXPECT_EQ(datetime_getSecondOfDay(NOT_A_NUMBER), 0);
    EXPECT_EQ(datetime_getSecondOfDay(INF), 0);
}

TEST(TimeOfDay, IsTheRoundedFractionOfTheDayWhateverTheDay) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> anyDay(-1.0e10, 1.0e10), nearDay(-700000.0, 3000000.0);
    const auto expected = [](double date) {
        return std::clamp(std::floor((date - std::floor(date)) * 86400.0 + 0.5), 0.0, 86399.0);
    };
    for (int k = 0; k < 100000; ++k) {
        const double second = std::round(nearDay(random) * 86400.0) / 86400.0;
        for (const double date : {anyDay(random), nearDay(random), second, second + 0.5 / 86400.0}) {
            ASSERT_EQ(datetime_getSecondOfDay(date), expected(date)) << date;
            ASSERT_EQ(datetime_getHour(date), std::floor(expected(date) / 3600.0)) << date;
        }
    }
    for (const double date : {-0.0, 2147483647.75, 2147483648.25, -2147483648.25, 4294967296.5}) {
        EXPECT_EQ(datetime_getSecondOfDay(date), expected(date)) << date;
    }
}

TEST(TimeOfDay, HasTheHourOfItsRoundedSecond) {
    EXPECT_EQ(datetime_getHour(43831.0), 0);
    EXPECT_EQ(datetime_getHour(43831.0 + 7.0 / 24.0 - 1e-7), 7);
    EXPECT_EQ(datetime_getHour(43831.0 + 86399.9 / 86400.0), 23);
    EXPECT_EQ(datetime_getHour(NOT_A_NUMBER), 0);
}

TEST(FormatTime, ShowsTheLastSecondOfADay) {
    EXPECT_EQ(formatTime(0.99999999), "23:59:59");
    EXPECT_EQ(formatTime(43831.0), "00:00:00");
    EXPECT_EQ(formatTime(43831.0 + (3.0 * 3600.0 + 4.0 * 60.0 + 5.0) / 86400.0), "03:04:05");
}

TEST(FormatDateTime, AlwaysBeginsWithTheYear) {
    EXPECT_EQ(formatDateTime(43831.5), "2020/01/01 12:00:00");
    EXPECT_EQ(formatDateTime(NO_DATE), "   0/01/01 00:00:00");
}

TEST(AddSeconds, RoundsTheDateButNotTheSeconds) {
    const double second = 1.0 / 86400.0;
    EXPECT_EQ(datetime_addSeconds(100.0 + 10.4 * second, 0.5), 10.5 / 86400.0 + 100.0);
    EXPECT_EQ(datetime_addSeconds(100.0, 86400.0), 101.0);
    EXPECT_EQ(datetime_addSeconds(100.5, -43200.0), 100.0);
}

TEST(AddSeconds, ManyTimesAtOnceGivesTheSameBitsOnAllDays) {
    // From a second of the first day of the year 1 on, to the last day of the year 9999.
    for (const int32_t seconds : {86400, 43201, 90061}) {
        const DateTime first = datetime_addSeconds(-693593.7, seconds);
        DateTime dates[3] = {first, datetime_addSeconds(first, seconds), 0.0};
        dates[2] = datetime_addSeconds(dates[1], seconds);
        while (dates[2] < 2958465.0) {
            // Up to a date that lies a whole number of times ahead, all but the last two.
            ASSERT_EQ(datetime_addSecondsUpTo(first, seconds, dates[2]), dates[0]);
            dates[0] = dates[1];
            dates[1] = dates[2];
            dates[2] = datetime_addSeconds(dates[1], seconds);
        }
    }
}

TEST(AddSeconds, ManyTimesAtOnceStaysAheadOfTheLimit) {
    std::mt19937 chance(1);
    for (int k = 0; k < 2000; ++k) {
        const auto seconds = static_cast<int32_t>(1 + chance() % 100000);
        DateTime date = datetime_addSeconds(static_cast<double>(chance() % 3650000) - 693594.0 + 0.37 * k, seconds);
        const DateTime limit = date + static_cast<double>(chance() % 1000) * seconds / 86400.0;
        const DateTime jump = datetime_addSecondsUpTo(date, seconds, limit);
        while (date < jump) {
            date = datetime_addSeconds(date, seconds);
        }
        ASSERT_EQ(date, jump);
        ASSERT_LE(jump, std::max(date, limit));
        ASSERT_LT((limit - jump) * 86400.0, 4.0 * seconds) << "it stops too early";
    }
    for (const double odd : {NOT_A_NUMBER, INF, -INF, 1e300}) {
        EXPECT_EQ(datetime_addSecondsUpTo(100.0, 60, odd), 100.0);
        EXPECT_TRUE(std::isnan(odd) || datetime_addSecondsUpTo(odd, 60, 100.0) == odd);
    }
    EXPECT_EQ(datetime_addSecondsUpTo(100.0, 0, 200.0), 100.0);
    EXPECT_EQ(datetime_addSecondsUpTo(100.0, -60, 200.0), 100.0);
}

TEST(ParseDate, TakesYearMonthDayWithAnySeparators) {
    const double day = datetime_encodeDate(2020, 1, 5);
    EXPECT_EQ(day, 43835.0);
    for (const char* text :
         {"2020/01/05", "2020-1-5", "2020-JAN-05", "2020/jan/5", "2020.1-5", "2020/1/5abc", "2020-Jan-5"}) {
        EXPECT_EQ(parseDate(text), day) << text;
    }
    EXPECT_EQ(parseDate("2020/2/29"), datetime_encodeDate(2020, 2, 29));
}

TEST(ParseDate, RefusesWhatIsNoDate) {
    for (const char* text :
         {"", "2020.1.5", "20200105", "2020/02/30", "1900/2/29", "2020/", "2020/1", "2020/1/", "2020-XYZ-5",
          "2020-JANUARY-5", "-", "/", "a/b/c", "2020/-1/5", "99999999999/1/1", "12:30"}) {
        EXPECT_EQ(parseDate(text), NO_DATE) << text;
    }
}

TEST(ParseDate, KeepsTheLowerHalfOfALongNumber) {
    EXPECT_EQ(parseDate("4294969316/1/5"), datetime_encodeDate(2020, 1, 5));  // 2^32 + 2020
    EXPECT_EQ(parseDate("9223372036854775808/1/5"), NO_DATE);                 // 2^63, more than 64 bits hold
}

TEST(ParseTime, TakesAPlainNumberAsHours) {
    EXPECT_EQ(parseTime("1.5"), 1.5 / 24.0);
    EXPECT_EQ(parseTime("-2"), -2.0 / 24.0);
    EXPECT_EQ(parseTime("100"), 100.0 / 24.0);
    EXPECT_EQ(parseTime(""), 0.0);
    EXPECT_EQ(parseTime("0x10"), 16.0 / 24.0);
    EXPECT_EQ(parseTime("1.5\xA0"), 1.5 / 24.0);
}

TEST(ParseTime, TakesHoursMinutesSeconds) {
    EXPECT_EQ(parseTime("12:30"), 12.5 / 24.0);
    EXPECT_EQ(parseTime("0:00:07"), 7.0 / 86400.0);
    EXPECT_EQ(parseTime("36:00:00"), 1.5);
    EXPECT_EQ(parseTime("1:2:3xyz"), 3723.0 / 86400.0);
    EXPECT_EQ(parseTime("2147483647:59:59"), (2147483647.0 * 3600.0 + 3599.0) / 86400.0);
    EXPECT_EQ(parseTime("4294967297:30"), 1.5 / 24.0);  // 2^32 + 1 hours
}

TEST(ParseTime, IgnoresWhatFollowsTheHours) {
    EXPECT_EQ(parseTime("7h"), 7.0 / 24.0);
    EXPECT_EQ(parseTime("2.5h"), 2.0 / 24.0);
    EXPECT_EQ(parseTime("2021/04/31"), 2021.0 / 24.0);
}

TEST(ParseTime, RefusesNegativePartsAndWords) {
    for (const char* text : {"12:-1", "-1:30", "1:0:-1", "abc", ":30"}) {
        double days = 5.0;
        EXPECT_FALSE(datetime_parseTime(text, &days)) << text;
        EXPECT_EQ(days, 0.0) << text;
    }
}

TEST(ParseTime, TellsWhetherAllWasTaken) {
    double days;
    bool isWhole = false;
    for (const char* text : {"1.5", "7", "12:30", "1:02:03", "-2", ""}) {
        EXPECT_TRUE(datetime_parseTime(text, &days, &isWhole)) << text;
        EXPECT_TRUE(isWhole) << text;
    }
    for (const char* text : {"7h", "2.5h", "2021/04/31", "12:30h", "1:2:3:4", "7:", "1:2:3.5"}) {
        EXPECT_TRUE(datetime_parseTime(text, &days, &isWhole)) << text;
        EXPECT_FALSE(isWhole) << text;
    }
}

TEST(ParseDate, TellsWhetherAllWasTaken) {
    DateTime date;
    bool isWhole = false;
    for (const char* text : {"2024/3/12", "2024-MAR-12"}) {
        EXPECT_TRUE(datetime_parseDate(text, &date, &isWhole)) << text;
        EXPECT_TRUE(isWhole) << text;
    }
    for (const char* text : {"2024/3/12abc", "2024-MAR-12T06:00", "2024/3/12/"}) {
        EXPECT_TRUE(datetime_parseDate(text, &date, &isWhole)) << text;
        EXPECT_FALSE(isWhole) << text;
    }
}
