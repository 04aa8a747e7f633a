#pragma once
// Runs of a small town in several manners - with so many threads, leaving out what can't change or not - and all that
// they leave behind. What a host does in them is drawn from a seed, and is the same as long as the runs are.

#include <cstdint>
#include <string>
#include <vector>

#include "tarnvelde_model.h"
#include "towns/town.h"

/// How the steps of a run are worked out.
struct Manner {
    int32_t threads;
    int32_t skips;
};

/// The one that the others are held against works out everything, one after the other.
constexpr Manner PLAIN{1, 0};
constexpr Manner OTHERS[] = {{1, 1}, {2, 1}, {3, 1}, {2, 0}, {3, 0}};

std::string pace_describe(Manner manner);

/// All that can be seen of a run.
struct Leavings {
    std::string report;
    std::string results;
    std::string codes;                ///< what a host did, and what it was answered
    std::vector<std::string> states;  ///< saved on the way, and at the end
};

/// A town of 15 to 40 subcatchments with things of all kinds, its weather and its steps; of a seed.
std::string pace_drawTown(uint64_t seed);

/// What is done to a run beside its steps.
enum class PaceHost {
    NONE,
    SETS,      ///< values are set and released between the steps, now and then
    GOES_BACK  ///< the run goes back to a state of the dry time, three times
};

/// A whole run of a project.
Leavings pace_run(const std::string& text, uint64_t seed, Manner manner, PaceHost host);

/// The end of a run that goes on, in a model of its own, from a state that another one has saved: its last state.
std::string pace_goOn(const std::string& text, const std::string& state, Manner manner);

/// In what two runs differ, and where first; empty if in nothing.
std::string pace_compare(const Leavings& expected, const Leavings& got);
