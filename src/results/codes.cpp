// Results by number. Only a subcatchment and the concentrations answer with success; of the other values a host must
// read what is stored and pass over the code.

#include "results/codes.h"

#include <algorithm>

#include "model/model.h"
#include "results/records.h"
#include "results/rows.h"
#include "text/units.h"

namespace {

using Found = std::optional<ToldResult>;

/// Of which pollutants of a layer a host is told. The numbers end with the first pollutant of the soil: further layers
/// can't be asked for.
enum LayerShare : int32_t { EVERY, FIRST, NONE };

/// The concentration of a pollutant, mg/L; before a first start there are none.
Found findQuality(const Model& model, const double* quality, int32_t pollutant) {
    if (pollutant >= model_pollutantCount(model) || !quality) {
        return std::nullopt;
    }
    return ToldResult{quality[pollutant], true};
}

/// Whether a layer has a number for a pollutant.
bool isTold(const Model& model, LayerShare share, const LidMono& mono, int32_t pollutant) {
    const int32_t pollutants = model_pollutantCount(model);
    const int32_t count = share == EVERY ? pollutants : share == FIRST ? std::min(pollutants, 1) : 0;
    return pollutant < count && model.lids.holds(mono.unit.lid);
}

/// Concentration of a mass (kg, of one pollutant) in a volume, mg/L; 0 in no volume. Before a first start there are no
/// masses: they count as 0.
double getConcentration(const double* masses, int32_t pollutant, double volume) {
    return volume > 0.0 && masses ? masses[pollutant] / volume * G_PER_KG : 0.0;
}

// For each table: findTANK gives the result of a tank. The code is counted down over the columns, and over each block
// of concentrations.
#define RESULT_TABLE(token, table, type, kind, words, toldResult, record)                   \
    Found find##token([[maybe_unused]] const Model& model, [[maybe_unused]] int32_t object, \
                      [[maybe_unused]] int32_t code) {                                      \
        [[maybe_unused]] constexpr bool IS_SUCCESS = toldResult;                            \
        record
#define RESULT_SUM(...)
#define RESULT_VALUE(column, unit, meaning, value, toldUnit, toldMeaning, told) \
    if (code-- == 0) {                                                          \
        return ToldResult{told, IS_SUCCESS};                                    \
    }
#define RESULT_QUALITY(meaning, older, newer)                  \
    if (const Found found = findQuality(model, newer, code)) { \
        return found;                                          \
    }
#define RESULT_LAYER(prefix, meaning, lastMass, thisMass, volume, share)             \
    if (isTold(model, share, mono, code)) {                                          \
        return ToldResult{getConcentration(thisMass, code, volume), share == EVERY}; \
    }                                                                                \
    code -= model_pollutantCount(model);                                             \
    if (code < 0) {                                                                  \
        return std::nullopt;                                                         \
    }
#define RESULT_END()     \
    return std::nullopt; \
    }
#include "results/columns.def"

constexpr Found (*FINDERS[RESULT_TABLE_COUNT])(const Model& model, int32_t object, int32_t code) = {
#define RESULT_TABLE(token, ...) find##token,
#include "results/columns.def"
};

}  // namespace

std::optional<ToldResult> codes_find(const Model& model, int32_t table, int32_t object, int32_t code) {
    if (table < 0 || table >= RESULT_TABLE_COUNT || code < 0) {
        return std::nullopt;
    }
    return FINDERS[table](model, object, code);
}
