#pragma once
// Rows of all objects, made run by run by as many threads as the model has.

#include <cstdint>
#include <vector>

#include "results/rows.h"
#include "text/datetime.h"

struct Model;

/// One table, from a start to the next or to the close.
struct TableBuffer {
    float* sums;    ///< rows added up since the last report; null without means
    int64_t place;  ///< of its first row in the record
    int32_t count;  ///< of objects with a row in the record
    int32_t length;
};

/// The buffers of all tables, and where the run stands in its periods.
struct ResultBuffers {
    TableBuffer buffers[RESULT_TABLE_COUNT];
    std::vector<RowRun> runs;   ///< of all objects
    float* record;              ///< all rows of a report; null if nobody wants them, or if the memory can't hold them
    int64_t recordLength;       ///< values
    int32_t longestRow;         ///< values
    std::vector<float> shares;  ///< in the sums of the system, of all objects, for several threads
    std::vector<std::vector<float>> scratch;  ///< rows of a run, by thread
    bool isReady;
    int32_t period = 1;                           ///< number of the next report
    int32_t sumCount;                             ///< steps added up since the last report
    std::vector<float> kept[RESULT_TABLE_COUNT];  ///< rows of the last period, for the sink in memory
};

/// Weights of the newer of two states.
struct RowWeights {
    double network, land;
};

/// Makes the record of a report: the row of the system and those of all tables, in their places.
void rowpieces_makeRecord(Model& model, DateTime date, const RowWeights& weights);

/// Adds the rows of nodes and links, as they are now, to the sums of a period, and makes a record of their means.
void rowpieces_addToSums(Model& model);
void rowpieces_makeMeans(Model& model, DateTime date, const RowWeights& weights);
