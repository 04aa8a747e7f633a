#pragma once
// What the results keep from step to step, told for saving and restoring (model/fields.h).

#include "model/fields.h"
#include "model/model.h"
#include "results/binary.h"
#include "results/database.h"
#include "results/results.h"

/// Periods, and the sums of the one in hand. Sinks aren't told: what stands in a file is taken back by the period.
template <class V>
void results_walk(V& v, Model& model) {
    ResultBuffers& results = *model.results;
    v.fixed(model.results, model.binary, model.database, results.isReady, results.kept, results.runs, results.record,
            results.recordLength, results.longestRow, results.shares, results.scratch);
    v.total(NAMED(results.period), FieldSpan{1, 1 << 30});
    v.total(NAMED(results.sumCount), FieldSpan{0, 1 << 30});
    for (TableBuffer& buffer : results.buffers) {
        v.fixed(buffer.place, buffer.count, buffer.length);
        const int64_t count = static_cast<int64_t>(buffer.count) * buffer.length;
        v.total(NAMED(buffer.sums), model.options.reportAverage && buffer.sums ? count : 0);
    }
}
