#pragma once
// The folder results: what of a run is written, where to and when; balances and the report. It uses all objects on the
// floors below and changes nothing that the run reads next: a look at results leaves no trace. It must know neither
// rules nor the routing step. What the rows hold stands in one list, columns.def; a sink gets finished rows and knows
// no object.
//
// Results of each report period: when rows are made, and into which sink they go.

#include <cstdint>

extern int32_t ResultSumCount;  ///< steps added up since the last report

/// Prepares buffers and the sink that SaveMode chooses; nothing while an error stands.
void results_open();

/// Forgets the buffers, whose memory goes with the results of the run before.
void results_releaseBuffers();

/// Adds the step to the means of the period.
void results_accumulate();

/// Writes the rows of a report time.
void results_write();

/// Closes the run in the sink.
void results_end();

/// Lets go of buffers and sinks. Kept are the results of the last SaveMode; others are deleted.
void results_close();

/// The same for a project that a new one replaces: nothing is completed, and nothing deleted.
void results_abandon();
