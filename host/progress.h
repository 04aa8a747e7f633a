#pragma once
// A bar on standard error that shows how far a run is and how long it will take. Nothing is drawn where standard error
// is no terminal.

#include <chrono>
#include <string>

struct Progress {
    bool isShown;
    double totalDays;  ///< d, length of the simulation
    std::chrono::steady_clock::time_point begin;
    std::chrono::steady_clock::time_point lastDrawing;
};

Progress progress_begin(double totalDays);

/// The simulation has reached `days` since its start. Draws now and then, not at every call.
void progress_update(Progress& progress, double days);

/// Takes the bar away, so that what is printed next has the line for itself.
void progress_end(Progress& progress);

// --- part of the bar -----------------------------------------------------------------------------------------------

/// "1:30 left", "2:05:00 left", to the nearest second, or "more than 100 h left".
std::string progress_formatTimeLeft(double seconds);
