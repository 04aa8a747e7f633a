// The bar of a run: share, day of the simulation, and the time left, as far as the time spent tells it.

#include "progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "console.h"

using std::chrono::steady_clock;

static constexpr int WIDTH = 30;                                   ///< characters of the bar
static constexpr std::chrono::milliseconds BETWEEN_DRAWINGS{100};  ///< faster than anybody reads
static constexpr std::chrono::milliseconds FIRST_GUESS{500};       ///< no time left is told before
static constexpr const char* CLEAR_LINE = "\r\033[K";

Progress progress_begin(double totalDays) {
    const auto now = steady_clock::now();
    return Progress{console_isErrorTerminal() && totalDays > 0.0, totalDays, now, now - BETWEEN_DRAWINGS};
}

std::string progress_formatTimeLeft(double seconds) {
    if (!(seconds < 360000.0)) {
        return "more than 100 h left";
    }
    const int whole = static_cast<int>(std::lround(seconds));
    char text[32];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%d:%02d:%02d left", whole / 3600, whole / 60 % 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%d:%02d left", whole / 60, whole % 60);
    }
    return text;
}

void progress_update(Progress& progress, double days) {
    if (!progress.isShown) {
        return;
    }
    const auto now = steady_clock::now();
    if (now - progress.lastDrawing < BETWEEN_DRAWINGS) {
        return;
    }
    progress.lastDrawing = now;
    const double share = std::clamp(days / progress.totalDays, 0.0, 1.0);
    const int filled = static_cast<int>(share * WIDTH);
    const std::string bar =
        std::string(static_cast<size_t>(filled), '#') + std::string(static_cast<size_t>(WIDTH - filled), '-');
    const auto spent = now - progress.begin;
    std::string timeLeft;
    if (spent >= FIRST_GUESS && share > 0.0) {
        const double seconds = std::chrono::duration<double>(spent).count();
        timeLeft = "   " + progress_formatTimeLeft(seconds * (1.0 - share) / share);
    }
    std::fprintf(stderr, "%s  [%s] %3d %%   day %.1f of %.1f%s", CLEAR_LINE, bar.c_str(),
                 static_cast<int>(share * 100.0), days, progress.totalDays, timeLeft.c_str());
    std::fflush(stderr);
}

void progress_end(Progress& progress) {
    if (progress.isShown) {
        std::fputs(CLEAR_LINE, stderr);
        std::fflush(stderr);
        progress.isShown = false;
    }
}
