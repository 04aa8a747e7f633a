// The lines of a run that nobody watches on a terminal.

#include "lines.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// Ten days on their way, of which the last line was told so many seconds ago.
RunLines makeLines(int seconds) {
    RunLines lines{};
    lines.form = LineForm::PLAIN;
    lines.totalDays = 10.0;
    lines.lastLine = std::chrono::steady_clock::now() - std::chrono::seconds(seconds);
    return lines;
}

/// What is told on the way from one day to the next.
std::string update(RunLines& lines, double days) {
    testing::internal::CaptureStdout();
    lines_update(lines, days);
    return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(HostLines, TellEachTenthOnce) {
    RunLines lines = makeLines(60);
    EXPECT_EQ(update(lines, 0.9), "");
    EXPECT_EQ(update(lines, 3.25), "  30 %: day 3.2 of 10.0\n");
    lines.lastLine -= std::chrono::seconds(60);
    EXPECT_EQ(update(lines, 3.75), "");
    EXPECT_EQ(update(lines, 4.0), "  40 %: day 4.0 of 10.0\n");
}

TEST(HostLines, AreSecondsApart) {
    RunLines lines = makeLines(0);
    EXPECT_EQ(update(lines, 5.0), "");
    lines.lastLine -= std::chrono::seconds(60);
    EXPECT_EQ(update(lines, 6.0), "  60 %: day 6.0 of 10.0\n") << "the latest alone";
}

TEST(HostLines, TellNoTenthAtTheEnd) {
    RunLines lines = makeLines(60);
    EXPECT_EQ(update(lines, 10.0), "");
}
