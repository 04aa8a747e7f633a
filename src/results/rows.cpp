// Rows of results. A quantity that is kept in an old and a new state is interpolated linearly between them; the factor
// is never limited, so a report time outside the last step extrapolates. Values are single precision: a row is for
// plotting and comparing, balances are kept elsewhere. Which values these are stands in the list of columns alone.

#include "results/rows.h"

#include "model/model.h"
#include "model/prefetch.h"
#include "results/records.h"
#include "text/units.h"

// --- memory ahead of the rows ---------------------------------------------------------------------------------------

static constexpr int32_t FAR = 24;     ///< places ahead at which the records are asked for
static constexpr int32_t MIDDLE = 16;  ///< what they point to
static constexpr int32_t NEAR = 8;     ///< what that points to

static void fetchLink(const Model& model, const Link& link) {
    prefetch_arrays(link);
    if (link.kind == PIPE) {
        prefetch_record(model.pipes[link.kindIndex]);
    }
}

static inline void fetchAhead(const Model& model, int32_t objectType, const int32_t* objects, int32_t count,
                              int32_t k) {
    const auto getIndex = [&](int32_t place) { return objects ? objects[place] : place; };
    if (k + NEAR >= count || (objectType != NODE && objectType != LINK)) {
        return;
    }
    const bool isFarThere = k + FAR < count;
    const bool isMiddleThere = k + MIDDLE < count;
    if (objectType == NODE) {
        if (isFarThere) {
            prefetch_record(model.nodes[getIndex(k + FAR)]);
        }
        if (isMiddleThere) {
            prefetch_states(model.nodes[getIndex(k + MIDDLE)]);
        }
        return;
    }
    if (isFarThere) {
        prefetch_record(model.links[getIndex(k + FAR)]);
    }
    if (isMiddleThere) {
        fetchLink(model, model.links[getIndex(k + MIDDLE)]);
    }
    const Link& link = model.links[getIndex(k + NEAR)];
    if (link.kind == PIPE) {
        prefetch_reaches(model.pipes[link.kindIndex]);
    }
}

void rows_fetchAhead(const Model& model, int32_t objectType, const int32_t* objects, int32_t count, int32_t k) {
    fetchAhead(model, objectType, objects, count, k);
}

// --- what the list makes -------------------------------------------------------------------------------------------

// For each table: fillTANK fills the row of a tank, COLUMNS_TANK names its columns.
namespace {

#define RESULT_TABLE(token, table, type, kind, words, toldResult, record)                                             \
    void fill##token([[maybe_unused]] const Model& model, [[maybe_unused]] int32_t object, [[maybe_unused]] double f, \
                     [[maybe_unused]] float* row) {                                                                   \
        [[maybe_unused]] const int32_t pollutants = model_pollutantCount(model);                                      \
        [[maybe_unused]] int32_t k = 0;                                                                               \
        record
#define RESULT_VALUE(column, unit, meaning, value, ...) row[k++] = static_cast<float>(value);
#define RESULT_QUALITY(meaning, older, newer) rowvalues_writeQuality(f, older, newer, pollutants, row + k);
#define RESULT_LAYER(prefix, meaning, lastMass, thisMass, volume, told)       \
    rowvalues_writeLayer(f, lastMass, thisMass, volume, pollutants, row + k); \
    k += pollutants;
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

// fillManyTANK fills the rows of many, all in one piece of code: what is called for each row costs more than a row.
#define RESULT_TABLE(token, table, type, ...)                                                                  \
    [[gnu::flatten]] void fillMany##token(const Model& model, const RowList& list, int32_t first, int32_t end, \
                                          double f, float* rows) {                                             \
        const int32_t length = FIXED_##token + BLOCKS_##token * model_pollutantCount(model);                   \
        for (int32_t k = first; k < end; ++k) {                                                                \
            fetchAhead(model, type, list.objects, list.count, k);                                              \
            fill##token(model, list.objects[k], f, rows);                                                      \
            rows += length;                                                                                    \
        }                                                                                                      \
    }
#include "results/columns.def"

}  // namespace

const RowTable RowTables[RESULT_TABLE_COUNT] = {
#define RESULT_TABLE(token, table, type, kind, ...) \
    {table, COLUMNS_##token, FIXED_##token, BLOCKS_##token, type, kind, fill##token, fillMany##token},
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
