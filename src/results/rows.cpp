// Rows of results. A quantity that is kept in an old and a new state is interpolated linearly between them; the factor
// is never limited, so a report time outside the last step extrapolates. Values are single precision: a row is for
// plotting and comparing, balances are kept elsewhere. Which values these are stands in the list of columns alone.

#include "results/rows.h"

#include <algorithm>

#include "model/model.h"
#include "model/prefetch.h"
#include "results/records.h"
#include "text/units.h"

// --- memory ahead of the rows ---------------------------------------------------------------------------------------

static constexpr int32_t FAR = 64;     ///< places ahead at which the records are asked for
static constexpr int32_t MIDDLE = 48;  ///< what they point to
static constexpr int32_t NEAR = 32;    ///< what that points to

/// Of nodes, links and pipes those lines of memory alone whose values stand in rows: a report goes through all of them,
/// and waits for nothing else.
template <int32_t TYPE, int32_t KIND>
static inline void fetchAhead(const Model& model, int32_t object, int32_t kindIndex, int32_t pollutants) {
    if constexpr (TYPE == NODE) {
        if (object + FAR < model.nodes.size()) {
            prefetch_line(&model.nodes[object + FAR]);
            if (pollutants > 0) {
                prefetch_line(&model.nodes[object + FAR].newQual);
                prefetch_states(model.nodes[object + MIDDLE]);
            }
        }
    } else if constexpr (TYPE == LINK) {
        if (object + FAR < model.links.size()) {
            prefetch_line(&model.links[object + FAR]);
            if (pollutants > 0) {
                prefetch_line(&model.links[object + FAR].newQual);
                prefetch_arrays(model.links[object + MIDDLE]);
            }
        }
        if (KIND == PIPE && kindIndex + FAR < model.pipes.size()) {
            prefetch_line(&model.pipes[kindIndex + FAR]);
            prefetch_reaches(model.pipes[kindIndex + NEAR], 0);
        }
    }
}

void rows_fetchLinks(const Model& model, int32_t k) {
    if (k + FAR >= model.links.size()) {
        return;
    }
    prefetch_record(model.links[k + FAR]);
    const Link& middle = model.links[k + MIDDLE];
    if (middle.kind == PIPE) {
        prefetch_line(&model.pipes[middle.kindIndex]);
    }
    const Link& near = model.links[k + NEAR];
    if (near.kind == PIPE) {
        prefetch_reaches(model.pipes[near.kindIndex], 0);
    }
}

// --- shares in the row of the system ---------------------------------------------------------------------------------

namespace {

/// What becomes of the shares of an object: nothing; a part of sums, in places that no other code knows, so that they
/// needn't go through memory for each object; or numbers one after the other.
struct NoShares {
    explicit NoShares(const float*) {}
    template <int32_t SUM>
    void add(double) {}
    void close(float*) {}
};

struct AddedShares {
    float sums[SYSTEM_SUM_COUNT];
    explicit AddedShares(const float* before) { std::copy_n(before, SYSTEM_SUM_COUNT, sums); }
    template <int32_t SUM>
    void add(double value) {
        sums[SUM] += static_cast<float>(value);
    }
    void close(float* after) { std::copy_n(sums, SYSTEM_SUM_COUNT, after); }
};

struct KeptShares {
    float* next;
    explicit KeptShares(float* shares) : next(shares) {}
    template <int32_t SUM>
    void add(double value) {
        *next++ = static_cast<float>(value);
    }
    void close(float*) {}
};

/// What every object of a class shares, in the order of `addClassShares` below. A subcatchment without a gage has no
/// rain, which as 0 leaves a sum as it is.
template <int32_t TYPE, class Shares>
[[gnu::always_inline]] inline void shareAsClass(const Model& model, int32_t object, double f, Shares& shares) {
    if constexpr (TYPE == SUBCATCH) {
        const Subcatch& s = model.subcatches[object];
        shares.template add<LAND_AREA_SUM>(s.area);
        shares.template add<SYSTEM_RAINFALL>(s.gage >= 0 ? s.area * model.gages[s.gage].reportRain : 0.0);
        shares.template add<SYSTEM_EVAPORATION>(s.area * s.evapRate);
        shares.template add<SYSTEM_INFILTRATION>(s.area * s.infilRate);
        shares.template add<SYSTEM_RUNOFF>(rowvalues_mix(f, s.lastRunoff, s.thisRunoff));
    } else if constexpr (TYPE == NODE) {
        const Node& node = model.nodes[object];
        shares.template add<SYSTEM_TOTAL_INFLOW>(rowvalues_mix(f, node.oldInflow, node.newInflow));
    }
}

constexpr int32_t countClassShares(int32_t type) {
    return type == SUBCATCH ? 5 : type == NODE ? 1 : 0;
}

template <int32_t TYPE>
inline const float* addClassShares(const float* share, float* sums) {
    if constexpr (TYPE == SUBCATCH) {
        sums[LAND_AREA_SUM] += *share++;
        sums[SYSTEM_RAINFALL] += *share++;
        sums[SYSTEM_EVAPORATION] += *share++;
        sums[SYSTEM_INFILTRATION] += *share++;
        sums[SYSTEM_RUNOFF] += *share++;
    } else if constexpr (TYPE == NODE) {
        sums[SYSTEM_TOTAL_INFLOW] += *share++;
    }
    return share;
}

// --- what the list makes -------------------------------------------------------------------------------------------

// For each table: makeTANK fills the row of a tank and hands on its shares, COLUMNS_TANK names its columns.
#define RESULT_KIND_INDEX(common)
#define RESULT_TABLE(token, table, type, kind, words, toldResult, record)                                         \
    template <class Shares>                                                                                       \
    [[gnu::always_inline]] inline void make##token(                                                               \
        [[maybe_unused]] const Model& model, [[maybe_unused]] int32_t object, [[maybe_unused]] int32_t kindIndex, \
        [[maybe_unused]] double f, [[maybe_unused]] float* row, [[maybe_unused]] Shares& shares) {                \
        [[maybe_unused]] const int32_t pollutants = model_pollutantCount(model);                                  \
        [[maybe_unused]] int32_t k = 0;                                                                           \
        shareAsClass<type>(model, object, f, shares);                                                             \
        record
#define RESULT_VALUE(column, unit, meaning, value, ...) row[k++] = static_cast<float>(value);
#define RESULT_QUALITY(meaning, older, newer) rowvalues_writeQuality(f, older, newer, pollutants, row + k);
#define RESULT_LAYER(prefix, meaning, lastMass, thisMass, volume, told)       \
    rowvalues_writeLayer(f, lastMass, thisMass, volume, pollutants, row + k); \
    k += pollutants;
#define RESULT_SHARE(token, value) shares.template add<SYSTEM_##token>(value);
#define RESULT_END() }
#include "results/columns.def"

// clang-format off
#define RESULT_TABLE(token, ...) constexpr RowColumn COLUMNS_##token[] = {
#define RESULT_COLUMN(column, unit, ...) {column, unit},
#define RESULT_BLOCK(prefix, unit, ...) {prefix, unit},
#define RESULT_END() };
#include "results/columns.def"
// clang-format on

#define RESULT_TABLE(token, ...) constexpr int32_t FIXED_##token = 0
#define RESULT_COLUMN(...) +1
#define RESULT_END() ;
#include "results/columns.def"

#define RESULT_TABLE(token, ...) constexpr int32_t BLOCKS_##token = 0
#define RESULT_BLOCK(...) +1
#define RESULT_END() ;
#include "results/columns.def"

#define RESULT_TABLE(token, table, type, ...) constexpr int32_t SHARES_##token = countClassShares(type)
#define RESULT_SHARE(...) +1
#define RESULT_END() ;
#include "results/columns.def"

/// Index of an object in its kind.
template <int32_t TYPE>
int32_t getKindIndex(const Model& model, int32_t object) {
    if constexpr (TYPE == NODE) {
        return model.nodes[object].kindIndex;
    } else if constexpr (TYPE == LINK) {
        return model.links[object].kindIndex;
    }
    return object;
}

// fillTANK fills one row, fillRunTANK those of a run, all in one piece of code: what is called for each row costs more
// than a row.
#define RESULT_TABLE(token, table, type, kind, ...)                                                                 \
    void fill##token(const Model& model, int32_t object, double f, float* row) {                                    \
        NoShares shares(nullptr);                                                                                   \
        make##token(model, object, getKindIndex<type>(model, object), f, row, shares);                              \
    }                                                                                                               \
    template <class Shares>                                                                                         \
    [[gnu::flatten]] void fillRun##token(const Model& model, const RowRun& run, double f, float* rows, float* to) { \
        Shares shares(to);                                                                                          \
        const int32_t pollutants = model_pollutantCount(model);                                                     \
        const int32_t length = FIXED_##token + BLOCKS_##token * pollutants;                                         \
        for (int32_t k = 0; k < run.count; ++k) {                                                                   \
            fetchAhead<type, kind>(model, run.first + k, run.kindIndex + k, pollutants);                            \
            make##token(model, run.first + k, run.kindIndex + k, f, rows, shares);                                  \
            rows += length;                                                                                         \
        }                                                                                                           \
        shares.close(to);                                                                                           \
    }                                                                                                               \
    void fillPlainly##token(const Model& model, const RowRun& run, double f, float* rows) {                         \
        fillRun##token<NoShares>(model, run, f, rows, nullptr);                                                     \
    }
#include "results/columns.def"

// addSharesTANK adds what was kept of many.
#define RESULT_TABLE(token, table, type, ...)                                              \
    void addShares##token([[maybe_unused]] const float* share, int32_t count, float* to) { \
        float sums[SYSTEM_SUM_COUNT];                                                      \
        std::copy_n(to, SYSTEM_SUM_COUNT, sums);                                           \
        for (int32_t k = 0; k < count; ++k) {                                              \
            share = addClassShares<type>(share, sums);
#define RESULT_SHARE(token, value) sums[SYSTEM_##token] += *share++;
#define RESULT_END()                         \
    }                                        \
    std::copy_n(sums, SYSTEM_SUM_COUNT, to); \
    }
#include "results/columns.def"

}  // namespace

const RowTable RowTables[RESULT_TABLE_COUNT] = {
#define RESULT_TABLE(token, table, type, kind, ...) \
    {table,                                         \
     COLUMNS_##token,                               \
     FIXED_##token,                                 \
     BLOCKS_##token,                                \
     type,                                          \
     kind,                                          \
     fill##token,                                   \
     SHARES_##token,                                \
     fillPlainly##token,                            \
     fillRun##token<AddedShares>,                   \
     fillRun##token<KeptShares>,                    \
     addShares##token},
#include "results/columns.def"
};

// --- tables --------------------------------------------------------------------------------------------------------

int32_t rows_getLength(const Model& model, int32_t table) {
    return RowTables[table].columnCount + RowTables[table].qualityBlocks * model_pollutantCount(model);
}

int32_t rows_getObjectCount(const Model& model, int32_t table) {
    const RowTable& t = RowTables[table];
    switch (t.objectType) {
        case SUBCATCH: return model.counts.objects[SUBCATCH];
        case NODE: return model.counts.nodeKinds[t.kind];
        case LINK: return model.counts.linkKinds[t.kind];
        default: return 0;
    }
}

int32_t rows_getClassSize(const Model& model, int32_t table) {
    switch (RowTables[table].objectType) {
        case SUBCATCH: return model.subcatches.size();
        case NODE: return model.nodes.size();
        case LINK: return model.links.size();
        default: return 0;
    }
}

bool rows_holds(const Model& model, int32_t table, int32_t object) {
    const RowTable& t = RowTables[table];
    switch (t.objectType) {
        case SUBCATCH: return true;
        case NODE: return model.nodes[object].kind == t.kind;
        case LINK: return model.links[object].kind == t.kind;
        default: return false;
    }
}

const char* rows_getName(const Model& model, int32_t table, int32_t object) {
    const int32_t index = object;
    const char* name = nullptr;
    switch (RowTables[table].objectType) {
        case SUBCATCH: name = model.subcatches[index].name; break;
        case NODE: name = model.nodes[index].id; break;
        case LINK: name = model.links[index].id; break;
        default: break;
    }
    return name ? name : "";
}

// --- runs ----------------------------------------------------------------------------------------------------------

/// The table of a kind; -1 if it has none.
static int32_t findTable(int32_t objectType, int32_t kind) {
    const RowTable* const end = RowTables + RESULT_TABLE_COUNT;
    const RowTable* const found = std::find_if(
        RowTables, end, [&](const RowTable& table) { return table.objectType == objectType && table.kind == kind; });
    return found == end ? -1 : static_cast<int32_t>(found - RowTables);
}

static int32_t countShares(int32_t table) {
    return table < 0 ? countClassShares(NODE) : RowTables[table].shareCount;
}

/// Where the next run begins.
struct RunPlaces {
    int32_t rows[RESULT_TABLE_COUNT];  ///< of each table, so far
    int64_t shares;
};

/// Adds an object to the last run, or begins another one.
static void addToRuns(std::vector<RowRun>& runs, RunPlaces& places, int32_t objectType, int32_t object, int32_t kind,
                      int32_t kindIndex) {
    const bool isSameKind = object > 0 && runs.back().kind == kind;
    const int32_t table = isSameKind ? runs.back().table : findTable(objectType, kind);
    const bool isOther =
        !isSameKind || runs.back().kindIndex + runs.back().count != kindIndex || runs.back().count == ROWS_OF_RUN;
    if (isOther) {
        runs.push_back({table, kind, object, 0, kindIndex, table < 0 ? 0 : places.rows[table], places.shares});
    }
    runs.back().count += 1;
    places.shares += countShares(table);
    if (table >= 0) {
        places.rows[table] += 1;
    }
}

std::vector<RowRun> rows_listRuns(const Model& model) {
    std::vector<RowRun> runs;
    RunPlaces places{};
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        addToRuns(runs, places, SUBCATCH, k, -1, k);
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        addToRuns(runs, places, NODE, k, model.nodes[k].kind, model.nodes[k].kindIndex);
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        addToRuns(runs, places, LINK, k, model.links[k].kind, model.links[k].kindIndex);
    }
    return runs;
}

int64_t rows_countShares(const std::vector<RowRun>& runs) {
    return runs.empty() ? 0 : runs.back().sharePlace + runs.back().count * countShares(runs.back().table);
}

/// Nodes whose kind has no table share their inflow, as all nodes do.
template <class Shares>
static void shareNodes(const Model& model, const RowRun& run, double f, float* to) {
    Shares shares(to);
    for (int32_t k = 0; k < run.count; ++k) {
        shareAsClass<NODE>(model, run.first + k, f, shares);
    }
    shares.close(to);
}

void rows_fillAndAdd(const Model& model, const RowRun& run, double f, float* rows, float* sums) {
    if (run.table < 0) {
        shareNodes<AddedShares>(model, run, f, sums);
    } else {
        RowTables[run.table].fillAndAdd(model, run, f, rows, sums);
    }
}

void rows_fillAndKeep(const Model& model, const RowRun& run, double f, float* rows, float* shares) {
    if (run.table < 0) {
        shareNodes<KeptShares>(model, run, f, shares);
    } else {
        RowTables[run.table].fillAndKeep(model, run, f, rows, shares);
    }
}

void rows_addShares(const RowRun& run, const float* shares, float* sums) {
    if (run.table >= 0) {
        RowTables[run.table].addShares(shares, run.count, sums);
        return;
    }
    for (int32_t k = 0; k < run.count; ++k) {
        addClassShares<NODE>(shares + k, sums);
    }
}
