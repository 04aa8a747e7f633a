// Events and summaries of small series whose figures are worked out by hand.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "statsevents.h"
#include "statssummary.h"

namespace {

constexpr int64_t HOUR = 3600, DAY = 86400;
constexpr int64_t MARCH = 44256 * DAY;  ///< 1 March 2021
constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

/// What is found of a series.
struct Found {
    std::vector<StatsEvent> events;
    StatsSummary summary;
};

void take(Found& found, const StatsEvent& event) {
    found.events.push_back(event);
    statssummary_addEvent(found.summary, event);
}

/// Walks through rows that end one step after the other, the first one a step behind `start`. Of several pollutants
/// the concentrations of a row stand beside each other.
Found walk(const StatsRule& rule, const std::vector<double>& flows, int64_t start = MARCH,
           const std::vector<double>& concentrations = {}) {
    Found found;
    StatsEvents events{rule};
    StatsEvent event;
    for (size_t k = 0; k < flows.size(); ++k) {
        const StatsRow row{start + static_cast<int64_t>(k + 1) * rule.step, flows[k],
                           concentrations.data() + k * rule.pollutants};
        statssummary_addRow(found.summary, rule, row);
        if (statsevents_push(events, row, event)) {
            take(found, event);
        }
    }
    if (statsevents_close(events, event)) {
        take(found, event);
    }
    statssummary_close(found.summary);
    return found;
}

/// Rows of an hour; gaps in hours.
StatsRule hourly(double gap, double threshold = 0.0, size_t pollutants = 0) {
    return {HOUR, static_cast<int64_t>(gap * static_cast<double>(HOUR)), threshold, pollutants};
}

}  // namespace

// --- events --------------------------------------------------------------------------------------------------------

TEST(StatsEvents, AGapShorterThanAskedForIsPartOfTheEvent) {
    // Flow from 1:00 to 2:00 and from 7:00 to 8:00: five hours without, two with 0.5 m3/s x 3600 s = 1800 m3 each.
    const Found found = walk(hourly(6.0), {0, 0.5, 0, 0, 0, 0, 0, 0.5, 0});
    ASSERT_EQ(found.events.size(), 1U);
    const StatsEvent& event = found.events[0];
    EXPECT_EQ(event.start, MARCH + 1 * HOUR);
    EXPECT_EQ(event.end, MARCH + 8 * HOUR);
    EXPECT_EQ(event.wet, 2 * HOUR);
    EXPECT_EQ(event.volume, 3600.0);
    EXPECT_FALSE(event.isBegunBefore);
    EXPECT_FALSE(event.isGoingOn);
}

TEST(StatsEvents, AGapOfJustTheLengthDivides) {
    const Found found = walk(hourly(6.0), {0, 0.5, 0, 0, 0, 0, 0, 0, 0.25, 0});
    ASSERT_EQ(found.events.size(), 2U);
    EXPECT_EQ(found.events[0].start, MARCH + 1 * HOUR);
    EXPECT_EQ(found.events[0].end, MARCH + 2 * HOUR);
    EXPECT_EQ(found.events[0].volume, 1800.0);
    EXPECT_EQ(found.events[1].start, MARCH + 8 * HOUR);
    EXPECT_EQ(found.events[1].end, MARCH + 9 * HOUR);
    EXPECT_EQ(found.events[1].volume, 900.0);
}

TEST(StatsEvents, ALongerGapDividesOnce) {
    EXPECT_EQ(walk(hourly(6.0), {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).events.size(), 2U);
}

TEST(StatsEvents, AGapNeedNotBeAMultipleOfTheStep) {
    // 2.5 h lie between two and three dry hours.
    EXPECT_EQ(walk(hourly(2.5), {1, 0, 0, 1}).events.size(), 1U);
    EXPECT_EQ(walk(hourly(2.5), {1, 0, 0, 0, 1}).events.size(), 2U);
}

TEST(StatsEvents, WithoutAGapEachDryRowDivides) {
    const Found found = walk(hourly(0.0), {1, 1, 0, 1});
    ASSERT_EQ(found.events.size(), 2U);
    EXPECT_EQ(found.events[0].volume, 7200.0) << "rows that follow each other belong together";
}

TEST(StatsEvents, FlowIsWhatIsAboveTheThreshold) {
    // 0.25 isn't above 0.25. Of the flow above it all counts: 0.5 x 3600 = 1800; below are (0.125 + 0.25) x 3600 =
    // 1350.
    const Found found = walk(hourly(1.0, 0.25), {0.125, 0.25, 0.5, 0});
    ASSERT_EQ(found.events.size(), 1U);
    EXPECT_EQ(found.events[0].start, MARCH + 2 * HOUR);
    EXPECT_EQ(found.events[0].volume, 1800.0);
    EXPECT_EQ(found.summary.volume, 1800.0);
    EXPECT_EQ(found.summary.below, 1350.0);
}

TEST(StatsEvents, OpenOnesAreMarked) {
    const Found found = walk(hourly(2.0), {1, 0, 0, 1, 0, 0, 0, 1});
    ASSERT_EQ(found.events.size(), 3U);
    EXPECT_TRUE(found.events[0].isBegunBefore);
    EXPECT_FALSE(found.events[0].isGoingOn);
    EXPECT_FALSE(found.events[1].isBegunBefore);
    EXPECT_FALSE(found.events[1].isGoingOn);
    EXPECT_FALSE(found.events[2].isBegunBefore);
    EXPECT_TRUE(found.events[2].isGoingOn);
}

TEST(StatsEvents, AnEventThatHasStoppedAheadOfTheEndIsOver) {
    EXPECT_FALSE(walk(hourly(6.0), {0, 1, 0}).events.at(0).isGoingOn);
}

TEST(StatsEvents, OneRowIsARecord) {
    const Found wet = walk(hourly(6.0), {2}), dry = walk(hourly(6.0), {0});
    ASSERT_EQ(wet.events.size(), 1U);
    EXPECT_TRUE(wet.events[0].isBegunBefore);
    EXPECT_TRUE(wet.events[0].isGoingOn);
    EXPECT_EQ(wet.events[0].volume, 7200.0);
    EXPECT_EQ(dry.events.size(), 0U);
    EXPECT_EQ(dry.summary.known, HOUR);
}

TEST(StatsEvents, AnEmptyRecordHasNone) {
    const Found found = walk(hourly(6.0), {});
    EXPECT_EQ(found.events.size(), 0U);
    EXPECT_TRUE(std::isnan(statssummary_getByYear(found.summary, 0.0)));
    EXPECT_TRUE(statssummary_listMaxima(found.summary).empty());
}

TEST(StatsEvents, WhatIsNoNumberIsNeitherFlowNorGap) {
    const Found found = walk(hourly(3.0), {NONE, 1, NONE, NONE, NONE, 0, 0, 1, NONE});
    ASSERT_EQ(found.events.size(), 1U) << "two hours are known to be dry, not five";
    EXPECT_EQ(found.events[0].wet, 2 * HOUR);
    EXPECT_EQ(found.events[0].volume, 7200.0);
    EXPECT_TRUE(found.events[0].isBegunBefore) << "nothing is known of the time ahead";
    EXPECT_TRUE(found.events[0].isGoingOn);
    EXPECT_EQ(found.summary.missing, 5);
    EXPECT_EQ(found.summary.rows, 4);
    EXPECT_EQ(found.summary.known, 4 * HOUR);
    EXPECT_EQ(found.summary.start, MARCH);
    EXPECT_EQ(found.summary.end, MARCH + 9 * HOUR);
    EXPECT_EQ(found.summary.flows.size(), 4U);
}

TEST(StatsEvents, AnInfiniteFlowIsNoNumber) {
    EXPECT_EQ(walk(hourly(3.0), {std::numeric_limits<double>::infinity()}).summary.missing, 1);
}

TEST(StatsEvents, ANegativeFlowCountsAsNone) {
    const Found found = walk(hourly(3.0), {1, -2, -2, -2, 1});
    EXPECT_EQ(found.events.size(), 2U);
    EXPECT_EQ(found.summary.negative, 3);
    EXPECT_EQ(found.summary.volume, 7200.0);
    EXPECT_EQ(found.summary.below, 0.0);
    EXPECT_EQ(statssummary_getPercentile(found.summary.flows, 5), 0.0);
}

TEST(StatsEvents, LoadsAreFlowTimesConcentration) {
    // 1 m3/s x 3600 s x 100 g/m3 = 360 kg, 3 x 3600 x 20 = 216 kg: 576 kg in 14400 m3 are 40 mg/L, where the mean over
    // time is 60. The other pollutant has a concentration in the second row alone: 3 x 3600 x 5 = 54 kg, 5 mg/L.
    const Found found = walk(hourly(6.0, 0.0, 2), {1, 3, 0}, MARCH, {100, NONE, 20, 5, 900, 900});
    ASSERT_EQ(found.events.size(), 1U);
    const std::vector<StatsLoad>& loads = found.events[0].loads;
    ASSERT_EQ(loads.size(), 2U);
    EXPECT_DOUBLE_EQ(loads[0].mass, 576.0);
    EXPECT_DOUBLE_EQ(statsevents_getMean(loads[0]), 40.0);
    EXPECT_EQ(loads[0].largest, 100.0) << "what stands in a row without flow doesn't count";
    EXPECT_EQ(loads[0].missing, 0);
    EXPECT_DOUBLE_EQ(loads[1].mass, 54.0);
    EXPECT_DOUBLE_EQ(statsevents_getMean(loads[1]), 5.0);
    EXPECT_EQ(loads[1].missing, 1);
}

TEST(StatsEvents, LoadsOfEventsAddUp) {
    // 36 and 72 kg in 3600 m3 each: 15 mg/L.
    const Found found = walk(hourly(1.0, 0.0, 1), {1, 0, 1}, MARCH, {10, 0, 20});
    ASSERT_EQ(found.events.size(), 2U);
    ASSERT_EQ(found.summary.loads.size(), 1U);
    EXPECT_DOUBLE_EQ(found.summary.loads[0].mass, 108.0);
    EXPECT_DOUBLE_EQ(statsevents_getMean(found.summary.loads[0]), 15.0);
    EXPECT_EQ(found.summary.loads[0].largest, 20.0);
}

TEST(StatsEvents, AMeanWithoutWaterIsNone) {
    EXPECT_TRUE(std::isnan(statsevents_getMean(StatsLoad{})));
}

TEST(StatsEvents, ThePeakStandsAtTheEndOfItsFirstRow) {
    const Found found = walk(hourly(6.0), {1, 4, 4, 2});
    EXPECT_EQ(found.events.at(0).peak, 4.0);
    EXPECT_EQ(found.events.at(0).peakTime, MARCH + 2 * HOUR);
    EXPECT_EQ(found.summary.peak, 4.0);
    EXPECT_EQ(found.summary.peakTime, MARCH + 2 * HOUR);
}

// --- summaries -----------------------------------------------------------------------------------------------------

TEST(StatsSummary, KnowsTheLargestEvent) {
    const Found found = walk(hourly(1.0), {1, 0, 2, 2, 0, 3});
    EXPECT_EQ(found.summary.events, 3);
    EXPECT_EQ(found.summary.largestVolume, 14400.0);
    EXPECT_EQ(found.summary.largestStart, MARCH + 2 * HOUR);
}

TEST(StatsSummary, FiguresByYearGoByWhatIsKnown) {
    // 1461 days are four years of 365.25 days.
    std::vector<double> flows(1461, 0.0);
    flows[10] = flows[500] = 1.0;
    const Found found = walk({DAY, 6 * HOUR}, flows);
    EXPECT_DOUBLE_EQ(statssummary_getYears(found.summary), 4.0);
    EXPECT_DOUBLE_EQ(statssummary_getByYear(found.summary, static_cast<double>(found.summary.events)), 0.5);
    EXPECT_DOUBLE_EQ(statssummary_getByYear(found.summary, found.summary.volume), 43200.0);
}

TEST(StatsSummary, MonthsAndYearsTakeThePeriodsThatBeginInThem) {
    // Three days: 30 and 31 December 2020, 1 January 2021. The row of 31 December is dated 1 January, 0:00.
    constexpr int64_t START = MARCH - (2 + 31 + 28) * DAY;
    const Found found = walk({DAY, 6 * HOUR}, {1, 2, 4}, START);
    const auto& months = found.summary.months;
    ASSERT_EQ(months.size(), 2U);
    EXPECT_EQ(months.at(2020 * 12 + 11).volume, 3.0 * 86400.0);
    EXPECT_EQ(months.at(2020 * 12 + 11).events, 1) << "an event counts where it begins";
    EXPECT_EQ(months.at(2021 * 12).volume, 4.0 * 86400.0);
    EXPECT_EQ(months.at(2021 * 12).events, 0);
    EXPECT_EQ(found.summary.years.at(2020).volume, 3.0 * 86400.0);
    EXPECT_EQ(found.summary.years.at(2020).peak, 2.0);
    EXPECT_EQ(found.summary.years.at(2020).wet, 2 * DAY);
    EXPECT_EQ(found.summary.years.at(2021).volume, 4.0 * 86400.0);
}

TEST(StatsSummary, AMonthWithoutFlowIsThere) {
    const Found found = walk({DAY, 6 * HOUR}, std::vector<double>(40, 0.0));
    ASSERT_EQ(found.summary.months.size(), 2U);
    EXPECT_EQ(found.summary.months.at(2021 * 12 + 3).volume, 0.0);
}

TEST(StatsSummary, FebruaryOfALeapYearHas29Days) {
    constexpr int64_t FEBRUARY = 43862 * DAY;  // 1 February 2020
    const Found found = walk({DAY, 6 * HOUR}, std::vector<double>(31, 1.0), FEBRUARY);
    EXPECT_EQ(found.summary.months.at(2020 * 12 + 1).volume, 29.0 * 86400.0);
    EXPECT_EQ(found.summary.months.at(2020 * 12 + 2).volume, 2.0 * 86400.0);
}

TEST(StatsSummary, MonthsAheadOfTheEpochAreFound) {
    EXPECT_EQ(statssummary_getMonth(0), 1899 * 12 + 11);          // 30 December 1899
    EXPECT_EQ(statssummary_getMonth(-1), 1899 * 12 + 11);         // a second ahead of it
    EXPECT_EQ(statssummary_getMonth(-30 * DAY), 1899 * 12 + 10);  // 30 November
    EXPECT_EQ(statssummary_getYear(-1), -1);
    EXPECT_EQ(statssummary_getYear(-12), -1);
    EXPECT_EQ(statssummary_getYear(-13), -2);
}

TEST(StatsSummary, YearsAreCountedFromTheBeginning) {
    constexpr int64_t LEAP = 43890 * DAY;  // 29 February 2020
    EXPECT_EQ(statssummary_countYears(LEAP, LEAP), 0);
    EXPECT_EQ(statssummary_countYears(LEAP, LEAP + 365 * DAY), 0);   // 28 February 2021
    EXPECT_EQ(statssummary_countYears(LEAP, LEAP + 366 * DAY), 1);   // 1 March 2021
    EXPECT_EQ(statssummary_countYears(LEAP, LEAP + 1461 * DAY), 4);  // 29 February 2024
    EXPECT_EQ(statssummary_countYears(LEAP, LEAP + 1461 * DAY - 1), 3);
    EXPECT_EQ(statssummary_countYears(MARCH + 6 * HOUR, MARCH + 365 * DAY), 0);  // 1 March 2022, 0:00
    EXPECT_EQ(statssummary_countYears(MARCH + 6 * HOUR, MARCH + 365 * DAY + 6 * HOUR), 1);
}

// --- percentiles, curves, return periods -----------------------------------------------------------------------------

TEST(StatsPercentiles, OfOneValueAreThisValue) {
    for (const int percent : STATS_PERCENTILES) {
        EXPECT_EQ(statssummary_getPercentile({3.0F}, percent), 3.0);
    }
}

TEST(StatsPercentiles, OfTwoValuesLieBetweenThem) {
    // The places are 0.25, 0.5 and 0.99 of the way from 1 to 5.
    const std::vector<float> flows = {1.0F, 5.0F};
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 25), 2.0);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 50), 3.0);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 99), 4.96);
}

TEST(StatsPercentiles, OfFiveValuesAreInterpolated) {
    // (5 - 1) p: 0.2 from 1 to 2; the second; the third; the fourth; 3.8, so 8 + 0.8 x 8; 3.96, so 8 + 0.96 x 8.
    const std::vector<float> flows = walk(hourly(6.0), {16, 2, 1, 8, 4}).summary.flows;
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 5), 1.2);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 25), 2.0);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 50), 4.0);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 75), 8.0);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 95), 14.4);
    EXPECT_DOUBLE_EQ(statssummary_getPercentile(flows, 99), 15.68);
}

TEST(StatsPercentiles, OfNothingAreNone) {
    EXPECT_TRUE(std::isnan(statssummary_getPercentile({}, 50)));
}

TEST(StatsCurve, HasThePlacesOfWeibull) {
    const std::vector<StatsCurvePoint> curve = statssummary_makeCurve({1.0F, 2.0F, 4.0F, 8.0F});
    ASSERT_EQ(curve.size(), 4U);
    EXPECT_EQ(curve[0].rank, 1);
    EXPECT_EQ(curve[0].flow, 8.0);
    EXPECT_DOUBLE_EQ(curve[0].exceedance, 0.2);
    EXPECT_EQ(curve[3].flow, 1.0);
    EXPECT_DOUBLE_EQ(curve[3].exceedance, 0.8);
    EXPECT_TRUE(statssummary_makeCurve({}).empty());
}

TEST(StatsCurve, IsThinnedBehindItsHighestFlows) {
    for (const size_t count : {size_t{200}, size_t{201}, size_t{1000}, size_t{12345}}) {
        std::vector<float> flows(count);
        for (size_t k = 0; k < count; ++k) {
            flows[k] = static_cast<float>(k);
        }
        const std::vector<StatsCurvePoint> curve = statssummary_makeCurve(flows);
        ASSERT_EQ(curve.size(), 200U) << count;
        EXPECT_EQ(curve[49].rank, 50) << count;
        EXPECT_EQ(curve.back().rank, static_cast<int64_t>(count));
        EXPECT_EQ(curve.back().flow, 0.0);
        for (size_t k = 1; k < curve.size(); ++k) {
            EXPECT_GT(curve[k].rank, curve[k - 1].rank) << count;
            EXPECT_EQ(curve[k].flow, static_cast<double>(count) - static_cast<double>(curve[k].rank)) << count;
        }
    }
}

namespace {

/// Days of some years from 1 March 2021 on, with a peak of each on its hundredth day.
std::vector<double> makeYears(const std::vector<double>& peaks, size_t days) {
    std::vector<double> flows(days, 0.0);
    for (size_t k = 0; k < peaks.size(); ++k) {
        flows[k * 365 + k / 3 + 99] = peaks[k];  // the leap day of 2024 lies behind the third peak
    }
    return flows;
}

}  // namespace

TEST(StatsReturnPeriods, AreThoseOfWeibull) {
    // Five years with a leap day; (5 + 1) / m. A sixth year that isn't over doesn't count, however high its peak.
    std::vector<double> flows = makeYears({3, 1, 5, 2, 4}, 5 * 365 + 1);
    flows.push_back(9.0);
    const std::vector<StatsMaximum> maxima = statssummary_listMaxima(walk({DAY, 6 * HOUR}, flows).summary);
    ASSERT_EQ(maxima.size(), 5U);
    const double periods[] = {6.0, 3.0, 2.0, 1.5, 1.2};
    for (size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(maxima[k].rank, static_cast<int64_t>(k + 1));
        EXPECT_EQ(maxima[k].flow, static_cast<double>(5 - k));
        EXPECT_DOUBLE_EQ(maxima[k].returnPeriod, periods[k]);
    }
    EXPECT_EQ(maxima[0].begin, MARCH + 730 * DAY);  // 1 March 2023
    EXPECT_EQ(maxima[0].time, MARCH + 830 * DAY);
    EXPECT_EQ(maxima[1].begin, MARCH + 1461 * DAY);  // 1 March 2025
}

TEST(StatsReturnPeriods, NeedFiveWholeYears) {
    const std::vector<double> flows = makeYears({3, 1, 5, 2, 4}, 5 * 365);  // a day less
    EXPECT_TRUE(statssummary_listMaxima(walk({DAY, 6 * HOUR}, flows).summary).empty());
}

TEST(StatsReturnPeriods, CountYearsWithoutFlow) {
    const std::vector<double> flows = makeYears({0, 0, 5, 0, 4}, 5 * 365 + 1);
    const std::vector<StatsMaximum> maxima = statssummary_listMaxima(walk({DAY, 6 * HOUR}, flows).summary);
    ASSERT_EQ(maxima.size(), 5U);
    EXPECT_EQ(maxima[2].flow, 0.0);
    EXPECT_EQ(maxima[2].begin, MARCH) << "equal ones stand in order of time";
}

TEST(StatsReturnPeriods, AYearThatBeginsOnALeapDayGoesOnOnTheFirstOfMarch) {
    constexpr int64_t LEAP = 43890 * DAY;  // 29 February 2020
    const Found found = walk({DAY, 6 * HOUR}, std::vector<double>(6 * 366, 1.0), LEAP);
    const std::vector<StatsMaximum> maxima = statssummary_listMaxima(found.summary);
    ASSERT_GE(maxima.size(), 5U);
    EXPECT_EQ(maxima[0].begin, LEAP);
    EXPECT_EQ(maxima[1].begin, LEAP + 366 * DAY);   // 1 March 2021
    EXPECT_EQ(maxima[4].begin, LEAP + 1461 * DAY);  // 29 February 2024
}
