// Rain gages: their lines, rain step by step, what results show of it, and rain events.

#include "hydrology/gage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "model/arena.h"
#include "model/timeseries.h"
#include "support/land.h"
#include "support/model.h"
#include "text/datetime.h"

namespace {

/// A date of the test's first of March, by hours, minutes and seconds.
DateTime at(int32_t hour, int32_t minute, int32_t second = 0) {
    return datetime_encodeDate(2021, 3, 1) + (hour * 3600 + minute * 60 + second) / 86400.0;
}

class GageTest : public LandTest {
protected:
    /// Rain of the first gage at a time, mm/h, by a walk forward.
    static double rainAt(DateTime date) {
        gage_advance(testModel(), date);
        return testModel().gages[0].rain / ONE_MM_PER_HOUR;
    }

    void openSeries(const std::string& series, const std::string& gage = "G INTENSITY 0:05 T\n") {
        LandProject project;
        project.gages = gage;
        project.series = series;
        ASSERT_EQ(open(project), 0) << readReport();
        gage_initRain(testModel(), 0);
    }
};

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(GageTest, LineStoresFormatIntervalAndSeries) {
    LandProject project;
    project.gages = "A volume 0:15 T further words\nG INTENSITY 0.5 T\n";
    ASSERT_EQ(open(project), 0);
    EXPECT_STREQ(testModel().gages[0].name, "A");
    EXPECT_EQ(testModel().gages[0].format, RAIN_VOLUME);
    EXPECT_EQ(testModel().gages[0].interval, 900);
    EXPECT_EQ(testModel().gages[0].series, 0);
    EXPECT_EQ(testModel().gages[0].coGage, -1);
    EXPECT_EQ(testModel().gages[0].isUsed, 0);
    EXPECT_EQ(testModel().gages[1].interval, 1800) << "a plain number is hours";
    EXPECT_EQ(testModel().gages[1].isUsed, 1);
}

TEST_F(GageTest, IntervalIsRoundedToWholeSeconds) {
    LandProject project;
    project.gages = "G INTENSITY 0.00042 T\n";  // 1.512 s
    ASSERT_EQ(open(project), 0);
    EXPECT_EQ(testModel().gages[0].interval, 2);
}

struct BadGageLine {
    const char* line;
    const char* message;
};

class GageLineTest : public LandTest, public ::testing::WithParamInterface<BadGageLine> {};

TEST_P(GageLineTest, IsRefused) {
    LandProject project;
    project.gages = std::string(GetParam().line) + "\n";
    const std::string line = GetParam().line;
    EXPECT_TRUE(failsWith(
        project, 200,
        std::string("\n  \n  ERROR ") + GetParam().message + "at line 11 of [RAINGAGES] section:\n  " + line + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    All, GageLineTest,
    ::testing::Values(BadGageLine{"G INTENSITY 0:05", "203: too few items "},
                      BadGageLine{"G RAIN 0:05 T", "205: invalid keyword RAIN "},
                      BadGageLine{"G RAIN 0 X", "205: invalid keyword RAIN "},
                      BadGageLine{"G VOLUME five T", "213: invalid date/time five "},
                      BadGageLine{"G VOLUME 0 T", "213: invalid date/time 0 "},
                      BadGageLine{"G VOLUME 0:00:00 T", "213: invalid date/time 0:00:00 "},
                      BadGageLine{"G VOLUME 0.0001 T", "213: invalid date/time 0.0001 "},  // 0.36 s
                      BadGageLine{"G VOLUME -1 T", "213: invalid date/time -1 "},
                      BadGageLine{"G VOLUME nan T", "213: invalid date/time nan "},
                      BadGageLine{"G VOLUME inf T", "213: invalid date/time inf "},
                      BadGageLine{"G VOLUME 596523.2356 T", "213: invalid date/time 596523.2356 "},  // 2147483648 s
                      BadGageLine{"G VOLUME 0 X", "213: invalid date/time 0 "},
                      BadGageLine{"G VOLUME 1 X", "209: undefined object X "}));

TEST_F(GageTest, QuotedIdIsUndefined) {
    LandProject project;
    project.gages = "G INTENSITY 0:05 T\n\"H I\" INTENSITY 0:05 T\n";
    EXPECT_TRUE(failsWith(project, 200, "ERROR 209: undefined object H I at line 12 of [RAINGAGES] section:"));
}

TEST_F(GageTest, LongestIntervalPasses) {
    LandProject project;
    project.gages = "G INTENSITY 596523.2353 T\n";  // 2147483647 s
    ASSERT_EQ(open(project), 0);
    EXPECT_EQ(testModel().gages[0].interval, 2147483647);
}

// --- rain ----------------------------------------------------------------------------------------------------------

TEST_F(GageTest, VolumeIsARateOverTheInterval) {
    openSeries("T 0:00 1\n", "G VOLUME 0:05 T\n");
    EXPECT_NEAR(rainAt(at(0, 0)), 12.0, 1e-12);
}

TEST_F(GageTest, EntriesOneIntervalApartRainOn) {
    openSeries("T 0:00 12\nT 0:05 24\n");
    EXPECT_NEAR(rainAt(at(0, 0)), 12.0, 1e-12);
    EXPECT_NEAR(rainAt(at(0, 4, 58)), 12.0, 1e-12);
    EXPECT_NEAR(rainAt(at(0, 4, 59)), 24.0, 1e-12) << "a second ahead of the clock";
    EXPECT_NEAR(rainAt(at(0, 9, 58)), 24.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 9, 59)), 0.0);
    EXPECT_EQ(rainAt(at(5, 0)), 0.0);
}

TEST_F(GageTest, EntriesFurtherApartLeaveDryTime) {
    openSeries("T 0:00 12\nT 0:30 24\n");
    EXPECT_NEAR(rainAt(at(0, 0)), 12.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 5)), 0.0);
    EXPECT_EQ(rainAt(at(0, 29)), 0.0);
    EXPECT_NEAR(rainAt(at(0, 30)), 24.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 35)), 0.0);
}

TEST_F(GageTest, SeriesBehindTheStartIsDryBeforeIt) {
    openSeries("T 1:00 12\nT 1:05 24\n");
    EXPECT_EQ(testModel().gages[0].rain, 0.0);
    EXPECT_EQ(rainAt(at(0, 0)), 0.0);
    EXPECT_EQ(rainAt(at(0, 59)), 0.0);
    EXPECT_NEAR(rainAt(at(1, 0)), 12.0, 1e-12);
    EXPECT_NEAR(rainAt(at(1, 5)), 24.0, 1e-12);
    EXPECT_EQ(rainAt(at(1, 10)), 0.0);
}

TEST_F(GageTest, SeriesAheadOfTheStartIsCaughtUp) {
    openSeries("T 2021/02/28 23:50 6\nT 2021/02/28 23:55 12\nT 2021/03/01 0:00 24\n");
    EXPECT_NEAR(rainAt(at(0, 0)), 24.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 5)), 0.0);
}

TEST_F(GageTest, ZerosBehindTheFirstEntryAreSkipped) {
    openSeries("T 0:00 12\nT 0:05 0\nT 0:10 0\nT 0:15 24\n");
    EXPECT_EQ(testModel().gages[0].nextDate, at(0, 15));
    EXPECT_EQ(rainAt(at(0, 5)), 0.0);
    EXPECT_NEAR(rainAt(at(0, 15)), 24.0, 1e-12);
}

TEST_F(GageTest, OnlyZerosBehindTheFirstEntryEndTheRain) {
    openSeries("T 0:00 12\nT 0:05 0\nT 0:10 0\n");
    EXPECT_EQ(testModel().gages[0].nextDate, NO_DATE);
    EXPECT_EQ(testModel().gages[0].nextRain, 0.0);
    EXPECT_NEAR(rainAt(at(0, 0)), 12.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 5)), 0.0);
}

TEST_F(GageTest, FirstZeroStandsForAnIntervalAndHoldsBackWhatComesWithinIt) {
    openSeries("T 0:00 0\nT 0:02 24\n");
    EXPECT_EQ(rainAt(at(0, 2)), 0.0);
    EXPECT_EQ(rainAt(at(0, 4)), 0.0);
    EXPECT_NEAR(rainAt(at(0, 5)), 24.0, 1e-12);
    EXPECT_NEAR(rainAt(at(0, 6)), 24.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 7)), 0.0) << "its own end stays where it is";
}

TEST_F(GageTest, FirstZeroBehindTheStartIsAPeriodToo) {
    openSeries("T 1:00 0\nT 1:02 24\n");
    EXPECT_EQ(rainAt(at(1, 3)), 0.0);
    EXPECT_NEAR(rainAt(at(1, 5)), 24.0, 1e-12);
}

TEST_F(GageTest, EntriesCloserThanTheIntervalOverlap) {
    openSeries("T 0:00 12\nT 0:02 24\nT 0:04 36\n");
    EXPECT_NEAR(rainAt(at(0, 3)), 12.0, 1e-12);
    EXPECT_NEAR(rainAt(at(0, 5)), 24.0, 1e-12);
    EXPECT_NEAR(rainAt(at(0, 7)), 36.0, 1e-12);
    EXPECT_EQ(rainAt(at(0, 9)), 0.0);
}

TEST_F(GageTest, LongStepPassesOverWholePeriods) {
    openSeries("T 0:00 12\nT 0:05 24\nT 0:10 36\nT 0:15 48\n");
    EXPECT_NEAR(rainAt(at(0, 15)), 48.0, 1e-12);
}

TEST_F(GageTest, UnusedGageIsNeverAdvanced) {
    LandProject project;
    project.gages = "U INTENSITY 0:05 T2\nG INTENSITY 0:05 T\n";
    project.series += "T2 0:00 6\n";
    ASSERT_EQ(start(project), 0);
    runToEnd();
    EXPECT_NEAR(testModel().gages[0].rain / ONE_MM_PER_HOUR, 6.0, 1e-12);
    EXPECT_EQ(testModel().gages[1].rain, 0.0);
}

TEST_F(GageTest, SeriesWithoutEntriesNeverRains) {
    openSeries("T 0:00 12\n");
    testModel().timeSeries[0].entries.clear();
    gage_initRain(testModel(), 0);
    EXPECT_EQ(testModel().gages[0].startDate, NO_DATE);
    EXPECT_EQ(rainAt(at(0, 0)), 0.0);
    EXPECT_EQ(rainAt(at(3, 0)), 0.0);
}

TEST_F(GageTest, NextRainWithoutASeriesIsNone) {
    openSeries("T 0:00 12\n");
    testModel().gages[0].series = -1;
    EXPECT_EQ(gage_nextRain(testModel(), 0), 0);
    gage_initRain(testModel(), 0);
    EXPECT_EQ(testModel().gages[0].startDate, NO_DATE);
    EXPECT_EQ(testModel().gages[0].rain, 0.0);
}

TEST_F(GageTest, SeriesInAFileRainsAsInMemory) {
    folder.write("rain.dat", "; minutes\n2021/03/01 0:00 12\n\n2021/03/01 0:05 0\n2021/03/01 0:20 24\n");
    const std::vector<DateTime> dates = {at(0, 0), at(0, 5), at(0, 19), at(0, 20), at(0, 24), at(0, 25)};
    std::vector<double> inMemory, inFile;
    openSeries("T 0:00 12\nT 0:05 0\nT 0:20 24\n");
    for (const DateTime date : dates) {
        inMemory.push_back(rainAt(date));
    }
    tarnvelde_close();
    openSeries("T FILE rain.dat\n");
    for (const DateTime date : dates) {
        inFile.push_back(rainAt(date));
    }
    EXPECT_EQ(inMemory, inFile);
    EXPECT_NEAR(inFile[3], 24.0, 1e-12);
}

TEST_F(GageTest, TwoUnlinkedGagesOnOneSeriesEatEachOthersEntries) {
    openSeries("T 0:00 1\nT 0:10 2\nT 0:20 3\n", "G INTENSITY 0:05 T\nH INTENSITY 0:05 T\n");
    gage_initRain(testModel(), 1);
    EXPECT_EQ(gage_nextRain(testModel(), 0), 1);
    EXPECT_NEAR(testModel().gages[0].nextRain / ONE_MM_PER_HOUR, 3.0, 1e-12)
        << "the second entry went to the other gage";
}

/// Rain of a whole run (mm) over a gage, worked out from the depths of its entries.
struct RainVolume {
    const char* gage;
    const char* series;
    double depth;  ///< mm
};

class RainVolumeTest : public LandTest, public ::testing::WithParamInterface<RainVolume> {};

TEST_P(RainVolumeTest, IsThatOfTheEntries) {
    LandProject project;
    project.gages = GetParam().gage;
    project.series = GetParam().series;
    ASSERT_EQ(start(project), 0);
    testModel().options.runoffStep = testModel().options.routingStep = 60;
    runToEnd();
    EXPECT_NEAR(testModel().subcatches[0].rainfall, GetParam().depth, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    All, RainVolumeTest,
    ::testing::Values(RainVolume{"G INTENSITY 0:05 T\n", "T 0:00 12\nT 0:05 24\nT 1:00 6\n", 1.0 + 2.0 + 0.5},
                      RainVolume{"G VOLUME 0:05 T\n", "T 0:00 12\nT 0:05 24\nT 1:00 6\n", 42.0},
                      RainVolume{"G VOLUME 1:00 T\n", "T 0:00 0\nT 1:00 5\nT 3:00 7\n", 12.0},
                      RainVolume{"G VOLUME 1:00 T\n", "T 5:30 8\n", 4.0}));  // cut by the end of the run

// --- gages on one series -------------------------------------------------------------------------------------------

TEST_F(GageTest, LaterGageInUseFollowsTheFirstOnItsSeries) {
    LandProject project;
    project.gages = "U INTENSITY 0:05 T\nG INTENSITY 0:05 T\nH INTENSITY 0:10 T\n";
    project.subcatchs = "S G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\nR H O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(open(project), 0) << "intervals may differ";
    EXPECT_EQ(testModel().gages[0].coGage, -1);
    EXPECT_EQ(testModel().gages[1].coGage, -1) << "an unused gage leads nobody";
    EXPECT_EQ(testModel().gages[2].coGage, 1);
    for (int32_t k = 0; k < 3; ++k) {
        gage_initRain(testModel(), k);
    }
    gage_advance(testModel(), at(0, 6));
    EXPECT_EQ(testModel().gages[2].rain, testModel().gages[1].rain);
    EXPECT_NEAR(testModel().gages[2].rain / ONE_MM_PER_HOUR, 24.0, 1e-12) << "by the interval of the leader";
}

TEST_F(GageTest, FollowersMayNotDifferInFormat) {
    LandProject project;
    project.gages = "G INTENSITY 0:05 T\nH VOLUME 0:05 T\n";
    project.subcatchs = "S G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\nR H O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    EXPECT_TRUE(failsWith(project, 900, "\n  \n  ERROR 900: inconsistent rainfall format for Rain Gage H."));
}

TEST_F(GageTest, UnusedGageMayDifferInFormat) {
    LandProject project;
    project.gages = "G INTENSITY 0:05 T\nH VOLUME 0:05 T\n";
    EXPECT_EQ(open(project), 0);
}

TEST_F(GageTest, SeriesOfAnInflowIsRefused) {
    LandProject project;
    project.more = "[INFLOWS]\nO FLOW FLOW 0 T 1\n";
    EXPECT_TRUE(
        failsWith(project, 159, "\n  \n  ERROR 159: time series for Rain Gage G is also used by another object."));
}

TEST_F(GageTest, SeriesOfAnInflowIsRefusedThoughALaterLineLetsItGo) {
    LandProject project;
    project.more = "[INFLOWS]\nO FLOW FLOW 0 T 1\nO FLOW FLOW 1 \"\" 1\n";  // the second overwrites the first
    EXPECT_TRUE(
        failsWith(project, 159, "\n  \n  ERROR 159: time series for Rain Gage G is also used by another object."));
}

TEST_F(GageTest, UnusedGageMayShareTheSeriesOfAnInflow) {
    LandProject project;
    project.gages += "U INTENSITY 0:05 Q\n";
    project.series += "Q 0:00 1\nQ 1:00 1\n";
    project.more = "[INFLOWS]\nO FLOW FLOW 0 Q 1\n";
    EXPECT_EQ(open(project), 0);
}

// --- rain in results -----------------------------------------------------------------------------------------------

TEST_F(GageTest, ReportRainLooksASecondAhead) {
    openSeries("T 0:00 12\nT 0:05 24\n");
    gage_advance(testModel(), at(0, 4));
    gage_setReportRain(testModel(), at(0, 4));
    EXPECT_NEAR(testModel().gages[0].reportRain / ONE_MM_PER_HOUR, 12.0, 1e-12);
    gage_setReportRain(testModel(), at(0, 5));
    EXPECT_NEAR(testModel().gages[0].reportRain / ONE_MM_PER_HOUR, 24.0, 1e-12)
        << "where one period ends and the next begins";
    gage_advance(testModel(), at(0, 9));
    gage_setReportRain(testModel(), at(0, 10));
    EXPECT_EQ(testModel().gages[0].reportRain, 0.0) << "behind the last entry";
}

TEST_F(GageTest, ReportRainIsZeroInAGap) {
    openSeries("T 0:00 12\nT 0:30 24\n");
    gage_setReportRain(testModel(), at(0, 10));
    EXPECT_EQ(testModel().gages[0].reportRain, 0.0);
}

TEST_F(GageTest, ReportRainServesUnusedGagesAndFollowers) {
    LandProject project;
    project.gages = "U INTENSITY 0:05 T2\nG INTENSITY 0:05 T\nH INTENSITY 0:10 T\n";
    project.series += "T2 0:00 6\n";
    project.subcatchs += "R H O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(start(project), 0);
    gage_setReportRain(testModel(), at(0, 1));
    EXPECT_NEAR(testModel().gages[0].reportRain / ONE_MM_PER_HOUR, 6.0, 1e-12);
    EXPECT_EQ(testModel().gages[2].reportRain, testModel().gages[1].reportRain);
    EXPECT_NEAR(testModel().gages[1].reportRain / ONE_MM_PER_HOUR, 12.0, 1e-12);
}

// --- events --------------------------------------------------------------------------------------------------------

class EventTest : public LandTest {
protected:
    /// Events of a series with an interval of 5 minutes.
    std::vector<RainEvent> find(const std::string& series, const std::string& general = "",
                                const std::string& gage = "G VOLUME 0:05 T\n") {
        LandProject project;
        project.gages = gage;
        project.series = series;
        project.general = general;
        EXPECT_EQ(open(project), 0) << readReport();
        gage_findEvents(testModel(), 0);
        return list();
    }

    static std::vector<RainEvent> list() {
        std::vector<RainEvent> events;
        for (const RainEvent* event = testModel().gages[0].events; event; event = event->next) {
            events.push_back(*event);
        }
        return events;
    }
};

constexpr double A_MOMENT = 1e-9;  ///< days

TEST_F(EventTest, BeginsWithItsFirstAndEndsWithItsLastWetSample) {
    // A gap of two minutes, the default: 5 minutes without rain close the event two samples later.
    const auto events = find("T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 4\nT 0:20 0\nT 1:00 0\n", "EVENT_INTERVAL 5\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].start, at(0, 10), A_MOMENT);
    EXPECT_NEAR(events[0].end, at(0, 15), A_MOMENT);
    EXPECT_DOUBLE_EQ(events[0].total, 7.0);
}

TEST_F(EventTest, AreTheSameWithAStartLongAheadOfTheSeries) {
    const auto findFrom = [&](const std::string& start) {
        return find("T 2012/03/01 0:00 0 0:05 0 0:10 30 0:15 0 9:00 0\n",
                    "START_DATE " + start + "\nEND_DATE 2012/03/02\n", "G VOLUME 0:07 T\n");
    };
    // Between the two lie whole weeks, each of 1440 intervals: their samples are at the same times.
    const std::vector<RainEvent> near = findFrom("2012/02/17"), far = findFrom("1012/02/28");
    ASSERT_EQ(near.size(), 1u);
    ASSERT_EQ(far.size(), 1u);
    EXPECT_EQ(far[0].start, near[0].start);
    EXPECT_EQ(far[0].end, near[0].end);
    EXPECT_EQ(far[0].total, near[0].total);
}

TEST_F(EventTest, EndIsOffTheLastWetSampleIfTheGapIsNoMultipleOfTheInterval) {
    // 120 s by default. The sample that closes is the second dry one, 0:20; less 120 s, less 5 minutes.
    const auto events = find("T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 0\nT 1:00 0\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].end, at(0, 13), A_MOMENT);
}

TEST_F(EventTest, GapShorterThanTheIntervalOfEventsJoins) {
    const auto events = find("T 0:00 3\nT 0:05 0\nT 0:10 0\nT 0:15 4\nT 0:20 0\nT 1:00 0\n", "EVENT_INTERVAL 15\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].start, at(0, 0), A_MOMENT);
    EXPECT_NEAR(events[0].end, at(0, 15), A_MOMENT);
    EXPECT_DOUBLE_EQ(events[0].total, 7.0);
}

TEST_F(EventTest, LongGapDivides) {
    const auto events = find("T 0:00 3\nT 0:05 0\nT 0:35 0\nT 0:40 4\nT 0:45 0\nT 1:00 0\n", "EVENT_INTERVAL 15\n");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_NEAR(events[0].end, at(0, 0), A_MOMENT);
    EXPECT_NEAR(events[1].start, at(0, 40), A_MOMENT);
}

TEST_F(EventTest, GapOfExactlyTheIntervalOfEventsStillJoins) {
    // Three dry samples count up to 15 minutes, the fourth would close; it is wet.
    const auto joined = find("T 0:00 3\nT 0:05 0\nT 0:15 0\nT 0:20 4\nT 0:25 0\nT 1:00 0\n", "EVENT_INTERVAL 15\n");
    EXPECT_EQ(joined.size(), 1u);
    tarnvelde_close();
    const auto divided = find("T 0:00 3\nT 0:05 0\nT 0:20 0\nT 0:25 4\nT 0:30 0\nT 1:00 0\n", "EVENT_INTERVAL 15\n");
    EXPECT_EQ(divided.size(), 2u);
}

TEST_F(EventTest, OfTheSmallestTotalIsDropped) {
    EXPECT_EQ(find("T 0:00 0\nT 0:05 2\nT 0:10 0\n").size(), 0u) << "2 mm, the default";
    tarnvelde_close();
    EXPECT_EQ(find("T 0:00 0\nT 0:05 2.001\nT 0:10 0\n").size(), 1u);
    tarnvelde_close();
    EXPECT_EQ(find("T 0:00 0\nT 0:05 2\nT 0:10 0\n", "EVENT_MIN_VALUE 1.999\n").size(), 1u);
}

TEST_F(EventTest, OpenAtTheEndOfTheSimulationCounts) {
    // The last samples are 5:50 (wet) and 5:55 (dry); the date after the walk is 6:00, less 5 dry minutes.
    const auto events = find("T 5:45 0\nT 5:50 3\nT 5:55 0\nT 6:30 0\n", "EVENT_INTERVAL 15\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].start, at(5, 50), A_MOMENT);
    EXPECT_NEAR(events[0].end, at(5, 55), A_MOMENT);
}

TEST_F(EventTest, SampleAtTheEndOfTheSimulationIsNotTaken) {
    EXPECT_EQ(find("T 5:55 0\nT 6:00 9\nT 6:05 9\n").size(), 0u);
}

TEST_F(EventTest, IntensityCountsByTheInterval) {
    const auto events = find("T 0:00 0\nT 0:05 60\nT 0:10 0\n", "", "G INTENSITY 0:05 T\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_DOUBLE_EQ(events[0].total, 300.0 * 60.0 / 3600.0);
}

TEST_F(EventTest, GapsInTheSeriesAreRamps) {
    // Entries at 0:00 and 0:20: between them 4, 3, 2, 1 stand on the line, while the gage itself rains once.
    const auto events = find("T 0:00 4\nT 0:20 0\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].total, 4.0 + 3.0 + 2.0 + 1.0, 1e-7);
}

TEST_F(EventTest, NegativeValuesAreRainAndASumOfZeroBeginsAnew) {
    const auto events = find("T 0:00 3\nT 0:05 -3\nT 0:10 4\nT 0:15 0\nT 1:00 0\n", "EVENT_INTERVAL 5\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_NEAR(events[0].start, at(0, 10), A_MOMENT);
    EXPECT_DOUBLE_EQ(events[0].total, 4.0);
}

TEST_F(EventTest, SeriesOutsideThePeriodHasNone) {
    EXPECT_EQ(find("T 2021/02/28 1:00 9\nT 2021/02/28 1:05 9\n").size(), 0u);
    tarnvelde_close();
    EXPECT_EQ(find("T 2021/03/02 1:00 9\nT 2021/03/02 1:05 9\n").size(), 0u);
}

TEST_F(EventTest, SingleEntryIsSeenOnItsDateOnly) {
    const auto events = find("T 0:10 9\n");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_DOUBLE_EQ(events[0].total, 9.0);
}

TEST_F(EventTest, SeriesInAFileGivesTheSameEvents) {
    const auto inMemory = find("T 0:00 3\nT 0:05 0\nT 0:35 0\nT 0:40 4\nT 0:45 0\nT 1:00 0\n");
    tarnvelde_close();
    folder.write("rain.dat",
                 "2021/03/01 0:00 3\n2021/03/01 0:05 0\n2021/03/01 0:35 0\n2021/03/01 0:40 4\n2021/03/01 0:45 0\n"
                 "2021/03/01 1:00 0\n");
    const auto inFile = find("T FILE rain.dat\n");
    ASSERT_EQ(inMemory.size(), 2u);
    ASSERT_EQ(inFile.size(), 2u);
    for (size_t k = 0; k < 2; ++k) {
        EXPECT_EQ(inMemory[k].start, inFile[k].start);
        EXPECT_EQ(inMemory[k].end, inFile[k].end);
        EXPECT_EQ(inMemory[k].total, inFile[k].total);
    }
}

TEST_F(EventTest, EverLastingSimulationIsScannedNoFurtherThanItsSeries) {
    // Far more intervals than could be walked through.
    const auto events = find("T 0:00 3\nT 0:05 0\nT 1:00 0\n", "END_TIME 1e15\n", "G VOLUME 0:00:01 T\n");
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(EventTest, WithoutMemoryTheListEndsSilently) {
    LandProject project;
    project.gages = "G VOLUME 0:05 T\n";
    project.series = "T 0:00 3\nT 0:05 0\nT 0:35 0\nT 0:40 4\nT 0:45 0\nT 1:00 0\n";
    ASSERT_EQ(open(project), 0);
    arena_failAfter(2);
    gage_findEvents(testModel(), 0);
    arena_failAfter(0);
    EXPECT_EQ(list().size(), 1u);
    EXPECT_EQ(testModel().error.code, 0);
}

TEST_F(EventTest, NoGageIsNoWork) {
    gage_findEvents(testModel(), -1);
}

TEST_F(EventTest, BothEndsLieWithin) {
    find("T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 4\nT 0:20 0\nT 1:00 0\n", "EVENT_INTERVAL 5\n");
    const RainEvent event = *testModel().gages[0].events;
    EXPECT_EQ(gage_isInEvent(testModel(), 0, event.start - A_MOMENT), 0);
    EXPECT_EQ(gage_isInEvent(testModel(), 0, event.start), 1);
    EXPECT_EQ(gage_isInEvent(testModel(), 0, event.end), 1);
    EXPECT_EQ(gage_isInEvent(testModel(), 0, event.end + A_MOMENT), 0);
}

TEST_F(EventTest, HostAsksAMillisecondBehindTheClock) {
    LandProject project;
    project.gages = "G VOLUME 0:05 T\n";
    project.series = "T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 4\nT 0:20 0\nT 1:00 0\n";
    project.general = "EVENT_INTERVAL 5\n";
    ASSERT_EQ(start(project), 0);
    std::vector<int32_t> wetMinutes;
    for (int32_t minute = 1; minute <= 20; ++minute) {
        double elapsed;
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        if (tarnvelde_isInEvent("g") == 1) {
            wetMinutes.push_back(minute);
        }
    }
    EXPECT_EQ(wetMinutes, (std::vector<int32_t>{10, 11, 12, 13, 14})) << "in at the very start, out at the very end";
}

TEST_F(EventTest, HostAsksForAKnownGage) {
    EXPECT_EQ(tarnvelde_isInEvent("G"), -1) << "no project";
    find("T 0:00 0\n");
    EXPECT_EQ(tarnvelde_isInEvent("G"), 0);
    EXPECT_EQ(tarnvelde_isInEvent("S"), -1);
    EXPECT_EQ(tarnvelde_isInEvent(""), -1);
    EXPECT_EQ(tarnvelde_isInEvent(nullptr), -1);
}

TEST_F(EventTest, SecondRunAppendsTheSameEvents) {
    LandProject project;
    project.gages = "G VOLUME 0:05 T\nU VOLUME 0:10 T\n";
    project.series = "T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 4\nT 0:20 0\nT 1:00 0\n";
    ASSERT_EQ(start(project), 0);
    EXPECT_EQ(list().size(), 1u);
    EXPECT_NE(testModel().gages[1].events, nullptr) << "also of a gage that nobody uses";
    runToEnd();
    tarnvelde_end();
    ASSERT_EQ(tarnvelde_start(0), 0);
    const auto events = list();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].start, events[1].start);
    EXPECT_EQ(events[0].end, events[1].end);
    EXPECT_EQ(events[0].total, events[1].total);
}

// --- table of events -----------------------------------------------------------------------------------------------

TEST_F(EventTest, TableListsThemByGage) {
    LandProject project;
    project.gages = "G VOLUME 0:05 T\nNone VOLUME 0:05 Dry\nA_name_longer_than_16 VOLUME 0:05 T2\n";
    project.series =
        "T 0:00 3\nT 0:05 0\nT 0:35 0\nT 0:40 4.5\nT 0:45 0\nT 1:00 0\nDry 0:00 0\nT2 0:00 0\nT2 0:05 9\nT2 0:10 0\n";
    project.general = "EVENT_INTERVAL 5\n";
    ASSERT_EQ(start(project), 0);
    runToEnd();
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string tables = readReport();
    const size_t begin = tables.find("\n  \n  ******************\n  Gage Event Summary\n  ******************");
    ASSERT_NE(begin, std::string::npos) << tables;
    EXPECT_EQ(
        tables.substr(begin),
        "\n  \n  ******************\n  Gage Event Summary\n  ******************\n" + std::string(86, ' ') +
            "Rainfall"
            "\n  Gage                  No. Start Date Time          End Date Time                          mm"
            "\n  ---------------- -------- ------------------------ ------------------------ ----------------"
            "\n  G                       1 2021/03/01 00:00:00      2021/03/01 00:00:00                 3.000"
            "\n  G                       2 2021/03/01 00:40:00      2021/03/01 00:40:00                 4.500"
            "\n  A_name_longer_than_16        1 2021/03/01 00:05:00      2021/03/01 00:05:00                 9.000");
}

TEST_F(EventTest, TableWithoutEventsIsItsHead) {
    LandProject project;
    project.series = "T 0:00 0\n";
    ASSERT_EQ(start(project), 0);
    runToEnd();
    tarnvelde_report();
    const std::string dashes =
        "\n  ---------------- -------- ------------------------ ------------------------ ----------------";
    const std::string tables = readReport();
    ASSERT_GT(tables.size(), dashes.size());
    EXPECT_EQ(tables.substr(tables.size() - dashes.size()), dashes);
}

TEST_F(EventTest, TableIsLeftOutWithoutGages) {
    LandProject project;
    project.gages = project.subcatchs = "";
    ASSERT_EQ(start(project), 0);
    runToEnd();
    tarnvelde_report();
    EXPECT_EQ(readReport().find("Gage Event Summary"), std::string::npos);
}

}  // namespace
