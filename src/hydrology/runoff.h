#pragma once
// The folder hydrology: rain, evaporation, land and LID controls, up to the runoff of a subcatchment. It uses the
// folders model, text and platform; it must know no node, no link and no routing step: what it gives to the network is
// fetched by the room routing/landinflows. A room is one law (horton, plane) or one kind of object with its record and
// its table; what a step works out is handed on in records, not kept.
//
// The runoff step.

#include <cstdint>

#include "hydrology/subcatch.h"

struct Model;

/// Puts all subcatchments to the start of a run.
void runoff_initState(Model& model);

/// What the runoff step is cut to, and by what.
struct RunoffStep {
    int32_t seconds;
    int32_t gage;      ///< that has cut it, or -1
    int32_t subcatch;  ///< likewise, over which water flows in `flowTime`; it counts in place of the gage
    double flowTime;   ///< s
};
[[nodiscard]] RunoffStep runoff_findStep(const Model& model);

/// Cuts the runoff step to the shortest interval of the gages, and to the time of flow over the land; once per run.
void runoff_limitStep(Model& model);

/// Makes the loads of the runoff step of all subcatchments, for a run, and releases them.
void runoff_open(Model& model);
void runoff_close(Model& model);

/// Puts the runoff clock to the start of a run. Nobody but this room moves it.
void runoff_resetClock(Model& model);

/// Water of one subcatchment over a runoff step (s), with its LID units, whose pollutants react by an hour of the day.
RunoffVolumes runoff_stepWater(Model& model, int32_t subcatch, int32_t hour, double dt);

/// Advances rain and runoff of the whole project by one runoff step. Nothing happens while an error stands.
void runoff_advance(Model& model);
