#pragma once
// The folder results: what of a run is written, where to and when; balances and the report. It uses all objects on the
// floors below and changes nothing that the run reads next: a look at results leaves no trace. It must know neither
// rules nor the routing step. What the rows hold stands in one list, columns.def; a sink gets finished rows and knows
// no object.
//
// Results of each report period: when rows are made, and into which sink they go.

#include <cstdint>

#include "results/rowpieces.h"

struct Model;

/// Where rows go. NOBODY makes none, but counts the periods.
enum ResultSink : int32_t { SINK_FILE = 1, SINK_DATABASE = 2, SINK_MEMORY = 4, SINK_NOBODY = 8 };

/// Prepares buffers and the sinks of the model; nothing while an error stands.
void results_open(Model& model);

/// Forgets the buffers, whose memory goes with the results of the run before.
void results_releaseBuffers(Model& model);

/// Adds the step to the means of the period.
void results_accumulate(Model& model);

/// Writes the rows of a report time.
void results_write(Model& model);

/// Once the run has been put to another period: takes back what the sink holds of it and of later ones. A sink whose
/// state comes from a run without reports gets the period of the routing clock. Memory is asked for ahead, which throws
/// without.
void results_reserveTakeBack(Model& model);
void results_takeBack(Model& model, bool hasReports);

/// Closes the run in the sink.
void results_end(Model& model);

/// Lets go of buffers and sinks. Kept are the results of the last save mode; others are deleted.
void results_close(Model& model);

/// Lets go of the results of a start that failed, or of a run without a step: what is in place stays.
void results_drop(Model& model);

/// The same for a project that a new one replaces: nothing is completed, and nothing deleted.
void results_abandon(Model& model);
