// On a terminal day and hour count up in their place. Anywhere else a line stays, so there are few: at most one for
// each tenth of the run, and none within seconds of another.

#include "lines.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "units.h"

using std::chrono::steady_clock;

static constexpr std::chrono::seconds BETWEEN_LINES{2};

void lines_tell(const RunLines& lines, const char* text) {
    if (lines.form != LineForm::NONE) {
        std::printf(lines.form == LineForm::TERMINAL ? "\n  %s" : "  %s\n", text);
        std::fflush(stdout);
    }
}

void lines_begin(RunLines& lines, double totalDays) {
    lines.totalDays = totalDays;
    lines.lastTenth = 0;
    lines.lastHour = 0;
    lines.lastLine = steady_clock::now();
    if (lines.form == LineForm::TERMINAL) {
        lines_tell(lines, "Simulating day: 0     hour:  0");
    } else if (lines.form == LineForm::PLAIN) {
        std::printf("  Simulating %.1f days\n", totalDays);
        std::fflush(stdout);
    }
}

static void writeHour(RunLines& lines, double days) {
    const auto hour = static_cast<long>(days * HOURS_PER_DAY);
    if (hour > lines.lastHour) {
        lines.lastHour = hour;
        std::printf("%s%-5ld hour: %-2ld", std::string(14, '\b').c_str(), static_cast<long>(days),
                    static_cast<long>((days - std::floor(days)) * HOURS_PER_DAY));
        std::fflush(stdout);
    }
}

static void writeTenth(RunLines& lines, double days) {
    const int tenth = lines.totalDays > 0.0 ? static_cast<int>(days / lines.totalDays * 10.0) : 0;
    if (tenth <= lines.lastTenth || tenth >= 10) {
        return;
    }
    const auto now = steady_clock::now();
    if (now - lines.lastLine >= BETWEEN_LINES) {
        lines.lastTenth = tenth;
        lines.lastLine = now;
        std::printf("  %d %%: day %.1f of %.1f\n", tenth * 10, days, lines.totalDays);
        std::fflush(stdout);
    }
}

void lines_update(RunLines& lines, double days) {
    if (lines.form == LineForm::TERMINAL) {
        writeHour(lines, days);
    } else if (lines.form == LineForm::PLAIN) {
        writeTenth(lines, days);
    }
}

void lines_end(const RunLines& lines) {
    if (lines.form == LineForm::TERMINAL) {
        std::printf("\n");
    }
    std::fflush(stdout);
}
