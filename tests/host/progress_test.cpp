// The bar on standard error: drawn on a terminal only, and only by a run that the host steps itself. What it tells of
// the time left is tested on the bar's own functions: no test is to run for hours.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "program.h"
#include "progress.h"
#include "terminal.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// What `tarnvelde run MODEL OPTION` writes on a terminal that is one of its standard streams.
static std::string runOnTerminal(const std::string& model, const char* option, int stream = STDERR_FILENO) {
    return terminal_run({"run", model, option}, stream);
}

TEST(HostProgress, IsDrawnOnATerminalAndTakenAway) {
    TempFolder folder;
    const std::string shown = runOnTerminal(folder.write("model.inp", GOOD_PROJECT), "--quiet");
    EXPECT_THAT(shown, HasSubstr(" %   day 0.0 of 0.1"));
    EXPECT_TRUE(shown.ends_with("\r\033[K"));
}

TEST(HostProgress, IsNotDrawnBesideTheLinesOfTheEngine) {
    TempFolder folder;
    const std::string report = "--report=" + folder.file("other.rpt");
    const std::string shown = runOnTerminal(folder.write("model.inp", GOOD_PROJECT), report.c_str());
    EXPECT_THAT(shown, Not(HasSubstr("day ")));
    EXPECT_THAT(shown, Not(HasSubstr("\r\033[K")));
}

TEST(HostProgress, DayAndHourCountUpInTheirPlaceOnATerminal) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const std::string report = "--report=" + folder.file("other.rpt");
    const std::string shown = runOnTerminal(model, report.c_str(), STDOUT_FILENO);
    const std::string back(14, '\b');
    EXPECT_THAT(shown, HasSubstr("  Retrieving project data\r\n  Simulating day: 0     hour:  0" + back +
                                 "0     hour: 1 " + back +
                                 "0     hour: 2 \r\n  Simulation complete\r\n"
                                 "  Writing output report\r\n  Report: "));
}

TEST(HostProgress, TimeLeftIsToldAsAClockTells) {
    EXPECT_EQ(progress_formatTimeLeft(0.0), "0:00 left");
    EXPECT_EQ(progress_formatTimeLeft(9.4), "0:09 left");
    EXPECT_EQ(progress_formatTimeLeft(59.4), "0:59 left");
    EXPECT_EQ(progress_formatTimeLeft(59.6), "1:00 left");  // never 0:60
    EXPECT_EQ(progress_formatTimeLeft(754.0), "12:34 left");
    EXPECT_EQ(progress_formatTimeLeft(3599.4), "59:59 left");
    EXPECT_EQ(progress_formatTimeLeft(3599.6), "1:00:00 left");  // never 60:00
    EXPECT_EQ(progress_formatTimeLeft(3600.0), "1:00:00 left");
    EXPECT_EQ(progress_formatTimeLeft(45296.0), "12:34:56 left");
    EXPECT_EQ(progress_formatTimeLeft(359999.0), "99:59:59 left");
    EXPECT_EQ(progress_formatTimeLeft(360000.0), "more than 100 h left");
    EXPECT_EQ(progress_formatTimeLeft(400000.0), "more than 100 h left");
    EXPECT_EQ(progress_formatTimeLeft(1e300), "more than 100 h left");
}

/// The bar of a run of ten days that began so long ago and has reached a day now.
static std::string drawBar(std::chrono::milliseconds spent, double days) {
    const auto begin = std::chrono::steady_clock::now() - spent;
    Progress progress{true, 10.0, begin, begin - std::chrono::hours(1)};
    testing::internal::CaptureStderr();
    progress_update(progress, days);
    return testing::internal::GetCapturedStderr();
}

TEST(HostProgress, TimeLeftFollowsFromTheTimeSpent) {
    using std::chrono::seconds;
    // Seven eighths are done in 70 s, so the last eighth takes 10 s; 26 of 30 places are 7/8, cut.
    EXPECT_EQ(drawBar(seconds(70), 8.75),
              "\r\033[K  [" + std::string(26, '#') + std::string(4, '-') + "]  87 %   day 8.8 of 10.0   0:10 left");
    EXPECT_THAT(drawBar(seconds(100), 10.0), HasSubstr("] 100 %   day 10.0 of 10.0   0:00 left"));
    // A hundredth of a per mille in 5 s: 499995 s are to come.
    EXPECT_THAT(drawBar(seconds(5), 0.0001), HasSubstr("more than 100 h left"));
}

TEST(HostProgress, NoTimeLeftIsToldBeforeItCanBeKnown) {
    EXPECT_THAT(drawBar(std::chrono::milliseconds(1), 5.0), EndsWith("]  50 %   day 5.0 of 10.0"));
    EXPECT_THAT(drawBar(std::chrono::hours(1), 0.0), EndsWith("]   0 %   day 0.0 of 10.0"));  // nothing is done yet
}
