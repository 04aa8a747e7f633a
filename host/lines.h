#pragma once
// The lines of a run on standard output: what is being done, and how far the simulation is.

#include <chrono>

enum class LineForm {
    NONE,
    TERMINAL,  ///< day and hour are written over and over
    PLAIN      ///< whole lines, for pipes and logs
};

struct RunLines {
    LineForm form;
    double totalDays;  ///< d, length of the simulation
    int lastTenth;
    long lastHour;
    std::chrono::steady_clock::time_point lastLine;
};

/// "Retrieving project data" and the like.
void lines_tell(const RunLines& lines, const char* text);

/// The simulation begins.
void lines_begin(RunLines& lines, double totalDays);

/// It has reached `days` since its start.
void lines_update(RunLines& lines, double days);

/// What has to stand behind the last of them.
void lines_end(const RunLines& lines);
