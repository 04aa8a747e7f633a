#pragma once
// The life of one model, from its opening to its close, as both faces of the engine offer it:
//
//     closed  --run_open-->   open      also with errors in the project: its close then frees what was read
//     open    --run_start-->  started   also with errors of the start
//     started --run_step-->   started   until the elapsed time handed back is 0
//     started --run_end-->    open      may be started again
//     any     --run_close-->  closed
//
// run_report belongs between the last step and the end. The current error is sticky. Functions give back the public
// code of the current error; without memory they throw, and the model stays as it is.

#include <cstdint>

struct Model;

/// Opens a project in a new model. An open project with errors counts as open.
int32_t run_open(Model& model, const char* input, const char* report, const char* results);

/// Reads the project whose file is open in the model already.
int32_t run_read(Model& model);

/// Starts a run; its rows go to these sinks, a sum of ResultSink.
int32_t run_start(Model& model, int32_t sinks);

/// One routing step; stores the days since the start, and 0 at the end of the run.
int32_t run_step(Model& model, double* elapsedDays);

/// Writes the tables of the report.
int32_t run_report(Model& model);

/// Ends a run; the project stays open.
int32_t run_end(Model& model);

/// Closes files and engines. What was read goes with the model.
void run_close(Model& model);
